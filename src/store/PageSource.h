#pragma once

#include "base/IoResult.h"

#include <QImage>
#include <QString>

namespace tarlox {

// What the viewer asks of the scanner for one page (rescan, insert, append).
struct RescanRequest {
    QChar mode;             // "R", "I" or "A"
    QString title;          // "ReScan Page", "Insert Page", "Append Page"
    int dpi = 200;          // X and Y resolution
    int brightness = 0;
    double pageLength = 11; // inches; the frame is 8.5 inches wide, from the top left corner
    QString device;         // key Device of section "Info": the scanner to use, "" for the current one
    bool showInterface = false;  // the scanner's own dialog
};

// Where the viewer's new pages come from: the scanner session of this
// workstation. The page is returned as the scanner delivered it, with its
// resolution; the viewer applies its own checks (size, deskew, invert) and
// reduces it to black and white.
class PageSource {
public:
    virtual ~PageSource() = default;

    // The scan confirmation screen (frmVScan), shown modally: the operator
    // may change the request; false when cancelled.
    virtual bool confirm(RescanRequest& request) = 0;

    // One page from the scanner. A failure carries the scanner's error text
    // (the viewer shows it titled "Scanner Error"); an empty message means
    // the scan gave no page and there is nothing to show.
    virtual IoResult<QImage> acquire(const RescanRequest& request) = 0;

    // Closes the scanner source after a scan.
    virtual void close() {}
};

}  // namespace tarlox
