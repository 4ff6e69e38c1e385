#pragma once

#include <QList>
#include <QString>

namespace tarlox {

// One row of the About box: a component and its version, "Unknown" when
// the version can't be read.
struct ComponentVersion {
    QString name;
    QString version;
};

// The program and the libraries it runs on, read from the libraries
// themselves at run time (ZXing-C++ has no run-time call: its version is the
// one compiled against).
QList<ComponentVersion> ComponentVersions(const QString& programVersion);

// The version part of a library's own banner ("LIBTIFF, Version 4.5.0 ...",
// "leptonica-1.82.0"): the first run of digits and points. "Unknown" when none.
QString VersionFromBanner(const QString& banner);

// libpq's number (150005 or 90624) as text ("15.5", "9.6.24").
QString PostgresVersionText(int number);

}  // namespace tarlox
