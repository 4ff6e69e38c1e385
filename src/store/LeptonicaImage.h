#pragma once

#include <QImage>

#include <memory>

struct Pix;  // Leptonica's PIX

namespace tarlox {

struct PixDeleter {
    void operator()(Pix* pix) const;
};
using PixPtr = std::unique_ptr<Pix, PixDeleter>;

// QImage to Leptonica and back, resolution included. A black-and-white page
// (PageImage.h) becomes a 1 bpp PIX with 1 = black, as Leptonica expects;
// Grayscale8 an 8 bpp PIX; everything else a 32 bpp RGB PIX. Null when
// Leptonica is out of memory.
PixPtr PixFromImage(const QImage& image);

// 1 bpp gives a black-and-white page, 8 bpp grey Grayscale8, colour RGB32;
// other depths and colour maps are converted first. Null on failure.
QImage ImageFromPix(Pix* pix);

// Leptonica's messages on stderr are turned off once for the process; the
// functions here report failures through their results instead.
void QuietLeptonica();

}  // namespace tarlox
