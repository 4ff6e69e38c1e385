#include "store/LeptonicaImage.h"
#include "store/PageProcessing.h"
#include "TestPages.h"

#include <QTransform>

#include <gtest/gtest.h>

#include <cmath>

using namespace tarlox;
using namespace tarlox::test;

namespace {

// A scanned-looking grey page: paper from 235 (left) to 110 (right), a round shadow of 50 more,
// every fifth line faint (60 % of its paper): no fixed level separates faint text from dark paper.
QImage ScannedGrey(const QImage& truth, QRect solidBox)
{
    QImage grey(truth.size(), QImage::Format_Grayscale8);
    QRandomGenerator noise(7);
    const int lineHeight = std::max(1, truth.width() / 170) * 16;
    for (int y = 0; y < truth.height(); ++y) {
        uchar* row = grey.scanLine(y);
        const bool faint = (y / lineHeight) % 5 == 4;
        for (int x = 0; x < truth.width(); ++x) {
            double paper = 235.0 - 125.0 * x / truth.width();
            const double dx = x - truth.width() * 0.7, dy = y - truth.height() * 0.35;
            if (dx * dx + dy * dy < std::pow(truth.width() * 0.15, 2)) paper -= 50;
            const int jitter = int(noise.bounded(9)) - 4;
            int value = int(paper) + jitter;
            if (truth.pixelIndex(x, y) == 1) value = faint ? int(paper * 0.6) : 40 + jitter;
            if (solidBox.contains(x, y)) value = 35 + jitter;
            row[x] = uchar(std::clamp(value, 0, 255));
        }
    }
    SetDpi(grey, DpiOf(truth));
    return grey;
}

// The shares of text pixels that came out black and of paper pixels that came out white.
struct Score { double textBlack = 0, paperWhite = 0; };

Score Compare(const QImage& result, const QImage& truth, QRect solidBox)
{
    qint64 text = 0, textHit = 0, paper = 0, paperHit = 0;
    for (int y = 0; y < truth.height(); ++y) for (int x = 0; x < truth.width(); ++x) {
            const bool black = IsBlackAt(result, x, y);
            if (truth.pixelIndex(x, y) == 1 || solidBox.contains(x, y)) ++text, textHit += black;
            else ++paper, paperHit += !black;
        }
    return Score{double(textHit) / double(text), double(paperHit) / double(paper)};
}

QImage Rotated(const QImage& page, double degrees)
{
    QImage argb = page.convertToFormat(QImage::Format_ARGB32);
    QImage turned = FlattenOnWhite(argb.transformed(QTransform().rotate(degrees), Qt::SmoothTransformation));
    SetDpi(turned, DpiOf(page));
    return *ReduceToBlackAndWhite(turned);
}

}  // namespace

TEST(PageProcessing, BinarizationKeepsTextBlackAndUnevenPaperWhite)
{
    const QImage truth = TextPage(1275, 1650, 11, 150);
    const QRect box(100, 1500, 300, 80);  // a solid dark area must stay solid
    const QImage grey = ScannedGrey(truth, box);

    auto result = ReduceToBlackAndWhite(grey);
    ASSERT_TRUE(result.ok()) << result.error().toStdString();
    const Score score = Compare(*result, truth, box);
    EXPECT_TRUE(result->colorTable() == MonoColorTable() && score.textBlack > 0.99 && score.paperWhite > 0.999) << score.textBlack << " " << score.paperWhite;

    // The same page in colour: bluish ink on yellowish, unevenly lit paper.
    QImage colour(grey.size(), QImage::Format_RGB32);
    for (int y = 0; y < grey.height(); ++y) for (int x = 0; x < grey.width(); ++x) {
            const int v = grey.constScanLine(y)[x];
            const bool ink = truth.pixelIndex(x, y) == 1 || box.contains(x, y);
            colour.setPixel(x, y, ink ? qRgb(v / 2, v / 2, std::min(255, v + 40)) : qRgb(v, v, std::max(0, v - 40)));
        }
    SetDpi(colour, Dpi{150, 150});
    auto fromColour = ReduceToBlackAndWhite(colour);
    ASSERT_TRUE(fromColour.ok());
    const Score colourScore = Compare(*fromColour, truth, box);
    EXPECT_TRUE(colourScore.textBlack > 0.98 && colourScore.paperWhite > 0.999) << colourScore.textBlack << " " << colourScore.paperWhite;
}

TEST(PageProcessing, DeskewStraightensATurnedPage)
{
    const QImage page = TextPage(1275, 1650, 12, 150);
    for (double turn : {3.0, -2.0}) {
        const QImage turned = Rotated(page, turn);
        auto before = FindSkew(turned);
        ASSERT_TRUE(before.ok());
        EXPECT_TRUE(std::abs(std::abs(before->angle) - std::abs(turn)) <= 0.3 && before->confidence > 2.0) << turn << ": " << before->angle << " " << before->confidence;
        Skew found;
        auto straight = DeskewPage(turned, &found);
        ASSERT_TRUE(straight.ok()) << straight.error().toStdString();
        auto after = FindSkew(*straight);
        EXPECT_TRUE(straight->size() == turned.size() && std::abs(found.angle - before->angle) <= 0.01 && after.ok() && std::abs(after->angle) < 0.3)
            << turn << ": " << found.angle << " " << (after.ok() ? after->angle : 99);
    }
    // The sign: a page turned clockwise on the screen needs a counter-clockwise turn back.
    EXPECT_LT(FindSkew(Rotated(page, 3.0))->angle, 0);

    // A page without text comes back as it was.
    const QImage blank = NewMonoPage(400, 300);
    Skew none{1, 1};
    auto same = DeskewPage(blank, &none);
    EXPECT_TRUE(same.ok() && SamePixels(*same, blank) && none.angle == 0.0);
}

TEST(PageProcessing, ImagesCrossToLeptonicaAndBackUnchanged)
{
    QImage mono = TextPage(37, 23, 3, 300);  // odd width: padding bits matter
    mono.setPixel(36, 22, 1);
    const QImage back = ImageFromPix(PixFromImage(mono).get());
    EXPECT_EQ(std::tuple(SamePixels(back, mono), DpiOf(back)), std::tuple(true, Dpi{300, 300}));

    QImage grey(13, 5, QImage::Format_Grayscale8), rgb(13, 5, QImage::Format_RGB32);
    for (int y = 0; y < 5; ++y) for (int x = 0; x < 13; ++x) {
            grey.scanLine(y)[x] = uchar(x * 19 + y);
            rgb.setPixel(x, y, qRgb(x * 19, y * 50, 255 - x));
        }
    EXPECT_EQ(std::tuple(ImageFromPix(PixFromImage(grey).get()), ImageFromPix(PixFromImage(rgb).get())), std::tuple(grey, rgb));
}

TEST(PageProcessing, InvertScaleAndTinyPages)
{
    QImage page = NewMonoPage(64, 40);
    FillBlack(page, 0, 0, 32, 40), SetDpi(page, Dpi{200, 200});
    const QImage inverted = InvertPage(page);
    EXPECT_EQ(std::tuple(IsBlackAt(inverted, 10, 10), IsBlackAt(inverted, 50, 10), SamePixels(InvertPage(inverted), page)), std::tuple(false, true, true));

    auto half = ScalePage(page, 32, 20);
    ASSERT_TRUE(half.ok());
    EXPECT_EQ(std::tuple(IsBlackAndWhite(*half), IsBlackAt(*half, 5, 5), IsBlackAt(*half, 25, 5), DpiOf(*half), ScalePage(page, 0, 10).ok()),
              std::tuple(true, true, false, Dpi{100, 100}, false));

    // 1 x 1 pages go through every step without failing.
    QImage dark(1, 1, QImage::Format_Grayscale8), light(1, 1, QImage::Format_RGB32);
    dark.fill(20), light.fill(qRgb(250, 250, 240));
    auto darkMono = ReduceToBlackAndWhite(dark), lightMono = ReduceToBlackAndWhite(light);
    ASSERT_TRUE(darkMono.ok() && lightMono.ok());
    auto straight = DeskewPage(*darkMono);
    ASSERT_TRUE(straight.ok());
    EXPECT_EQ(std::tuple(IsBlackAt(*darkMono, 0, 0), IsBlackAt(*lightMono, 0, 0), IsBlackAt(*straight, 0, 0), FindSkew(light).ok(),
                         ReduceToBlackAndWhite(QImage()).ok()),
              std::tuple(true, false, true, true, false));
}
