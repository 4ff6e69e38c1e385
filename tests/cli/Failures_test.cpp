#include "support/CliRun.h"
#include "support/FaxTestServer.h"
#include "support/TestSite.h"

#include <QDir>
#include <QImage>
#include <QSqlDatabase>
#include <QSqlQuery>

#include <gtest/gtest.h>

using namespace tarlox::test;

namespace {

QString S(const char* text) { return QString::fromUtf8(text); }

// Where no one can answer a question, every command ends at once with one
// line saying why and an exit code a script can act on: no retry loop runs.
class CliFailures : public CliHome {
protected:
    void SetUp() override
    {
        QImage page(850, 1100, QImage::Format_Mono);
        page.fill(0);
        ASSERT_TRUE(page.save(path("page.png")));
    }
    QString path(const char* name) const { return dir.filePath(S(name)); }
    CliRun cli(const QStringList& arguments) const { return RunCli(arguments, {{S("TARLOX"), dir.path()}, {S("HOME"), dir.path()}}); }
    QList<QStringList> everyCommand() const
    {
        return {{S("info")}, {S("show"), S("1")}, {S("find"), S("--heat"), S("H1")}, {S("add"), S("--heat"), S("H1"), S("--part"), S("P1"), path("page.png")},
                {S("scan"), S("--heat"), S("H1"), S("--part"), S("P1"), S("--device"), S("test:0")}};
    }

    QTemporaryDir dir;
};

TEST_F(CliFailures, NoSessionNoQuestionsOneLine)
{
    ASSERT_TRUE(WriteFile(path("random.ini"), QByteArray::fromHex("8f00ffd3a17e5b5d0d0a3d3d9c").repeated(300)));
    ASSERT_TRUE(WriteFile(path("missing.ini"), "[Info]\r\nServerIni=" + path("offline/tarlox.ini").toUtf8() + "\r\n"));
    ASSERT_TRUE(WriteFile(path("server.ini"), "[Info]\r\nServerIni=" + path("server.ini").toUtf8() + "\r\nDataDir=" + dir.path().toUtf8()
                                                  + "\r\n[Data]\r\nDatabaseType=SQL\r\nServer=127.0.0.1:" + QByteArray::number(ClosedPort())
                                                  + "\r\nUserID=tarlox\r\nPassword=secret\r\nConnectionTimeout=2\r\n"));
    const struct { const char* ini; int code; const char* says; } sites[] = {
        {"random.ini", 1, "Server Information File"}, {"missing.ini", 1, "offline/tarlox.ini - is not found!"},
        {"server.ini", 3, "Connection refused"}, {"", 1, "The TARLOX.INI file could not be found!"},
    };
    for (const auto& site : sites) {
        for (const QStringList& command : everyCommand()) {
            const CliRun run = cli(*site.ini ? QStringList{S("--ini"), path(site.ini)} + command : command);
            const QString where = S(site.ini) + QLatin1Char(' ') + command.first();
            EXPECT_EQ(std::tuple(run.code, run.err.endsWith(QLatin1Char('\n')) && run.err.count(QLatin1Char('\n')) <= 2, run.err.contains(S(site.says))),
                      std::tuple(site.code, true, true))
                << where.toStdString() << "\n" << run.err.toStdString();
        }
    }
    EXPECT_FALSE(QFile::exists(path("TARLOX.INI"))) << "nothing initializes without init";
}

TEST_F(CliFailures, RowsHeldByAnotherWorkstationFailTheAddAndStoreNothing)
{
    ASSERT_EQ(cli({S("init")}).code, 0);
    ASSERT_EQ(cli({S("settings"), S("set"), S("Data"), S("ConnectionTimeout"), S("1")}).code, 0);
    {
        QSqlDatabase other = QSqlDatabase::addDatabase(S("QSQLITE"), S("other"));
        other.setDatabaseName(path("Tarlox.db"));
        ASSERT_TRUE(other.open());
        QSqlQuery hold(other);
        ASSERT_TRUE(hold.exec(S("BEGIN IMMEDIATE")));
        const CliRun run = cli(everyCommand()[3]);
        EXPECT_EQ(std::tuple(run.code, run.err.contains(S("locked"))), std::tuple(1, true)) << run.err.toStdString();
        hold.exec(S("ROLLBACK"));
    }
    QSqlDatabase::removeDatabase(S("other"));
    EXPECT_TRUE(QDir(path("DATA")).entryList(QDir::Files | QDir::Hidden).isEmpty());
    const CliRun again = cli(everyCommand()[3]);
    EXPECT_EQ(again.code, 0) << again.err.toStdString();
}

}  // namespace
