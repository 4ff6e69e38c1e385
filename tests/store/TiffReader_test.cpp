#include "store/TiffReader.h"
#include "store/TiffWriter.h"
#include "TestPages.h"
#include "support/TestSite.h"

using namespace tarlox;
using namespace tarlox::test;

namespace {

class TiffReading : public TempDirTest {};

// A grey ramp across, darker band in rows 10-19: value at (x, y).
uint8_t GreyAt(int x, int y) { return uint8_t(y >= 10 && y < 20 ? 30 : 100 + x); }

// Pixels of colour pages: red left half, blue right half.
const uint8_t kRed[3] = {200, 10, 20};
const uint8_t kBlue[3] = {10, 20, 200};

void WriteTiles(TIFF* tif, int width, int height, int bits, int samples, int photometric, const std::function<uint8_t(int x, int y, int sample)>& value)
{
    SetPageFields(tif, width, height, bits, samples, photometric, COMPRESSION_ADOBE_DEFLATE);
    TIFFSetField(tif, TIFFTAG_TILEWIDTH, 16u), TIFFSetField(tif, TIFFTAG_TILELENGTH, 16u);
    std::vector<uint8_t> tile(size_t(TIFFTileSize(tif)));
    const size_t tileRow = size_t(TIFFTileRowSize(tif));
    for (int top = 0; top < height; top += 16) for (int left = 0; left < width; left += 16) {
            std::fill(tile.begin(), tile.end(), 0);
            for (int y = 0; y < 16 && top + y < height; ++y) for (int x = 0; x < 16 && left + x < width; ++x) for (int s = 0; s < samples; ++s) {
                        const uint8_t v = value(left + x, top + y, s);
                        if (bits == 8) tile[tileRow * size_t(y) + size_t(x * samples + s)] = v;
                        else if (v) tile[tileRow * size_t(y) + size_t(x / 8)] |= uint8_t(0x80 >> (x % 8));
                    }
            TIFFWriteTile(tif, tile.data(), uint32_t(left), uint32_t(top), 0, 0);
        }
    TIFFWriteDirectory(tif);
}

}  // namespace

TEST_F(TiffReading, GreyAndColourPagesInStripsAndTiles)
{
    const int width = 40, height = 37;  // neither tile nor word aligned
    std::vector<uint8_t> grey, rgb, rgba, grey16;
    for (int y = 0; y < height; ++y) for (int x = 0; x < width; ++x) {
            grey.push_back(GreyAt(x, y));
            const uint8_t* colour = x < width / 2 ? kRed : kBlue;
            rgb.insert(rgb.end(), colour, colour + 3);
            // Transparent top half: it must come out white, not black.
            rgba.insert(rgba.end(), colour, colour + 3);
            rgba.push_back(y < height / 2 ? 0 : 255);
            const uint16_t wide = uint16_t(GreyAt(x, y) * 257);
            grey16.insert(grey16.end(), {uint8_t(wide & 0xFF), uint8_t(wide >> 8)});
        }
    std::vector<uint8_t> inverse(grey.size());
    std::transform(grey.begin(), grey.end(), inverse.begin(), [](uint8_t v) { return uint8_t(255 - v); });

    ASSERT_TRUE(WriteWithLibtiff(path("mixed.tif"), [&](TIFF* tif) {
        bool ok = WriteStripPage(tif, width, height, 8, 1, PHOTOMETRIC_MINISBLACK, COMPRESSION_LZW, grey, 5)  // 8 strips
                  && WriteStripPage(tif, width, height, 8, 1, PHOTOMETRIC_MINISWHITE, COMPRESSION_NONE, inverse, height)
                  && WriteStripPage(tif, width, height, 8, 3, PHOTOMETRIC_RGB, COMPRESSION_ADOBE_DEFLATE, rgb, 7);
        uint16_t extra[] = {EXTRASAMPLE_UNASSALPHA};
        TIFFSetField(tif, TIFFTAG_EXTRASAMPLES, 1, extra);
        ok = ok && WriteStripPage(tif, width, height, 8, 4, PHOTOMETRIC_RGB, COMPRESSION_LZW, rgba, height);
        ok = ok && WriteStripPage(tif, width, height, 16, 1, PHOTOMETRIC_MINISBLACK, COMPRESSION_NONE, grey16, height);
        WriteTiles(tif, width, height, 8, 1, PHOTOMETRIC_MINISBLACK, [](int x, int y, int) { return GreyAt(x, y); });
        WriteTiles(tif, width, height, 8, 3, PHOTOMETRIC_RGB, [&](int x, int, int s) { return (x < width / 2 ? kRed : kBlue)[s]; });
        WriteTiles(tif, width, height, 1, 1, PHOTOMETRIC_MINISWHITE, [](int x, int y, int) { return uint8_t(x == y || x == 33); });
        return ok;
    }));

    auto reader = TiffReader::open(path("mixed.tif"));
    ASSERT_TRUE(reader.ok() && reader->pageCount() == 8) << reader.error().toStdString();
    for (int page : {0, 1, 4, 5}) {
        auto image = reader->readPage(page);
        ASSERT_TRUE(image.ok()) << page << image.error().toStdString();
        ASSERT_EQ(std::tuple(image->format(), image->size()), std::tuple(QImage::Format_Grayscale8, QSize(width, height))) << page;
        for (int y : {0, 12, 36}) for (int x : {0, 17, 39}) EXPECT_EQ(image->pixelColor(x, y).red(), GreyAt(x, y)) << "page " << page << " at " << x << "," << y;
    }
    for (int page : {2, 3, 6}) {
        auto image = reader->readPage(page);
        ASSERT_TRUE(image.ok()) << page << image.error().toStdString();
        const QRgb red = qRgb(kRed[0], kRed[1], kRed[2]);
        EXPECT_EQ(std::tuple(image->format(), image->pixel(3, 30), image->pixel(36, 30), image->pixel(3, 2)),
                  std::tuple(QImage::Format_RGB32, red, qRgb(kBlue[0], kBlue[1], kBlue[2]), page == 3 ? qRgb(255, 255, 255) : red)) << page;
    }
    auto tiledMono = reader->readPage(7);
    ASSERT_TRUE(tiledMono.ok() && tiledMono->format() == QImage::Format_Mono);
    for (int y = 0; y < height; ++y) for (int x = 0; x < width; ++x) ASSERT_EQ(IsBlackAt(*tiledMono, x, y), x == y || x == 33) << x << "," << y;
}

TEST_F(TiffReading, DamagedEmptyAndOddFilesGiveMessagesNotCrashes)
{
    ASSERT_TRUE(WriteTiff(path("good.tif"), {TextPage(400, 300, 1), TextPage(400, 300, 2)}).ok());
    const QByteArray bytes = FileBytes(path("good.tif"));

    QByteArray scrambled = bytes;
    for (qsizetype i = 8; i < scrambled.size(); i += 7) scrambled[i] = char(scrambled[i] ^ 0x5A);
    // The header alone has no directory at all.
    for (const auto& [name, content] : {std::pair{"header-only.tif", QByteArray("II*\0\0\0\0\0", 8)}, {"text.tif", QByteArray("This is not a picture.\n")},
                                        {"empty.tif", QByteArray()}, {"truncated.tif", bytes.left(bytes.size() / 3)}, {"scrambled.tif", scrambled}})
        WriteFile(path(QString::fromLatin1(name)), content);

    // Damage in the directories shows at opening.
    for (const auto& [name, says] : {std::pair{"missing.tif", "does not exist"}, {"header-only.tif", "has no pages"}, {"text.tif", "not a TIFF file"},
                                     {"empty.tif", "is empty"}, {"truncated.tif", "is damaged"}, {"scrambled.tif", "is damaged"}}) {
        auto reader = TiffReader::open(path(QString::fromLatin1(name)));
        ASSERT_FALSE(reader.ok()) << name;
        EXPECT_TRUE(reader.error().contains(QString::fromLatin1(says))) << reader.error().toStdString();
    }
    // Damage in the coded data of a page shows when that page is read; the
    // decoder's filler must not pass for a page.
    QByteArray damagedData = bytes;
    for (qsizetype i = 100; i < 400; ++i) damagedData[i] = char(damagedData[i] ^ 0x5A);
    WriteFile(path("data.tif"), damagedData);
    auto reader = TiffReader::open(path("data.tif"));
    ASSERT_TRUE(reader.ok());
    auto damaged = reader->readPage(0);
    EXPECT_TRUE(!damaged.ok() && damaged.error().startsWith(QStringLiteral("Can't read page 1 of")) && reader->readPage(1).ok());
}

TEST_F(TiffReading, TinyAndHugePages)
{
    // 1 x 1 black, both ways.
    QImage dot = NewMonoPage(1, 1);
    dot.setPixel(0, 0, 1), SetDpi(dot, Dpi{300, 300});
    ASSERT_TRUE(WriteTiff(path("dot.tif"), {dot}).ok());
    EXPECT_TRUE(IsBlackAt(*TiffReader::open(path("dot.tif"))->readPage(0), 0, 0));

    // 20,000 x 20,000 black and white: 50 MB, read and written.
    QImage big = NewMonoPage(20000, 20000);
    ASSERT_FALSE(big.isNull());
    FillBlack(big, 19990, 19990, 10, 10);
    ASSERT_TRUE(WriteTiff(path("big.tif"), {big}).ok());
    big = QImage();
    auto page = TiffReader::open(path("big.tif"))->readPage(0);
    ASSERT_TRUE(page.ok()) << page.error().toStdString();
    EXPECT_EQ(std::tuple(IsBlackAt(*page, 19995, 19995), IsBlackAt(*page, 100, 100)), std::tuple(true, false));

    // The same size in grey is refused before anything is decoded. The file
    // holds just a few bytes of data: the refusal must come from the size.
    ASSERT_TRUE(WriteWithLibtiff(path("biggrey.tif"), [](TIFF* tif) {
        SetPageFields(tif, 20000, 20000, 8, 1, PHOTOMETRIC_MINISBLACK, COMPRESSION_ADOBE_DEFLATE);
        TIFFSetField(tif, TIFFTAG_ROWSPERSTRIP, 20000u);
        char data[16] = {};
        return TIFFWriteRawStrip(tif, 0, data, sizeof data) > 0 && TIFFWriteDirectory(tif) == 1;
    }));
    auto grey = TiffReader::open(path("biggrey.tif"));
    ASSERT_TRUE(grey.ok());
    auto refused = grey->readPage(0);
    EXPECT_TRUE(!refused.ok() && refused.error().contains(QStringLiteral("20000 x 20000")));
}
