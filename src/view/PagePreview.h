#pragma once

#include <QImage>
#include <QRect>
#include <QSize>

namespace tarlox {

struct ViewGeometry;

// What the viewer puts on the screen for a page.
//
// A black-and-white page is shrunk by averaging: every screen pixel takes the
// share of black among the page pixels it covers, as a grey level, so thin
// strokes of a 300 dpi page stay visible at a fitted size instead of
// dropping out between sampled pixels. Grey and colour pages are scaled
// smoothly. Magnified pages are scaled up smoothly.

// The part source of page (image pixels) at size target, in grey
// (Grayscale8) for a black-and-white or grey page, RGB32 otherwise.
QImage RenderArea(const QImage& page, const QRect& source, const QSize& target);

// The whole window: the visible part of the page where the geometry puts
// it, on a grey ground. Format as RenderArea's.
QImage RenderView(const QImage& page, const ViewGeometry& geometry);

// Averages a black-and-white page (PageImage.h form) over boxes: source is
// reduced to target, which must not be larger on either axis.
QImage ShrinkMonoToGrey(const QImage& mono, const QRect& source, const QSize& target);

// The page turned by quarter turns counter-clockwise (negative: clockwise).
// Its size swaps for an odd count; a black-and-white page stays one and the
// resolution goes with the axes.
QImage TurnPage(const QImage& page, int quarterTurnsCounterClockwise);

}  // namespace tarlox
