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

// Adds the pixel counts of boxes K pixels wide to counts.
template <int K> void addBoxes(const uchar* perPixel, quint32* counts, int boxes)
{
    for (int c = 0; c < boxes; ++c) {
        quint32 sum = 0;
        for (int k = 0; k < K; ++k)
            sum += perPixel[c * K + k];
        counts[c] += sum;
    }
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
    std::vector<quint32> prefix(static_cast<size_t>(source.width()) + 1);
    for (int c = 0; c <= outW; ++c)
        colStart[size_t(c)] = int(qint64(c) * source.width() / outW);
    const auto& table = spreadTable();
    const quint32 narrowWidth = quint32(source.width() / outW);
    const int uniformWidth = source.width() % outW == 0 ? int(narrowWidth) : 0;

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
            switch (uniformWidth) {
            case 2:
                addBoxes<2>(perPixel, counts.data(), outW);
                break;
            case 3:
                addBoxes<3>(perPixel, counts.data(), outW);
                break;
            case 4:
                addBoxes<4>(perPixel, counts.data(), outW);
                break;
            default: {
                // Running sums along the row, so each box is one difference.
                quint32 running = 0;
                for (int x = 0; x < source.width(); ++x) {
                    prefix[size_t(x)] = running;
                    running += perPixel[x];
                }
                prefix[size_t(source.width())] = running;
                for (int c = 0; c < outW; ++c)
                    counts[size_t(c)] += prefix[size_t(colStart[size_t(c) + 1])] - prefix[size_t(colStart[size_t(c)])];
            }
            }
        }
        uchar* out = grey.scanLine(r);
        // Black share to grey without a division per pixel: a 16-bit fixed
        // point factor for each of the (at most two) box widths of the row.
        const quint32 rows = quint32(y1 - y0);
        const quint64 narrow = ((quint64(255) << 16) + narrowWidth * rows / 2) / (narrowWidth * rows);
        const quint64 wide = ((quint64(255) << 16) + (narrowWidth + 1) * rows / 2) / ((narrowWidth + 1) * rows);
        for (int c = 0; c < outW; ++c) {
            const quint64 factor = quint32(colStart[size_t(c) + 1] - colStart[size_t(c)]) == narrowWidth ? narrow : wide;
            out[c] = uchar(255 - std::min<quint64>(255, (counts[size_t(c)] * factor + 0x8000) >> 16));
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
    if (area.format() == view.format() && view.rect().contains(QRect(place.topLeft(), area.size()))) {
        // Same format: rows are copied as they are.
        const int bytes = area.bytesPerLine() < area.width() * (view.depth() / 8) ? area.bytesPerLine() : area.width() * (view.depth() / 8);
        for (int y = 0; y < area.height(); ++y)
            std::memcpy(view.scanLine(place.top() + y) + place.left() * (view.depth() / 8), area.constScanLine(y), size_t(bytes));
        return view;
    }
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
