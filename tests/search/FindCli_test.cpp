#include "search/SearchData.h"
#include "support/CliRun.h"
#include "support/QtPrinters.h"
#include "support/TestSite.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

using namespace tarlox;
using namespace tarlox::test;

namespace {

QString S(const char* text) { return QString::fromUtf8(text); }

class FindCliTest : public SiteTest {
protected:
    void SetUp() override
    {
        ASSERT_TRUE(site.start());
        QList<Ref> refs{{S("AB100"), S("P1"), S("PO1"), S("Acme, Inc."), S("Mill A"), 7, QDateTime(QDate(2003, 1, 2), QTime(9, 30)), S("/srv/data")},
                        {S("AB200"), S("P2"), S("PO1"), S("O'Neil \"Steel\""), S("Mill A"), 8, QDateTime(QDate(2003, 1, 3), QTime(0, 0)), S("/srv/data")},
                        {S("ZZ1"), S("P3"), S("PO3"), S("Other"), S("Mill B"), 9, QDateTime(QDate(2003, 2, 1), QTime(0, 0)), S("/srv/data")}};
        ASSERT_TRUE(addRefs(site.session(), refs));
        site.session().db().close();
    }

    CliRun cli(const QStringList& args) { return RunCli(QStringList{S("--ini"), site.localIni()} + args); }
};

TEST_P(FindCliTest, PrintsTheCountLineAndTheRows)
{
    CliRun r = cli({S("find"), S("--heat"), S("ab*")});
    ASSERT_EQ(r.code, 0) << r.err.toStdString();
    QStringList lines = r.out.split(QLatin1Char('\n'), Qt::SkipEmptyParts);
    ASSERT_EQ(lines.size(), 4) << r.out.toStdString();
    // Newest first.
    EXPECT_EQ(std::tuple(lines[0], lines[1].startsWith(S("Heat #")) && lines[1].contains(S("Entry Date")), lines[2].startsWith(S("AB200 ")),
                         lines[3].startsWith(S("AB100 ")) && lines[3].contains(S("1/2/2003 9:30:00 AM")) && lines[3].endsWith(S("/srv/data"))),
              std::tuple(S("2 found 2 shown"), true, true, true))
        << r.out.toStdString();

    EXPECT_EQ(cli({S("find"), S("--limit"), S("1")}).out.split(QLatin1Char('\n')).front(), S("3 found 1 shown"));
    r = cli({S("find"), S("--vendor=nobody")});
    EXPECT_EQ(std::tuple(r.code, r.out.trimmed()), std::tuple(0, S("None found!")));
}

TEST_P(FindCliTest, CsvAndJsonCarryTheSameRows)
{
    CliRun r = cli({S("find"), S("--mfg"), S("mill a"), S("--format"), S("csv")});
    ASSERT_EQ(r.code, 0) << r.err.toStdString();
    EXPECT_EQ(r.err.trimmed(), S("2 found 2 shown"));
    EXPECT_EQ(r.out.split(QLatin1Char('\n'), Qt::SkipEmptyParts), (QStringList{S("Heat #,Part #,P/O #,Vendor,Mfg,Entry Date,Image #,Path"),
                                                                         S("AB200,P2,PO1,\"O'Neil \"\"Steel\"\"\",Mill A,2003-01-03T00:00:00,8,/srv/data"),
                                                                         S("AB100,P1,PO1,\"Acme, Inc.\",Mill A,2003-01-02T09:30:00,7,/srv/data")}));

    r = cli({S("find"), S("--from"), S("2003-01-03"), S("--to"), S("2/1/2003"), S("--format"), S("json")});
    ASSERT_EQ(r.code, 0) << r.err.toStdString();
    const QJsonObject doc = QJsonDocument::fromJson(r.out.toUtf8()).object();
    const QJsonArray rows = doc.value(S("rows")).toArray();
    ASSERT_EQ(rows.size(), 2);
    EXPECT_EQ(std::tuple(doc.value(S("found")).toInteger(), doc.value(S("shown")).toInteger(), doc.value(S("countLine")).toString(), rows[0].toObject().value(S("imageNumber")).toInt()),
              std::tuple(2, 2, S("2 found 2 shown"), 9));
    EXPECT_EQ((QStringList{rows[0].toObject().value(S("heat")).toString(), rows[1].toObject().value(S("vendor")).toString(), rows[1].toObject().value(S("entryDate")).toString()}),
              (QStringList{S("ZZ1"), S("O'Neil \"Steel\""), S("2003-01-03T00:00:00")}));
}

// The usage errors are Cli_test's; criteria the search refuses end with 1.
TEST_P(FindCliTest, BadCriteria)
{
    CliRun r = cli({S("find"), S("--image"), S("TR000007")});
    EXPECT_EQ(std::tuple(r.code, r.err.contains(S("TR000007"))), std::tuple(1, true)) << r.err.toStdString();
    // Image number with a wild card, as the screen takes it.
    r = cli({S("find"), S("--image"), S("*8")});
    EXPECT_EQ(std::tuple(r.code, r.out.startsWith(S("1 found 1 shown"))), std::tuple(0, true));
}

TARLOX_ON_BOTH_ENGINES(FindCliTest);

}  // namespace
