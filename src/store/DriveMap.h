#pragma once

#include <QString>

#include <optional>

namespace tarlox {

// The drive map of a workstation (key DrvMap): how the directory that the
// Images rows store, in the server's form, reads on this machine.
//
// Entries of three characters laid end to end, "F=CG=D", map drive letters:
// what the server calls F: is C: here. They apply to paths that begin with a
// drive letter. Entries of the form SERVERPREFIX=LOCALPREFIX, separated from
// the rest by ";", map directory prefixes at a path-component boundary:
// "/srv/tarlox=/mnt/tarlox". The entries are tried in order and the first
// that matches wins; comparisons are exact in case.
enum class MapDirection {
    ToLocal,   // a stored Path, to open the file on this machine
    ToStored,  // this machine's directory, to store it in a row
};

struct DriveMapResult {
    QString path;
    QString error;  // a malformed map; path is then unchanged
    bool ok() const { return error.isEmpty(); }
};

DriveMapResult ApplyDriveMap(const QString& drvMap, const QString& path, MapDirection direction);

}  // namespace tarlox
