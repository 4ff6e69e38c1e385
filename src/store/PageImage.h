#pragma once

#include <QImage>

namespace tarlox {

// Black-and-white pages
// ---------------------
// Everywhere in this program a black-and-white page is a QImage of
// Format_Mono in which bit 1 is black and bit 0 is white: colour table
// {white, black}, most significant bit first. That is the sense of TIFF
// Photometric MinIsWhite, the bit order of CCITT G4 with FillOrder MSB2LSB,
// and Leptonica's 1 bpp convention (1 = foreground), so scanlines pass between
// the three without a bit being touched. Pages stored as MinIsBlack are
// inverted when read; any other 1-bit QImage (MonoLSB, or black first in its
// colour table) is brought to this form by ToStoreMono before it is used.

// A page's resolution in dots per inch.
struct Dpi {
    double x = 0;
    double y = 0;
    bool operator==(const Dpi&) const = default;
};

// Resolution assumed for a page whose file records none.
inline constexpr double kDefaultDpi = 200;

// The resolution a QImage carries (in whole dots per metre): whole dots per
// inch come back as they were set, others to 1/100 dpi.
Dpi DpiOf(const QImage& image);
void SetDpi(QImage& image, Dpi dpi);

// The colour table of a black-and-white page: index 0 white, index 1 black.
QList<QRgb> MonoColorTable();

// A white black-and-white page; null when there is not enough memory.
QImage NewMonoPage(int width, int height);

// True for a page of two colours (any 1-bit QImage).
bool IsBlackAndWhite(const QImage& image);

// A page with transparency laid on white paper (RGB32); others unchanged.
QImage FlattenOnWhite(const QImage& image);

// A 1-bit image in the form described above: bit 1 is the darker of the two
// colours. Null for an image that is not 1-bit.
QImage ToStoreMono(const QImage& image);

}  // namespace tarlox
