#pragma once

#include "base/IoResult.h"

#include <QImage>
#include <QString>

namespace tarlox {

// The rules every scanned page goes through before it is stored.

// Expected page length in inches for a page size code: " " Letter 11,
// "G" Legal 14, "A" A4 11.7. The frame is 8.5 inches wide for all three.
// singlePrecision gives the length as a 32-bit float holds it, as the
// barcode and batch forms keep it.
double FrameLengthFor(const QString& pageSizeCode, bool singlePrecision = false);
inline constexpr double kFrameWidth = 8.5;

// A number as the messages and step labels show it: up to 15 significant
// digits for a double, 7 for a value held as a float, no trailing zeros
// ("11", "11.7", "10.915").
QString NumberText(double value, bool singlePrecision = false);

// Too small: (dpi - 1) x frame length is greater than height + 5. At
// 200 dpi Letter 2,184 lines pass and 2,183 fail.
bool IsTooSmall(double dpi, int height, double frameLength);

// The question asked about a page that is too small; Yes keeps it.
QString TooSmallMessage(double frameLength, int height, double dpi, bool singlePrecision = false);

// The height a page keeps: a page longer than dpi x frame length is cut at
// the bottom to that many lines (rounded half to even); others keep theirs.
// At 200 dpi Letter 2,300 lines become 2,200.
int CutHeight(double dpi, int height, double frameLength);

// The inversion test of a two-colour page: a document is mostly white
// paper, so a page that comes from the scanner more than half black was
// read in the wrong sense.
bool LooksInverted(const QImage& page);

// What is done to each page, from the settings read when the scan starts.
struct PageWork {
    double frameLength = 11;
    bool checkPalette = false;  // invert a page that comes in inverted
    bool deskew = false;
    bool invert = false;
    bool cutLength = true;
};

// A page made ready for storing, with the numbers the size test needs.
struct PreparedPage {
    QImage page;         // black and white, straightened, inverted and cut as asked
    double dpi = 0;      // vertical resolution of the scan
    int scanHeight = 0;  // lines of the page as scanned, before the cut
    bool tooSmall = false;
};

// The work on one scanned page, in the order it is done: the inversion
// test, the reduction to two colours, the size measure, deskew, invert,
// length cut. The person is asked about a page that is too small
// afterwards; the work does not depend on the answer.
IoResult<PreparedPage> PrepareScannedPage(const QImage& scanned, const PageWork& work);

// Cuts a page to height lines at the bottom, keeping its resolution.
QImage CutPage(const QImage& page, int height);

}  // namespace tarlox
