#pragma once

// Synthetic pages for the benchmarks: a 300 dpi letter page of typed-looking
// text, in black and white, and as a grey scan with uneven paper and a slight skew.

#include "store/PageImage.h"

#include <QImage>
#include <QRandomGenerator>
#include <QTransform>

#include <algorithm>
#include <cmath>

namespace tarlox::bench {

inline constexpr int kLetterWidth = 2550;   // 8.5 in at 300 dpi
inline constexpr int kLetterHeight = 3300;  // 11 in at 300 dpi

inline void MarkBlack(QImage& page, int left, int top, int width, int height)
{
    for (int y = std::max(0, top); y < std::min(page.height(), top + height); ++y) {
        uchar* row = page.scanLine(y);
        for (int x = std::max(0, left); x < std::min(page.width(), left + width); ++x)
            row[x >> 3] |= uchar(0x80 >> (x & 7));
    }
}

// About 60 lines of 10-point-like marks with word gaps, a table rule or two,
// and a margin: the run lengths a G4 coder sees on a typed certificate.
inline QImage LetterTextPage(quint32 seed)
{
    QImage page = NewMonoPage(kLetterWidth, kLetterHeight);
    QRandomGenerator random(seed);
    for (int top = 150; top + 40 < kLetterHeight - 150; top += 50) {
        if (random.bounded(12) == 0) {
            MarkBlack(page, 150, top + 20, kLetterWidth - 300, 3);  // a rule
            continue;
        }
        int left = 150 + int(random.bounded(60));
        const int end = kLetterWidth - 150 - int(random.bounded(600));
        while (left < end) {
            const int letters = 2 + int(random.bounded(9));
            for (int i = 0; i < letters && left < end; ++i) {
                const int width = 14 + int(random.bounded(10));
                const int height = random.bounded(4) == 0 ? 30 : 22;
                const int base = top + 30;
                MarkBlack(page, left, base - height, 3, height);
                MarkBlack(page, left + width - 3, base - 22, 3, 22);
                MarkBlack(page, left, base - 22, width, 3);
                if (random.bounded(2))
                    MarkBlack(page, left, base - 3, width, 3);
                left += width + 4;
            }
            left += 20;  // a word gap
        }
    }
    SetDpi(page, Dpi{300, 300});
    return page;
}

// The text page as a scanner in grey would give it: turned by 1.5 degrees,
// paper from 235 down to 150 across, dark text.
inline QImage LetterGreyScan(quint32 seed)
{
    // Ink as 255 on 0, so the corners the turn uncovers (filled with 0) are paper.
    QImage inked = LetterTextPage(seed).convertToFormat(QImage::Format_Grayscale8);
    inked.invertPixels();
    const QImage text = inked.transformed(QTransform().rotate(1.5), Qt::FastTransformation).copy(0, 0, kLetterWidth, kLetterHeight);
    QImage grey(kLetterWidth, kLetterHeight, QImage::Format_Grayscale8);
    QRandomGenerator noise(seed);
    for (int y = 0; y < kLetterHeight; ++y) {
        const uchar* in = y < text.height() ? text.constScanLine(y) : nullptr;
        uchar* out = grey.scanLine(y);
        for (int x = 0; x < kLetterWidth; ++x) {
            const bool ink = in && x < text.width() && in[x] > 128;
            const int paper = 235 - 85 * x / kLetterWidth;
            out[x] = uchar(ink ? 40 + int(noise.bounded(20)) : paper + int(noise.bounded(7)) - 3);
        }
    }
    SetDpi(grey, Dpi{300, 300});
    return grey;
}

}  // namespace tarlox::bench
