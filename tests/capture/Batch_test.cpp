#include "capture/BatchFiles.h"
#include "capture/BatchPages.h"
#include "store/TiffReader.h"
#include "store/TiffWriter.h"
#include "support/CliRun.h"
#include "support/TestSite.h"

#include <QDir>
#include <QPageSize>
#include <QPainter>
#include <QPdfWriter>

using namespace tarlox;
using namespace tarlox::test;

namespace {

QString S(const char* text) { return QString::fromUtf8(text); }

// Pages with their Heat, "-" before it for a skipped page: {"A", "-B", "A"}.
BatchPages walk(const QStringList& data)
{
    BatchPages pages;
    pages.reset(int(data.size()));
    for (int page = 1; page <= pages.pageCount(); ++page) {
        pages.visit(page);
        BatchItem& it = pages.item(page);
        it.skip = data[page - 1].startsWith(QLatin1Char('-'));
        it.heat = data[page - 1].mid(it.skip ? 1 : 0), it.part = QStringLiteral("P");
        it.append = pages.matchesEarlier(page);
    }
    return pages;
}

QList<QList<int>> reportPages(const BatchPages& pages) { QList<QList<int>> result; for (const auto& r : pages.reports()) result.append(r.pages); return result; }

// A page with a black square in its middle.
QImage markedPage(int width, int height, double dpi)
{
    QImage page(width, height, QImage::Format_RGB32);
    page.fill(Qt::white);
    QPainter(&page).fillRect(width / 4, height / 4, width / 2, height / 2, Qt::black);
    page.setDotsPerMeterX(int(dpi / 0.0254 + 0.5)), page.setDotsPerMeterY(int(dpi / 0.0254 + 0.5));
    return page;
}

// A placeable Windows metafile of one inch square (1440 units) with a black
// square in its middle: header, window origin and extent, a solid black
// brush selected, the rectangle, end.
const QByteArray metafile = QByteArray::fromHex("d7cdc69a000000000000a005a005a00500000000b152" "010009000003280000000100070000000000"
                                                "050000000b0200000000" "050000000c02a005a005" "07000000fc020000000000000000"
                                                "040000002d010000" "070000001b043804380468016801" "030000000000");

bool blackInMiddle(const QString& workFile, int page)
{
    auto image = TiffReader::open(workFile)->readPage(page);
    return image && image->pixelIndex(image->width() / 2, image->height() / 2) == 1;
}

}  // namespace

// The assembly rules: pages join by equal data wherever they lie, a page
// shown first takes the last kept page's data, and an Append page that no
// report carries is named, not lost.
TEST(BatchPagesTest, PagesJoinByEqualData)
{
    struct Case { const char* name; QStringList data; QList<QList<int>> reports; QList<int> unjoined; QList<BatchAction> offered; };
    using A = BatchAction;
    const Case cases[] = {
        {"A B A: pages 1+3 and 2", {S("A"), S("B"), S("A")}, {{1, 3}, {2}}, {}, {A::New, A::New, A::Append}},
        {"second page like the first: Append only", {S("A"), S("A")}, {{1, 2}}, {}, {A::New, A::Append}},
        {"one page", {S("A")}, {{1}}, {}, {A::New}},
        {"skipped first page, then equal data: named", {S("-A"), S("A")}, {}, {2}, {A::New, A::Append}},
        {"skip between", {S("A"), S("-"), S("B"), S("A")}, {{1, 4}, {3}}, {}, {A::New, A::New, A::New, A::Append}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        const BatchPages pages = walk(c.data);
        QList<BatchAction> offered;
        for (int page = 1; page <= pages.pageCount(); ++page) offered << pages.offeredAction(page);
        EXPECT_EQ(std::tuple(reportPages(pages), pages.unjoined(), offered), std::tuple(c.reports, c.unjoined, c.offered));
    }
    // Defaults: the last earlier page that is not skipped.
    BatchPages pages;
    pages.reset(3), pages.visit(1), pages.item(1).heat = S("H1");
    pages.visit(2), pages.item(2).skip = true, pages.item(2).heat = S("H2"), pages.visit(3);
    EXPECT_EQ(std::tuple(pages.item(3).heat, pages.item(3).append, pages.item(1).append, pages.rowText(2), pages.rowText(3)),
              std::tuple(S("H1"), true, false, S("Skip"), S("H1\t\t\t\t\t**Appended**")));
    EXPECT_EQ(PageListText({1, 2, 3, 5, 7, 8}), S("1-3, 5, 7, 8"));
}

// Every kind of file, page by page, into one black-and-white work file; a
// file that can't be read stops the reading and leaves the work file as it was.
TEST(BatchFilesTest, FilesReadPageByPage)
{
    QTemporaryDir dir;
    const auto path = [&](const char* name) { return dir.filePath(S(name)); };
    ASSERT_TRUE(markedPage(850, 1100, 100).save(path("one.jpg"), "JPEG"));
    ASSERT_TRUE(markedPage(850, 1400, 100).save(path("legal.png"), "PNG"));
    {
        QPdfWriter pdf(path("two.pdf"));
        pdf.setResolution(72), pdf.setPageSize(QPageSize(QPageSize::A4));
        QPainter painter(&pdf);
        painter.fillRect(150, 200, 300, 400, Qt::black), pdf.setPageSize(QPageSize(QPageSize::Legal)), pdf.newPage();
        painter.fillRect(150, 250, 300, 500, Qt::black);
    }
    ASSERT_TRUE(WriteFile(path("drawing.wmf"), metafile) && WriteFile(path("bad.gif"), "GIF89a not really"));
    ASSERT_TRUE(WriteTiff(path("multi.tif"), QList<QImage>(3, markedPage(850, 1100, 100))));

    EXPECT_EQ(ListBatchFiles(dir.path()), (QStringList{S("multi.tif"), S("one.jpg"), S("bad.gif"), S("two.pdf"), S("drawing.wmf"), S("legal.png")}));

    struct Case { const char* name; QStringList files; int pages; QStringList sizes; QString failedStepStart; };
    const Case cases[] = {
        {"three-page TIFF and a JPEG", {path("multi.tif"), path("one.jpg")}, 4, {S(" "), S(" "), S(" "), S(" ")}, {}},
        {"two-page PDF at its own sizes", {path("two.pdf")}, 2, {S("A"), S("G")}, {}},
        {"metafile and picture", {path("drawing.wmf"), path("legal.png")}, 2, {S(" "), S("G")}, {}},
        {"unreadable file", {path("one.jpg"), path("bad.gif")}, 0, {}, S("to '") + path("bad.gif") + S("'")},
    };
    const QString work = path("temp.tif");
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        const int before = PageCount(work);
        const BatchReadResult r = ReadBatchFiles(c.files, work, 150);
        EXPECT_EQ(std::pair(r.pages, r.pageSizeCodes), std::pair(c.pages, c.sizes));
        if (!c.failedStepStart.isEmpty()) {
            // The work file stays as it was.
            EXPECT_TRUE(r.step.contains(c.failedStepStart) && r.error.contains(S("bad.gif")) && PageCount(work) == before) << r.step.toStdString() << " / " << r.error.toStdString();
            continue;
        }
        ASSERT_TRUE(r.ok()) << r.error.toStdString();
        EXPECT_EQ(std::pair(TiffReader::open(work)->pageCount(), WorkFilePageSizes(work)), std::pair(c.pages, c.sizes));
        for (int p = 0; p < c.pages; ++p) EXPECT_TRUE(TiffReader::open(work)->pageInfo(p)->isBlackAndWhite() && blackInMiddle(work, p)) << "page " << p + 1;
    }
    EXPECT_EQ(TiffReader::open(work)->pageInfo(0)->dpi.x, 150) << "metafiles are drawn at the work resolution";

    // No silent limit on the list.
    QTemporaryDir many;
    for (int i = 0; i < 1001; ++i) WriteFile(many.filePath(QStringLiteral("p%1.jpg").arg(i, 4, 10, QLatin1Char('0'))), {});
    EXPECT_EQ(ListBatchFiles(many.path()).size(), 1001);
}

class BatchAddTest : public SiteTest {};

// A, B, A stored as two reports with their tags and references; a cancel
// after the first keeps the rest in hand, and adding again stores only that.
TEST_P(BatchAddTest, ReportsStoredWithTagsAndReferences)
{
    Session& s = site.session();
    const QString work = site.path(S("work.tif"));
    ASSERT_TRUE(WriteTiff(work, {markedPage(850, 1100, 100), markedPage(850, 1400, 100), markedPage(850, 1100, 100)}));
    BatchPages pages = walk({S("H1"), S("H2"), S("H1")});
    pages.item(1).po = pages.item(3).po = S("PO-1");
    pages.item(1).vend = S("Acme Steel"), pages.item(2).pageSizeCode = S("G");

    BatchAddOptions options;
    options.duplicates = Duplicates::Allow;
    options.progress = [](int done, int) { return done < 1; };
    const BatchAddResult first = AddBatchReports(s, work, pages, options);
    ASSERT_EQ(std::pair(first.cancelled, first.stored()), std::pair(true, 1));
    EXPECT_EQ(std::pair(first.reports[0].pages, first.notStored(pages)), std::pair(QList<int>{1, 3}, QList<int>{2}));

    options.progress = {};
    const BatchAddResult second = AddBatchReports(s, work, pages, options);
    ASSERT_EQ(second.stored(), 1);
    EXPECT_EQ(std::pair(second.reports[0].pages, pages.reports().isEmpty()), std::pair(QList<int>{2}, true));

    const qint32 one = first.reports[0].imageNumber, two = second.reports[0].imageNumber;
    const auto file = [&](qint32 n) { return site.path(S("DATA/TR%1.TIF").arg(n, 6, 10, QLatin1Char('0'))); };
    auto reader = TiffReader::open(file(one));
    ASSERT_TRUE(reader);
    EXPECT_EQ(std::tuple(reader->pageCount(), reader->tags().heat, reader->tags().purchaseOrder, reader->tags().vendor, reader->tags().manufacturer,
                         TiffReader::open(file(two))->tags().heat),
              std::tuple(2, S("H1"), S("PO-1"), S("Acme Steel"), QString(), S("H2")));
    EXPECT_EQ(std::tuple(scalarText(S("SELECT \"Vend Name\" FROM \"Info\" WHERE \"Image #\" = %1").arg(one)),
                         scalarText(S("SELECT \"Heat #\" FROM \"Info\" WHERE \"Image #\" = %1").arg(two)),
                         scalarText(S("SELECT \"Size\" FROM \"Images\" WHERE \"Image #\" = %1").arg(two)), rows(S("Info"))),
              std::tuple(S("Acme Steel"), S("H2"), S("G"), qint64(2)));
}

TARLOX_ON_BOTH_ENGINES(BatchAddTest);

// The command line: an index of one line a page, the same rules, a summary
// that names every page not stored; a wrong action stores nothing.
TEST(BatchCliTest, IndexedPagesStoredAndSummarised)
{
    QTemporaryDir dir;
    const auto cli = [&](const QStringList& args) { return RunCli(args, {{S("TARLOX"), dir.path()}}); };
    ASSERT_EQ(cli({S("init")}).code, 0);
    const QString files = dir.filePath(S("in"));
    QDir().mkpath(files);
    ASSERT_TRUE(WriteTiff(files + S("/a.tif"), QList<QImage>(2, markedPage(850, 1100, 100))));
    ASSERT_TRUE(markedPage(850, 1100, 100).save(files + S("/b.jpg")));
    const auto index = [&](const QByteArray& text) { return WriteFile(dir.filePath(S("index.csv")), text) ? dir.filePath(S("index.csv")) : QString(); };
    const QString good = index("heat,part,po,vendor,mfg,action\nH1,P1,PO,V,M,New\nH2,P2,PO,V,M,New\nH1,P1,PO,V,,Append\n");
    CliRun dry = cli({S("batch"), files, S("--index"), good, S("--dry-run")});
    EXPECT_TRUE(dry.code == 0 && dry.out.contains(S("Would store pages 1, 3"))) << dry.err.toStdString() << dry.out.toStdString();
    CliRun run = cli({S("batch"), files, S("--index"), good});
    EXPECT_TRUE(run.code == 0 && run.out.contains(S("Stored image 1: pages 1, 3")) && run.out.contains(S("Stored image 2: page 2"))) << run.err.toStdString() << run.out.toStdString();

    CliRun orphan = cli({S("batch"), files + S("/b.jpg"), files + S("/b.jpg"), S("--index"), index("X,P,,,,Skip\nX,P,,,,Append\n")});
    EXPECT_TRUE(orphan.code == 1 && orphan.out.contains(S("page 2: Append, but no page before"))) << orphan.out.toStdString();
    CliRun wrong = cli({S("batch"), files, S("--index"), index("H7,P,,,,New\nH7,P,,,,New\nH8,P,,,,New\n")});
    EXPECT_TRUE(wrong.code == 1 && wrong.err.contains(S("line 2: page 2"))) << wrong.err.toStdString();
    EXPECT_EQ(cli({S("show"), S("3")}).code, 1) << "nothing stored by the wrong index";
}
