#include "view/ViewGeometry.h"

#include <algorithm>
#include <cmath>

namespace tarlox {

double ViewGeometry::scale() const
{
    if (image.isEmpty() || window.isEmpty())
        return 1.0;
    if (zoomed && zoomSize > 0)
        return std::min(window.width(), window.height()) / zoomSize;
    return std::min(double(window.width()) / image.width(), double(window.height()) / image.height());
}

QSizeF ViewGeometry::scrollRange() const
{
    if (!zoomed || image.isEmpty())
        return {0, 0};
    const double s = scale();
    return {std::max(0.0, image.width() - window.width() / s), std::max(0.0, image.height() - window.height() / s)};
}

QPointF ViewGeometry::origin() const
{
    const double s = scale();
    if (!zoomed) {
        // Centred: the margins are window pixels, so the origin lies left of and above the page.
        return {-(window.width() - image.width() * s) / 2.0 / s, -(window.height() - image.height() * s) / 2.0 / s};
    }
    const QSizeF range = scrollRange();
    const auto along = [&](double wanted, double limit, double imageSide, double windowSide) {
        if (limit <= 0)  // the page is narrower than the window: centred
            return -(windowSide / s - imageSide) / 2.0;
        return std::clamp(wanted, 0.0, limit);
    };
    return {along(zoomLeft, range.width(), image.width(), window.width()),
            along(zoomTop, range.height(), image.height(), window.height())};
}

QPointF ViewGeometry::toImage(QPointF windowPoint) const
{
    return origin() + windowPoint / scale();
}

QPointF ViewGeometry::toWindow(QPointF imagePoint) const
{
    return (imagePoint - origin()) * scale();
}

QRectF ViewGeometry::visibleImage() const
{
    const QRectF all(toImage(QPointF(0, 0)), toImage(QPointF(window.width(), window.height())));
    return all.intersected(QRectF(QPointF(0, 0), QSizeF(image)));
}

QRect ViewGeometry::pageInWindow() const
{
    const QRectF visible = visibleImage();
    const QPointF a = toWindow(visible.topLeft());
    const QPointF b = toWindow(visible.bottomRight());
    const QRect rect(QPoint(int(std::lround(a.x())), int(std::lround(a.y()))),
                     QPoint(int(std::lround(b.x())) - 1, int(std::lround(b.y())) - 1));
    return rect.intersected(QRect(QPoint(0, 0), window));
}

}  // namespace tarlox
