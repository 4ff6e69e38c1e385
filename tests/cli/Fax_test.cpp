// tarlox-cli's fax commands: a fax sent, listed, sent again and removed on
// a real HylaFAX server (their usage errors are Cli_test's).
#include "support/CliRun.h"
#include "support/FaxTestServer.h"
#include "store/TestPages.h"

#include <QFile>

#include <gtest/gtest.h>

#include <sys/stat.h>

using namespace tarlox::test;
using namespace Qt::StringLiterals;

using FaxCli = CliHome;

TEST_F(FaxCli, FaxIsSentListedSentAgainAndRemoved)
{
    FaxTestServer* server = FaxTestServer::Get();
    if (!server)
        GTEST_SKIP() << FaxTestServer::skipReason().toStdString();
    chmod(QFile::encodeName(dir.path()).constData(), 0755);
    const QString page = dir.filePath(u"page.png"_s);
    ASSERT_TRUE(TextPage(1700, 2200, 1, 200).save(page));
    ASSERT_EQ(cli({u"init"_s}).code, 0);
    ASSERT_EQ(cli({u"settings"_s, u"set"_s, u"Fax"_s, u"FaxServer"_s, server->address()}).code, 0);
    ASSERT_EQ(cli({u"add"_s, u"--heat"_s, u"H1"_s, u"--part"_s, u"P1"_s, page}).code, 0);

    const CliRun sent = cli({u"fax"_s, u"1"_s, u"--number"_s, u"5553000"_s, u"--company"_s, u"Buyer, Inc."_s, u"--text"_s, u"PO 4471"_s,
                              u"--pages"_s, u"1"_s, u"--message"_s, u"H=H1"_s});
    ASSERT_EQ(sent.code, 0) << sent.err.toStdString();
    const QString job = sent.out.section(u' ', 1, 1);
    const QString file = sent.out.section(u' ', 2).trimmed();
    EXPECT_TRUE(file.endsWith(u".FMF"_s)) << sent.out.toStdString();

    const CliRun csv = cli({u"fax-status"_s, u"--view"_s, u"pending"_s, u"--format"_s, u"csv"_s});
    ASSERT_EQ(csv.code, 0) << csv.err.toStdString();
    EXPECT_TRUE(csv.out.contains(job + u",pending,5553000,\"Buyer, Inc.\","_s)) << csv.out.toStdString();
    EXPECT_TRUE(csv.out.contains(u",2,0,0/3,Waiting,"_s + file)) << "cover and page";

    const CliRun again = cli({u"fax-resend"_s, job, u"--number"_s, u"5553001"_s});
    ASSERT_EQ(again.code, 0) << again.err.toStdString();
    const QString second = again.out.section(u' ', 1, 1);
    EXPECT_NE(second, job);
    const CliRun json = cli({u"fax-status"_s, u"--format"_s, u"json"_s});
    EXPECT_TRUE(json.out.contains(u"\"phone\": \"5553001\""_s)) << json.out.toStdString();

    for (const QString& id : {job, second})
        EXPECT_EQ(cli({u"fax-remove"_s, id}).code, 0);
    const CliRun gone = cli({u"fax-remove"_s, job});
    EXPECT_TRUE(gone.code == 1 && !cli({u"fax-status"_s}).out.contains(u"5553001"_s));
}
