#pragma once

// Pages and files for the store's tests: synthetic pages, and TIFF files
// written with libtiff directly, so the reader is tested against files it
// did not write itself.

#include "store/PageImage.h"

#include <QByteArray>
#include <QFile>
#include <QImage>
#include <QRandomGenerator>
#include <QString>

#include <tiffio.h>

#include <functional>
#include <vector>

namespace tarlox::test {

// Sets a rectangle of a black-and-white page to black.
inline void FillBlack(QImage& page, int left, int top, int width, int height)
{
    for (int y = std::max(0, top); y < std::min(page.height(), top + height); ++y)
        for (int x = std::max(0, left); x < std::min(page.width(), left + width); ++x) page.setPixel(x, y, 1);
}

// Lines of letter-like marks, as a typed certificate has: black and white, with resolution.
inline QImage TextPage(int width, int height, quint32 seed = 1, double dpi = 300)
{
    QImage page = NewMonoPage(width, height);
    QRandomGenerator random(seed);
    const int unit = std::max(1, width / 170);  // stroke width: about 3 px at 300 dpi letter
    for (int top = 6 * unit; top + 10 * unit < height - 6 * unit; top += 16 * unit) for (int left = 6 * unit; left + 6 * unit < width - 6 * unit; left += 9 * unit) {
            if (random.bounded(8) == 0) continue;  // a space
            FillBlack(page, left, top, unit, 10 * unit), FillBlack(page, left, top + 4 * unit, 6 * unit, unit);
            if (random.bounded(2)) FillBlack(page, left + 5 * unit, top, unit, 10 * unit);
        }
    SetDpi(page, Dpi{dpi, dpi});
    return page;
}

inline bool IsBlackAt(const QImage& image, int x, int y) { return qGray(image.pixel(x, y)) < 128; }

// Equal pixels of two black-and-white pages (in whatever 1-bit form they come).
inline bool SamePixels(const QImage& a, const QImage& b)
{
    const QImage left = ToStoreMono(a), right = ToStoreMono(b);
    if (left.size() != right.size() || left.isNull()) return false;
    const int fullBytes = left.width() / 8, restBits = left.width() % 8;
    for (int y = 0; y < left.height(); ++y) {
        const uchar *p = left.constScanLine(y), *q = right.constScanLine(y);
        if (std::memcmp(p, q, size_t(fullBytes)) != 0) return false;
        if (restBits && ((p[fullBytes] ^ q[fullBytes]) & uchar(0xFF << (8 - restBits)))) return false;
    }
    return true;
}

// Writes a TIFF with libtiff; write gets the handle and adds the pages.
inline bool WriteWithLibtiff(const QString& path, const std::function<bool(TIFF*)>& write, const char* mode = "w")
{
    TIFF* tif = TIFFOpen(QFile::encodeName(path).constData(), mode);
    if (!tif) return false;
    const bool ok = write(tif);
    TIFFClose(tif);
    return ok;
}

inline void SetPageFields(TIFF* tif, int width, int height, int bits, int samples, int photometric, int compression)
{
    TIFFSetField(tif, TIFFTAG_IMAGEWIDTH, uint32_t(width)), TIFFSetField(tif, TIFFTAG_IMAGELENGTH, uint32_t(height));
    TIFFSetField(tif, TIFFTAG_BITSPERSAMPLE, bits), TIFFSetField(tif, TIFFTAG_SAMPLESPERPIXEL, samples), TIFFSetField(tif, TIFFTAG_PHOTOMETRIC, photometric);
    TIFFSetField(tif, TIFFTAG_COMPRESSION, compression), TIFFSetField(tif, TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG);
}

// One page of raw rows (packed, top to bottom) in strips of rowsPerStrip.
inline bool WriteStripPage(TIFF* tif, int width, int height, int bits, int samples, int photometric, int compression,
                           const std::vector<uint8_t>& rows, int rowsPerStrip)
{
    SetPageFields(tif, width, height, bits, samples, photometric, compression);
    TIFFSetField(tif, TIFFTAG_ROWSPERSTRIP, uint32_t(rowsPerStrip));
    const size_t rowBytes = (size_t(width) * bits * samples + 7) / 8;
    for (int row = 0; row < height; ++row) if (TIFFWriteScanline(tif, const_cast<uint8_t*>(rows.data() + rowBytes * size_t(row)), uint32_t(row), 0) < 0) return false;
    return TIFFWriteDirectory(tif) == 1;
}

// Reads one page of a file with libtiff directly; false when the file or page is missing.
inline bool ReadWithLibtiff(const QString& path, int page, const std::function<bool(TIFF*)>& read)
{
    TIFF* tif = TIFFOpen(QFile::encodeName(path).constData(), "r");
    if (!tif) return false;
    const bool ok = TIFFSetDirectory(tif, tdir_t(page)) == 1 && read(tif);
    TIFFClose(tif);
    return ok;
}

// The stored bytes of each strip of a page, as they are in the file.
inline std::vector<QByteArray> RawStrips(const QString& path, int page)
{
    std::vector<QByteArray> strips;
    ReadWithLibtiff(path, page, [&](TIFF* tif) {
        for (uint32_t strip = 0; strip < TIFFNumberOfStrips(tif); ++strip) {
            strips.emplace_back(qsizetype(TIFFRawStripSize(tif, strip)), '\0');
            TIFFReadRawStrip(tif, strip, strips.back().data(), strips.back().size());
        }
        return true;
    });
    return strips;
}

// An ASCII field of a page as the bytes in the file; null when absent.
inline QByteArray ReadTagBytes(const QString& path, int page, uint32_t tag)
{
    QByteArray bytes;  // copied before the file is closed
    ReadWithLibtiff(path, page, [&](TIFF* tif) {
        char* text = nullptr;
        return TIFFGetField(tif, tag, &text) == 1 && text && !(bytes = QByteArray(text)).isNull();
    });
    return bytes;
}

// One numeric field of a page.
template <typename T>
inline bool ReadField(const QString& path, int page, uint32_t tag, T& value)
{
    return ReadWithLibtiff(path, page, [&](TIFF* tif) { return TIFFGetField(tif, tag, &value) == 1; });
}

}  // namespace tarlox::test
