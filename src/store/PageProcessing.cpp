#include "store/PageProcessing.h"

#include "store/LeptonicaImage.h"
#include "store/PageImage.h"

#include <leptonica/allheaders.h>

#include <cmath>

namespace tarlox {

namespace {

// Background flattening maps the page's own background to white; the grey
// levels between kBlackLevel and kWhiteLevel of the flattened page are then
// stretched over the full range and cut at kCut. Faint text at 60 % of the
// background's brightness still comes out black; shading lighter than about
// three quarters of it goes white.
constexpr l_int32 kBlackLevel = 70;
constexpr l_int32 kWhiteLevel = 190;
constexpr l_int32 kCut = 160;

// Skew search done on the page reduced by this factor (Leptonica's default).
constexpr l_int32 kSkewReduction = 2;

IoError outOfMemory()
{
    return Failure(QStringLiteral("There is not enough memory to process the page."));
}

PixPtr toGrey(Pix* pix)
{
    if (pixGetDepth(pix) == 8 && !pixGetColormap(pix))
        return PixPtr(pixClone(pix));
    if (pixGetDepth(pix) == 32)
        return PixPtr(pixConvertRGBToLuminance(pix));
    return PixPtr(pixConvertTo8(pix, 0));
}

// For pages too small for a background estimate: one Otsu level for the
// whole page, or the middle grey when even that has too little to go on.
PixPtr thresholdWhole(Pix* grey)
{
    const l_int32 width = pixGetWidth(grey);
    const l_int32 height = pixGetHeight(grey);
    Pix* binary = nullptr;
    if (width >= 16 && height >= 16 && pixOtsuAdaptiveThreshold(grey, width, height, 0, 0, 0.1f, nullptr, &binary) == 0 && binary)
        return PixPtr(binary);
    return PixPtr(pixThresholdToBinary(grey, 128));
}

}  // namespace

IoResult<QImage> ReduceToBlackAndWhite(const QImage& page)
{
    if (page.isNull())
        return Failure(QStringLiteral("The page is empty."));
    if (IsBlackAndWhite(page))
        return ToStoreMono(page);
    const PixPtr pix = PixFromImage(page);
    if (!pix)
        return outOfMemory();
    const PixPtr grey = toGrey(pix.get());
    if (!grey)
        return outOfMemory();
    PixPtr binary;
    if (const PixPtr flat{pixCleanBackgroundToWhite(grey.get(), nullptr, nullptr, 1.0f, kBlackLevel, kWhiteLevel)})
        binary.reset(pixThresholdToBinary(flat.get(), kCut));
    else
        binary = thresholdWhole(grey.get());
    if (!binary)
        return outOfMemory();
    pixCopyResolution(binary.get(), pix.get());
    QImage result = ImageFromPix(binary.get());
    if (result.isNull())
        return outOfMemory();
    return result;
}

IoResult<Skew> FindSkew(const QImage& page)
{
    if (page.isNull())
        return Failure(QStringLiteral("The page is empty."));
    auto mono = ReduceToBlackAndWhite(page);
    if (!mono)
        return mono.failure();
    const PixPtr pix = PixFromImage(*mono);
    if (!pix)
        return outOfMemory();
    l_float32 angle = 0;
    l_float32 confidence = 0;
    if (pixFindSkew(pix.get(), &angle, &confidence) != 0)
        return Skew{};
    return Skew{angle, confidence};
}

IoResult<QImage> DeskewPage(const QImage& page, Skew* found)
{
    if (found)
        *found = Skew{};
    if (page.isNull())
        return Failure(QStringLiteral("The page is empty."));
    const PixPtr pix = PixFromImage(page);
    if (!pix)
        return outOfMemory();
    l_float32 angle = 0;
    l_float32 confidence = 0;
    const PixPtr straight{pixFindSkewAndDeskew(pix.get(), kSkewReduction, &angle, &confidence)};
    if (!straight)  // too small or too empty to measure: nothing to straighten
        return IsBlackAndWhite(page) ? ToStoreMono(page) : page;
    if (found)
        *found = Skew{angle, confidence};
    pixCopyResolution(straight.get(), pix.get());
    QImage result = ImageFromPix(straight.get());
    if (result.isNull())
        return outOfMemory();
    return result;
}

QImage InvertPage(const QImage& page)
{
    QImage inverted = IsBlackAndWhite(page) ? ToStoreMono(page) : page.copy();
    inverted.invertPixels();
    return inverted;
}

IoResult<QImage> ScalePage(const QImage& page, int width, int height)
{
    if (page.isNull())
        return Failure(QStringLiteral("The page is empty."));
    if (width <= 0 || height <= 0)
        return Failure(QStringLiteral("A page can't be scaled to %1 x %2 pixels.").arg(width).arg(height));
    const PixPtr pix = PixFromImage(page);
    if (!pix)
        return outOfMemory();
    const PixPtr scaled{pixScaleToSize(pix.get(), width, height)};
    if (!scaled)
        return outOfMemory();
    QImage result = ImageFromPix(scaled.get());
    if (result.isNull())
        return outOfMemory();
    const Dpi dpi = DpiOf(page);
    SetDpi(result, Dpi{dpi.x * width / page.width(), dpi.y * height / page.height()});
    return result;
}

}  // namespace tarlox
