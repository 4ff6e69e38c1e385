#pragma once

#include <QString>
#include <QStringList>

#include <optional>

namespace tarlox {

// This machine's drive map as the settings dialog edits it.
//
// Letter entries are three characters, the server's drive letter, "=" and
// the letter this machine has mapped it to ("F=C"); they stand one directly
// behind the other ("F=CG=D"). Path-prefix entries map a server directory
// prefix to a local one ("/srv/tarlox=/mnt/tarlox"); each is set off from
// what stands before it by ";": "F=CG=D;/srv/tarlox=/mnt/tarlox".

// The entry in its stored form, or nullopt when the text is no valid entry.
// Letters are taken in upper case; a path entry keeps its case and loses
// trailing separators. Empty text is no entry (nullopt).
std::optional<QString> NormalizeDriveMapEntry(const QString& text);

// True for an entry of the path-prefix kind.
bool IsPathDriveMapEntry(const QString& entry);

// The entries of a stored map, in their order: letter entries as pieces of
// three characters, then each path entry.
QStringList SplitDriveMap(const QString& drvMap);

// The stored text of a list of entries; empty entries are left out.
QString JoinDriveMap(const QStringList& entries);

}  // namespace tarlox
