#include "store/ScannedPage.h"

#include "store/PageImage.h"
#include "store/PageProcessing.h"

#include <algorithm>
#include <bit>
#include <cfenv>
#include <cmath>

namespace tarlox {

double FrameLengthFor(const QString& pageSizeCode, bool singlePrecision)
{
    double length = 11;
    if (pageSizeCode == QLatin1String("G"))
        length = 14;
    else if (pageSizeCode == QLatin1String("A"))
        length = 11.7;
    return singlePrecision ? double(float(length)) : length;
}

QString NumberText(double value, bool singlePrecision)
{
    return QString::number(value, 'g', singlePrecision ? 7 : 15);
}

bool IsTooSmall(double dpi, int height, double frameLength)
{
    return (dpi - 1) * frameLength > double(height) + 5;
}

QString TooSmallMessage(double frameLength, int height, double dpi, bool singlePrecision)
{
    const QString crlf = QStringLiteral("\r\n");
    return QStringLiteral("The image returned from the scanner was too small!") + crlf + QStringLiteral("It should have been ")
           + NumberText(frameLength, singlePrecision) + QStringLiteral(" inches but instead was ") + NumberText(double(height) / dpi)
           + QStringLiteral(" inches.") + crlf
           + QStringLiteral("You may need to use the scanner's interface to scan these documents or you might try upgrading "
                            "drivers for you scanner.")
           + crlf + QStringLiteral("To use this scan anyway select 'Yes' or select 'No' to abort this scan.") + crlf
           + QStringLiteral("To permanently ignore this problem, Select 'Ignore Size Check' in the Change System Information form.");
}

int CutHeight(double dpi, int height, double frameLength)
{
    const double expected = dpi * frameLength;
    if (!(expected < double(height)))
        return height;
    // Half to even, as the height property rounds what it is given.
    const int savedMode = std::fegetround();
    std::fesetround(FE_TONEAREST);
    const double rounded = std::nearbyint(expected);
    std::fesetround(savedMode);
    return std::max(1, int(rounded));
}

bool LooksInverted(const QImage& page)
{
    if (!IsBlackAndWhite(page))
        return false;
    const QImage mono = ToStoreMono(page);
    const int width = mono.width();
    const int fullBytes = width / 8;
    const int restBits = width % 8;
    qint64 black = 0;
    for (int y = 0; y < mono.height(); ++y) {
        const uchar* line = mono.constScanLine(y);
        for (int i = 0; i < fullBytes; ++i)
            black += std::popcount(unsigned(line[i]));
        if (restBits)
            black += std::popcount(unsigned(line[fullBytes] & uchar(0xFF << (8 - restBits))));
    }
    return black * 2 > qint64(width) * mono.height();
}

QImage CutPage(const QImage& page, int height)
{
    if (height >= page.height())
        return page;
    QImage cut = page.copy(0, 0, page.width(), height);
    cut.setDotsPerMeterX(page.dotsPerMeterX());
    cut.setDotsPerMeterY(page.dotsPerMeterY());
    return cut;
}

IoResult<PreparedPage> PrepareScannedPage(const QImage& scanned, const PageWork& work)
{
    if (scanned.isNull())
        return Failure(QStringLiteral("The scanner sent an empty page."));
    QImage page = IsBlackAndWhite(scanned) ? ToStoreMono(scanned) : scanned;
    if (work.checkPalette && LooksInverted(page))
        page = InvertPage(page);
    if (!IsBlackAndWhite(page)) {
        auto mono = ReduceToBlackAndWhite(page);
        if (!mono)
            return mono.failure();
        page = std::move(mono).value();
    }
    PreparedPage prepared;
    prepared.dpi = DpiOf(page).y > 0 ? DpiOf(page).y : kDefaultDpi;
    prepared.scanHeight = page.height();
    prepared.tooSmall = IsTooSmall(prepared.dpi, prepared.scanHeight, work.frameLength);
    if (work.deskew) {
        auto straight = DeskewPage(page);
        if (!straight)
            return straight.failure();
        page = std::move(straight).value();
    }
    if (work.invert)
        page = InvertPage(page);
    if (work.cutLength)
        page = CutPage(page, CutHeight(prepared.dpi, page.height(), work.frameLength));
    prepared.page = std::move(page);
    return prepared;
}

}  // namespace tarlox
