#pragma once

#include "base/IoResult.h"

#include <QFont>
#include <QImage>
#include <QRectF>
#include <QSizeF>
#include <QStringList>

#include <functional>

namespace tarlox {

// Drawing burned into a page at its full resolution. Positions are image
// pixels (rounded at the drawing call); a stroke outside the page is cut off
// at its edge. A black-and-white page stays black and white: the touched
// area is painted in colour and brought back to two colours at half grey.
// Grey and colour pages are painted as they are.

// The page ready to be drawn on: a black-and-white page in the store's form,
// a grey or indexed page as RGB32, others unchanged.
QImage DrawablePage(const QImage& page);

// A solid black line of the given pen width with round ends.
void DrawLine(QImage& page, QPointF from, QPointF to, int width);

// The outline of the rectangle (left, top, right, bottom) drawn with a pen of
// the given width centred on its edges, or, when filled, the rectangle and
// that outline solid; black or white.
void DrawRect(QImage& page, const QRectF& bounds, int width, bool fill, bool black);

// Lays stamp into bounds: scaled by the smaller of the two ratios, so its
// proportions stay and it may grow as well as shrink; placed in the upper
// left corner. overlay adds its black to the page; otherwise the stamp's
// pixels replace the page's in the area it covers.
void LayStamp(QImage& page, const QRectF& bounds, const QImage& stamp, bool overlay);

// Reads a stamp picture (TIFF, PNG, JPEG, BMP, GIF, first page of a PDF).
IoResult<QImage> LoadStampPicture(const QString& path);

// A text stamp's settings.
struct TextStamp {
    QString text;  // lines separated by "|"
    QString fontName;
    int fontSize = 0;  // points; the text's height is at most three pixels a point
    bool bold = false;
    bool italic = false;
    bool center = false;
    bool overlay = false;
};

// How a text stamp fits its rectangle.
struct TextFit {
    QStringList lines;
    int lineCount = 0;
    double maxWidth = 1;   // widest line, measured
    double maxHeight = 0;  // tallest line, measured
    double textWidth = 0;  // estimated at the wanted height
    double textHeight = 0;
    int startHeight = 0;   // FontSize * 3
    int height = 0;        // line height used
};

// The measure of a line of text in the stamp's measuring font.
using TextMeasure = std::function<QSizeF(const QString&)>;

// The line height for text in a box of width x height: FontSize * 3 pixels,
// shrunk (never grown) so that the lines, estimated from the measured ratio
// of width to height, fit both ways.
TextFit FitStampText(const QString& text, int fontSize, double width, double height, const TextMeasure& measure);

// The font in which stamp lines are measured before the stamp's own font is
// chosen (the screen's plain system font); only its proportions count.
QFont StampMeasureFont();

// Draws the text stamp into bounds: a white area of the rectangle's size
// with the lines from its top, left-aligned or centred, laid on the page
// (added to its black with overlay, replacing it otherwise).
IoStatus DrawTextStamp(QImage& page, const QRectF& bounds, const TextStamp& stamp);

// A font name longer than this many bytes can't be used.
inline constexpr int kMaxFontNameBytes = 32;

}  // namespace tarlox
