#include "base/IniFile.h"
#include "base/TextTools.h"
#include "output/MailRead.h"
#include "support/CliRun.h"
#include "support/MailServers.h"
#include "support/TestSite.h"

#include <QCryptographicHash>
#include <QImage>
#include <QJsonArray>

#include <gtest/gtest.h>

using namespace tarlox;
using namespace tarlox::test;
using namespace Qt::Literals::StringLiterals;

namespace {

// From, To, Subject, the body and the attachments ("name type sha256") of a delivered message.
QStringList Seen(const QString& path)
{
    const QJsonObject mail = ReadMail(path);
    QStringList seen{mail[u"from"_s].toString(), mail[u"to"_s].toString(), mail[u"subject"_s].toString(), mail[u"body"_s].toString().trimmed()};
    for (const QJsonValue& file : mail[u"files"_s].toArray())
        seen << file.toString();
    return seen;
}

QString Sha256Of(const QString& path) { return QString::fromLatin1(QCryptographicHash::hash(FileBytes(path), QCryptographicHash::Sha256).toHex()); }

// tarlox-cli mail and contacts on an installation of either engine, with
// a POP server and an SMTP server that takes mail only after a POP log-in.
class MailCliTest : public SiteTest {
protected:
    void SetUp() override
    {
        SiteTest::SetUp();
        site.session().db().close();
        ASSERT_TRUE(pop.start()) << pop.error().toStdString();
        SmtpTestServer::Options options;
        options.popLog = pop.logFile();
        smtp = std::make_unique<SmtpTestServer>(options);
        ASSERT_TRUE(smtp->start()) << smtp->error().toStdString();
        for (const auto& [key, value] : {std::pair{"EmailServer", u"127.0.0.1"_s}, {"ServerPort", QString::number(smtp->port())},
                                         {"Authentication", u"POP"_s}, {"User", u"fred"_s}, {"Password", Encrypt(u"O'Pa55;w"_s)},
                                         {"POPServer", u"127.0.0.1:%1"_s.arg(pop.port())}, {"From Name", u"Quality Office"_s},
                                         {"From Address", u"qa@example.com"_s}, {"TestFromName", u"QA Test"_s},
                                         {"TestFromAddress", u"qa@example.com"_s}, {"TestToAddress", u"it@example.com"_s}})
            WriteIniValue(site.localIni(), u"Email"_s, QString::fromLatin1(key), value);
    }

    CliRun cli(QStringList args) { return RunCli(QStringList{u"--ini"_s, site.localIni()} + args); }

    PopTestServer pop{u"fred"_s, u"O'Pa55;w"_s};
    std::unique_ptr<SmtpTestServer> smtp;
};

TEST_P(MailCliTest, ContactsListAddRemove)
{
    const QList<QStringList> adds{
        {u"--company"_s, u"O'Neil Steel"_s, u"--last"_s, u"O'Brien"_s, u"--first"_s, u"Pat"_s, u"--email"_s, u"pat@oneil.example"_s},
        {u"--company"_s, u"Acme"_s, u"--last"_s, u"Zed"_s, u"--first"_s, u"Al"_s, u"--fax"_s, u"555-0100"_s},
        {u"--company"_s, u"Acme"_s, u"--last"_s, u"Able"_s, u"--first"_s, u"Bo"_s},
    };
    for (const QStringList& add : adds)
        EXPECT_EQ(cli(QStringList{u"contacts"_s, u"add"_s} + add).code, 0);
    const CliRun again = cli(QStringList{u"contacts"_s, u"add"_s} + adds[2]);
    EXPECT_EQ(std::tuple(again.code, again.err.contains(u"on file already"_s)), std::tuple(1, true)) << again.err.toStdString();
    EXPECT_EQ(cli({u"contacts"_s, u"add"_s, u"--company"_s, u"Acme"_s}).code, 2);

    EXPECT_EQ(cli({u"contacts"_s, u"list"_s}).out, u"Acme\tAble\tBo\t\t\nO'Neil Steel\tO'Brien\tPat\t\tpat@oneil.example\nAcme\tZed\tAl\t555-0100\t\n"_s);
    EXPECT_EQ(cli({u"contacts"_s, u"list"_s, u"--company-sort"_s}).out.section(u'\n', 1, 1), u"Acme\tZed\tAl\t555-0100\t"_s);
    const auto remove = [&] { return cli({u"contacts"_s, u"remove"_s, u"--company"_s, u"O'Neil Steel"_s, u"--last"_s, u"O'Brien"_s, u"--first"_s, u"Pat"_s}).code; };
    EXPECT_EQ((std::tuple{remove(), remove(), cli({u"contacts"_s, u"list"_s}).out.count(u'\n')}), std::tuple(0, 1, 2));
}

TEST_P(MailCliTest, TestMessageAndReportsThroughPopBeforeSmtp)
{
    const CliRun test = cli({u"mail"_s, u"--test"_s});
    ASSERT_EQ(test.code, 0) << test.err.toStdString() << test.out.toStdString();
    EXPECT_EQ(std::tuple(test.out.endsWith(u"Send successfull - check recipient's mail box\n"_s), test.out.contains(u"O'Pa55"_s)), std::tuple(true, false)) << test.out.toStdString();
    ASSERT_EQ(smtp->messages().size(), 1);
    QStringList mail = Seen(smtp->messages()[0]);
    ASSERT_EQ(mail.size(), 4);
    EXPECT_EQ((QStringList{mail[0], mail[2].left(27), mail[3]}),
              (QStringList{u"QA Test <qa@example.com>"_s, u"Test Message from Tarlox - "_s, u"This is a test message from Tarlox to determine if the Email settings are correct."_s}));

    // A report of two pages, sent with two of its pages and message fields.
    QStringList pages;
    for (int i = 0; i < 2; ++i) {
        QImage page(850, 1100, QImage::Format_Mono);
        page.fill(1);
        page.setDotsPerMeterX(3937);
        page.setDotsPerMeterY(3937);
        pages << site.path(u"page%1.png"_s.arg(i));
        ASSERT_TRUE(page.save(pages.last()));
    }
    const CliRun added = cli(QStringList{u"add"_s, u"--heat"_s, u"H1"_s, u"--part"_s, u"P1"_s, u"--po"_s, u"PO1"_s, u"--vendor"_s, u"V"_s, u"--mfg"_s, u"M"_s} + pages);
    ASSERT_EQ(added.code, 0) << added.err.toStdString();
    const QString image = added.out.trimmed();
    const CliRun sent = cli({u"mail"_s, image, u"--to"_s, u"buyer@example.com"_s, u"--to-name"_s, u"Jo Buyer"_s, u"--subject"_s,
                             u"MTR"_s, u"--body"_s, u"Attached."_s});
    ASSERT_EQ(sent.code, 0) << sent.err.toStdString() << sent.out.toStdString();
    ASSERT_EQ(smtp->messages().size(), 2);
    mail = Seen(smtp->messages()[1]);
    ASSERT_EQ(mail.size(), 5) << mail.join(u'\n').toStdString();
    EXPECT_EQ(mail.mid(0, 4), (QStringList{u"Quality Office <qa@example.com>"_s, u"Jo Buyer <buyer@example.com>"_s, u"MTR"_s, u"Attached."_s}));
    const QString stored = site.path(u"DATA/TR%1.TIF"_s.arg(image.toInt(), 6, 10, QLatin1Char('0')));
    EXPECT_EQ(mail[4], u"TR%1.TIF image/tiff "_s.arg(image.toInt(), 6, 10, QLatin1Char('0')) + Sha256Of(stored));

    // Some pages, message fields and PDF: a prepared copy goes, and goes away.
    const CliRun prepared = cli({u"mail"_s, image, u"--to"_s, u"buyer@example.com"_s, u"--pages"_s, u"2"_s, u"--message"_s,
                                 u"heat=H1"_s, u"--message"_s, u"D=SO-9"_s, u"--pdf"_s});
    ASSERT_EQ(prepared.code, 0) << prepared.err.toStdString();
    const QString pdfName = u"TM%1_1.pdf"_s.arg(image.toInt(), 6, 10, QLatin1Char('0'));
    EXPECT_EQ(std::tuple(Seen(smtp->messages()[2]).last().section(u' ', 0, 0), QFile::exists(site.path(u"TEMP/"_s + pdfName))), std::tuple(pdfName, false));

    // No recipient, a refused connection: one line, nothing delivered (the usage errors are Cli_test's).
    const CliRun noOne = cli({u"mail"_s, image, u"--to"_s, u""_s});
    EXPECT_EQ(std::tuple(noOne.code, noOne.err.contains(u"Please enter the recipient's e-mail address."_s)), std::tuple(2, true)) << noOne.err.toStdString();
    smtp->stop();
    const CliRun refused = cli({u"mail"_s, u"--test"_s});
    EXPECT_EQ(std::tuple(refused.code, refused.err.contains(u"Send failed - can't connect to 127.0.0.1 port"_s)), std::tuple(1, true)) << refused.err.toStdString();
}

TARLOX_ON_BOTH_ENGINES(MailCliTest);

}  // namespace
