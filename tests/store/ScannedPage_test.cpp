#include "store/PageImage.h"
#include "store/PageProcessing.h"
#include "store/ScannedPage.h"
#include "TestPages.h"
#include "support/SystemTexts.h"

#include <QTransform>

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>

using namespace tarlox;
using namespace tarlox::test;

TEST(ScannedPage, SizeTestAndLengthCutAtTheFrameLengths)
{
    EXPECT_EQ((QList<double>{FrameLengthFor(QStringLiteral(" ")), FrameLengthFor(QStringLiteral("G")), FrameLengthFor(QStringLiteral("A")),
                             FrameLengthFor(QStringLiteral("X")), FrameLengthFor(QStringLiteral("A"), true)}),
              (QList<double>{11.0, 14.0, 11.7, 11.0, double(11.7f)})) << "anything else is Letter";

    const struct { double dpi, length; int height; bool tooSmall; int kept; } rows[] = {
        // 199 x 11 = 2,189 is not above 2,184 + 5; a longer page is cut at the bottom to 11 inches.
        {200, 11, 2184, false, 2184}, {200, 11, 2183, true, 2183}, {200, 11, 2200, false, 2200}, {200, 11, 2300, false, 2200},
        {200, 14, 2800, false, 2800}, {200, 14, 2200, true, 2200},  // a Letter sheet scanned as Legal
        // A4 at 300 dpi; 299 x 11.7 = 3,498.3 is not above 3,499.
        {300, 11.7, 3510, false, 3510}, {300, 11.7, 3600, false, 3510}, {300, 11.7, 3494, false, 3494}, {300, 11.7, 3493, true, 3493},
        {205, 11.7, 2500, false, 2398}, {200, 11, 1, true, 1},  // 2,398.5 rounds half to even
    };
    for (const auto& r : rows) {
        SCOPED_TRACE(testing::Message() << r.dpi << " dpi, " << r.length << " in, " << r.height << " lines");
        EXPECT_EQ(std::tuple(IsTooSmall(r.dpi, r.height, r.length), CutHeight(r.dpi, r.height, r.length)), std::tuple(r.tooSmall, r.kept));
    }
}

TEST(ScannedPage, TooSmallMessageNamesBothLengths)
{
    EXPECT_EQ((QStringList{TooSmallMessage(11, 2183, 200), TooSmallMessage(11.7, 1000, 300)}),
              (QStringList{texts::ScanTooSmall.arg(QStringLiteral("11"), QStringLiteral("10.915")), texts::ScanTooSmall.arg(QStringLiteral("11.7"), QStringLiteral("3.33333333333333"))}));
    EXPECT_TRUE(TooSmallMessage(FrameLengthFor(QStringLiteral("A"), true), 1000, 300, true).contains(QStringLiteral("been 11.7 inches")));
}

TEST(ScannedPage, InversionTestCountsBlackPixels)
{
    // Exactly half is not more than half; only two-colour pages are tested.
    QImage page = NewMonoPage(101, 10);  // a width that isn't a whole number of bytes
    QList<bool> inverted{LooksInverted(page)};
    FillBlack(page, 0, 0, 101, 5), inverted << LooksInverted(page);
    FillBlack(page, 0, 5, 1, 1), inverted << LooksInverted(page) << LooksInverted(QImage(10, 10, QImage::Format_Grayscale8));
    EXPECT_EQ(inverted, (QList<bool>{false, false, true, false}));
}

// The size verdict comes from the page as scanned.
TEST(ScannedPage, PreparingAPage)
{
    QImage scanned = TextPage(1700, 2300, 3, 200);
    scanned.invertPixels();
    PageWork work;
    work.checkPalette = true;
    auto prepared = PrepareScannedPage(scanned, work);
    ASSERT_TRUE(prepared.ok()) << prepared.error().toStdString();
    EXPECT_EQ(std::tuple(prepared->scanHeight, prepared->dpi, prepared->tooSmall, prepared->page.size(), DpiOf(prepared->page), LooksInverted(prepared->page)),
              std::tuple(2300, 200, false, QSize(1700, 2200), Dpi{200, 200}, false));
    EXPECT_EQ(std::memcmp(prepared->page.constScanLine(300), TextPage(1700, 2300, 3, 200).constScanLine(300), 1700 / 8), 0) << "inverted back exactly";

    // The same without the test stays inverted; Invert turns it back.
    work.checkPalette = false;
    const bool inverted = LooksInverted(PrepareScannedPage(scanned, work)->page);
    work.invert = true;
    EXPECT_EQ(std::tuple(inverted, LooksInverted(PrepareScannedPage(scanned, work)->page)), std::tuple(true, false));

    // A grey page comes out in two colours; a short one is measured as scanned.
    QImage grey(1700, 2000, QImage::Format_Grayscale8);
    grey.fill(230);
    for (int y = 200; y < 1800; y += 40) for (int x = 100; x < 1600; ++x) grey.scanLine(y)[x] = 20;
    SetDpi(grey, Dpi{200, 200});
    work = PageWork{};
    auto mono = PrepareScannedPage(grey, work);
    ASSERT_TRUE(mono.ok());
    EXPECT_EQ(std::tuple(IsBlackAndWhite(mono->page), mono->tooSmall, mono->page.height(), IsBlackAt(mono->page, 500, 200), IsBlackAt(mono->page, 500, 220)),
              std::tuple(true, true, 2000, true, false));

    // Deskew straightens a turned page.
    QImage turned = TextPage(1700, 2200, 5, 200).convertToFormat(QImage::Format_Grayscale8).transformed(QTransform().rotate(2.0), Qt::SmoothTransformation);
    turned = turned.copy((turned.width() - 1700) / 2, (turned.height() - 2200) / 2, 1700, 2200);
    SetDpi(turned, Dpi{200, 200});
    work.deskew = true;
    auto straight = PrepareScannedPage(turned, work);
    ASSERT_TRUE(straight.ok());
    EXPECT_TRUE(straight->page.size() == QSize(1700, 2200) && std::abs(FindSkew(turned)->angle) > 1.5 && std::abs(FindSkew(straight->page)->angle) < 0.3);

    EXPECT_FALSE(PrepareScannedPage(QImage(), work).ok());
}
