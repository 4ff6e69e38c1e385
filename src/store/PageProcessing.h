#pragma once

#include "base/IoResult.h"

#include <QImage>

namespace tarlox {

// Page work on QImages, done by Leptonica: what the scanner and the import of
// files do to a page before it is stored. Results keep the page's resolution;
// black-and-white results follow PageImage.h.

// Reduces a page to two colours. A 1-bit page is only brought to the stored
// form. Grey and colour pages go through document binarization: the
// background is estimated over the page and flattened to white (so shading,
// stains, coloured paper and uneven lighting drop out), then the page is cut
// at a level set relative to that background. Dark text stays black on any
// background; solid dark areas stay solid.
IoResult<QImage> ReduceToBlackAndWhite(const QImage& page);

// The skew of a page's text lines: the turn in degrees that straightens them
// (positive is clockwise), and how sure the measure is; a page without
// enough text gives 0 with confidence 0.
struct Skew {
    double angle = 0;
    double confidence = 0;
};
IoResult<Skew> FindSkew(const QImage& page);

// Straightens a scanned page. A page whose skew can't be measured, or is too
// small to matter, comes back unchanged. Grey and colour pages stay so.
IoResult<QImage> DeskewPage(const QImage& page, Skew* found = nullptr);

// Black for white and white for black (or the negative of a grey or colour page).
QImage InvertPage(const QImage& page);

// The page resampled to width x height pixels; the resolution follows the scale.
IoResult<QImage> ScalePage(const QImage& page, int width, int height);

}  // namespace tarlox
