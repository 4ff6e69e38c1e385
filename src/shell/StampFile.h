#pragma once

#include <QString>

namespace tarlox {

// True when the authorization stamp file can be loaded as an image:
// formats Qt reads (BMP, PNG, ...), TIFF through libtiff, and PCX.
bool StampFileLoads(const QString& path);

}  // namespace tarlox
