#include "store/PageLimits.h"

#include <QString>

namespace tarlox {

IoStatus CheckPageSize(qint64 width, qint64 height, int bitsPerPixel, const QString& what)
{
    if (width <= 0 || height <= 0)
        return Failure(QStringLiteral("Can't read %1: it has no picture (%2 x %3 pixels).").arg(what).arg(width).arg(height));
    const qint64 bytes = (width * bitsPerPixel + 7) / 8 * height;
    if (width > kMaxPageSide || height > kMaxPageSide || bytes > kMaxPageBytes) {
        return Failure(QStringLiteral("Can't read %1: the page is too large (%2 x %3 pixels at %4 bits per pixel "
                                      "would need %5 MB; the limit is %6 MB).")
                           .arg(what)
                           .arg(width)
                           .arg(height)
                           .arg(bitsPerPixel)
                           .arg((bytes + (1 << 20) - 1) >> 20)
                           .arg(kMaxPageBytes >> 20));
    }
    return {};
}

}  // namespace tarlox
