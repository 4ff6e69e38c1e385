#include "view/PagePreview.h"

#include "store/LeptonicaImage.h"
#include "store/PageImage.h"
#include "view/ViewGeometry.h"

#include <QPainter>
#include <QTransform>

#include <leptonica/allheaders.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <vector>

namespace tarlox {

namespace {

const QRgb kGround = qRgb(0x80, 0x80, 0x80);

// For a byte of a black-and-white row (most significant bit leftmost), the
// eight pixels as bytes of 0 or 1 in memory order, so that adding the table
// entries of a column of rows counts the black pixels of each column.
const std::array<quint64, 256>& spreadTable()
{
    static const std::array<quint64, 256> table = [] {
        std::array<quint64, 256> t{};
        for (int b = 0; b < 256; ++b) {
            quint64 lanes = 0;
            for (int j = 0; j < 8; ++j) {
                if (b & (0x80 >> j)) {
                    unsigned char bytes[8] = {};
                    std::memcpy(bytes, &lanes, 8);
                    bytes[j] = 1;
                    std::memcpy(&lanes, bytes, 8);
                }
            }
            t[size_t(b)] = lanes;
        }
        return t;
    }();
    return table;
}

QImage monoToGrey(const QImage& mono)
{
    return mono.convertToFormat(QImage::Format_Grayscale8);
}

}  // namespace

QImage ShrinkMonoToGrey(const QImage& monoIn, const QRect& sourceIn, const QSize& target)
{
    const QImage mono = ToStoreMono(monoIn);
    const QRect source = sourceIn.intersected(mono.rect());
    if (mono.isNull() || source.isEmpty() || target.isEmpty())
        return {};
    const int outW = std::min(target.width(), source.width());
    const int outH = std::min(target.height(), source.height());
    QImage grey(outW, outH, QImage::Format_Grayscale8);
    if (grey.isNull())
        return grey;

    // Whole bytes covering the source columns; counts per pixel of those bytes.
    const int firstByte = source.left() / 8;
    const int lastByte = source.right() / 8;
    const int bytes = lastByte - firstByte + 1;
    const int shift = source.left() - firstByte * 8;  // pixels of the first byte left of the source
    std::vector<quint64> lanes(static_cast<size_t>(bytes));
    std::vector<quint32> counts(static_cast<size_t>(outW));
    std::vector<int> colStart(static_cast<size_t>(outW) + 1);
    for (int c = 0; c <= outW; ++c)
        colStart[size_t(c)] = int(qint64(c) * source.width() / outW);
    const auto& table = spreadTable();

    for (int r = 0; r < outH; ++r) {
        const int y0 = source.top() + int(qint64(r) * source.height() / outH);
        const int y1 = source.top() + int(qint64(r + 1) * source.height() / outH);
        std::fill(counts.begin(), counts.end(), 0u);
        for (int y = y0; y < y1;) {
            // Byte lanes hold at most 255 rows before they are added up.
            const int chunkEnd = std::min(y1, y + 255);
            std::fill(lanes.begin(), lanes.end(), 0ull);
            for (; y < chunkEnd; ++y) {
                const uchar* line = mono.constScanLine(y) + firstByte;
                for (int i = 0; i < bytes; ++i)
                    lanes[size_t(i)] += table[line[i]];
            }
            const auto* perPixel = reinterpret_cast<const uchar*>(lanes.data()) + shift;
            for (int c = 0; c < outW; ++c) {
                quint32 sum = 0;
                for (int x = colStart[size_t(c)]; x < colStart[size_t(c) + 1]; ++x)
                    sum += perPixel[x];
                counts[size_t(c)] += sum;
            }
        }
        uchar* out = grey.scanLine(r);
        const quint32 rows = quint32(y1 - y0);
        for (int c = 0; c < outW; ++c) {
            const quint32 area = quint32(colStart[size_t(c) + 1] - colStart[size_t(c)]) * rows;
            out[c] = uchar(255 - (counts[size_t(c)] * 255 + area / 2) / area);
        }
    }
    if (grey.size() != target)
        grey = grey.scaled(target, Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
    return grey;
}

QImage RenderArea(const QImage& page, const QRect& sourceIn, const QSize& target)
{
    const QRect source = sourceIn.intersected(page.rect());
    if (page.isNull() || source.isEmpty() || target.isEmpty())
        return {};
    if (IsBlackAndWhite(page)) {
        if (target.width() <= source.width() && target.height() <= source.height())
            return ShrinkMonoToGrey(page, source, target);
        return monoToGrey(ToStoreMono(page).copy(source)).scaled(target, Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
    }
    QImage part = page.copy(source);
    if (part.format() != QImage::Format_Grayscale8)
        part = FlattenOnWhite(part).convertToFormat(QImage::Format_RGB32);
    return part.scaled(target, Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
}

QImage RenderView(const QImage& page, const ViewGeometry& geometry)
{
    if (geometry.window.isEmpty())
        return {};
    const bool grey = IsBlackAndWhite(page) || page.format() == QImage::Format_Grayscale8;
    QImage view(geometry.window, grey ? QImage::Format_Grayscale8 : QImage::Format_RGB32);
    if (view.isNull())
        return view;
    view.fill(grey ? QColor(qGray(kGround), qGray(kGround), qGray(kGround)) : QColor(kGround));
    if (page.isNull())
        return view;
    const QRectF visible = geometry.visibleImage();
    const QRect source(QPoint(int(std::floor(visible.left())), int(std::floor(visible.top()))),
                       QPoint(int(std::ceil(visible.right())) - 1, int(std::ceil(visible.bottom())) - 1));
    // The window area of the whole source pixels, so the picture stays in register with the mouse.
    const QPointF a = geometry.toWindow(source.topLeft());
    const QPointF b = geometry.toWindow(QPointF(source.right() + 1, source.bottom() + 1));
    const QRect place(QPoint(int(std::lround(a.x())), int(std::lround(a.y()))),
                      QPoint(int(std::lround(b.x())) - 1, int(std::lround(b.y())) - 1));
    if (place.isEmpty())
        return view;
    const QImage area = RenderArea(page, source, place.size());
    if (area.isNull())
        return view;
    QPainter painter(&view);
    painter.drawImage(place.topLeft(), area);
    return view;
}

QImage TurnPage(const QImage& page, int quarterTurns)
{
    const int turns = ((quarterTurns % 4) + 4) % 4;
    if (turns == 0 || page.isNull())
        return page;
    if (IsBlackAndWhite(page)) {
        QuietLeptonica();
        const PixPtr pix = PixFromImage(ToStoreMono(page));
        if (pix) {
            // Leptonica's direction 1 is clockwise.
            PixPtr turned(turns == 2 ? pixRotate180(nullptr, pix.get()) : pixRotate90(pix.get(), turns == 1 ? -1 : 1));
            if (turned) {
                QImage result = ImageFromPix(turned.get());
                if (!result.isNull()) {
                    const Dpi dpi = DpiOf(page);
                    SetDpi(result, turns == 2 ? dpi : Dpi{dpi.y, dpi.x});
                    return result;
                }
            }
        }
    }
    QTransform turn;
    turn.rotate(-90.0 * turns);
    QImage result = page.transformed(turn, Qt::FastTransformation);
    const Dpi dpi = DpiOf(page);
    SetDpi(result, turns == 2 ? dpi : Dpi{dpi.y, dpi.x});
    return result;
}

}  // namespace tarlox
