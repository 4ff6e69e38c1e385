#include "store/TiffPageCopy.h"

#include <QString>

#include <tiffio.h>

#include <vector>

namespace tarlox {

bool CanCopyRaw(tiff* source)
{
    uint16_t compression = 0;
    uint16_t bits = 0;
    uint16_t samples = 0;
    uint16_t planar = PLANARCONFIG_CONTIG;
    uint16_t photometric = PHOTOMETRIC_MINISWHITE;
    TIFFGetFieldDefaulted(source, TIFFTAG_COMPRESSION, &compression);
    TIFFGetFieldDefaulted(source, TIFFTAG_BITSPERSAMPLE, &bits);
    TIFFGetFieldDefaulted(source, TIFFTAG_SAMPLESPERPIXEL, &samples);
    TIFFGetFieldDefaulted(source, TIFFTAG_PLANARCONFIG, &planar);
    TIFFGetField(source, TIFFTAG_PHOTOMETRIC, &photometric);
    return compression == COMPRESSION_CCITTFAX4 && bits == 1 && samples == 1 && planar == PLANARCONFIG_CONTIG
           && !TIFFIsTiled(source) && (photometric == PHOTOMETRIC_MINISWHITE || photometric == PHOTOMETRIC_MINISBLACK);
}

IoStatus CopyRawPage(tiff* source, tiff* target)
{
    const auto failed = [] { return Failure(QStringLiteral("the page could not be copied")); };

    uint32_t width = 0;
    uint32_t height = 0;
    uint32_t rowsPerStrip = 0;
    uint16_t photometric = PHOTOMETRIC_MINISWHITE;
    uint16_t fillOrder = FILLORDER_MSB2LSB;
    TIFFGetField(source, TIFFTAG_IMAGEWIDTH, &width);
    TIFFGetField(source, TIFFTAG_IMAGELENGTH, &height);
    TIFFGetFieldDefaulted(source, TIFFTAG_ROWSPERSTRIP, &rowsPerStrip);
    TIFFGetField(source, TIFFTAG_PHOTOMETRIC, &photometric);
    TIFFGetFieldDefaulted(source, TIFFTAG_FILLORDER, &fillOrder);
    if (rowsPerStrip == 0 || rowsPerStrip > height)
        rowsPerStrip = height;

    TIFFSetField(target, TIFFTAG_SUBFILETYPE, uint32_t(FILETYPE_PAGE));
    TIFFSetField(target, TIFFTAG_IMAGEWIDTH, width);
    TIFFSetField(target, TIFFTAG_IMAGELENGTH, height);
    TIFFSetField(target, TIFFTAG_BITSPERSAMPLE, 1);
    TIFFSetField(target, TIFFTAG_SAMPLESPERPIXEL, 1);
    TIFFSetField(target, TIFFTAG_COMPRESSION, COMPRESSION_CCITTFAX4);
    TIFFSetField(target, TIFFTAG_PHOTOMETRIC, int(photometric));
    TIFFSetField(target, TIFFTAG_FILLORDER, int(fillOrder));
    TIFFSetField(target, TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG);
    TIFFSetField(target, TIFFTAG_ROWSPERSTRIP, rowsPerStrip);

    uint32_t group4Options = 0;
    if (TIFFGetField(source, TIFFTAG_GROUP4OPTIONS, &group4Options) == 1)
        TIFFSetField(target, TIFFTAG_GROUP4OPTIONS, group4Options);
    uint16_t orientation = 0;
    if (TIFFGetField(source, TIFFTAG_ORIENTATION, &orientation) == 1)
        TIFFSetField(target, TIFFTAG_ORIENTATION, int(orientation));
    float resolution = 0;
    if (TIFFGetField(source, TIFFTAG_XRESOLUTION, &resolution) == 1)
        TIFFSetField(target, TIFFTAG_XRESOLUTION, double(resolution));
    if (TIFFGetField(source, TIFFTAG_YRESOLUTION, &resolution) == 1)
        TIFFSetField(target, TIFFTAG_YRESOLUTION, double(resolution));
    uint16_t unit = 0;
    if (TIFFGetField(source, TIFFTAG_RESOLUTIONUNIT, &unit) == 1)
        TIFFSetField(target, TIFFTAG_RESOLUTIONUNIT, int(unit));

    const uint32_t strips = TIFFNumberOfStrips(source);
    std::vector<uint8_t> buffer;
    for (uint32_t strip = 0; strip < strips; ++strip) {
        const tmsize_t size = TIFFRawStripSize(source, strip);
        if (size < 0)
            return failed();
        buffer.resize(size_t(size));
        const tmsize_t got = size == 0 ? 0 : TIFFReadRawStrip(source, strip, buffer.data(), size);
        if (got < 0)
            return failed();
        if (TIFFWriteRawStrip(target, strip, buffer.data(), got) < 0)
            return failed();
    }
    return {};
}

}  // namespace tarlox
