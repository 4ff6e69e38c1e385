#include "support/CliRun.h"
#include "support/TestSite.h"

#include "search/SearchData.h"

#include <gtest/gtest.h>

using namespace tarlox;
using namespace tarlox::test;

namespace {

QString S(const char* text) { return QString::fromUtf8(text); }

TEST(ListingsCli, ListAsciiAndUpdate)
{
    TestSite site;
    ASSERT_TRUE(site.start());
    const QDateTime day(QDate(2025, 3, 1), QTime(9, 0));
    ASSERT_TRUE(addRefs(site.session(), {{S("H1"), S("P1"), S("PO1"), S("Acme"), S("M"), 1, day},
                                         {S("H2"), S("P2"), S("PO1"), S("acme"), S("M"), 1, day},
                                         {S("H3"), S("P3"), S("PO2"), S("O'Neil"), S("M"), 2, day.addDays(1)}}));
    site.session().db().close();
    const auto cli = [&](const QStringList& args) { return RunCli(QStringList{S("--ini"), site.localIni()} + args); };
    const QString pairs = site.path(S("pairs.csv"));
    ASSERT_TRUE(WriteFile(pairs, "\"O'Neil\",\"O'Neil, Inc.\"\r\n"));

    // out: a piece of the output, or of the error for a failure
    const struct { QStringList args; int code; const char* out; } cases[] = {
        {{S("list"), S("--sort"), S("vendor"), S("--text")}, 0, "Items entered for - Acme  2"},
        {{S("list"), S("--sort"), S("vendor"), S("--from-vendor"), S("b"), S("--text")}, 0, "Totals Items Entered : 1"},
        {{S("list"), S("--text"), S("--pdf"), S("x.pdf")}, 2, "either --pdf OUT or --text"},
        {{S("list"), S("--pdf"), site.path(S("l.pdf")), S("--to"), S("3/1/2025")}, 0, "1 pages written"},
        {{S("ascii"), site.path(S("a.csv")), S("--from"), S("2025-03-02")}, 0, "1 references written"},
        {{S("update"), S("vendor"), S("--pair"), S("ACME"), S("Acme Group"), S("--check")}, 0, "\"ACME\" -> \"Acme Group\": 2 references on 1 images; 0 hold"},
        {{S("update"), S("vendor"), S("--pair"), S("ACME"), S("Acme Group")}, 0, "2 references changed"},
        {{S("update"), S("vendor"), S("--csv"), pairs}, 0, "\"O'Neil\" -> \"O'Neil, Inc.\": 1 references changed"},
        {{S("update"), S("vendor"), S("--pair"), S("x")}, 2, "each --pair takes two values"},
        {{S("update"), S("heat"), S("--pair"), S("H1"), QString(300, QLatin1Char('9'))}, 1, "Pair 1"},
    };
    for (const auto& c : cases) {
        const CliRun r = cli(c.args);
        EXPECT_EQ(std::tuple(r.code, (c.code == 0 ? r.out : r.err).contains(S(c.out))), std::tuple(c.code, true))
            << c.args.join(u' ').toStdString() << "\n" << r.out.toStdString() << r.err.toStdString();
    }
    EXPECT_EQ(FileBytes(site.path(S("a.csv"))), QByteArray("Image #,Heat #,Part #,P/O #,Vend Name,Mfg Name,Entry Date\r\n2,H3,P3,PO2,O'Neil,M,2025-03-02 09:00:00\r\n"));
}

}  // namespace
