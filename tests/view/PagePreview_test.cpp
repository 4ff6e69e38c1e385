#include "view/PagePreview.h"
#include "view/ViewGeometry.h"

#include "store/PageImage.h"
#include "store/TestPages.h"
#include "view/ViewerTestSupport.h"

#include <gtest/gtest.h>

using namespace tarlox;
using namespace tarlox::test;

TEST(PagePreview, ThinStrokesStayVisibleWhenShrunk)
{
    // One-pixel lines every 7 pixels: sampling every third pixel would drop
    // most of them; averaging keeps every one as grey.
    QImage page = NewMonoPage(2550, 3300);
    for (int x = 3; x < 2550; x += 7)
        FillBlack(page, x, 0, 1, 3300);
    const QImage grey = ShrinkMonoToGrey(page, page.rect(), QSize(850, 1100));
    ASSERT_EQ(grey.format(), QImage::Format_Grayscale8);
    ASSERT_EQ(grey.size(), QSize(850, 1100));
    for (int x = 3; x < 2540; x += 7) {
        const int column = x / 3;
        EXPECT_LT(qGray(grey.pixel(column, 500)), 255) << x;
        EXPECT_GT(qGray(grey.pixel(column, 500)), 100) << x;  // grey, not black: one of three pixels
    }
}

TEST(PagePreview, ShrinkAveragesExactlyOverBoxes)
{
    QImage page = NewMonoPage(40, 40);
    FillBlack(page, 0, 0, 20, 40);  // left half black
    FillBlack(page, 20, 0, 10, 20);  // a quarter of the right half's top
    const QImage grey = ShrinkMonoToGrey(page, page.rect(), QSize(2, 2));
    EXPECT_EQ(qGray(grey.pixel(0, 0)), 0);
    EXPECT_EQ(qGray(grey.pixel(0, 1)), 0);
    EXPECT_NEAR(qGray(grey.pixel(1, 0)), 127.5, 0.5);  // half of the box black
    EXPECT_EQ(qGray(grey.pixel(1, 1)), 255);

    // An area not on byte boundaries, odd sizes.
    const QImage part = ShrinkMonoToGrey(page, QRect(13, 5, 17, 9), QSize(5, 3));
    ASSERT_EQ(part.size(), QSize(5, 3));
    EXPECT_EQ(qGray(part.pixel(0, 0)), 0);      // columns 13-15: black
    EXPECT_EQ(qGray(part.pixel(4, 2)), 0);      // columns 26-29, rows 11-13: black
}

TEST(PagePreview, RenderViewCentresTheFittedPage)
{
    QImage page = NewMonoPage(1000, 2000);
    page.fill(1);  // all black
    const ViewGeometry g{page.size(), QSize(600, 500)};
    EXPECT_DOUBLE_EQ(g.scale(), 0.25);
    const QImage view = RenderView(page, g);
    ASSERT_EQ(view.size(), QSize(600, 500));
    EXPECT_EQ(qGray(view.pixel(300, 250)), 0);
    EXPECT_EQ(qGray(view.pixel(10, 250)), 0x80);  // ground beside the page
    EXPECT_EQ(qGray(view.pixel(174, 250)), 0x80);
    EXPECT_EQ(qGray(view.pixel(176, 250)), 0);
}

TEST(ViewGeometry, MapsBothWaysFittedAndMagnified)
{
    ViewGeometry g{QSize(2550, 3300), QSize(850, 1100)};
    EXPECT_DOUBLE_EQ(g.scale(), 1.0 / 3);
    EXPECT_EQ(g.toImage(QPointF(100, 200)), QPointF(300, 600));
    EXPECT_EQ(g.toWindow(QPointF(300, 600)), QPointF(100, 200));

    // A square of 200 image pixels in a 400 x 300 window: 1.5 window pixels a pixel.
    g = ViewGeometry{QSize(2550, 3300), QSize(400, 300), true, 200, 1000, 1500};
    EXPECT_DOUBLE_EQ(g.scale(), 1.5);
    EXPECT_EQ(g.toImage(QPointF(0, 0)), QPointF(1000, 1500));
    EXPECT_EQ(g.toImage(QPointF(300, 300)), QPointF(1200, 1700));
    EXPECT_GT(g.scrollRange().width(), 0);

    // Magnified near the far corner: the view stays on the page.
    g.zoomLeft = 2500;
    g.zoomTop = 3290;
    const QPointF corner = g.toImage(QPointF(400, 300));
    EXPECT_NEAR(corner.x(), 2550, 1e-9);
    EXPECT_NEAR(corner.y(), 3300, 1e-9);
}

TEST(TurnPage, QuarterTurnsMovePixelsAndSwapResolution)
{
    QImage page = NewMonoPage(300, 200);
    SetDpi(page, Dpi{300, 200});
    FillBlack(page, 0, 0, 10, 10);  // upper left corner
    const QImage ccw = TurnPage(page, 1);
    ASSERT_EQ(ccw.size(), QSize(200, 300));
    EXPECT_TRUE(IsBlackAt(ccw, 5, 295));  // counter-clockwise: upper left goes to lower left
    EXPECT_EQ(DpiOf(ccw), (Dpi{200, 300}));
    EXPECT_TRUE(IsBlackAt(TurnPage(page, -1), 195, 5));  // clockwise: to upper right
    const QImage flipped = TurnPage(page, 2);
    EXPECT_EQ(flipped.size(), page.size());
    EXPECT_TRUE(IsBlackAt(flipped, 295, 195));
    EXPECT_TRUE(SamePixels(TurnPage(TurnPage(page, 1), 1), flipped));
    EXPECT_TRUE(SamePixels(TurnPage(page, 4), page));
    EXPECT_TRUE(IsBlackAndWhite(ccw));

    QImage colour(30, 20, QImage::Format_RGB32);
    colour.fill(Qt::white);
    colour.setPixel(0, 0, qRgb(255, 0, 0));
    EXPECT_EQ(TurnPage(colour, 1).pixel(0, 29), qRgb(255, 0, 0));
}
