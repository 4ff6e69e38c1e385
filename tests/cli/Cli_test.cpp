#include "cli/Values.h"
#include "support/CliRun.h"
#include "support/TestSite.h"

#include <QDir>

#include <gtest/gtest.h>

using namespace tarlox::cli;
using namespace tarlox::test;

namespace {

QString S(const char* text) { return QString::fromUtf8(text); }

using CliTest = CliHome;

TEST(CliValues, OnePlaceReadsEveryKindOfValue)
{
    // a code of nullptr: refused
    const struct { const char* size; const char* code; } sizes[] = {{"", " "}, {"letter", " "}, {" ", " "}, {"LEGAL", "G"}, {"G", "G"}, {"a4", "A"}, {"A", "A"}, {"tabloid", nullptr}};
    for (const auto& row : sizes) {
        const Parsed<QString> size = PageSizeValue(S("--size"), S(row.size));
        EXPECT_EQ(size ? size.value : size.error.left(7), S(row.code ? row.code : "--size ")) << row.size;
    }

    EXPECT_EQ(IntegerValue(S("--limit"), S(" 12 "), 1).value, 12);
    for (const char* bad : {"0", "12x", ""})
        EXPECT_TRUE(IntegerValue(S("--limit"), S(bad), 1).error.startsWith(S("--limit "))) << bad;
    EXPECT_TRUE(DpiValue(S("--dpi"), S("1200")).value == 1200 && !DpiValue(S("--dpi"), S("1201")) && !DpiValue(S("--dpi"), S("49")));

    EXPECT_EQ(std::pair(DateValue(S("--from"), S("1/2/2026")).value, DateValue(S("--from"), S("2026-01-02")).value), std::pair(QDate(2026, 1, 2), QDate(2026, 1, 2)));
    EXPECT_EQ(DateValue(S("--to"), S("31/31/2003")).error, S("--to: Invalid Date: 31/31/2003 (month/day/year or yyyy-mm-dd)"));

    EXPECT_EQ(PairValue(S("--message"), S(" N =Smith=Jones")).value, (QPair<QString, QString>{S("N"), S("Smith=Jones")}));
    EXPECT_EQ(PairValue(S("--message"), S("N=")).value.second, QString());
    for (const char* bad : {"N", "=x", ""})
        EXPECT_TRUE(PairValue(S("--message"), S(bad)).error.startsWith(S("--message "))) << bad;
}

// Help, version and every usage error answer before anything starts: the
// program directory and the home stay empty.
TEST_F(CliTest, UsageAnswersWithoutTouchingAnyFile)
{
    // arguments: split at blanks; out: texts separated by "|", each must be on stdout; err: must be on stderr, in one line for a usage error
    const struct { const char* arguments; int code; const char* out; const char* err; } rows[] = {
        {"--version", 0, "tarlox-cli 8.00.0000\n", ""}, {"help", 0, "init|info|settings|add|show|find|scan|exit codes|3  the database", ""},
        {"--help", 0, "usage: tarlox-cli [--ini FILE]|find", ""}, {"help show", 0, "usage: tarlox-cli show", ""},
        {"init --help", 0, "usage: tarlox-cli init|--help", ""}, {"show -h", 0, "N (an image number)", ""},
        {"scan --help", 0, "--heat|--part|--po|--vendor|--mfg|--device NAME|--dpi N|--size SIZE|--adf", ""}, {"", 2, "", "commands:"},
        {"frobnicate", 2, "", "unknown command 'frobnicate'; try 'tarlox-cli help'"}, {"help frobnicate", 2, "", "try 'tarlox-cli help'"},
        {"--colour info", 2, "", "'colour'; try 'tarlox-cli help'"}, {"scan --colour", 2, "", "'colour'; try 'tarlox-cli help scan'"},
        {"scan --heat H1 --device", 2, "", "'--device'"}, {"scan --heat H1", 2, "", "scan: --heat and --part are required"},
        {"scan --heat=H --part=P --dpi lots", 2, "", "scan: --dpi takes a resolution"},
        {"scan --heat=H --part=P --size=tabloid", 2, "", "scan: --size takes"}, {"add --size tabloid a.png", 2, "", "add: --size takes"},
        {"add --heat H", 2, "", "add: needs at least one FILE"}, {"find --from 31/31/2003", 2, "", "find: --from: Invalid Date: 31/31/2003"},
        {"find --limit 0", 2, "", "find: --limit"}, {"find --format xml", 2, "", "find: --format"}, {"show x", 2, "", "show: N"},
        {"info extra", 2, "", "info takes no arguments"}, {"init extra", 2, "", "init takes no arguments"},
        {"settings get", 2, "", "settings: takes get"}, {"output 1 -o x.tif --pages 1-3", 2, "", "--pages must be 'All' or in the form 'n,m,l'"},
        {"output 1 -o x.tif --message heat=A;B", 2, "", "can't hold ';'"},
        {"output 1 -o x.tif --message colour=red", 2, "", "--message takes KEY=VALUE"}, {"output 1 -o x.tif --pdfa", 2, "", "--pdfa goes with --pdf"},
        {"mail 1 --to a@b@c", 2, "", "is not a valid e-mail address"}, {"mail 1 --to x@example.com --pages 1-2", 2, "", "--pages must be 'All'"},
        {"mail 1 --to x@example.com --message colour=red", 2, "", "--message takes KEY=VALUE"},
        {"mail 1 --to x@example.com --message heat=a;b", 2, "", "--message: "}, {"fax", 2, "", "fax: needs at least one IMAGE"},
        {"fax 1", 2, "", "fax: --number is required"}, {"fax x --number 5", 2, "", "fax: IMAGE takes a whole number"},
        {"fax 1 --number 5 --pages 1-3", 2, "", "fax: --pages must be 'All' or in the form 'n,m,l'"},
        {"fax 1 --number 5 --message N", 2, "", "fax: --message takes KEY=VALUE"},
        {"fax 1 --number 5 --message Z=1", 2, "", "fax: --message takes the keys C D N L U P E Q H G K"},
        {"fax-status --view later", 2, "", "fax-status: --view takes pending, sending, sent or failed"},
        {"fax-status --format xml", 2, "", "fax-status: --format takes text, csv or json"}, {"fax-remove", 2, "", "fax-remove: takes one JOB"},
        {"fax-resend x", 2, "", "fax-resend: JOB takes a whole number"}, {"separator --line 7 -o s.tif", 2, "", ""},
        {"separator --po P --tag x -o s.tif", 2, "", ""},
    };
    for (const auto& row : rows) {
        const CliRun run = cli(S(row.arguments).split(QLatin1Char(' '), Qt::SkipEmptyParts));
        EXPECT_EQ(run.code, row.code) << row.arguments << "\n" << run.err.toStdString();
        for (const QString& text : S(row.out).split(QLatin1Char('|'), Qt::SkipEmptyParts))
            EXPECT_TRUE(run.out.contains(text)) << row.arguments << " lacks " << text.toStdString() << "\n" << run.out.toStdString();
        // A usage error is one line; nothing is written.
        EXPECT_EQ(std::tuple(run.err.contains(S(row.err)), row.code != 2 || !*row.arguments || run.err.count(QLatin1Char('\n')) == 1,
                             QDir(dir.path()).isEmpty(QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot)),
                  std::tuple(true, true, true))
            << row.arguments << "\n" << run.err.toStdString();
    }
}

TEST_F(CliTest, InitInfoAndSettings)
{
    // Nothing to start from: one line, no question.
    EXPECT_EQ((std::tuple{cli({S("info")}).code, QFile::exists(dir.filePath(S("TARLOX.INI"))), cli({S("settings"), S("get"), S("Info"), S("DataDir")}).err.count(QLatin1Char('\n'))}),
              std::tuple(1, false, 1));

    const CliRun init = cli({S("init"), S("/d=") + dir.filePath(S("trace.log"))});
    ASSERT_EQ(init.code, 0) << init.err.toStdString();
    EXPECT_EQ(std::pair(QFile::exists(dir.filePath(S("Tarlox.db"))), FileBytes(dir.filePath(S("trace.log"))).startsWith("Main")), std::pair(true, true));

    const CliRun info = cli({S("info")});
    ASSERT_EQ(info.code, 0) << info.err.toStdString();
    for (const QString& text : QStringList{S("Program version: 8.00.0000"), S("Data version: 8.00.0000"), S("Next image number: 1"),
                                           S("Connection: Driver=SQLite;Data Source=") + dir.filePath(S("Tarlox.db")),
                                           S("DataDir: ") + dir.filePath(S("DATA"))})
        EXPECT_TRUE(info.out.contains(text)) << text.toStdString();
    EXPECT_TRUE(cli({S("init")}).out.startsWith(S("Already initialized")));

    // A value that looks like an option is still a value.
    EXPECT_EQ((std::tuple{cli({S("settings"), S("set"), S("Scan"), S("Brightness"), S("-200")}).code, cli({S("settings"), S("get"), S("scan"), S("brightness")}).out}),
              std::tuple(0, S("-200\n")));
    const CliRun other = cli({S("--ini"), dir.filePath(S("TARLOX.INI")), S("settings"), S("get"), S("Info"), S("DataDir")}, {{S("TARLOX"), S("/nonexistent")}});
    EXPECT_EQ(std::tuple(other.code, other.out.trimmed()), std::tuple(0, dir.filePath(S("DATA"))));
}

}  // namespace
