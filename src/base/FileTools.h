#pragma once

#include <QString>

namespace tarlox {

// True when anything matches: a file, a directory, or a wild-card pattern in
// the last component. One trailing separator is dropped first. When names is
// given it receives the matching names, tab-separated.
bool FileExists(const QString& path, QString* names = nullptr);

// Deletes a file and ignores every failure.
void KillFile(const QString& path);

// This machine's name: the host name, at most 32 characters, trimmed.
QString RetrieveComputerName();

// Directory and name with exactly one separator between them.
QString JoinPath(const QString& directory, const QString& name);

// A directory with a trailing separator.
QString WithTrailingSeparator(const QString& directory);

}  // namespace tarlox
