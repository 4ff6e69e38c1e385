#pragma once

#include "store/PageSource.h"

#include <QImage>

#include <optional>

namespace tarlox {

class Session;

// Page length in inches of a page size code: 11 for Letter (" "), 14 for
// Legal ("G"), 11.7 for A4 ("A").
double PageLengthOf(const QString& pageSizeCode);

// The resolution of a rescanned page: key LowDPI of section "Info" (200 when
// unset), but HighDPI (300 when unset) when the page shown was scanned at it,
// so a new page matches a high resolution document.
int RescanDpi(Session& session, double dpiOfPageShown);

// The text of the message for a page shorter than its frame.
QString ScanTooSmallText(double pageLength, double scannedInches);

// What the viewer does with a page that arrives from the scanner: reduced to
// black and white; a page shorter than its frame is refused unless the
// operator takes it (or key IgnoreSize is set); straightened when key Deskew
// is set, inverted when key Invert is set; a page longer than its frame is cut
// to length. nullopt when the page is dropped.
std::optional<QImage> AcceptScannedPage(Session& session, const QImage& scanned, double pageLength);

}  // namespace tarlox
