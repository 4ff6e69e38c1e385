#include "output/Pack.h"

#include "output/PackSite.h"
#include "output/PdfTools.h"
#include "data/Settings.h"
#include "support/CliRun.h"
#include "support/TestSite.h"

#include <QDir>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QRegularExpression>

using namespace tarlox;
using namespace tarlox::test;

namespace {

QString S(const char* text) { return QString::fromUtf8(text); }

TEST(PackLinesTest, HeadersAreRecognisedInAnyOrderAndSpelling)
{
    struct Row { const char* text; PackLine first; };
    const Row rows[] = {
        {"Heat No.\tQty\tSO #\tLn#\tCust PO\tItem\tDescription\tTag\nH1\t5\t1001\t2\tPO-9\tP-7\tbar, round\tT3\n",
         {S("1001"), S("2"), S("PO-9"), S("P-7"), S("bar, round"), S("5"), S("H1"), S("T3")}},
        {"sales order,line,heat number,\"desc\",part no,quantity\n1001,3,\"H 2\",\"bar, \"\"flat\"\"\",P-8,7\n\n",
         {S("1001"), S("3"), {}, S("P-8"), S("bar, \"flat\""), S("7"), S("H 2"), {}}},
        {"Weight,Heat,Heat\r\n12,H3,H4\r\n", {{}, {}, {}, {}, {}, {}, S("H3"), {}}},
    };
    for (const Row& row : rows) {
        const PackTable table = SplitPackText(S(row.text));
        const QList<PackLine> lines = ReadPackLines(table, RecogniseColumns(table.header));
        ASSERT_EQ(lines.size(), 1) << row.text;
        const PackLine& l = lines.first();
        EXPECT_EQ((QStringList{l.order, l.line, l.custPO, l.part, l.description, l.quantity, l.heat, l.tag}),
                  (QStringList{row.first.order, row.first.line, row.first.custPO, row.first.part, row.first.description,
                               row.first.quantity, row.first.heat, row.first.tag}))
            << row.text;
    }
}

class PackTest : public SiteTest {
protected:
    qint32 report(const QString& heat, int mark) { return StorePackReport(s(), heat, mark); }
    HeatLookup lookup() { return FindPackHeat(s()); }
};

// Pasted lines with one heat on file once, one twice, one not at all, and
// one report serving two lines: the cover list, the bookmarks and each
// line's message block over its report, read back from the file.
TEST_P(PackTest, PackOfPastedLinesReadsBack)
{
    PutLocal(s(), section::Info, S("Authorization"), S(""));
    const qint32 one = report(S("H1"), 2), older = report(S("H2"), 5), newer = report(S("H2"), 8);
    ASSERT_TRUE(one > 0 && newer > older);
    const PackTable table = SplitPackText(S("Qty\tHeat\tLn#\tSO#\n5\tH1\t1\t1001\n3\th2\t2\t1001\n1\tH9\t3\t1001\n2\tH1\t4\t1001\n"));
    IoResult<PackPlan> plan = PlanPack(s(), ReadPackLines(table, RecogniseColumns(table.header)), lookup());
    ASSERT_TRUE(plan) << plan.error().toStdString();
    plan->customer = S("Acme Steel");
    using State = PackEntry::State;
    QList<State> states;
    for (const PackEntry& entry : plan->entries)
        states << entry.state();
    EXPECT_EQ(states, (QList<State>{State::One, State::Several, State::None, State::One}));
    EXPECT_EQ(plan->entries[1].report()->image, newer) << "the newest comes first";
    plan->entries[1].chosen = 1;  // the clerk picks the older one
    ASSERT_EQ(plan->entries[1].report()->image, older);

    const QString pdf = site.path(S("pack.pdf"));
    // Stopped after the first line: no file at all.
    const IoStatus stopped = MakePack(*plan, ReadOutputSettings(s()), QDate(2026, 11, 23), pdf, {}, [](int done, int) { return done < 1; });
    EXPECT_EQ(std::pair(stopped.error(), QDir(site.dir()).entryList({S("*.pdf*"), S(".*pdf*")}, QDir::Files | QDir::Hidden)), std::pair(kOutputCancelled, QStringList()));
    ASSERT_TRUE(MakePack(*plan, ReadOutputSettings(s()), QDate(2026, 11, 23), pdf));

    // The cover list: one row per line with its image and pages, the missing line apart.
    const QString cover = Tool(S("pdftotext"), {S("-layout"), S("-f"), S("1"), S("-l"), S("1"), pdf, S("-")});
    EXPECT_TRUE(cover.contains(S("Customer: Acme Steel"))) << cover.toStdString();
    const QStringList rows = cover.split(QLatin1Char('\n'));
    const QString expected[] = {S("1 1001 H1 %1 2-3").arg(one), S("2 1001 h2 %1 4-5").arg(older), S("4 1001 H1 %1 6-7").arg(one)};
    for (const QString& row : expected)
        EXPECT_TRUE(std::any_of(rows.begin(), rows.end(), [&](const QString& r) { return r.simplified() == row; }))
            << row.toStdString() << "\n" << cover.toStdString();
    const qsizetype missingHeading = cover.indexOf(S("Lines without a certificate"));
    EXPECT_TRUE(missingHeading > 0 && cover.indexOf(S("H9")) > missingHeading);

    // One bookmark per line in the pack, each on the first page of its report.
    const QJsonObject json = QJsonDocument::fromJson(Tool(S("qpdf"), {S("--json"), S("--json-key=outlines"), pdf}).toUtf8()).object();
    QList<int> targets;
    for (const QJsonValue& item : json[S("outlines")].toArray())
        targets << item[S("destpageposfrom1")].toInt();
    EXPECT_EQ(targets, (QList<int>{2, 4, 6}));

    // Each report page carries a message block above the report's own bar;
    // the two lines of the same report carry different blocks.
    const QList<QImage> pages = GreyPages(pdf, site.path(S("page")), 50);
    ASSERT_EQ(pages.size(), 7);
    const auto band = [](const QImage& page) { return page.copy(0, 0, page.width(), page.height() / 12); };
    const auto dark = [](const QImage& image) {
        int count = 0;
        for (int y = 0; y < image.height(); ++y)
            for (int x = 0; x < image.width(); ++x)
                count += qGray(image.pixel(x, y)) < 128 ? 1 : 0;
        return count;
    };
    const int marks[] = {2, 2, 5, 5, 2, 2};
    for (int p = 1; p < 7; ++p)  // the message block, and the report's own bar
        EXPECT_TRUE(dark(band(pages[p])) > 20 && qGray(pages[p].pixel(pages[p].width() * marks[p - 1] / 10, pages[p].height() / 2)) < 128) << "page " << p + 1;
    EXPECT_NE(band(pages[1]), band(pages[5])) << "lines 1 and 4 share a report, not a block";
    EXPECT_EQ(pages[1].copy(0, 100, pages[1].width(), 400), pages[5].copy(0, 100, pages[5].width(), 400));

    // The command line: the same lines from a CSV file, the missing line printed, exit 1.
    WriteFile(site.path(S("lines.csv")), "Heat,Ln#,SO#\nH1,1,1001\nH9,3,1001\n");
    const CliRun run = RunCli({S("--ini"), site.localIni(), S("pack"), site.path(S("lines.csv")), S("-o"), site.path(S("cli.pdf")),
                               S("--customer"), S("Acme")});
    EXPECT_EQ(run.code, 1) << run.err.toStdString();
    EXPECT_TRUE(run.out.contains(S("H9")) && !run.out.contains(S("H1"))) << run.out.toStdString();
    EXPECT_TRUE(Tool(S("pdfinfo"), {site.path(S("cli.pdf"))}).contains(QRegularExpression(S("Pages:\\s+3\\n"))));
}

TARLOX_ON_BOTH_ENGINES(PackTest);

}  // namespace
