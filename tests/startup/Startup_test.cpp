#include "base/IniFile.h"
#include "data/Connection.h"
#include "data/OptionsData.h"
#include "data/Schema.h"
#include "startup/Startup.h"
#include "support/PrivatePostgres.h"
#include "support/SystemTexts.h"
#include "support/TestSite.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

using namespace tarlox;
using namespace tarlox::test;

namespace {

// An installation with its settings and database, not yet started.
class StartupTest : public ::testing::Test {
protected:
    void SetUp() override { site.create(); }
    TestSite site;
};

// A machine that has never run Tarlox: an empty program directory.
class FirstStartTest : public ::testing::Test {
protected:
    FirstStartTest() : session(prompter) { session.programDir = dir.path() + QLatin1Char('/'); }
    QTemporaryDir dir;
    ScriptedPrompter prompter;
    Session session;
};

}  // namespace

TEST_F(FirstStartTest, OkCreatesSettingsDataDirectoryAndDatabase)
{
    prompter.answer(Answer::Ok);
    ASSERT_TRUE(StartSession(session).ok());
    ASSERT_EQ(prompter.asked().size(), 1) << prompter.titles().join(QLatin1Char(',')).toStdString();
    const Prompt& question = prompter.asked().first();
    EXPECT_EQ(std::tuple(question.title, question.text, question.buttons, question.defaultAnswer),
              std::tuple(QStringLiteral("Initialize Tarlox Settings"), texts::InitializeSettings, Buttons::OkCancel, Answer::Cancel));

    const QString ini = dir.filePath(QStringLiteral("TARLOX.INI"));
    EXPECT_EQ((QStringList{ReadIniValue(ini, QStringLiteral("Info"), QStringLiteral("ServerIni")).value,
                           ReadIniValue(ini, QStringLiteral("Data"), QStringLiteral("DatabaseType")).value, session.dataDir, session.options.version}),
              (QStringList{ini, QStringLiteral("Access"), dir.filePath(QStringLiteral("DATA")), session.programVersion}));
    EXPECT_TRUE(QFileInfo(dir.filePath(QStringLiteral("Tarlox.db"))).isFile() && session.machine.errorNumber == 0) << "the database, and the machine's row";

    // The next start asks nothing.
    ScriptedPrompter again;
    Session second(again);
    second.programDir = session.programDir;
    EXPECT_TRUE(StartSession(second).ok() && again.asked().isEmpty()) << again.titles().join(QLatin1Char(',')).toStdString();
}

TEST_F(FirstStartTest, CancelEndsWithoutFiles)
{
    EXPECT_FALSE(StartSession(session).ok());
    EXPECT_EQ(std::tuple(prompter.titles(), prompter.asked().last().text, QDir(dir.path()).isEmpty()),
              std::tuple(QStringList{QStringLiteral("Initialize Tarlox Settings"), QStringLiteral("Tarlox")}, texts::NoLocalSettings, true));
}

TEST_F(FirstStartTest, ProgramDirectoryFromEnvironmentGetsOneSeparator)
{
    for (const QString& set : {dir.path(), QString(dir.path() + QLatin1Char('/'))}) {
        qputenv("TARLOX", set.toUtf8());
        EXPECT_EQ(DefaultProgramDirectory(), dir.path() + QLatin1Char('/'));
    }
    qunsetenv("TARLOX");
    EXPECT_TRUE(DefaultProgramDirectory().endsWith(QLatin1String("/tarlox/")));
}

TEST_F(StartupTest, MissingServerFileAsksRetryUntilItAppears)
{
    const QString server = site.serverIni();
    const QByteArray saved = FileBytes(server);
    QFile::remove(server);
    int asks = 0;
    site.prompter().onAsk([&](const Prompt& p) { if (p.title == QLatin1String("Invalid Server Information File") && ++asks == 2) WriteFile(server, saved); });
    site.prompter().answer(Answer::Retry), site.prompter().answer(Answer::Retry);
    ASSERT_TRUE(StartSession(site.session()).ok());
    EXPECT_TRUE(asks == 2 && site.prompter().textOf(QStringLiteral("Invalid Server Information File")).contains(server));
    // Cancel ends the start.
    QFile::remove(server), site.prompter().answer(Answer::Cancel);
    EXPECT_FALSE(StartSession(site.session()).ok());
}

TEST_F(StartupTest, UnknownDatabaseTypeRunsAsFileDatabaseAndYearIsAppended)
{
    for (const auto& [file, section, key, value] : {std::tuple{site.serverIni(), "Data", "DatabaseType", QStringLiteral("Oracle")},
                                                    {site.localIni(), "Info", "DataDir", site.path(QStringLiteral("MTR/"))},
                                                    {site.localIni(), "Info", "AddYear", QStringLiteral("True")}})
        WriteIniValue(file, QLatin1String(section), QLatin1String(key), value);
    site.session().clock().pin(QDateTime(QDate(2026, 3, 1), QTime(9, 0)));
    ASSERT_TRUE(StartSession(site.session()).ok());
    EXPECT_EQ(std::tuple(site.session().databaseType, site.session().dataDir, QFileInfo(site.session().dataDir).isDir(), site.prompter().titles()),
              std::tuple(QStringLiteral("Access"), site.path(QStringLiteral("MTR/2026")), true, QStringList()));
}

TEST_F(StartupTest, BadDatabaseFileGivesClearMessagesAndStaysAsItWas)
{
    for (const char* name : {"notes.txt", "gone/Tarlox.db"}) {
        SCOPED_TRACE(name);
        const QString file = site.path(QLatin1String(name));
        const QByteArray content = QFile::exists(QFileInfo(file).path()) ? "these are not the tables you are looking for\n" : "";
        ASSERT_TRUE(content.isEmpty() || WriteFile(file, content));
        WriteIniValue(site.serverIni(), QStringLiteral("Data"), QStringLiteral("DataBase"), file);
        site.prompter().clear(), site.prompter().answer(Answer::Ok), site.prompter().answer(Answer::Cancel);  // the error report, the Options box
        EXPECT_FALSE(StartSession(site.session()).ok());
        EXPECT_EQ(std::tuple(site.prompter().textOf(QStringLiteral("Tarlox")).contains(QStringLiteral("Driver=SQLite;Data Source=") + file),
                             site.prompter().wasAsked(QStringLiteral("Invalid Server Information File")), FileBytes(file), QFileInfo::exists(file)),
                  std::tuple(true, true, content, !content.isEmpty()));
    }
}

TEST(Startup, ServerDownThenBackRetryReconnects)
{
    PrivatePostgres server;
    ASSERT_TRUE(server.start() && server.createDatabase(QStringLiteral("tarlox")));
    TestSite site(Engine::Sqlite);
    site.writeSettings();
    for (const auto& [key, value] : {std::pair{"DatabaseType", QStringLiteral("SQL")}, {"Server", QStringLiteral("127.0.0.1:%1").arg(server.port())},
                                     {"UserID", QStringLiteral("postgres")}, {"Password", QStringLiteral("secret")}, {"ConnectionTimeout", QStringLiteral("3")}})
        WriteIniValue(site.serverIni(), QStringLiteral("Data"), QLatin1String(key), value);
    // The tables exist already; then the server goes down.
    GetServerInfo(site.session());
    ASSERT_TRUE(RevUp(site.session()));
    site.session().options.version = site.session().programVersion;
    ASSERT_TRUE(AddOptions(site.session(), false));
    site.session().db().close();
    ASSERT_TRUE(server.stop());

    bool restarted = false;
    site.prompter().onAsk([&](const Prompt& p) {
        if (p.title == QLatin1String("Invalid Server Information File") && !std::exchange(restarted, true)) { ASSERT_TRUE(server.start()); }
    });
    site.prompter().answer(Answer::Ok), site.prompter().answer(Answer::Retry);  // the report of the failed connection; the server is back
    ASSERT_TRUE(StartSession(site.session()).ok()) << site.prompter().titles().join(QLatin1Char(',')).toStdString();
    const QString report = site.prompter().textOf(QStringLiteral("Tarlox"));
    EXPECT_EQ(std::tuple(report.contains(QStringLiteral("password=******")), report.contains(QStringLiteral("secret")), site.session().databaseType),
              std::tuple(true, false, QStringLiteral("SQL")));
}

TEST(Startup, TraceSwitchForms)
{
    const struct { QStringList arguments; bool requested; const char* path; } rows[] = {
        {{QStringLiteral("x"), QStringLiteral("/d=/tmp/a"), QStringLiteral("y")}, true, "/tmp/a"}, {{QStringLiteral("--trace=/tmp/b")}, true, "/tmp/b"},
        {{QStringLiteral("-d")}, false, ""}, {{QStringLiteral("/d=")}, true, ""}};
    for (const auto& row : rows) {
        const TraceSwitch parsed = ParseTraceSwitch(row.arguments);
        EXPECT_EQ(std::tuple(parsed.requested, parsed.path), std::tuple(row.requested, QString::fromLatin1(row.path))) << row.arguments.join(QLatin1Char(' ')).toStdString();
    }
}

TEST_F(StartupTest, TraceWritesMainAndEachProcedure)
{
    const QString log = site.path(QStringLiteral("trace.log"));
    StartTrace(site.session(), ParseTraceSwitch({QStringLiteral("/d=") + log}));
    EXPECT_EQ(site.prompter().textOf(QStringLiteral("Tarlox")), QStringLiteral("Now adding debug messages to ") + log);
    ASSERT_TRUE(StartSession(site.session()).ok());
    const QStringList lines = QString::fromUtf8(FileBytes(log)).split(QLatin1Char('\n'), Qt::SkipEmptyParts);
    EXPECT_TRUE(lines.value(0) == QLatin1String("Main") && lines.contains(QLatin1String("ReadUser")));

    // "/d=" with no path: the open fails through the error report.
    TestSite other;
    StartTrace(other.session(), ParseTraceSwitch({QStringLiteral("/d=")}));
    EXPECT_EQ(std::tuple(other.prompter().wasAsked(QStringLiteral("Tarlox")), other.session().trace().enabled()), std::tuple(true, false));
}
