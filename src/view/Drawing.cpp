#include "view/Drawing.h"

#include "store/ImageInput.h"
#include "store/PageImage.h"
#include "store/PageProcessing.h"

#include <QFontMetricsF>
#include <QPainter>
#include <QPainterPath>

#include <algorithm>
#include <cmath>

namespace tarlox {

namespace {

int rounded(double value) { return int(std::lround(value)); }

// Runs paint on the area of the page: straight on a colour page; on a
// black-and-white page on an RGB32 copy of the area, which then goes back
// into the page as black below half grey and white above.
void paintArea(QImage& page, const QRect& wanted, const std::function<void(QPainter&)>& paint)
{
    page = DrawablePage(page);
    const QRect area = wanted.intersected(page.rect());
    if (area.isEmpty())
        return;
    if (!IsBlackAndWhite(page)) {
        QPainter painter(&page);
        paint(painter);
        return;
    }
    QImage work = page.copy(area).convertToFormat(QImage::Format_RGB32);
    {
        QPainter painter(&work);
        painter.translate(-area.topLeft());
        paint(painter);
    }
    for (int y = 0; y < area.height(); ++y) {
        const auto* in = reinterpret_cast<const QRgb*>(work.constScanLine(y));
        uchar* out = page.scanLine(area.top() + y);
        for (int x = 0; x < area.width(); ++x) {
            const int px = area.left() + x;
            const uchar bit = uchar(0x80 >> (px & 7));
            if (qGray(in[x]) < 128)
                out[px >> 3] |= bit;
            else
                out[px >> 3] &= uchar(~bit);
        }
    }
}

QRect around(QPointF a, QPointF b, int width)
{
    const int margin = width / 2 + 2;
    return QRect(QPoint(int(std::floor(std::min(a.x(), b.x()))), int(std::floor(std::min(a.y(), b.y())))),
                 QPoint(int(std::ceil(std::max(a.x(), b.x()))), int(std::ceil(std::max(a.y(), b.y())))))
        .adjusted(-margin, -margin, margin, margin);
}

QPen solidPen(const QColor& colour, int width)
{
    return QPen(colour, std::max(1, width), Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin);
}

// Lays picture (RGB32) at the point: replacing or darkening.
void layPicture(QImage& page, QPoint at, const QImage& picture, bool overlay)
{
    paintArea(page, QRect(at, picture.size()), [&](QPainter& painter) {
        painter.setCompositionMode(overlay ? QPainter::CompositionMode_Darken : QPainter::CompositionMode_Source);
        painter.drawImage(at, picture);
    });
}

}  // namespace

QImage DrawablePage(const QImage& page)
{
    if (page.isNull())
        return page;
    if (IsBlackAndWhite(page))
        return page.format() == QImage::Format_Mono && page.colorTable() == MonoColorTable() ? page : ToStoreMono(page);
    switch (page.format()) {
    case QImage::Format_RGB32:
    case QImage::Format_ARGB32:
    case QImage::Format_ARGB32_Premultiplied:
        return page;
    default:
        return FlattenOnWhite(page).convertToFormat(QImage::Format_RGB32);
    }
}

void DrawLine(QImage& page, QPointF from, QPointF to, int width)
{
    const QPoint a(rounded(from.x()), rounded(from.y()));
    const QPoint b(rounded(to.x()), rounded(to.y()));
    paintArea(page, around(a, b, width), [&](QPainter& painter) {
        painter.setRenderHint(QPainter::Antialiasing, false);
        painter.setPen(solidPen(Qt::black, width));
        if (a == b)
            painter.drawPoint(a);
        else
            painter.drawLine(a, b);
    });
}

void DrawRect(QImage& page, const QRectF& bounds, int width, bool fill, bool black)
{
    const QPoint topLeft(rounded(bounds.left()), rounded(bounds.top()));
    const QPoint bottomRight(rounded(bounds.right()), rounded(bounds.bottom()));
    const QColor colour = black ? Qt::black : Qt::white;
    paintArea(page, around(topLeft, bottomRight, width), [&](QPainter& painter) {
        painter.setRenderHint(QPainter::Antialiasing, false);
        if (fill)
            painter.fillRect(QRect(topLeft, QSize(bottomRight.x() - topLeft.x(), bottomRight.y() - topLeft.y())), colour);
        painter.setPen(solidPen(colour, width));
        const QPoint topRight(bottomRight.x(), topLeft.y());
        const QPoint bottomLeft(topLeft.x(), bottomRight.y());
        painter.drawPolyline(QList<QPoint>{topLeft, topRight, bottomRight, bottomLeft, topLeft});
    });
}

IoResult<QImage> LoadStampPicture(const QString& path)
{
    if (path.isEmpty())
        return Failure(QStringLiteral("No stamp image is chosen."));
    auto input = ImageInput::open(path);
    if (!input)
        return input.failure();
    auto picture = input->page(0);
    if (!picture)
        return picture.failure();
    return std::move(*picture);
}

void LayStamp(QImage& page, const QRectF& bounds, const QImage& stamp, bool overlay)
{
    if (stamp.isNull() || stamp.width() <= 0 || stamp.height() <= 0)
        return;
    const double scale = std::min(bounds.width() / stamp.width(), bounds.height() / stamp.height());
    const int width = int(stamp.width() * scale);
    const int height = int(stamp.height() * scale);
    if (width <= 0 || height <= 0)
        return;
    const bool mono = IsBlackAndWhite(stamp);
    QImage scaled = (mono ? ToStoreMono(stamp).convertToFormat(QImage::Format_Grayscale8) : FlattenOnWhite(stamp))
                        .scaled(width, height, Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
    // The stamp goes on in two colours, like the page.
    QImage twoColours;
    if (mono || scaled.format() == QImage::Format_Grayscale8) {
        twoColours = scaled.convertToFormat(QImage::Format_Mono, Qt::MonoOnly | Qt::ThresholdDither);
    } else {
        auto reduced = ReduceToBlackAndWhite(scaled);
        twoColours = reduced ? *reduced : scaled.convertToFormat(QImage::Format_Mono, Qt::MonoOnly | Qt::ThresholdDither);
    }
    const QPoint at(rounded(bounds.left()), rounded(bounds.top()));
    layPicture(page, at, ToStoreMono(twoColours).convertToFormat(QImage::Format_RGB32), overlay);
}

QFont StampMeasureFont()
{
    QFont font(QStringLiteral("DejaVu Sans"));
    font.setPixelSize(16);
    font.setBold(true);
    return font;
}

TextFit FitStampText(const QString& text, int fontSize, double width, double height, const TextMeasure& measure)
{
    TextFit fit;
    fit.startHeight = fontSize * 3;
    fit.lines = text.split(QLatin1Char('|'));
    for (const QString& line : fit.lines) {
        ++fit.lineCount;
        const QSizeF size = measure(line);
        fit.maxWidth = std::max(fit.maxWidth, size.width());
        fit.maxHeight = std::max(fit.maxHeight, size.height());
    }
    double lineHeight = fit.startHeight;
    fit.textWidth = fit.maxHeight > 0 ? fit.maxWidth * lineHeight / fit.maxHeight : 0;
    fit.textHeight = fit.lineCount * lineHeight;
    double heightScale = 1;
    if (fit.textHeight > height)
        heightScale = height / fit.textHeight;
    double widthScale = 1;
    if (fit.textWidth > width)
        widthScale = width / fit.textWidth;
    fit.height = rounded(lineHeight * std::min(heightScale, widthScale));
    return fit;
}

IoStatus DrawTextStamp(QImage& page, const QRectF& bounds, const TextStamp& stamp)
{
    if (stamp.fontName.toLocal8Bit().size() > kMaxFontNameBytes) {
        return Failure(QStringLiteral("The font name \"%1\" is longer than %2 characters; choose another font.")
                           .arg(stamp.fontName)
                           .arg(kMaxFontNameBytes));
    }
    const int width = int(bounds.width());
    const int height = int(bounds.height());
    if (width <= 0 || height <= 0)
        return {};
    QImage scratch(width, height, QImage::Format_RGB32);
    if (scratch.isNull())
        return Failure(QStringLiteral("Not enough memory for a stamp of %1 x %2 pixels.").arg(width).arg(height));
    scratch.fill(Qt::white);

    const QFontMetricsF measuring(StampMeasureFont());
    const TextFit fit = FitStampText(stamp.text, stamp.fontSize, bounds.width(), bounds.height(), [&](const QString& line) {
        return QSizeF(measuring.horizontalAdvance(line), measuring.height());
    });
    if (fit.height > 0) {
        QFont font(stamp.fontName);
        font.setWeight(stamp.bold ? QFont::ExtraBold : QFont::Normal);
        font.setItalic(stamp.italic);
        // The line height is the font's whole cell, ascent and descent.
        font.setPixelSize(100);
        const double cell = QFontMetricsF(font).height();
        font.setPixelSize(std::max(1, rounded(100.0 * fit.height / (cell > 0 ? cell : 100.0))));
        const QFontMetricsF metrics(font);
        QPainter painter(&scratch);
        painter.setFont(font);
        painter.setPen(Qt::black);
        double y = 0;
        const double x = stamp.center ? bounds.width() / 2 : 0;
        for (const QString& line : fit.lines) {
            const double left = stamp.center ? x - metrics.horizontalAdvance(line) / 2 : x;
            painter.drawText(QPointF(left, y + metrics.ascent()), line);
            y += fit.height;
        }
    }
    layPicture(page, QPoint(rounded(bounds.left()), rounded(bounds.top())), scratch, stamp.overlay);
    return {};
}

}  // namespace tarlox
