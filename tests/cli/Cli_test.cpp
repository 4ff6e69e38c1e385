#include "support/CliRun.h"

#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

using namespace tarlox::test;

namespace {

// tarlox-cli on a program directory of its own.
class CliTest : public ::testing::Test {
protected:
    CliRun cli(const QStringList& arguments, const QString& programDir = {})
    {
        return RunCli(arguments, {{QStringLiteral("TARLOX"), programDir.isEmpty() ? dir.path() : programDir}});
    }
    QTemporaryDir dir;
};

}  // namespace

TEST_F(CliTest, InitThenInfoOnAFreshDirectory)
{
    const CliRun init = cli({QStringLiteral("init")});
    ASSERT_EQ(init.code, 0) << init.err.toStdString();
    EXPECT_TRUE(QFile::exists(dir.filePath(QStringLiteral("TARLOX.INI"))));
    EXPECT_TRUE(QFile::exists(dir.filePath(QStringLiteral("Tarlox.db"))));

    const CliRun info = cli({QStringLiteral("info")});
    ASSERT_EQ(info.code, 0) << info.err.toStdString();
    EXPECT_TRUE(info.out.contains(QStringLiteral("Program version: 8.00.0000")));
    EXPECT_TRUE(info.out.contains(QStringLiteral("Data version: 8.00.0000")));
    EXPECT_TRUE(info.out.contains(QStringLiteral("Database type: Access")));
    EXPECT_TRUE(info.out.contains(QStringLiteral("Connection: Driver=SQLite;Data Source=") + dir.filePath(QStringLiteral("Tarlox.db"))));
    EXPECT_TRUE(info.out.contains(QStringLiteral("DataDir: ") + dir.filePath(QStringLiteral("DATA"))));
    EXPECT_TRUE(info.out.contains(QStringLiteral("Next image number: 1")));

    // A second init changes nothing and says so.
    const CliRun again = cli({QStringLiteral("init")});
    EXPECT_EQ(again.code, 0);
    EXPECT_TRUE(again.out.startsWith(QStringLiteral("Already initialized")));
}

TEST_F(CliTest, SettingsGetAndSet)
{
    ASSERT_EQ(cli({QStringLiteral("init")}).code, 0);
    EXPECT_EQ(cli({QStringLiteral("settings"), QStringLiteral("set"), QStringLiteral("Info"), QStringLiteral("FindRecords"), QStringLiteral("250")}).code, 0);
    const CliRun get = cli({QStringLiteral("settings"), QStringLiteral("get"), QStringLiteral("info"), QStringLiteral("findrecords")});
    EXPECT_EQ(get.code, 0);
    EXPECT_EQ(get.out, QStringLiteral("250\n"));
    const CliRun other = cli({QStringLiteral("--ini"), dir.filePath(QStringLiteral("TARLOX.INI")), QStringLiteral("settings"), QStringLiteral("get"),
                           QStringLiteral("Info"), QStringLiteral("DataDir")},
                          QStringLiteral("/nonexistent"));
    EXPECT_EQ(other.code, 0);
    EXPECT_EQ(other.out.trimmed(), dir.filePath(QStringLiteral("DATA")));
}

TEST_F(CliTest, ExitCodesForFailureAndBadUsage)
{
    const CliRun uninitialised = cli({QStringLiteral("info")});
    EXPECT_EQ(uninitialised.code, 1);
    EXPECT_TRUE(uninitialised.err.contains(QStringLiteral("tarlox-cli: ")));
    EXPECT_FALSE(QFile::exists(dir.filePath(QStringLiteral("TARLOX.INI"))));

    EXPECT_EQ(cli({}).code, 2);
    EXPECT_EQ(cli({QStringLiteral("frobnicate")}).code, 2);
    EXPECT_EQ(cli({QStringLiteral("settings"), QStringLiteral("get")}).code, 2);
    EXPECT_EQ(cli({QStringLiteral("info"), QStringLiteral("extra")}).code, 2);
    const CliRun noFile = cli({QStringLiteral("settings"), QStringLiteral("get"), QStringLiteral("Info"), QStringLiteral("DataDir")});
    EXPECT_EQ(noFile.code, 1);
    EXPECT_EQ(noFile.err.count(QLatin1Char('\n')), 1) << "one line on stderr";
}
