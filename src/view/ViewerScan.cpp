#include "view/ViewerScan.h"

#include "base/ErrorReport.h"
#include "base/Prompter.h"
#include "data/Session.h"
#include "data/Settings.h"
#include "base/TextTools.h"
#include "store/PageImage.h"
#include "store/PageProcessing.h"

#include <cmath>

namespace tarlox {

namespace {
}

double PageLengthOf(const QString& code)
{
    if (code == QLatin1String("G"))
        return 14;
    if (code == QLatin1String("A"))
        return 11.7;
    return 11;
}

int RescanDpi(Session& s, double dpiOfPageShown)
{
    QString low = GetLocal(s, section::Info, QStringLiteral("LowDPI"));
    if (low.isEmpty())
        low = QStringLiteral("200");
    QString high = GetLocal(s, section::Info, QStringLiteral("HighDPI"));
    if (high.isEmpty())
        high = QStringLiteral("300");
    const int highValue = IntVal(high);
    if (highValue > 0 && std::lround(dpiOfPageShown) == highValue)
        return highValue;
    return IntVal(low);
}

QString ScanTooSmallText(double pageLength, double scannedInches)
{
    return QStringLiteral("The image returned from the scanner was too small!\r\n")
        + QStringLiteral("It should have been ") + QString::number(pageLength) + QStringLiteral(" inches but instead was ")
        + QString::number(scannedInches) + QStringLiteral(" inches.\r\n\r\n")
        + QStringLiteral("You may need to use the scanner's interface to scan these \r\n")
        + QStringLiteral("documents or you might try upgrading drivers for you scanner.\r\n\r\n")
        + QStringLiteral("To use this scan anyway select 'Yes' or select 'No' to abort this scan.\r\n\r\n")
        + QStringLiteral("To permanently ignore this problem, Select 'Ignore Size Check' in the \r\n")
        + QStringLiteral("Change System Information form.");
}

std::optional<QImage> AcceptScannedPage(Session& s, const QImage& scanned, double pageLength)
{
    s.traceCall(QStringLiteral("twnMain_PageScanned"));
    if (scanned.isNull())
        return std::nullopt;
    auto reduced = ReduceToBlackAndWhite(scanned);
    if (!reduced) {
        ReportError(s.prompter(), ErrorDetails{QStringLiteral("twnMain_PageScanned"), QStringLiteral("ReduceColors"), 0, reduced.error()});
        return std::nullopt;
    }
    QImage page = std::move(*reduced);
    Dpi dpi = DpiOf(page);
    if (dpi.y <= 0)
        dpi = Dpi{kDefaultDpi, kDefaultDpi};
    const int scanHeight = page.height();
    if ((dpi.y - 1) * pageLength > scanHeight + 5 && !GetLocalBool(s, section::Info, QStringLiteral("IgnoreSize"))) {
        const Answer answer = s.prompter().ask(QStringLiteral("Scanner Error"), ScanTooSmallText(pageLength, scanHeight / dpi.y),
                                               Buttons::YesNo, Icon::Critical, Answer::No);
        if (answer != Answer::Yes)
            return std::nullopt;
    }
    if (GetLocalBool(s, section::Info, QStringLiteral("Deskew"))) {
        if (auto straight = DeskewPage(page); straight)
            page = std::move(*straight);
    }
    if (GetLocalBool(s, section::Info, QStringLiteral("Invert")))
        page = InvertPage(page);
    const int length = int(dpi.y * pageLength);
    if (length > 0 && length < page.height()) {
        page = page.copy(0, 0, page.width(), length);
        SetDpi(page, dpi);
    }
    return page;
}

}  // namespace tarlox
