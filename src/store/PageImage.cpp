#include "store/PageImage.h"

#include <QPainter>

#include <cmath>

namespace tarlox {

namespace {

constexpr double kMetresPerInch = 0.0254;
const QRgb kWhite = qRgb(255, 255, 255);
const QRgb kBlack = qRgb(0, 0, 0);

// Dots per metre are whole numbers, so a resolution comes back from a QImage
// up to 0.0127 dpi off: that much from a whole number is taken as the whole
// number, anything else is kept to 1/100.
double roundDpi(double dpi)
{
    const double whole = std::round(dpi);
    if (std::abs(dpi - whole) <= 0.5 * kMetresPerInch)
        return whole;
    return std::round(dpi * 100.0) / 100.0;
}

}  // namespace

Dpi DpiOf(const QImage& image)
{
    return Dpi{roundDpi(image.dotsPerMeterX() * kMetresPerInch), roundDpi(image.dotsPerMeterY() * kMetresPerInch)};
}

void SetDpi(QImage& image, Dpi dpi)
{
    image.setDotsPerMeterX(int(std::lround(dpi.x / kMetresPerInch)));
    image.setDotsPerMeterY(int(std::lround(dpi.y / kMetresPerInch)));
}

QList<QRgb> MonoColorTable()
{
    return {kWhite, kBlack};
}

QImage NewMonoPage(int width, int height)
{
    QImage page(width, height, QImage::Format_Mono);
    if (page.isNull())
        return page;
    page.setColorTable(MonoColorTable());
    page.fill(0);
    return page;
}

bool IsBlackAndWhite(const QImage& image)
{
    return !image.isNull() && image.depth() == 1;
}

QImage FlattenOnWhite(const QImage& image)
{
    if (image.isNull() || !image.hasAlphaChannel())
        return image;
    QImage flat(image.size(), QImage::Format_RGB32);
    if (flat.isNull())
        return flat;
    flat.fill(Qt::white);
    flat.setDotsPerMeterX(image.dotsPerMeterX());
    flat.setDotsPerMeterY(image.dotsPerMeterY());
    QPainter painter(&flat);
    painter.drawImage(0, 0, image);
    painter.end();
    return flat;
}

QImage ToStoreMono(const QImage& image)
{
    if (!IsBlackAndWhite(image))
        return {};
    QImage mono = image.format() == QImage::Format_Mono ? image : image.convertToFormat(QImage::Format_Mono);
    const QList<QRgb> table = mono.colorTable();
    const QRgb zero = table.value(0, kWhite);
    const QRgb one = table.value(1, kBlack);
    if (table.size() == 2 && zero == kWhite && one == kBlack)
        return mono;
    const bool zeroIsDarker = qGray(zero) < qGray(one);
    mono.detach();
    if (zeroIsDarker)
        mono.invertPixels();
    mono.setColorTable(MonoColorTable());
    return mono;
}

}  // namespace tarlox
