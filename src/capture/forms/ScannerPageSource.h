#pragma once

#include "store/PageSource.h"

#include <QObject>

class QWidget;

namespace tarlox {

class Session;

// The viewer's new pages from this workstation's scanner: "Scanning Dialog"
// (frmVScan) for the resolution and brightness, then one sheet through the
// scanner session. The page comes back in two colours and cut to its frame;
// the viewer's own checks (size, deskew, invert) follow. Lives as long as
// the window it is made for.
class ScannerPageSource : public QObject, public PageSource {
    Q_OBJECT
public:
    ScannerPageSource(Session& session, QWidget* window);

    bool confirm(RescanRequest& request) override;
    IoResult<QImage> acquire(const RescanRequest& request) override;

private:
    Session& session_;
    QWidget* window_;
};

}  // namespace tarlox
