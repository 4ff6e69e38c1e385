#include "output/forms/frmEmail.h"

#include "base/IniFile.h"
#include "data/Settings.h"
#include "support/FormControls.h"
#include "support/MailServers.h"
#include "output/SelectImage.h"
#include "view/ViewerTestSupport.h"

#include <QDir>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QProcess>

#include <QPointer>
#include <QTest>

#include <gtest/gtest.h>

using namespace tarlox;
using namespace tarlox::test;
using namespace Qt::Literals::StringLiterals;

namespace {

// Attachments of a delivered message as "name pages", decoded by Python's mail parser and counted by tiffinfo/pdfinfo.
QStringList Attachments(const QString& path, const QString& dir)
{
    static const char* script = R"(
import email, email.policy, os, sys
m = email.message_from_binary_file(open(sys.argv[1], 'rb'), policy=email.policy.default)
print(m['To']); print(m['Subject'])
for p in m.iter_attachments():
    open(os.path.join(sys.argv[2], p.get_filename()), 'wb').write(p.get_content()); print(p.get_filename())
)";
    QProcess python;
    python.start(u"/usr/bin/python3"_s, {u"-c"_s, QString::fromUtf8(script), path, dir});
    python.waitForFinished(30000);
    return QString::fromUtf8(python.readAllStandardOutput()).split(u'\n', Qt::SkipEmptyParts);
}

class EmailForm : public ::testing::TestWithParam<Engine> {
protected:
    EmailForm() : site(GetParam()) {}
    void SetUp() override
    {
        ASSERT_TRUE(site.start());
        ASSERT_TRUE(server.start());
        Session& s = site.session();
        PutLocal(s, u"Email"_s, u"EmailServer"_s, u"127.0.0.1"_s);
        PutLocal(s, u"Email"_s, u"ServerPort"_s, QString::number(server.port()));
        PutLocal(s, u"Email"_s, u"From Address"_s, u"qa@example.com"_s);
        PutLocal(s, u"Interface"_s, u"AddMessage"_s, u"True"_s);
        for (qint32 number : {7, 8})
            paths << StoreReport(site, NumberedPages(3), number);
    }
    frmEmail* open(int image)
    {
        site.session().imageFilePath = image ? paths[image - 7] : QString();
        return new frmEmail(site.session());
    }
    QString queued() { return ReadIniValue(site.localIni(), u"Info"_s, u"EmailFiles"_s).value; }

    // The attachments are prepared in the background; the form closes when the send has ended.
    static void sendAndWait(frmEmail* form)
    {
        QPointer<frmEmail> sending(form);
        form->cmdEmail_Click();
        ASSERT_TRUE(QTest::qWaitFor([&] { return sending.isNull() || !sending->sending(); }, 20000));
    }

    TestSite site;
    SmtpTestServer server{{}};
    QStringList paths;
};

}  // namespace

TEST_P(EmailForm, QueueSendsTogetherAndOnlyASuccessfulSendClearsIt)
{
    frmEmail* form = open(7);
    EXPECT_EQ(form->windowTitle(), u"Email Test Report"_s);
    child<QLineEdit>(form, "txtPages")->setText(u"1-2"_s);
    EXPECT_FALSE(form->txtPages_Validate());
    EXPECT_EQ(site.prompter().textOf(u"Invalid Pages"_s), u"Pages must be 'All' or in the form 'n,m,l'"_s);
    child<QLineEdit>(form, "txtPages")->setText(u"2"_s);
    child<QLineEdit>(form, "txtHeat")->setText(u"H-77"_s);
    form->cmdQueue_Click();
    EXPECT_EQ(queued(), paths[0] + u";2"_s);

    // Opened for the queue alone, then with a second image: an empty address is refused.
    form = open(0);
    EXPECT_EQ(child<QPlainTextEdit>(form, "txtStatus")->toPlainText(), u"There is 1 file queued to email"_s);
    EXPECT_FALSE(child<QLineEdit>(form, "txtPages")->isEnabled());
    form->close();
    form = open(8);
    form->cmdEmail_Click();
    EXPECT_EQ(site.prompter().textOf(u"Email"_s), u"Please enter the recipient's e-mail address."_s);
    child<QLineEdit>(form, "txtToAddress")->setText(u"buyer@example.com"_s);
    child<QLineEdit>(form, "txtSubject")->setText(u"Two reports"_s);

    // A failed send keeps both images queued and says so.
    const QString port = QString::number(server.port());
    PutLocal(site.session(), u"Email"_s, u"ServerPort"_s, u"1"_s);
    site.prompter().clear();
    site.prompter().answer(Answer::Yes);
    sendAndWait(form);
    EXPECT_EQ(site.prompter().titles(), (QStringList{u"Email Queued Images?"_s, u"Email"_s}));
    EXPECT_TRUE(site.prompter().textOf(u"Email"_s).startsWith(u"Your attempt to send mail failed for the following reason: \ncan't connect"_s))
        << site.prompter().textOf(u"Email"_s).toStdString();
    EXPECT_TRUE(site.prompter().textOf(u"Email"_s).contains(u"There are 2 files queued to email"_s));
    EXPECT_EQ(queued(), paths[0] + u";2;"_s + paths[1] + u";All"_s);
    EXPECT_EQ(ReadIniValue(site.localIni(), u"Email"_s, u"To Address"_s).value, u"buyer@example.com"_s);

    // Sent: both reports, prepared (message fields are on), the temporary files gone, the queue empty.
    PutLocal(site.session(), u"Email"_s, u"ServerPort"_s, port);
    form = open(0);
    site.prompter().clear();
    sendAndWait(form);
    EXPECT_TRUE(site.prompter().asked().isEmpty()) << site.prompter().titles().join(u',').toStdString();
    EXPECT_EQ(queued(), QString());
    ASSERT_EQ(server.messages().size(), 1);
    const QStringList mail = Attachments(server.messages()[0], site.path(u"."_s));
    EXPECT_EQ(mail, (QStringList{u"buyer@example.com"_s, u"Two reports"_s, u"TM000007_1.TIF"_s, u"TM000008_2.TIF"_s}));
    EXPECT_EQ(GetPages(site.path(u"TM000007_1.TIF"_s)), 1);
    EXPECT_EQ(GetPages(site.path(u"TM000008_2.TIF"_s)), 3);
    EXPECT_TRUE(QDir(site.session().tempDir).entryList(QDir::Files).filter(u"TM"_s).isEmpty());
}

INSTANTIATE_TEST_SUITE_P(Engines, EmailForm, testing::Values(Engine::Sqlite, Engine::Postgres), EngineParamName<testing::TestParamInfo<Engine>>);
