#pragma once

#include <QImage>
#include <QString>

#include <functional>
#include <optional>

namespace tarlox {

class Session;
class ScannerSession;

// One page scanned for the viewer's page commands (rescan, insert, append a page).
struct PageScanRequest {
    QString pageSizeCode = QStringLiteral(" ");  // the image's [Size]: the page length
    int dpi = 200;
    int brightness = 0;
    // The too-small question in the viewer's own words; empty: the capture forms' text.
    std::function<QString(double frameLength, int height, double dpi)> sizeMessage;
};

// The request from the choices of the scanning dialog: session.dpi
// (blank: "200") and session.brightness (unset: key Brightness).
PageScanRequest PageScanRequestFor(Session& session, const QString& pageSizeCode);

// Scans one sheet with the device and settings of section Info and works
// on it as on every scanned page (inversion test, two colours, size test,
// deskew, invert, length cut). The page comes back in memory, black and
// white at the scan's resolution; nothing is written. Nothing comes back
// when the scan failed or was refused; the person has been told why.
// prepare attaches dialogs or the page display to the session before it runs.
std::optional<QImage> ScanSinglePage(Session& session, const PageScanRequest& request,
                                     const std::function<void(ScannerSession&)>& prepare = {});

}  // namespace tarlox
