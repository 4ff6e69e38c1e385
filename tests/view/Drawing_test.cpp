#include "view/Drawing.h"
#include "view/PagePreview.h"
#include "view/ViewGeometry.h"
#include "view/ViewerTestSupport.h"

#include <QTemporaryDir>

#include <gtest/gtest.h>

using namespace tarlox;
using namespace tarlox::test;

namespace {

class DrawingTest : public ::testing::Test {
protected:
    QImage page = NewMonoPage(2550, 3300);  // 300 dpi letter
};

// A page all black in the given areas.
QImage BlackPage(int width, int height, const QList<QRect>& areas = {QRect(0, 0, 100000, 100000)})
{
    QImage page = NewMonoPage(width, height);
    for (const QRect& area : areas)
        FillBlack(page, area.x(), area.y(), area.width(), area.height());
    return page;
}

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

TEST_F(DrawingTest, LinesAndRectanglesAreBurnedAtFullResolution)
{
    DrawLine(page, QPointF(100, 1000.4), QPointF(2000, 1000.4), 9);
    EXPECT_EQ(page.colorTable(), MonoColorTable());
    // Nine pixels thick, centred on row 1000, all along its length and nothing past its ends.
    for (int x : {105, 1000, 1995}) {
        EXPECT_TRUE(IsBlackAt(page, x, 996) && IsBlackAt(page, x, 1004)) << x;
        EXPECT_FALSE(IsBlackAt(page, x, 994) || IsBlackAt(page, x, 1006)) << x;
    }
    EXPECT_FALSE(IsBlackAt(page, 90, 1000) || IsBlackAt(page, 2010, 1000));

    DrawLine(page, QPointF(-500, -500), QPointF(500, 500), 1);
    for (int i = 0; i < 500; i += 50)
        EXPECT_TRUE(IsBlackAt(page, i, i)) << i;
    DrawLine(page, QPointF(3000, 4000), QPointF(3100, 4100), 5);  // wholly outside: nothing, no crash
    EXPECT_EQ(std::pair(page.size(), blackIn(page, QRect(2400, 3200, 150, 100))), std::pair(QSize(2550, 3300), 0));

    QImage grey(300, 300, QImage::Format_Grayscale8);  // a grey page is drawn on in colour
    grey.fill(200);
    DrawLine(grey, QPointF(10, 150), QPointF(290, 150), 3);
    EXPECT_EQ(std::tuple(grey.format(), qGray(grey.pixel(150, 150)), qGray(grey.pixel(150, 10))), std::tuple(QImage::Format_RGB32, 0, 200));

    FillBlack(page, 500, 500, 20, 20);  // text inside the frame
    DrawRect(page, QRectF(QPointF(400, 400), QPointF(800, 700)), 4, false, true);
    for (const QPoint& p : {QPoint(400, 400), QPoint(800, 550), QPoint(600, 700)})
        EXPECT_TRUE(IsBlackAt(page, p.x(), p.y())) << p.x() << "," << p.y();
    // Just inside the 4-pixel border; the text stays.
    EXPECT_EQ(std::pair(IsBlackAt(page, 405, 550), IsBlackAt(page, 510, 510)), std::pair(false, true));

    FillBlack(page, 1000, 1000, 300, 300);
    DrawRect(page, QRectF(QPointF(1050, 1050), QPointF(1250, 1250)), 1, true, false);
    // Outside stays black.
    EXPECT_EQ(std::tuple(blackIn(page, QRect(1052, 1052, 196, 196)), IsBlackAt(page, 1040, 1040), IsBlackAt(page, 1260, 1260)), std::tuple(0, true, true));
    DrawRect(page, QRectF(QPointF(100, 100), QPointF(200, 150)), 1, true, true);
    EXPECT_EQ(blackIn(page, QRect(101, 101, 98, 48)), 98 * 48);
}

TEST_F(DrawingTest, TextFitCountsLinesKeepsProportionsAndStandsInTheRectangle)
{
    const struct { const char* text; int points; double width, height; int lines, fitted; } rows[] = {
        {"APPROVED", 12, 1000, 10, 1, 10},  // twelve points start at 36 pixels; a ten-pixel rectangle takes 10
        {"OK|", 10, 1000, 1000, 2, 30},     // an empty last line still counts; the size is a maximum, never grown
        {"ABCDEFGHIJKLMNOPQRST", 10, 150, 1000, 1, 15},  // 300 wide at height 30 in a box 150 wide: half
        {"ABCDEFGHIJKLMNOPQRST|B|C", 10, 100, 60, 3, 10},  // both too big: the smaller scale wins
    };
    for (const auto& row : rows) {
        const TextFit fit = FitStampText(QLatin1String(row.text), row.points, row.width, row.height, fixedMeasure);
        EXPECT_EQ(std::pair(fit.lineCount, fit.height), std::pair(row.lines, row.fitted)) << row.text;
    }
    EXPECT_EQ(std::pair(FitStampText(QStringLiteral("A"), 12, 1000, 10, fixedMeasure).startHeight,
                        FitStampText(QStringLiteral("ABCDEFGHIJKLMNOPQRST"), 10, 150, 1000, fixedMeasure).textWidth),
              std::pair(36, 300.0));
    TextStamp stamp{QStringLiteral("RECEIVED|QA"), QStringLiteral("DejaVu Sans"), 20, true, false, false, false};
    ASSERT_TRUE(DrawTextStamp(page, QRectF(QPointF(300, 300), QPointF(1300, 500)), stamp));
    // Inside, nothing below, left-aligned.
    EXPECT_TRUE(blackIn(page, QRect(300, 300, 1000, 200)) > 1000 && blackIn(page, QRect(0, 502, 2550, 2798)) == 0 && blackIn(page, QRect(300, 300, 300, 200)) > 0);

    QImage centred = NewMonoPage(1000, 100);
    ASSERT_TRUE(DrawTextStamp(centred, QRectF(0, 0, 1000, 100), {QStringLiteral("I"), QStringLiteral("DejaVu Sans"), 20, false, false, true, false}));
    EXPECT_TRUE(blackIn(centred, QRect(0, 0, 450, 100)) + blackIn(centred, QRect(550, 0, 450, 100)) == 0 && blackIn(centred, QRect(450, 0, 100, 100)) > 0);

    // Replacing wipes the area; an overlay keeps the page.
    FillBlack(page, 0, 0, 2550, 600);
    QImage overlaid = page;
    TextStamp replace{QStringLiteral("X"), QStringLiteral("DejaVu Sans"), 10, false, false, false, false};
    ASSERT_TRUE(DrawTextStamp(page, QRectF(QPointF(100, 100), QPointF(400, 200)), replace));
    EXPECT_LT(blackIn(page, QRect(100, 100, 300, 100)), 300 * 100 / 2);  // mostly white now
    replace.overlay = true;
    ASSERT_TRUE(DrawTextStamp(overlaid, QRectF(QPointF(100, 100), QPointF(400, 200)), replace));
    EXPECT_EQ(blackIn(overlaid, QRect(100, 100, 300, 100)), 300 * 100);  // black stays black

    const QImage before = page;
    replace.fontName = QString(40, QLatin1Char('F'));
    const IoStatus drawn = DrawTextStamp(page, QRectF(0, 0, 200, 100), replace);
    EXPECT_TRUE(!drawn && drawn.error().contains(QStringLiteral("longer than 32")) && SamePixels(before, page));
}

TEST_F(DrawingTest, StampImageKeepsItsProportionsAndOneThatCannotBeReadSaysWhy)
{
    // A solid 100 x 50 stamp into a 400 x 200 box fills it exactly.
    LayStamp(page, QRectF(QPointF(1000, 1000), QPointF(1400, 1200)), BlackPage(100, 50), false);
    EXPECT_EQ(std::pair(blackIn(page, QRect(1000, 1000, 400, 200)), IsBlackAt(page, 1401, 1100)), std::pair(400 * 200, false));

    // A wider stamp (200 x 50) into 400 x 400: 400 x 100 at the top, a gap below left as it was.
    FillBlack(page, 0, 1500, 2550, 1000);
    LayStamp(page, QRectF(QPointF(100, 1000), QPointF(500, 1400)), BlackPage(200, 50), false);
    EXPECT_EQ(std::tuple(blackIn(page, QRect(100, 1000, 400, 100)), blackIn(page, QRect(100, 1102, 400, 298)), IsBlackAt(page, 300, 1600)),
              std::tuple(400 * 100, 0, true));
    QTemporaryDir dir;
    const QString bogus = dir.filePath(QStringLiteral("stamp.png"));
    ASSERT_TRUE(WriteFile(bogus, "not a picture"));
    EXPECT_TRUE(!LoadStampPicture(bogus).error().isEmpty() && !LoadStampPicture(dir.filePath(QStringLiteral("missing.tif"))) && !LoadStampPicture(QString()));
    const QString good = dir.filePath(QStringLiteral("good.tif"));
    ASSERT_TRUE(WriteTiff(good, {NumberedPage(2, 200, 100)}));
    const auto picture = LoadStampPicture(good);
    EXPECT_TRUE(picture && picture->size() == QSize(200, 100)) << picture.error().toStdString();
}

TEST(PagePreview, ShrinkAveragesExactlyOverBoxesAndTheFittedPageIsCentred)
{
    // The left half black, and a quarter of the right half's top.
    const QImage page = BlackPage(40, 40, {QRect(0, 0, 20, 40), QRect(20, 0, 10, 20)});
    const QImage grey = ShrinkMonoToGrey(page, page.rect(), QSize(2, 2));
    EXPECT_EQ(std::tuple(qGray(grey.pixel(0, 0)), qGray(grey.pixel(0, 1)), qGray(grey.pixel(1, 1))), std::tuple(0, 0, 255));
    EXPECT_NEAR(qGray(grey.pixel(1, 0)), 127.5, 0.5);  // half of the box black

    // An area not on byte boundaries, odd sizes.
    const QImage part = ShrinkMonoToGrey(page, QRect(13, 5, 17, 9), QSize(5, 3));
    ASSERT_EQ(part.size(), QSize(5, 3));
    // Columns 13-15, and columns 26-29 rows 11-13: black.
    EXPECT_EQ(std::pair(qGray(part.pixel(0, 0)), qGray(part.pixel(4, 2))), std::pair(0, 0));
    const QImage tall = BlackPage(1000, 2000);
    const ViewGeometry g{tall.size(), QSize(600, 500)};
    EXPECT_DOUBLE_EQ(g.scale(), 0.25);
    const QImage view = RenderView(tall, g);
    ASSERT_EQ(view.size(), QSize(600, 500));
    // The page, the ground beside it, and the page's edge.
    QList<int> levels;
    for (int x : {300, 10, 174, 176})
        levels << qGray(view.pixel(x, 250));
    EXPECT_EQ(levels, (QList<int>{0, 0x80, 0x80, 0}));
}

TEST(ViewGeometry, MapsBothWaysFittedAndMagnified)
{
    ViewGeometry g{QSize(2550, 3300), QSize(850, 1100)};
    EXPECT_DOUBLE_EQ(g.scale(), 1.0 / 3);
    EXPECT_EQ(std::pair(g.toImage(QPointF(100, 200)), g.toWindow(QPointF(300, 600))), std::pair(QPointF(300, 600), QPointF(100, 200)));

    // A square of 200 image pixels in a 400 x 300 window: 1.5 window pixels a pixel.
    g = ViewGeometry{QSize(2550, 3300), QSize(400, 300), true, 200, 1000, 1500};
    EXPECT_DOUBLE_EQ(g.scale(), 1.5);
    EXPECT_EQ(std::pair(g.toImage(QPointF(0, 0)), g.toImage(QPointF(300, 300))), std::pair(QPointF(1000, 1500), QPointF(1200, 1700)));
    EXPECT_GT(g.scrollRange().width(), 0);

    // Magnified near the far corner: the view stays on the page.
    g.zoomLeft = 2500, g.zoomTop = 3290;
    const QPointF corner = g.toImage(QPointF(400, 300));
    EXPECT_TRUE(std::abs(corner.x() - 2550) < 1e-9 && std::abs(corner.y() - 3300) < 1e-9) << corner.x() << ',' << corner.y();
}

TEST(TurnPage, QuarterTurnsMovePixelsAndSwapResolution)
{
    QImage page = BlackPage(300, 200, {QRect(0, 0, 10, 10)});  // upper left corner
    SetDpi(page, Dpi{300, 200});
    const QImage ccw = TurnPage(page, 1);
    ASSERT_EQ(ccw.size(), QSize(200, 300));
    // Counter-clockwise: upper left goes to lower left; clockwise: to upper right.
    EXPECT_EQ(std::tuple(IsBlackAt(ccw, 5, 295), DpiOf(ccw), IsBlackAt(TurnPage(page, -1), 195, 5), IsBlackAndWhite(ccw)), std::tuple(true, Dpi{200, 300}, true, true));
    const QImage flipped = TurnPage(page, 2);
    EXPECT_EQ(std::tuple(flipped.size(), IsBlackAt(flipped, 295, 195), SamePixels(TurnPage(TurnPage(page, 1), 1), flipped), SamePixels(TurnPage(page, 4), page)),
              std::tuple(page.size(), true, true, true));

    QImage colour(30, 20, QImage::Format_RGB32);
    colour.fill(Qt::white);
    colour.setPixel(0, 0, qRgb(255, 0, 0));
    EXPECT_EQ(TurnPage(colour, 1).pixel(0, 29), qRgb(255, 0, 0));
}
