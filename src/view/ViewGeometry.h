#pragma once

#include <QPointF>
#include <QRect>
#include <QRectF>
#include <QSize>

namespace tarlox {

// Where a page stands in the viewer's window: the whole page fitted and
// centred, or a magnified square of it (side zoomSize, upper left corner at
// zoomLeft, zoomTop) filling the window's shorter side. Positions are image
// pixels on the page and window pixels on the screen.
struct ViewGeometry {
    QSize image;
    QSize window;
    bool zoomed = false;
    double zoomSize = 0;
    double zoomLeft = 0;
    double zoomTop = 0;

    // Window pixels per image pixel.
    double scale() const;
    // The image point drawn at the window's upper left corner.
    QPointF origin() const;
    QPointF toImage(QPointF windowPoint) const;
    QPointF toWindow(QPointF imagePoint) const;
    // The part of the page that is on the screen, in image pixels.
    QRectF visibleImage() const;
    // Where that part is drawn, in window pixels.
    QRect pageInWindow() const;
    // How far a magnified view can scroll, in image pixels (0 when fitted).
    QSizeF scrollRange() const;
};

}  // namespace tarlox
