#include "shell/StampFile.h"

#include <QFile>
#include <QImageReader>

#include <tiffio.h>

namespace tarlox {

namespace {

bool tiffLoads(const QString& path)
{
    TIFFSetErrorHandler(nullptr);
    TIFFSetWarningHandler(nullptr);
    TIFF* tif = TIFFOpen(QFile::encodeName(path).constData(), "r");
    if (!tif)
        return false;
    uint32_t width = 0;
    uint32_t height = 0;
    TIFFGetField(tif, TIFFTAG_IMAGEWIDTH, &width);
    TIFFGetField(tif, TIFFTAG_IMAGELENGTH, &height);
    bool ok = width > 0 && height > 0;
    if (ok) {
        tdata_t buffer = _TIFFmalloc(TIFFScanlineSize(tif));
        ok = buffer && TIFFReadScanline(tif, buffer, 0, 0) >= 0;
        _TIFFfree(buffer);
    }
    TIFFClose(tif);
    return ok;
}

// A PCX file: its 128-byte header with a known version, run-length
// encoding, a sane depth and a window that makes sense, and data behind it.
bool pcxLoads(const QString& path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return false;
    const QByteArray head = file.read(128);
    if (head.size() < 128 || file.size() <= 128)
        return false;
    auto byte = [&](int i) { return static_cast<quint8>(head.at(i)); };
    auto word = [&](int i) { return byte(i) | (byte(i + 1) << 8); };
    const bool version = byte(1) == 0 || byte(1) == 2 || byte(1) == 3 || byte(1) == 4 || byte(1) == 5;
    const bool depth = byte(3) == 1 || byte(3) == 2 || byte(3) == 4 || byte(3) == 8;
    return byte(0) == 0x0A && version && byte(2) == 1 && depth && word(8) >= word(4) && word(10) >= word(6) && byte(65) >= 1;
}

}  // namespace

bool StampFileLoads(const QString& path)
{
    if (path.isEmpty() || !QFile::exists(path))
        return false;
    if (pcxLoads(path))
        return true;
    QImageReader reader(path);
    if (reader.canRead() && !reader.read().isNull())
        return true;
    return tiffLoads(path);
}

}  // namespace tarlox
