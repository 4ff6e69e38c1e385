#include "view/Drawing.h"

#include "store/PageImage.h"
#include "store/TestPages.h"
#include "store/TiffWriter.h"
#include "view/ViewerTestSupport.h"

#include <QFontMetricsF>
#include <QTemporaryDir>

#include <gtest/gtest.h>

using namespace tarlox;
using namespace tarlox::test;

namespace {

class DrawingTest : public ::testing::Test {
protected:
    void SetUp() override { EnsureGuiApplication(); }
    QImage page = NewMonoPage(2550, 3300);  // 300 dpi letter
};

int blackIn(const QImage& page, const QRect& area)
{
    int count = 0;
    for (int y = area.top(); y <= area.bottom(); ++y)
        for (int x = area.left(); x <= area.right(); ++x)
            count += IsBlackAt(page, x, y) ? 1 : 0;
    return count;
}

// A box whose lines measure like plain text: 10 wide per character, 20 high.
QSizeF fixedMeasure(const QString& line) { return QSizeF(10.0 * line.size(), 20); }

}  // namespace

TEST_F(DrawingTest, LineIsBurnedAtFullResolutionWithItsWidth)
{
    DrawLine(page, QPointF(100, 1000.4), QPointF(2000, 1000.4), 9);
    EXPECT_EQ(page.colorTable(), MonoColorTable());
    // Nine pixels thick, centred on row 1000, all along its length.
    for (int x : {105, 1000, 1995}) {
        EXPECT_TRUE(IsBlackAt(page, x, 996)) << x;
        EXPECT_TRUE(IsBlackAt(page, x, 1004)) << x;
        EXPECT_FALSE(IsBlackAt(page, x, 994)) << x;
        EXPECT_FALSE(IsBlackAt(page, x, 1006)) << x;
    }
    // Nothing past its ends.
    EXPECT_FALSE(IsBlackAt(page, 90, 1000));
    EXPECT_FALSE(IsBlackAt(page, 2010, 1000));
}

TEST_F(DrawingTest, DiagonalAndOutsideStrokesAreCutAtTheEdge)
{
    DrawLine(page, QPointF(-500, -500), QPointF(500, 500), 1);
    for (int i = 0; i < 500; i += 50)
        EXPECT_TRUE(IsBlackAt(page, i, i)) << i;
    EXPECT_EQ(page.size(), QSize(2550, 3300));
    DrawLine(page, QPointF(3000, 4000), QPointF(3100, 4100), 5);  // wholly outside: nothing, no crash
    EXPECT_EQ(blackIn(page, QRect(2400, 3200, 150, 100)), 0);
}

TEST_F(DrawingTest, RectangleOutlineLeavesTheInsideAlone)
{
    FillBlack(page, 500, 500, 20, 20);  // text inside the frame
    DrawRect(page, QRectF(QPointF(400, 400), QPointF(800, 700)), 4, false, true);
    for (const QPoint& p : {QPoint(400, 400), QPoint(800, 550), QPoint(600, 700)})
        EXPECT_TRUE(IsBlackAt(page, p.x(), p.y())) << p.x() << "," << p.y();
    EXPECT_FALSE(IsBlackAt(page, 405, 550));  // just inside the 4-pixel border
    EXPECT_TRUE(IsBlackAt(page, 510, 510));   // the text stays
}

TEST_F(DrawingTest, WhiteFilledRectangleBlanksOutAndBlackFillCovers)
{
    FillBlack(page, 1000, 1000, 300, 300);
    DrawRect(page, QRectF(QPointF(1050, 1050), QPointF(1250, 1250)), 1, true, false);
    EXPECT_EQ(blackIn(page, QRect(1052, 1052, 196, 196)), 0);
    EXPECT_TRUE(IsBlackAt(page, 1040, 1040));  // outside stays black
    EXPECT_TRUE(IsBlackAt(page, 1260, 1260));

    DrawRect(page, QRectF(QPointF(100, 100), QPointF(200, 150)), 1, true, true);
    EXPECT_EQ(blackIn(page, QRect(101, 101, 98, 48)), 98 * 48);
}

TEST_F(DrawingTest, GreyPageIsDrawnOnInColour)
{
    QImage grey(300, 300, QImage::Format_Grayscale8);
    grey.fill(200);
    DrawLine(grey, QPointF(10, 150), QPointF(290, 150), 3);
    EXPECT_EQ(grey.format(), QImage::Format_RGB32);
    EXPECT_EQ(qGray(grey.pixel(150, 150)), 0);
    EXPECT_EQ(qGray(grey.pixel(150, 10)), 200);
}

TEST_F(DrawingTest, TextFitCountsLinesAndKeepsProportions)
{
    // Twelve points start at 36 pixels; a ten-pixel rectangle takes 10.
    const TextFit low = FitStampText(QStringLiteral("APPROVED"), 12, 1000, 10, fixedMeasure);
    EXPECT_EQ(low.startHeight, 36);
    EXPECT_EQ(low.height, 10);

    // "|" at the end makes an empty last line that still counts.
    const TextFit trailing = FitStampText(QStringLiteral("OK|"), 10, 1000, 1000, fixedMeasure);
    EXPECT_EQ(trailing.lineCount, 2);
    EXPECT_EQ(trailing.lines.last(), QString());
    EXPECT_EQ(trailing.height, 30);  // fits: the size is a maximum, never grown

    // 20 characters measure 200 x 20; at height 30 that is 300 wide, in a box 150 wide: half.
    const TextFit wide = FitStampText(QStringLiteral("ABCDEFGHIJKLMNOPQRST"), 10, 150, 1000, fixedMeasure);
    EXPECT_DOUBLE_EQ(wide.textWidth, 300);
    EXPECT_EQ(wide.height, 15);

    // Both too big: the smaller scale wins. Three lines of 90 in 60 high -> 20; width 100/300*30 -> 10.
    const TextFit both = FitStampText(QStringLiteral("ABCDEFGHIJKLMNOPQRST|B|C"), 10, 100, 60, fixedMeasure);
    EXPECT_EQ(both.lineCount, 3);
    EXPECT_EQ(both.height, 10);
}

TEST_F(DrawingTest, TextStampIsDrawnInItsRectangleFromTheTop)
{
    TextStamp stamp{QStringLiteral("RECEIVED|QA"), QStringLiteral("DejaVu Sans"), 20, true, false, false, false};
    ASSERT_TRUE(DrawTextStamp(page, QRectF(QPointF(300, 300), QPointF(1300, 500)), stamp));
    EXPECT_GT(blackIn(page, QRect(300, 300, 1000, 200)), 1000);
    EXPECT_EQ(blackIn(page, QRect(0, 502, 2550, 2798)), 0);
    EXPECT_GT(blackIn(page, QRect(300, 300, 300, 200)), 0);  // left-aligned
}

TEST_F(DrawingTest, CentredTextStandsInTheMiddle)
{
    TextStamp stamp{QStringLiteral("I"), QStringLiteral("DejaVu Sans"), 20, false, false, true, false};
    ASSERT_TRUE(DrawTextStamp(page, QRectF(QPointF(0, 0), QPointF(1000, 100)), stamp));
    EXPECT_EQ(blackIn(page, QRect(0, 0, 450, 100)), 0);
    EXPECT_GT(blackIn(page, QRect(450, 0, 100, 100)), 0);
    EXPECT_EQ(blackIn(page, QRect(550, 0, 450, 100)), 0);
}

TEST_F(DrawingTest, ReplacingStampWipesTheAreaOverlayKeepsThePage)
{
    FillBlack(page, 0, 0, 2550, 600);  // a page black at the top
    QImage overlaid = page;
    TextStamp replace{QStringLiteral("X"), QStringLiteral("DejaVu Sans"), 10, false, false, false, false};
    ASSERT_TRUE(DrawTextStamp(page, QRectF(QPointF(100, 100), QPointF(400, 200)), replace));
    EXPECT_LT(blackIn(page, QRect(100, 100, 300, 100)), 300 * 100 / 2);  // mostly white now
    TextStamp overlay = replace;
    overlay.overlay = true;
    ASSERT_TRUE(DrawTextStamp(overlaid, QRectF(QPointF(100, 100), QPointF(400, 200)), overlay));
    EXPECT_EQ(blackIn(overlaid, QRect(100, 100, 300, 100)), 300 * 100);  // black stays black
}

TEST_F(DrawingTest, OverlongFontNameIsRefusedWithAMessage)
{
    const QImage before = page;
    TextStamp stamp{QStringLiteral("A"), QString(40, QLatin1Char('F')), 10, false, false, false, false};
    const IoStatus drawn = DrawTextStamp(page, QRectF(0, 0, 200, 100), stamp);
    ASSERT_FALSE(drawn);
    EXPECT_TRUE(drawn.error().contains(QStringLiteral("longer than 32")));
    EXPECT_TRUE(SamePixels(before, page));
}

TEST_F(DrawingTest, StampImageKeepsItsProportions)
{
    // A solid 100 x 50 stamp into a 400 x 200 box fills it exactly.
    QImage stamp = NewMonoPage(100, 50);
    FillBlack(stamp, 0, 0, 100, 50);
    LayStamp(page, QRectF(QPointF(1000, 1000), QPointF(1400, 1200)), stamp, false);
    EXPECT_EQ(blackIn(page, QRect(1000, 1000, 400, 200)), 400 * 200);
    EXPECT_FALSE(IsBlackAt(page, 1401, 1100));

    // A wider stamp (200 x 50) into 400 x 400: 400 x 100 at the top, a gap below left as it was.
    QImage other = NewMonoPage(2550, 3300);
    FillBlack(other, 0, 1500, 2550, 1000);
    QImage wide = NewMonoPage(200, 50);
    wide.fill(0);
    FillBlack(wide, 0, 0, 200, 50);
    LayStamp(other, QRectF(QPointF(100, 1000), QPointF(500, 1400)), wide, false);
    EXPECT_EQ(blackIn(other, QRect(100, 1000, 400, 100)), 400 * 100);
    EXPECT_EQ(blackIn(other, QRect(100, 1102, 400, 298)), 0);
    EXPECT_TRUE(IsBlackAt(other, 300, 1600));
}

TEST_F(DrawingTest, StampPictureThatCannotBeReadSaysWhy)
{
    QTemporaryDir dir;
    const QString bogus = dir.filePath(QStringLiteral("stamp.png"));
    ASSERT_TRUE(WriteFile(bogus, "not a picture"));
    EXPECT_FALSE(LoadStampPicture(bogus).error().isEmpty());
    EXPECT_FALSE(LoadStampPicture(dir.filePath(QStringLiteral("missing.tif"))));
    EXPECT_FALSE(LoadStampPicture(QString()));

    const QString good = dir.filePath(QStringLiteral("good.tif"));
    ASSERT_TRUE(WriteTiff(good, {NumberedPage(2, 200, 100)}));
    const auto picture = LoadStampPicture(good);
    ASSERT_TRUE(picture) << picture.error().toStdString();
    EXPECT_EQ(picture->size(), QSize(200, 100));
}
