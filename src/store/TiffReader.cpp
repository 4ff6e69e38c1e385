#include "store/TiffReader.h"

#include "store/PageLimits.h"
#include "store/TagText.h"

#include <QFile>
#include <QFileInfo>

#include <tiffio.h>

#include <algorithm>
#include <climits>
#include <cmath>
#include <cstring>
#include <vector>

namespace tarlox {

static_assert(Q_BYTE_ORDER == Q_LITTLE_ENDIAN, "libtiff's RGBA raster is read as Format_RGBA8888");

namespace {

QString asciiTag(TIFF* tif, ttag_t tag)
{
    char* text = nullptr;
    if (TIFFGetField(tif, tag, &text) != 1 || !text)
        return {};
    return DecodeTagText(QByteArray(text));
}

bool isGreyPhotometric(int photometric)
{
    return photometric == PHOTOMETRIC_MINISWHITE || photometric == PHOTOMETRIC_MINISBLACK;
}

int clampToInt(uint32_t value)
{
    return value > uint32_t(INT_MAX) ? INT_MAX : int(value);
}

}  // namespace

TiffHead TiffSignature(const QByteArray& head)
{
    const bool little = head.startsWith(QByteArray("II", 2));
    const bool big = head.startsWith(QByteArray("MM", 2));
    if ((!little && !big) || head.size() < 4)
        return TiffHead::NotTiff;
    const auto byteAt = [&](int i) { return i < head.size() ? quint64(uchar(head[i])) : 0; };
    const auto number = [&](int at, int bytes) {
        quint64 value = 0;
        for (int i = 0; i < bytes; ++i)
            value |= byteAt(at + i) << (8 * (little ? i : bytes - 1 - i));
        return value;
    };
    const quint64 version = number(2, 2);
    if (version == 42)  // classic: first directory at bytes 4-7
        return head.size() >= 8 && number(4, 4) == 0 ? TiffHead::NoPages : TiffHead::Pages;
    if (version == 43)  // BigTIFF: first directory at bytes 8-15
        return head.size() >= 16 && number(8, 8) == 0 ? TiffHead::NoPages : TiffHead::Pages;
    return TiffHead::NotTiff;
}

TiffReader::TiffReader(TiffHandle handle) : handle_(std::move(handle))
{
}

IoResult<TiffReader> TiffReader::open(const QString& path)
{
    const QFileInfo file(path);
    if (!file.exists())
        return Failure(QStringLiteral("The file \"%1\" does not exist.").arg(path));
    if (!file.isFile())
        return Failure(QStringLiteral("\"%1\" is not a file.").arg(path));
    QFile raw(path);
    if (!raw.open(QIODevice::ReadOnly))
        return Failure(QStringLiteral("Can't read \"%1\": %2").arg(path, raw.errorString()));
    const QByteArray head = raw.read(16);
    raw.close();
    if (head.isEmpty())
        return Failure(QStringLiteral("\"%1\" is empty.").arg(path));
    switch (TiffSignature(head)) {
    case TiffHead::NotTiff:
        return Failure(QStringLiteral("Can't read \"%1\": it is not a TIFF file.").arg(path));
    case TiffHead::NoPages:
        return Failure(QStringLiteral("\"%1\" has no pages.").arg(path));
    case TiffHead::Pages:
        break;
    }
    auto handle = TiffHandle::open(path, "r");
    if (!handle)
        return Failure(QStringLiteral("Can't read \"%1\": the file is damaged (%2).").arg(path, handle.error()));
    TiffReader reader(std::move(*handle));
    TIFF* tif = reader.handle_.get();
    const tdir_t pages = TIFFNumberOfDirectories(tif);
    if (pages == 0)
        return Failure(QStringLiteral("\"%1\" has no pages.").arg(path));
    reader.pageCount_ = int(std::min<tdir_t>(pages, INT_MAX));
    reader.tags_.software = asciiTag(tif, TIFFTAG_SOFTWARE);
    reader.tags_.heat = asciiTag(tif, kTagHeat);
    reader.tags_.part = asciiTag(tif, kTagPart);
    reader.tags_.purchaseOrder = asciiTag(tif, kTagPurchaseOrder);
    reader.tags_.vendor = asciiTag(tif, kTagVendor);
    reader.tags_.manufacturer = asciiTag(tif, kTagManufacturer);
    reader.handle_.takeErrors();
    return reader;
}

QString TiffReader::pageName(int page) const
{
    return QStringLiteral("page %1 of \"%2\"").arg(page + 1).arg(path());
}

IoStatus TiffReader::select(int page)
{
    if (page < 0 || page >= pageCount_) {
        return Failure(QStringLiteral("\"%1\" has %2 page(s); there is no page %3.").arg(path()).arg(pageCount_).arg(page + 1));
    }
    TIFF* tif = handle_.get();
    const tdir_t current = TIFFCurrentDirectory(tif);
    if (current == tdir_t(page))
        return {};
    // Reading on from the page before is cheap; anything else walks from the start.
    const int done = current + 1 == tdir_t(page) ? TIFFReadDirectory(tif) : TIFFSetDirectory(tif, tdir_t(page));
    if (done != 1)
        return Failure(QStringLiteral("Can't read %1: the page is damaged (%2).")
                           .arg(pageName(page), handle_.takeErrors(QStringLiteral("its directory can't be read"))));
    handle_.takeErrors();
    return {};
}

TiffPageInfo TiffReader::currentInfo() const
{
    TIFF* tif = handle_.get();
    TiffPageInfo info;
    uint32_t width = 0;
    uint32_t height = 0;
    TIFFGetField(tif, TIFFTAG_IMAGEWIDTH, &width);
    TIFFGetField(tif, TIFFTAG_IMAGELENGTH, &height);
    info.width = clampToInt(width);
    info.height = clampToInt(height);
    uint16_t bits = 1;
    uint16_t samples = 1;
    uint16_t compression = COMPRESSION_NONE;
    TIFFGetFieldDefaulted(tif, TIFFTAG_BITSPERSAMPLE, &bits);
    TIFFGetFieldDefaulted(tif, TIFFTAG_SAMPLESPERPIXEL, &samples);
    TIFFGetFieldDefaulted(tif, TIFFTAG_COMPRESSION, &compression);
    info.bitsPerSample = bits;
    info.samplesPerPixel = samples;
    info.compression = compression;
    uint16_t photometric = 0;
    if (TIFFGetField(tif, TIFFTAG_PHOTOMETRIC, &photometric) == 1)
        info.photometric = photometric;
    else  // fax files often leave it out; their convention is 1 = black
        info.photometric = (bits == 1 && samples == 1) ? PHOTOMETRIC_MINISWHITE : PHOTOMETRIC_MINISBLACK;
    info.tiled = TIFFIsTiled(tif) != 0;

    float x = 0;
    float y = 0;
    uint16_t unit = RESUNIT_INCH;
    const bool hasX = TIFFGetField(tif, TIFFTAG_XRESOLUTION, &x) == 1 && std::isfinite(x) && x > 0;
    const bool hasY = TIFFGetField(tif, TIFFTAG_YRESOLUTION, &y) == 1 && std::isfinite(y) && y > 0;
    TIFFGetFieldDefaulted(tif, TIFFTAG_RESOLUTIONUNIT, &unit);
    if ((hasX || hasY) && unit != RESUNIT_NONE) {
        const double factor = unit == RESUNIT_CENTIMETER ? 2.54 : 1.0;
        const double dpiX = (hasX ? x : y) * factor;
        const double dpiY = (hasY ? y : x) * factor;
        info.dpi = Dpi{std::round(dpiX * 100) / 100, std::round(dpiY * 100) / 100};
        info.dpiRecorded = true;
    } else {
        info.dpi = Dpi{kDefaultDpi, kDefaultDpi};
    }
    return info;
}

IoResult<TiffPageInfo> TiffReader::pageInfo(int page)
{
    if (auto selected = select(page); !selected)
        return selected.failure();
    return currentInfo();
}

QString TiffReader::takeErrors(const QString& fallback)
{
    return handle_.takeErrors(fallback);
}

IoResult<tiff*> TiffReader::selectPage(int page)
{
    if (auto selected = select(page); !selected)
        return selected.failure();
    return handle_.get();
}

IoResult<QImage> TiffReader::readPage(int page)
{
    if (auto selected = select(page); !selected)
        return selected.failure();
    const TiffPageInfo info = currentInfo();
    const QString what = pageName(page);
    const bool grey = isGreyPhotometric(info.photometric) && info.samplesPerPixel == 1;
    const bool bitonal = grey && info.bitsPerSample == 1;
    const bool grey8 = grey && info.bitsPerSample == 8;
    const int bitsInMemory = bitonal ? 1 : grey8 ? 8 : 32;
    if (auto fits = CheckPageSize(info.width, info.height, bitsInMemory, what); !fits)
        return fits.failure();

    QImage image;
    if (bitonal || grey8) {
        image = QImage(info.width, info.height, bitonal ? QImage::Format_Mono : QImage::Format_Grayscale8);
        if (image.isNull())
            return Failure(QStringLiteral("There is not enough memory to read %1.").arg(what));
        if (bitonal)
            image.setColorTable(MonoColorTable());
        if (auto read = readContiguous(info, image, bitsInMemory); !read)
            return Failure(QStringLiteral("Can't read %1: %2.").arg(what, read.error()));
        // One bit is black in memory, and dark is low in grey: flip what the file holds the other way round.
        if ((bitonal && info.photometric == PHOTOMETRIC_MINISBLACK) || (grey8 && info.photometric == PHOTOMETRIC_MINISWHITE))
            image.invertPixels();
    } else {
        auto rgba = readRgba(info);
        if (!rgba)
            return Failure(QStringLiteral("Can't read %1: %2.").arg(what, rgba.error()));
        image = std::move(*rgba);
    }
    SetDpi(image, info.dpi);
    return image;
}

IoStatus TiffReader::readContiguous(const TiffPageInfo& info, QImage& image, int bitsPerPixel)
{
    TIFF* tif = handle_.get();
    const qsizetype rowBytes = (qsizetype(info.width) * bitsPerPixel + 7) / 8;
    const auto hasErrors = [&] { return !handle_.peekErrors().isEmpty(); };
    const auto failed = [&] {
        return Failure(QStringLiteral("the page is damaged (%1)").arg(handle_.takeErrors(QStringLiteral("its data can't be decoded"))));
    };

    if (!info.tiled) {
        uint32_t rowsPerStrip = 0;
        TIFFGetFieldDefaulted(tif, TIFFTAG_ROWSPERSTRIP, &rowsPerStrip);
        if (rowsPerStrip == 0 || rowsPerStrip > uint32_t(info.height))
            rowsPerStrip = uint32_t(info.height);
        if (TIFFScanlineSize(tif) != rowBytes)
            return Failure(QStringLiteral("the picture data has an unexpected layout"));
        const uint32_t strips = TIFFNumberOfStrips(tif);
        if (image.bytesPerLine() == rowBytes) {
            // Rows without padding: whole strips decode straight into the image.
            for (uint32_t strip = 0; strip < strips; ++strip) {
                const qint64 firstRow = qint64(strip) * rowsPerStrip;
                if (firstRow >= info.height)
                    break;
                const int rows = int(std::min<qint64>(rowsPerStrip, info.height - firstRow));
                // Decoders report damage and go on with filler: damage fails the page all the same.
                if (TIFFReadEncodedStrip(tif, strip, image.scanLine(int(firstRow)), tmsize_t(rows) * rowBytes) < 0 || hasErrors())
                    return failed();
            }
        } else {
            for (int row = 0; row < info.height; ++row) {
                if (TIFFReadScanline(tif, image.scanLine(row), uint32_t(row), 0) < 0 || hasErrors())
                    return failed();
            }
        }
    } else {
        uint32_t tileWidth = 0;
        uint32_t tileHeight = 0;
        TIFFGetField(tif, TIFFTAG_TILEWIDTH, &tileWidth);
        TIFFGetField(tif, TIFFTAG_TILELENGTH, &tileHeight);
        const tmsize_t tileSize = TIFFTileSize(tif);
        const tmsize_t tileRowBytes = TIFFTileRowSize(tif);
        if (tileWidth == 0 || tileHeight == 0 || tileSize <= 0 || (qint64(tileWidth) * bitsPerPixel) % 8 != 0)
            return Failure(QStringLiteral("the tiles of the page have an unexpected layout"));
        std::vector<uint8_t> buffer(static_cast<size_t>(tileSize));
        for (uint32_t y = 0; y < uint32_t(info.height); y += tileHeight) {
            const int rows = int(std::min<qint64>(tileHeight, info.height - qint64(y)));
            for (uint32_t x = 0; x < uint32_t(info.width); x += tileWidth) {
                if (TIFFReadTile(tif, buffer.data(), x, y, 0, 0) < 0 || hasErrors())
                    return failed();
                const qsizetype offset = qsizetype(x) * bitsPerPixel / 8;
                const size_t bytes = size_t(std::min<qsizetype>(tileRowBytes, rowBytes - offset));
                for (int row = 0; row < rows; ++row)
                    std::memcpy(image.scanLine(int(y) + row) + offset, buffer.data() + size_t(row) * size_t(tileRowBytes), bytes);
            }
        }
    }
    handle_.takeErrors();
    return {};
}

IoResult<QImage> TiffReader::readRgba(const TiffPageInfo& info)
{
    TIFF* tif = handle_.get();
    char why[1024] = {};
    if (!TIFFRGBAImageOK(tif, why))
        return Failure(QStringLiteral("this kind of page is not supported (%1)").arg(QString::fromLocal8Bit(why).trimmed()));
    // libtiff's raster is one 32-bit word per pixel, R in the lowest byte, alpha premultiplied.
    QImage raster(info.width, info.height, QImage::Format_RGBA8888_Premultiplied);
    if (raster.isNull())
        return Failure(QStringLiteral("there is not enough memory for the page"));
    static_assert(sizeof(uint32_t) == 4);
    if (TIFFReadRGBAImageOriented(tif, uint32_t(info.width), uint32_t(info.height), reinterpret_cast<uint32_t*>(raster.bits()),
                                  ORIENTATION_TOPLEFT, 1) != 1)
        return Failure(QStringLiteral("the page is damaged (%1)").arg(handle_.takeErrors(QStringLiteral("its data can't be decoded"))));
    handle_.takeErrors();

    uint16_t extraCount = 0;
    uint16_t* extraTypes = nullptr;
    const bool hasAlpha = TIFFGetField(tif, TIFFTAG_EXTRASAMPLES, &extraCount, &extraTypes) == 1 && extraCount > 0;
    QImage page;
    if (hasAlpha) {
        page = FlattenOnWhite(raster);
        if (page.isNull())
            return Failure(QStringLiteral("there is not enough memory for the page"));
    } else {
        raster.convertTo(QImage::Format_RGB32);
        page = std::move(raster);
    }
    if (isGreyPhotometric(info.photometric))
        page.convertTo(QImage::Format_Grayscale8);
    return page;
}

}  // namespace tarlox
