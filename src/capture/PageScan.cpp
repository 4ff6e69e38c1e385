#include "capture/PageScan.h"

#include "capture/ScanChoices.h"
#include "data/Session.h"
#include "base/TextTools.h"
#include "store/ScannerSession.h"

namespace tarlox {

PageScanRequest PageScanRequestFor(Session& s, const QString& pageSizeCode)
{
    PageScanRequest request;
    request.pageSizeCode = pageSizeCode;
    const int dpi = IntVal(s.dpi);
    request.dpi = dpi > 0 ? dpi : 200;
    request.brightness = s.brightness ? *s.brightness : DefaultBrightness(s);
    return request;
}

std::optional<QImage> ScanSinglePage(Session& s, const PageScanRequest& request, const std::function<void(ScannerSession&)>& prepare)
{
    s.traceCall(QStringLiteral("ScanSinglePage"));
    ScanProfile profile = ScanProfile::forPage();
    profile.sizeMessage = request.sizeMessage;
    ScannerSession scanner(s, profile, ScanSettings::read(s, request.dpi, request.brightness, request.pageSizeCode));
    if (prepare)
        prepare(scanner);
    return scanner.ScanOnePage();
}

}  // namespace tarlox
