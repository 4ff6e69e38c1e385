#include "support/TestSite.h"

#include "data/Settings.h"
#include "search/Listing.h"
#include "search/MassUpdate.h"
#include "search/SearchData.h"

#include <QFile>
#include <QProcess>

using namespace tarlox;
using namespace tarlox::test;

namespace {

QString S(const char* text) { return QString::fromUtf8(text); }
QDateTime on(int month, int day, int hour = 9) { return QDateTime(QDate(2025, month, day), QTime(hour, 0)); }

class ListingTest : public SiteTest {
protected:
    void SetUp() override
    {
        SiteTest::SetUp();
        ASSERT_TRUE(addRefs(s(), {{S("H1"), S("P1"), S("PO1"), S("acme"), S("Mill A"), 1, on(3, 1)},
                                  {S("H2"), S("P2"), S("PO1"), S("Acme"), S("Mill A"), 1, on(3, 2)},
                                  {S("h3"), S("P3"), S("PO2"), S("Baker"), S("Mill B"), 2, on(3, 2, 23)},
                                  {S("H4"), S("P4"), S("PO3"), S(" "), S("Mill B"), 3, on(3, 3)},
                                  {S("H5"), S("P5"), S("PO3"), S("O'Neil"), S("Mill C"), 4, on(3, 4)}}));
    }

    // The whole listing as text pages, joined by form feeds.
    QString text(const ListingRequest& request, int linesPerPage = 60)
    {
        ListingPager pager(s(), request, linesPerPage);
        QStringList pages;
        while (auto page = pager.nextPage()) pages << ListingPageText(ListingTitle(request.sort, ReadListingTitles(s())), ReadListingTitles(s()), *page);
        EXPECT_TRUE(pager.error().isEmpty()) << pager.error().toStdString();
        return pages.join(QLatin1Char('\f'));
    }

    QStringList heats(const ListingRequest& request) { QStringList found; ListingRows rows(s(), request); for (InfoRow row; rows.next(row);) found << row.heat; return found; }
};

TEST_P(ListingTest, SelectsByCaseFreeRangesAndWholeDays)
{
    const auto with = [](auto change) { ListingRequest r; change(r); return r; };
    const struct { const char* name; ListingRequest request; QStringList heats; } cases[] = {  // heats in listing order
        {"everything, by date", {}, {S("H1"), S("H2"), S("h3"), S("H4"), S("H5")}},
        {"lower-case From only", with([](ListingRequest& r) { r.heat.from = S("h3"); }), {S("h3"), S("H4"), S("H5")}},
        {"To only", with([](ListingRequest& r) { r.vend.to = S("b"); }), {S("H1"), S("H2"), S("H4")}},
        {"To day taken whole", with([](ListingRequest& r) { r.fromDate = S("3/2/2025"); r.toDate = S("2025-03-02"); }), {S("H2"), S("h3")}},
        {"no wild cards", with([](ListingRequest& r) { r.heat.from = S("H*"); r.heat.to = S("H*"); }), {}},
        {"by vendor, empty ones last", with([](ListingRequest& r) { r.sort = ListingSort::Vend; }),
         {S("H1"), S("H2"), S("h3"), S("H5"), S("H4")}},
    };
    for (const auto& c : cases) EXPECT_EQ(heats(c.request), c.heats) << c.name;
    EXPECT_TRUE(ListingRows(s(), with([](ListingRequest& r) { r.toDate = S("13/45/2025"); })).failed());
}

TEST_P(ListingTest, GroupsCountOthersAndTotalOnRepeatedPages)
{
    PutLocal(s(), section::Custom, S("VendLong"), S("Supplier's name"));
    ListingRequest request;
    request.sort = ListingSort::Vend;
    const QString listing = text(request, 6);
    const QStringList pages = listing.split(QLatin1Char('\f'));
    ASSERT_EQ(pages.size(), 3) << listing.toStdString();
    for (int i = 0; i < pages.size(); ++i)
        EXPECT_TRUE(pages[i].startsWith(S("Entry Listing by Supplier's name    Page: %1").arg(i + 1)) && pages[i].contains(S("Img #   Heat #"))
                    && pages[i].contains(S("Supplier's name"))) << pages[i].toStdString();
    // acme and Acme are one group.
    for (const char* group : {"Items entered for - acme  2", "Items entered for - Baker  1", "Items entered for - O'Neil  1", "\nOthers\n", "Items entered for - Others  1"})
        EXPECT_TRUE(listing.contains(S(group))) << group;
    EXPECT_TRUE(pages.back().trimmed().endsWith(S("Totals Items Entered : 5")));

    // A page reached out of order is the page read in order.
    ListingPager pager(s(), request, 6);
    const auto third = pager.page(3), first = pager.page(1);
    ASSERT_TRUE(third && first);
    const ListingTitles titles = ReadListingTitles(s());
    const QString title = ListingTitle(request.sort, titles);
    EXPECT_EQ((QStringList{ListingPageText(title, titles, *third), ListingPageText(title, titles, *first)}), (QStringList{pages[2], pages[0]}));
    EXPECT_EQ((std::tuple{bool(pager.page(4)), pager.lastPage()}), std::tuple(false, 3));
}

TEST_P(ListingTest, PdfCarriesTheListingAndCsvQuotes)
{
    ListingRequest request;
    request.sort = ListingSort::Mfg;
    const QString pdf = site.path(S("list.pdf"));
    qint64 pages = 0;
    ASSERT_EQ(WriteListingPdf(s(), request, pdf, &pages), QString());
    QProcess extract;
    extract.start(S("pdftotext"), {S("-layout"), pdf, S("-")});
    ASSERT_TRUE(extract.waitForFinished());
    const QString text = QString::fromUtf8(extract.readAllStandardOutput());
    for (const char* expected : {"Entry Listing by Manufacturer", "Page: 1", "Img #", "Heat #", "Part #", "P/O", "Vendor",
                                 "Items entered for - Mill A", "Items entered for - Mill C", "O'Neil", "Totals Items Entered :"})
        EXPECT_TRUE(text.contains(S(expected))) << expected << "\n" << text.toStdString();

    const QString csv = site.path(S("list.csv"));
    qint64 rows = 0;
    const QString csvError = WriteListingCsv(s(), ListingRequest{}, csv, &rows);
    ASSERT_EQ(std::tuple(csvError, rows, pages), std::tuple(QString(), 5, 1));
    ASSERT_TRUE(addRefs(s(), {{S("Q\"1"), S("P,9"), S("PO9"), S("Ünal"), S("M"), 9, on(3, 9)}}));
    ASSERT_EQ(WriteListingCsv(s(), ListingRequest{}, csv), QString());
    const QString written = QString::fromUtf8(FileBytes(csv));
    EXPECT_TRUE(written.startsWith(S("Image #,Heat #,Part #,P/O #,Vend Name,Mfg Name,Entry Date\r\n"))
                && written.endsWith(S("9,\"Q\"\"1\",\"P,9\",PO9,Ünal,M,2025-03-09 09:00:00\r\n")))
        << written.toStdString();
}

TEST_P(ListingTest, UpdateRunsPairsInOrderAllOrNothing)
{
    const auto vendors = [&](const QString& name) { return rows(S("Info"), S("\"Vend Name\" = ?"), {name}); };
    // Counts before: references and images of the old value, references of the new.
    const auto counts = CountPairs(s(), UpdateField::Vend, {{S("ACME"), S("O'Neil")}, {S("nobody"), S("x")}});
    ASSERT_TRUE(counts);
    EXPECT_EQ(std::tuple((*counts)[0].oldRows, (*counts)[0].oldImages, (*counts)[0].newRows, (*counts)[1].oldRows), std::tuple(2, 1, 1, 0));

    // A chain carries through; a pair that matches nothing changes nothing.
    UpdateOutcome done = UpdatePairs(s(), UpdateField::Vend, {{S("acme"), S("O'Neil")}, {S("O'Neil"), S("Carter")}, {S("nobody"), S("x")}});
    ASSERT_TRUE(done) << done.refusal.toStdString();
    EXPECT_EQ(std::tuple(done.changed, vendors(S("Carter"))), std::tuple(QList<qint64>{2, 3, 0}, 3));

    // Too long for the column: refused before anything changes.
    done = UpdatePairs(s(), UpdateField::Vend, {{S("Carter"), S("Dunn")}, {S("Baker"), QString(300, QLatin1Char('x'))}});
    EXPECT_EQ(std::tuple(bool(done), done.refusal.startsWith(S("Pair 2 (\"Baker\"")), vendors(S("Carter"))), std::tuple(false, true, 3)) << done.refusal.toStdString();

    // A pair the database refuses (a second H2 on the same key) undoes the pairs before it.
    ASSERT_TRUE(addRefs(s(), {{S("H9"), S("P2"), S("PO1"), S("Acme"), S("Mill A"), 1, on(3, 5)}}));
    done = UpdatePairs(s(), UpdateField::Heat, {{S("H5"), S("H50")}, {S("H9"), S("H2")}});
    EXPECT_EQ(std::tuple(bool(done), done.refusal.startsWith(S("Pair 2")), rows(S("Info"), S("\"Heat #\" = 'H5'"))),
              std::tuple(false, true, 1)) << done.refusal.toStdString();
}

TARLOX_ON_BOTH_ENGINES(ListingTest);

TEST(UpdatePairs, ReadFromCsv)
{
    const struct { const char* name; QByteArray content; QList<UpdatePair> pairs; bool ok; } cases[] = {
        {"quotes and commas", "\"Acme, Inc.\",\"Acme \"\"New\"\"\"\r\nO'Neil,Carter\r\n",
         {{S("Acme, Inc."), S("Acme \"New\"")}, {S("O'Neil"), S("Carter")}}, true},
        {"quoted last field without a line end", "A,B\r\nC,\"D\"", {{S("A"), S("B")}, {S("C"), S("D")}}, true},
        {"plain last field without a line end", "A,B\r\nC,D", {}, false},
        {"Windows-1252", "M\xfcller,Miller\r\n", {{S("Müller"), S("Miller")}}, true},
    };
    QTemporaryDir dir;
    for (const auto& c : cases) {
        const QString path = dir.filePath(S("pairs.csv"));
        ASSERT_TRUE(WriteFile(path, c.content));
        const auto read = ReadUpdatePairs(path);
        EXPECT_EQ(std::tuple(bool(read), read ? *read : QList<UpdatePair>()), std::tuple(c.ok, c.ok ? c.pairs : QList<UpdatePair>())) << c.name;
    }
}

// 100,000 references go out page after page with the memory of a few pages.
TEST(ListingSize, StreamsPageByPage)
{
    TestSite site;
    ASSERT_TRUE(site.start());
    {
        DataOp op(site.session(), S("fill"));
        ASSERT_TRUE(op.exec(S("WITH RECURSIVE k(r) AS (SELECT 0 UNION ALL SELECT r + 1 FROM k WHERE r < 99999) "
                              "INSERT INTO \"Info\" SELECT 'H' || r, 'P' || r, 'PO', 'Vendor ' || (r % 50), 'M', "
                              "strftime('%Y-%m-%dT%H:%M:%S', '2025-01-01', '+' || r || ' seconds'), r / 3 + 1 FROM k")));
    }
    const auto peakKb = [] {
        QFile status(S("/proc/self/status"));
        status.open(QIODevice::ReadOnly);
        for (const QByteArray& line : status.readAll().split('\n')) if (line.startsWith("VmHWM:")) return line.mid(6).trimmed().split(' ').front().toLongLong();
        return 0LL;
    };
    ListingRequest request;
    request.sort = ListingSort::Vend;
    {
        ListingRows rows(site.session(), request);  // the engine's own cache fills on a first read
        for (InfoRow row; rows.next(row);) {}
    }
    const qint64 before = peakKb();
    ListingPager pager(site.session(), request, 54);
    qint64 details = 0, groups = 0, total = -1;
    int pages = 0;
    while (auto page = pager.nextPage()) {
        ++pages;
        for (const ListingLine& line : page->lines) {
            details += line.kind == ListingLine::Kind::Detail;
            groups += line.kind == ListingLine::Kind::GroupFoot;
            if (line.kind == ListingLine::Kind::Total) total = line.count;
        }
    }
    EXPECT_EQ(std::tuple(details, groups, total, pages > 1800), std::tuple(100000, 50, 100000, true));
    EXPECT_LT(peakKb() - before, 10000) << "the listing grew the process by more than 10 MB";
}

}  // namespace
