#include "store/LeptonicaImage.h"

#include "store/PageImage.h"

#include <QtEndian>

#include <leptonica/allheaders.h>

#include <cmath>
#include <cstring>
#include <mutex>

namespace tarlox {

namespace {

// Leptonica keeps pixels in 32-bit words, the first pixel in the most
// significant bits. Copying rows of packed bytes therefore means reading the
// bytes as big-endian words.
void copyRowsToWords(const QImage& image, Pix* pix)
{
    const int wordsPerLine = pixGetWpl(pix);
    l_uint32* words = pixGetData(pix);
    const qsizetype rowBytes = qsizetype(wordsPerLine) * 4;
    for (int y = 0; y < image.height(); ++y) {
        const uchar* row = image.constScanLine(y);
        l_uint32* line = words + qsizetype(y) * wordsPerLine;
        const qsizetype available = std::min<qsizetype>(rowBytes, image.bytesPerLine());
        std::memcpy(line, row, size_t(available));
        for (int i = 0; i < wordsPerLine; ++i)
            line[i] = qFromBigEndian(line[i]);
    }
}

void copyWordsToRows(Pix* pix, QImage& image)
{
    const int wordsPerLine = pixGetWpl(pix);
    const l_uint32* words = pixGetData(pix);
    const qsizetype bytes = std::min<qsizetype>(qsizetype(wordsPerLine) * 4, image.bytesPerLine());
    for (int y = 0; y < image.height(); ++y) {
        auto* row = reinterpret_cast<l_uint32*>(image.scanLine(y));
        const l_uint32* line = words + qsizetype(y) * wordsPerLine;
        const qsizetype whole = bytes / 4;
        for (qsizetype i = 0; i < whole; ++i)
            row[i] = qToBigEndian(line[i]);
    }
}

int ppi(double dpi)
{
    return int(std::lround(dpi));
}

}  // namespace

void PixDeleter::operator()(Pix* pix) const
{
    pixDestroy(&pix);
}

void QuietLeptonica()
{
    static std::once_flag once;
    std::call_once(once, [] { setMsgSeverity(L_SEVERITY_NONE); });
}

PixPtr PixFromImage(const QImage& image)
{
    QuietLeptonica();
    if (image.isNull())
        return {};
    PixPtr pix;
    if (IsBlackAndWhite(image)) {
        const QImage mono = ToStoreMono(image);
        pix.reset(pixCreateNoInit(mono.width(), mono.height(), 1));
        if (pix) {
            copyRowsToWords(mono, pix.get());
            pixSetPadBits(pix.get(), 0);
        }
    } else if (image.format() == QImage::Format_Grayscale8) {
        pix.reset(pixCreateNoInit(image.width(), image.height(), 8));
        if (pix)
            copyRowsToWords(image, pix.get());
    } else {
        const QImage rgb = image.format() == QImage::Format_RGB32 ? image : image.convertToFormat(QImage::Format_RGB32);
        pix.reset(pixCreateNoInit(rgb.width(), rgb.height(), 32));
        if (pix) {
            const int wordsPerLine = pixGetWpl(pix.get());
            l_uint32* words = pixGetData(pix.get());
            for (int y = 0; y < rgb.height(); ++y) {
                const auto* row = reinterpret_cast<const QRgb*>(rgb.constScanLine(y));
                l_uint32* line = words + qsizetype(y) * wordsPerLine;
                for (int x = 0; x < rgb.width(); ++x)
                    line[x] = (row[x] << 8) | 0xff;  // 0xAARRGGBB to 0xRRGGBBAA
            }
        }
    }
    if (pix) {
        const Dpi dpi = DpiOf(image);
        pixSetResolution(pix.get(), ppi(dpi.x), ppi(dpi.y));
    }
    return pix;
}

QImage ImageFromPix(Pix* source)
{
    QuietLeptonica();
    if (!source)
        return {};
    PixPtr converted;
    Pix* pix = source;
    if (pixGetColormap(pix)) {
        converted.reset(pixRemoveColormap(pix, REMOVE_CMAP_BASED_ON_SRC));
        pix = converted.get();
    }
    if (pix && pixGetDepth(pix) != 1 && pixGetDepth(pix) != 8 && pixGetDepth(pix) != 32) {
        converted.reset(pixGetSpp(pix) == 1 && pixGetDepth(pix) < 32 ? pixConvertTo8(pix, 0) : pixConvertTo32(pix));
        pix = converted.get();
    }
    if (!pix)
        return {};

    const int width = int(pixGetWidth(pix));
    const int height = int(pixGetHeight(pix));
    QImage image;
    switch (pixGetDepth(pix)) {
    case 1:
        image = NewMonoPage(width, height);
        if (!image.isNull())
            copyWordsToRows(pix, image);
        break;
    case 8:
        image = QImage(width, height, QImage::Format_Grayscale8);
        if (!image.isNull())
            copyWordsToRows(pix, image);
        break;
    default: {
        image = QImage(width, height, QImage::Format_RGB32);
        if (image.isNull())
            break;
        const int wordsPerLine = pixGetWpl(pix);
        const l_uint32* words = pixGetData(pix);
        for (int y = 0; y < height; ++y) {
            auto* row = reinterpret_cast<QRgb*>(image.scanLine(y));
            const l_uint32* line = words + qsizetype(y) * wordsPerLine;
            for (int x = 0; x < width; ++x)
                row[x] = (line[x] >> 8) | 0xff000000u;
        }
        break;
    }
    }
    if (!image.isNull()) {
        l_int32 x = 0;
        l_int32 y = 0;
        pixGetResolution(pix, &x, &y);
        if (x > 0 && y > 0)
            SetDpi(image, Dpi{double(x), double(y)});
    }
    return image;
}

}  // namespace tarlox
