#include "capture/forms/ScannerPageSource.h"

#include "capture/forms/ScanDialogs.h"
#include "capture/forms/frmVScan.h"
#include "data/Session.h"
#include "base/TextTools.h"
#include "store/ScannerSession.h"

#include <QWidget>

namespace tarlox {

namespace {

QString pageSizeCodeOf(double pageLength)
{
    if (pageLength >= 13.9)
        return QStringLiteral("G");
    if (pageLength > 11.05)
        return QStringLiteral("A");
    return QStringLiteral(" ");
}

}  // namespace

ScannerPageSource::ScannerPageSource(Session& session, QWidget* window)
    : QObject(window)
    , session_(session)
    , window_(window)
{
}

bool ScannerPageSource::confirm(RescanRequest& request)
{
    frmVScan dialog(session_, window_);
    dialog.setWindowTitle(request.title);
    if (dialog.exec() != QDialog::Accepted || !dialog.scanWanted())
        return false;
    const int dpi = IntVal(session_.dpi);
    if (dpi > 0)
        request.dpi = dpi;
    if (session_.brightness)
        request.brightness = *session_.brightness;
    return true;
}

IoResult<QImage> ScannerPageSource::acquire(const RescanRequest& request)
{
    ScanSettings settings = ScanSettings::read(session_, request.dpi, request.brightness, pageSizeCodeOf(request.pageLength));
    if (!request.device.trimmed().isEmpty())
        settings.device = request.device.trimmed();
    settings.scannerInterface = request.showInterface;
    // One sheet, and the viewer judges it: its own size question, deskew
    // and inversion come after, so they are not done twice.
    settings.useAdf = false;
    settings.transferCount = 1;
    settings.ignoreSize = true;
    settings.deskew = false;
    settings.invert = false;
    settings.showInvert = false;
    ScannerSession scanner(session_, ScanProfile::forPage(), settings);
    AttachScanDialogs(scanner, window_, nullptr);
    if (auto page = scanner.ScanOnePage())
        return *page;
    // The person has been told why already.
    return Failure(QString());
}

}  // namespace tarlox
