#include "store/PageImage.h"
#include "store/SaneFrame.h"

#include <gtest/gtest.h>

using namespace tarlox;

namespace {

SaneFrameFormat format(SaneFrameFormat::Kind kind, int depth, int pixels, int bytesPerLine, int lines, bool last = true)
{
    return SaneFrameFormat{kind, last, bytesPerLine, pixels, lines, depth};
}

IoResult<QImage> build(const SaneFrameFormat& f, const QByteArray& bytes, int chunk = 3)
{
    SanePageBuilder builder;
    if (IoStatus begun = builder.beginFrame(f); !begun) return begun.failure();
    // Devices hand data over in pieces that ignore line ends.
    for (qsizetype i = 0; i < bytes.size(); i += chunk)
        if (IoStatus added = builder.append(bytes.constData() + i, std::min<qsizetype>(chunk, bytes.size() - i)); !added) return added.failure();
    return builder.finish(200, 200);
}

}  // namespace

// One-bit grey is 1 = black, as the stored pages are.
TEST(SaneFrame, TwoColourGreyWithPaddedLines)
{
    // 10 pixels a line in 2 bytes, plus one unused byte; 3 lines.
    const QByteArray bytes("\xC0\x40\xEE" "\x00\x00\xEE" "\xFF\xC0\xEE", 9);
    auto page = build(format(SaneFrameFormat::Gray, 1, 10, 3, 3), bytes);
    ASSERT_TRUE(page.ok()) << page.error().toStdString();
    ASSERT_EQ(page->size(), QSize(10, 3));
    EXPECT_EQ(std::tuple(IsBlackAndWhite(*page), qGray(page->pixel(0, 0)), DpiOf(*page)), std::tuple(true, 0, Dpi{200, 200})) << "index 1 is black";
    EXPECT_EQ((QList<int>{page->pixelIndex(0, 0), page->pixelIndex(1, 0), page->pixelIndex(2, 0), page->pixelIndex(9, 0), page->pixelIndex(5, 1),
                          page->pixelIndex(9, 2)}),
              (QList<int>{1, 1, 0, 1, 0, 1}));
}

TEST(SaneFrame, GreyAndColourAtEightAndSixteenBits)
{
    auto grey = build(format(SaneFrameFormat::Gray, 8, 3, 4, 2), QByteArray("\x00\x80\xFF\x11" "\x10\x20\x30\x11", 8));
    ASSERT_TRUE(grey.ok());
    EXPECT_EQ(std::tuple(grey->format(), grey->constScanLine(0)[1], grey->constScanLine(1)[2]), std::tuple(QImage::Format_Grayscale8, 0x80, 0x30));

    // 16-bit samples in this machine's byte order: the high byte counts.
    const quint16 samples[] = {0x1234, 0xABCD};
    auto deep = build(format(SaneFrameFormat::Gray, 16, 2, 4, 1), QByteArray(reinterpret_cast<const char*>(samples), 4));
    ASSERT_TRUE(deep.ok());
    EXPECT_EQ(std::tuple(deep->constScanLine(0)[0], deep->constScanLine(0)[1]), std::tuple(0x12, 0xAB));

    auto colour = build(format(SaneFrameFormat::Rgb, 8, 2, 6, 1), QByteArray("\x10\x20\x30\x40\x50\x60", 6));
    EXPECT_TRUE(colour.ok() && colour->pixel(1, 0) == qRgb(0x40, 0x50, 0x60));

    // Three frames, one per colour, as a three-pass scanner sends them.
    SanePageBuilder builder;
    const char red[] = {char(0xFF), 0}, green[] = {0, char(0xFF)}, blue[] = {char(0x80), char(0x80)};
    for (auto [kind, data] : {std::pair{SaneFrameFormat::Red, red}, {SaneFrameFormat::Green, green}, {SaneFrameFormat::Blue, blue}}) {
        ASSERT_TRUE(builder.beginFrame(format(kind, 8, 2, 2, 1, kind == SaneFrameFormat::Blue)).ok());
        ASSERT_TRUE(builder.append(data, 2).ok());
    }
    auto threePass = builder.finish(300, 300);
    ASSERT_TRUE(threePass.ok()) << threePass.error().toStdString();
    EXPECT_EQ(std::tuple(threePass->pixel(0, 0), threePass->pixel(1, 0)), std::tuple(qRgb(0xFF, 0, 0x80), qRgb(0, 0xFF, 0x80)));
}

// A hand scanner knows its length only at the end; a partial last line is dropped.
TEST(SaneFrame, UnknownLengthAndBrokenData)
{
    QByteArray bytes(4 * 7 + 2, '\x7F');
    auto page = build(format(SaneFrameFormat::Gray, 8, 4, 4, -1), bytes, 5);
    // A device that stops short of its announced length gives what came.
    auto shortPage = build(format(SaneFrameFormat::Gray, 8, 4, 4, 100), QByteArray(40, '\x10'));
    ASSERT_TRUE(page.ok() && shortPage.ok());
    EXPECT_EQ(std::tuple(page->height(), shortPage->height()), std::tuple(7, 10));

    EXPECT_FALSE(build(format(SaneFrameFormat::Gray, 8, 4, 4, 5), QByteArray()).ok()) << "no lines at all";
    EXPECT_FALSE(build(format(SaneFrameFormat::Gray, 12, 4, 8, 1), QByteArray(8, 0)).ok()) << "12-bit samples";
    EXPECT_FALSE(build(format(SaneFrameFormat::Gray, 8, 10, 4, 1), QByteArray(4, 0)).ok()) << "a line shorter than its pixels";
    EXPECT_FALSE(build(format(SaneFrameFormat::Gray, 1, 70000, 8750, 70000), QByteArray()).ok()) << "larger than any page";

    SanePageBuilder mixed;
    ASSERT_TRUE(mixed.beginFrame(format(SaneFrameFormat::Red, 8, 2, 2, 1, false)).ok());
    EXPECT_FALSE(mixed.beginFrame(format(SaneFrameFormat::Green, 8, 3, 3, 1, false)).ok()) << "frames of another width";
    EXPECT_FALSE(mixed.finish(200, 200).ok()) << "one colour of three";
}
