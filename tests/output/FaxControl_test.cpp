// The fax control's columns, the fax server settings and the printed log.
#include "output/FaxControl.h"
#include "output/FaxSettings.h"

#include <QFile>
#include <QPdfWriter>
#include <QTemporaryDir>

#include <gtest/gtest.h>

using namespace tarlox;
using namespace Qt::StringLiterals;

TEST(FaxControl, ControlColumnsRoundTripAndFallBackToTheDefault)
{
    const QList<FaxColumn> defaults = DefaultControlColumns();
    ASSERT_EQ(defaults.size(), FaxColumnCount);
    EXPECT_EQ(defaults[9].name, u"Fax ID"_s);
    EXPECT_EQ(defaults[9].width, 24);
    EXPECT_EQ(defaults[21].name, u"Comments"_s);
    EXPECT_EQ(defaults[21].width, 0);

    QList<FaxColumn> dragged = defaults;
    dragged[0].width = 31;
    dragged[10].width = 9;  // Speed shown
    dragged[1].width = 0;   // Phone hidden
    EXPECT_EQ(ReadControlColumns(WriteControlColumns(dragged))[0].width, 31);
    EXPECT_EQ(WriteControlColumns(ReadControlColumns(WriteControlColumns(dragged))), WriteControlColumns(dragged));

    const QString text = WriteControlColumns(defaults);
    for (const QString& bad : QStringList{QString(), u"Company,20"_s, text + u",Extra,3"_s, QString(text).replace(u"Company,20"_s, u"Company,x"_s),
                               QString(text).replace(u"Company,20"_s, u",20"_s)})
        EXPECT_EQ(WriteControlColumns(ReadControlColumns(bad)), text) << bad.toStdString();
}

TEST(FaxControl, ServerComesFromFaxServerAndFaxUser)
{
    const struct {
        QString server, user;
        QString host;
        int port;  // 0: refused
        QString login;
    } rows[] = {
        {{}, {}, u"localhost"_s, 4559, fax::LoginName()},
        {u" fax.example "_s, u"office"_s, u"fax.example"_s, 4559, u"office"_s},
        {u"10.0.0.5:4560"_s, {}, u"10.0.0.5"_s, 4560, fax::LoginName()},
        {u"[::1]:4561"_s, {}, u"::1"_s, 4561, {}},
        {u"fax:port"_s, {}, {}, 0, {}},
        {u"fax:70000"_s, {}, {}, 0, {}},
    };
    for (const auto& row : rows) {
        const auto server = fax::ServerSettings([&](const QString& key) {
            return key == fax::FaxServer ? row.server : key == fax::FaxUser ? row.user : QString();
        });
        ASSERT_EQ(server.ok(), row.port != 0) << row.server.toStdString();
        if (!server) {
            EXPECT_TRUE(server.error().contains(row.server)) << server.error().toStdString();
            continue;
        }
        EXPECT_EQ(server->host, row.host);
        EXPECT_EQ(server->port, row.port);
        if (!row.login.isEmpty()) {
            EXPECT_EQ(server->user, row.login);
        }
    }
    const auto sender = fax::SenderSettings([](const QString& key) { return key == fax::Retries ? u"x"_s : QString(); }, u"/opt/tarlox/"_s);
    // No page of the program directory's own: the one that ships with the program.
    EXPECT_TRUE(sender.coverPage.endsWith(u"/tarlox.cpe"_s) && QFile::exists(sender.coverPage)) << sender.coverPage.toStdString();
    EXPECT_EQ(sender.retries, 3);
}

TEST(FaxControl, LogPrintsFortySixJobsAPage)
{
    QTemporaryDir dir;
    for (const auto& [jobs, pages] : {std::pair{0, 1}, {46, 1}, {47, 2}, {93, 3}}) {
        QList<FaxJobInfo> rows(jobs);
        for (int i = 0; i < jobs; ++i) {
            rows[i].id = QString::number(i + 1);
            rows[i].toCompany = u"A company with a name of more than twenty-seven characters"_s;
        }
        const QString file = dir.filePath(QStringLiteral("log%1.pdf").arg(jobs));
        {
            QPdfWriter pdf(file);
            pdf.setPageOrientation(QPageLayout::Landscape);
            EXPECT_EQ(PrintFaxLog(pdf, rows), pages) << jobs;
        }
        QFile written(file);
        ASSERT_TRUE(written.open(QIODevice::ReadOnly));
        EXPECT_EQ(written.readAll().count("/Type /Page\n"), pages) << jobs;
    }
    FaxJobInfo job;
    job.toCompany = u"A company with a name of more than twenty-seven characters"_s;
    job.toName = u"Somebody with a long name"_s;
    job.fromName = u"Pat Sender-Smith"_s;
    const auto line = FaxLogLine(&job);
    const auto head = FaxLogLine(nullptr);
    ASSERT_EQ(line.size(), head.size());
    EXPECT_EQ(head[3].second, u"Remote ID"_s);
    EXPECT_EQ(head[8], (std::pair{144, u"Snt"_s}));
    EXPECT_EQ(line[0].second.size(), 27);
    EXPECT_EQ(line[1].second, u"Somebody with a lo"_s);
    EXPECT_EQ(line[4].second, u"Pat Sender"_s);
}
