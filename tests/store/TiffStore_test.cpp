#include "store/TiffHandle.h"
#include "store/TiffReader.h"
#include "store/TiffWriter.h"
#include "TestPages.h"
#include "support/TestSite.h"

using namespace tarlox;
using namespace tarlox::test;

namespace {

class TiffStore : public TempDirTest {};

ReportTags SampleTags()
{
    return ReportTags::forReport(QStringLiteral("H1001 H1002 H1003"), QStringLiteral("P-77"), QStringLiteral("PO 4471"),
                                 QStringLiteral(u"Stahlwerk Müller GmbH"), QStringLiteral(u"Aciérie “Nord”"));
}

}  // namespace

TEST_F(TiffStore, MultiPageGroup4RoundTripKeepsPixelsResolutionAndFirstPageTags)
{
    const QImage first = TextPage(2550, 3300, 1, 300);
    QImage second = TextPage(1700, 2200, 2, 200);
    QImage third = TextPage(1728, 2156, 3);
    SetDpi(third, Dpi{204, 196});
    ASSERT_TRUE(WriteTiff(path("TR000001.TIF"), {first, second, third}, SampleTags()).ok());
    auto reader = TiffReader::open(path("TR000001.TIF"));
    ASSERT_TRUE(reader.ok()) << reader.error().toStdString();
    EXPECT_EQ(std::tuple(files(), reader->pageCount(), reader->tags(), reader->tags().software),
              std::tuple(QStringList{QStringLiteral("TR000001.TIF")}, 3, SampleTags(), QStringLiteral("Tarlox from Hollowbrook")));

    const QImage pages[] = {first, second, third};
    const Dpi dpis[] = {{300, 300}, {200, 200}, {204, 196}};
    for (int page : {2, 0, 1}) {  // out of order on purpose
        auto image = reader->readPage(page);
        ASSERT_TRUE(image.ok()) << image.error().toStdString();
        EXPECT_EQ(std::tuple(SamePixels(*image, pages[page]), DpiOf(*image), reader->pageInfo(page)->compression),
                  std::tuple(true, dpis[page], COMPRESSION_CCITTFAX4)) << page;
    }

    // Only the first page carries the tags, in UTF-8.
    EXPECT_EQ(std::tuple(ReadTagBytes(path("TR000001.TIF"), 0, kTagVendor), ReadTagBytes(path("TR000001.TIF"), 1, TIFFTAG_SOFTWARE).isNull(), reader->readPage(3).ok() || reader->readPage(-1).ok()),
              std::tuple(QByteArray("Stahlwerk M\xC3\xBCller GmbH"), true, false));
}

TEST_F(TiffStore, FileWithoutTagsOrResolutionReadsEmptyTagsAndDefaultResolution)
{
    ASSERT_TRUE(WriteTiff(path("TM000002.TIF"), {TextPage(300, 200)}).ok());
    auto reader = TiffReader::open(path("TM000002.TIF"));
    EXPECT_TRUE(reader.ok() && reader->tags() == ReportTags{});

    // Resolution in centimetres, and none at all.
    std::vector<uint8_t> rows(size_t(40 / 8) * 10, 0);
    ASSERT_TRUE(WriteWithLibtiff(path("units.tif"), [&](TIFF* tif) {
        TIFFSetField(tif, TIFFTAG_XRESOLUTION, 118.11), TIFFSetField(tif, TIFFTAG_YRESOLUTION, 118.11), TIFFSetField(tif, TIFFTAG_RESOLUTIONUNIT, RESUNIT_CENTIMETER);
        return WriteStripPage(tif, 40, 10, 1, 1, PHOTOMETRIC_MINISWHITE, COMPRESSION_CCITTFAX4, rows, 10)
               && WriteStripPage(tif, 40, 10, 1, 1, PHOTOMETRIC_MINISWHITE, COMPRESSION_CCITTFAX4, rows, 10);
    }));
    auto units = TiffReader::open(path("units.tif"));
    ASSERT_TRUE(units.ok());
    EXPECT_EQ(std::tuple(units->pageInfo(0)->dpi, units->pageInfo(1)->dpiRecorded, DpiOf(*units->readPage(1))),
              std::tuple(Dpi{300, 300}, false, Dpi{kDefaultDpi, kDefaultDpi}));
}

TEST_F(TiffStore, AppendAddsPagesAndKeepsTheFirstPagesTagsAndBytes)
{
    const QString file = path("TR000003.TIF");
    // Appending to a file that isn't there creates it, with the tags; a writer never committed leaves it alone.
    const auto append = [&](quint32 seed, std::optional<ReportTags> tags, bool commit) {
        auto writer = TiffWriter::append(file, tags);
        ASSERT_TRUE(writer.ok() && writer->addPage(TextPage(800, 600, seed)).ok());
        ASSERT_TRUE(!commit || writer->commit().ok());
    };
    append(1, SampleTags(), true);
    const std::vector<QByteArray> firstStrips = RawStrips(file, 0);
    for (quint32 seed = 2; seed <= 4; ++seed) ASSERT_TRUE(AppendPage(file, TextPage(800, 600, seed)).ok());
    auto reader = TiffReader::open(file);
    ASSERT_TRUE(reader.ok());
    EXPECT_EQ(std::tuple(files(), reader->tags(), RawStrips(file, 0)), std::tuple(QStringList{QStringLiteral("TR000003.TIF")}, SampleTags(), firstStrips));
    for (int page = 0; page < 4; ++page) EXPECT_TRUE(SamePixels(*reader->readPage(page), TextPage(800, 600, quint32(page + 1)))) << page;
    append(9, std::nullopt, false);
    EXPECT_EQ(std::tuple(TiffReader::open(file)->pageCount(), files()), std::tuple(4, QStringList{QStringLiteral("TR000003.TIF")}));
}

TEST_F(TiffStore, RawPageCopyKeepsStoredBytesAndOtherPagesAreReencoded)
{
    const QString source = path("source.tif");
    // Page 0: ours. Page 1: Group 4 MinIsBlack in three strips, LSB2MSB.
    // Page 2: 1-bit LZW. Page 3: 8-bit grey.
    ASSERT_TRUE(WriteTiff(source, {TextPage(1000, 700, 5, 300)}).ok());
    const QImage striped = TextPage(640, 480, 6);
    std::vector<uint8_t> inverted, packed;
    for (int y = 0; y < striped.height(); ++y) for (int x = 0; x < 640 / 8; ++x) {
            packed.push_back(striped.constScanLine(y)[x]);
            inverted.push_back(uint8_t(~striped.constScanLine(y)[x]));
        }
    std::vector<uint8_t> grey(size_t(320) * 240, 230);
    for (int y = 100; y < 140; ++y) for (int x = 100; x < 220; ++x) grey[size_t(y) * 320 + size_t(x)] = 20;
    ASSERT_TRUE(WriteWithLibtiff(source, [&](TIFF* tif) {
        TIFFSetField(tif, TIFFTAG_FILLORDER, FILLORDER_LSB2MSB);
        TIFFSetField(tif, TIFFTAG_XRESOLUTION, 150.0), TIFFSetField(tif, TIFFTAG_YRESOLUTION, 150.0), TIFFSetField(tif, TIFFTAG_RESOLUTIONUNIT, RESUNIT_INCH);
        return WriteStripPage(tif, 640, 480, 1, 1, PHOTOMETRIC_MINISBLACK, COMPRESSION_CCITTFAX4, inverted, 200)
               && WriteStripPage(tif, 640, 480, 1, 1, PHOTOMETRIC_MINISWHITE, COMPRESSION_LZW, packed, 480)
               && WriteStripPage(tif, 320, 240, 8, 1, PHOTOMETRIC_MINISBLACK, COMPRESSION_NONE, grey, 240);
    }, "a"));

    auto reader = TiffReader::open(source);
    ASSERT_TRUE(reader.ok() && reader->pageCount() == 4);
    const QString target = path("target.tif");
    auto writer = TiffWriter::create(target, SampleTags());
    ASSERT_TRUE(writer.ok());
    for (int page : {1, 0, 2, 3}) ASSERT_TRUE(writer->addPageFrom(*reader, page).ok()) << page;
    EXPECT_EQ(writer->pagesCopiedRaw(), 2);
    ASSERT_TRUE(writer->commit().ok());

    auto copy = TiffReader::open(target);
    ASSERT_TRUE(copy.ok() && copy->pageCount() == 4);
    EXPECT_EQ(std::tuple(RawStrips(target, 0), RawStrips(target, 1)), std::tuple(RawStrips(source, 1), RawStrips(source, 0)));
    EXPECT_EQ(std::tuple(SamePixels(*copy->readPage(0), striped), SamePixels(*copy->readPage(2), striped), DpiOf(*copy->readPage(0))),
              std::tuple(true, true, Dpi{150, 150}));
    EXPECT_EQ(std::tuple(copy->pageInfo(3)->compression, IsBlackAt(*copy->readPage(3), 150, 120), IsBlackAt(*copy->readPage(3), 20, 20)),
              std::tuple(COMPRESSION_CCITTFAX4, true, false));

    // The one-call form appends to another file.
    ASSERT_TRUE(CopyPage(source, 1, path("single.tif")).ok());
    const bool seventh = CopyPage(source, 7, path("single.tif")).ok();
    EXPECT_EQ(std::tuple(RawStrips(path("single.tif"), 0), seventh, PageCount(path("single.tif"))), std::tuple(RawStrips(source, 1), false, 1));
}

TEST_F(TiffStore, BlackStaysBlackWhicheverWayTheFileAndTheImageHoldIt)
{
    const auto expectDot = [&](const QString& file) {
        auto reader = TiffReader::open(file);
        ASSERT_TRUE(reader.ok() && reader->pageCount() == 2) << file.toStdString();
        for (int page : {0, 1}) {
            const QImage image = *reader->readPage(page);
            EXPECT_EQ(std::tuple(IsBlackAt(image, 4, 2), IsBlackAt(image, 5, 2), IsBlackAt(image, 6, 2)), std::tuple(false, true, false))
                << file.toStdString() << " page " << page;
        }
    };
    // Stored in both photometric senses, and written back.
    std::vector<uint8_t> minIsWhite(size_t(2) * 4, 0x00), minIsBlack(size_t(2) * 4, 0xFF);
    minIsWhite[2 * 2 + 0] = 0x04;              // bit 5 of row 2 set: black
    minIsBlack[2 * 2 + 0] = uint8_t(~0x04);    // bit 5 of row 2 clear: black
    for (int compression : {COMPRESSION_NONE, COMPRESSION_CCITTFAX4}) {
        const QString file = path(QStringLiteral("polarity%1.tif").arg(compression));
        ASSERT_TRUE(WriteWithLibtiff(file, [&](TIFF* tif) {
            return WriteStripPage(tif, 16, 4, 1, 1, PHOTOMETRIC_MINISWHITE, compression, minIsWhite, 4)
                   && WriteStripPage(tif, 16, 4, 1, 1, PHOTOMETRIC_MINISBLACK, compression, minIsBlack, 4);
        }));
        expectDot(file);
        const QString back = path(QStringLiteral("back%1.tif").arg(compression));
        ASSERT_TRUE(CopyPage(file, 0, back).ok() && CopyPage(file, 1, back).ok());
        expectDot(back);
    }

    // 1-bit QImages from elsewhere: black listed first, and LSB bit order; the file says black in the MinIsWhite sense.
    QImage blackFirst(16, 4, QImage::Format_Mono);
    blackFirst.setColorTable({qRgb(0, 0, 0), qRgb(255, 255, 255)});
    blackFirst.fill(1), blackFirst.setPixel(5, 2, 0);
    ASSERT_TRUE(WriteTiff(path("qt.tif"), {blackFirst, blackFirst.convertToFormat(QImage::Format_MonoLSB)}).ok());
    expectDot(path("qt.tif"));
    uint16_t photometric = 0;
    EXPECT_TRUE(ReadField(path("qt.tif"), 0, TIFFTAG_PHOTOMETRIC, photometric) && photometric == PHOTOMETRIC_MINISWHITE);
}

TEST_F(TiffStore, PageCountIsNotLimitedTo999)
{
    auto writer = TiffWriter::create(path("long.tif"));
    QImage page = NewMonoPage(64, 32);
    for (int i = 0; i < 1200; ++i) {
        page.fill(0), FillBlack(page, i % 64, 0, 1, 32);  // each page marked by the column of its line
        ASSERT_TRUE(writer->addPage(page, Dpi{200, 200}).ok());
    }
    ASSERT_TRUE(writer->commit().ok());
    auto reader = TiffReader::open(path("long.tif"));
    ASSERT_EQ(reader->pageCount(), 1200);
    for (int i : {1100, 999, 1000, 1199, 0})
        EXPECT_EQ(std::tuple(IsBlackAt(*reader->readPage(i), i % 64, 10), IsBlackAt(*reader->readPage(i), (i + 1) % 64, 10)), std::tuple(true, false)) << i;
}
