#include "output/forms/frmContactFM.h"
#include "base/IniFile.h"
#include "data/ContactData.h"
#include "data/Settings.h"
#include "output/EmailSend.h"
#include "output/MailRead.h"
#include "output/SelectImage.h"
#include "output/forms/frmEmail.h"
#include "output/forms/frmEtest.h"
#include "support/FormControls.h"
#include "support/MailServers.h"
#include "view/ViewerTestSupport.h"

#include <QCheckBox>
#include <QDir>
#include <QLineEdit>
#include <QListWidget>
#include <QPlainTextEdit>
#include <QPointer>
#include <QJsonArray>
#include <QPushButton>
#include <QTest>
#include <QTimer>

#include <gtest/gtest.h>

using namespace tarlox;
using namespace tarlox::test;
using namespace Qt::Literals::StringLiterals;

namespace {

class EmailForms : public SiteTest {
protected:
    QString local(const QString& section, const QString& key) { return ReadIniValue(site.localIni(), section, key).value; }
    static QStringList rows(frmContactFM& form)
    {
        QStringList texts;
        for (const QListWidgetItem* item : child<QListWidget>(form, "lstSearch")->findItems(u"*"_s, Qt::MatchWildcard))
            texts << item->text();
        return texts;
    }
    static void pick(frmContactFM& form, const QString& row)
    {
        auto* list = child<QListWidget>(form, "lstSearch");
        list->setCurrentItem(list->findItems(row, Qt::MatchExactly).value(0));
    }
    // Types the company, names, fax number and address given, then saves.
    static void typeAndSave(frmContactFM& form, const QStringList& values) { type(form, values), form.Save(); }
    static void type(frmContactFM& form, const QStringList& values)
    {
        const char* names[] = {"txtComp", "txtLast", "txtFirst", "txtNo", "txtEmail"};
        for (int i = 0; i < values.size(); ++i)
            child<QLineEdit>(form, names[i])->setText(values[i]);
        form.CheckChange();
    }
};

}  // namespace

TEST_P(EmailForms, ContactsAreKeptByTheirThreeNamesAndEditedAsDeleteThenAdd)
{
    Session& s = site.session();
    auto* form = new frmContactFM(s, u"Email"_s);
    auto* save = child<QPushButton>(form, "cmdSave");
    auto* remove = child<QPushButton>(form, "cmdDelete");

    // Apostrophes, and no fax number or address: only the names are required.
    type(*form, {u"O'Neil Steel"_s, u"O'Brien"_s, u"Pat"_s});
    EXPECT_TRUE(save->isEnabled() && save->isDefault());
    form->Save();
    form->Cancel();  // New
    typeAndSave(*form, {u"Acme"_s, u"Zed"_s, u"Al"_s, u"555-0100"_s, u"al@acme.example"_s});
    EXPECT_EQ(rows(*form), (QStringList{u"Pat\tO'Brien\tO'Neil Steel"_s, u"Al\tZed\tAcme"_s}));
    EXPECT_TRUE(form->haveContact() && !save->isEnabled() && remove->isEnabled());

    form->Cancel();
    typeAndSave(*form, {QString(), u"Lone"_s});
    EXPECT_EQ(std::pair(site.prompter().wasAsked(u"Fields Missing"_s), rows(*form).size()), std::pair(true, qsizetype(2)));

    // A new last name replaces the row; the address read back is empty, not a blank.
    pick(*form, u"Pat\tO'Brien\tO'Neil Steel"_s);
    EXPECT_EQ(std::pair(child<QLineEdit>(form, "txtEmail")->text(), save->isEnabled()), std::pair(QString(), false));
    typeAndSave(*form, {u"O'Neil Steel"_s, u"Brien"_s, u"Pat"_s});
    EXPECT_EQ(rows(*form), (QStringList{u"Pat\tBrien\tO'Neil Steel"_s, u"Al\tZed\tAcme"_s}));

    // A new key that is taken: the form empties and the row as it was stays.
    site.prompter().clear();
    typeAndSave(*form, {u"Acme"_s, u"Zed"_s, u"Al"_s});
    EXPECT_EQ(std::tuple(site.prompter().asked().isEmpty(), form->haveContact(), child<QLineEdit>(form, "txtLast")->text()), std::tuple(false, false, QString()));
    EXPECT_EQ(rows(*form), (QStringList{u"Pat\tBrien\tO'Neil Steel"_s, u"Al\tZed\tAcme"_s}));

    // OK hands the chosen contact to the e-mail form through its keys.
    QStringList reopened;
    QObject::connect(form, &frmContactFM::reopenRequested, [&](const QString& name) { reopened << name; });
    pick(*form, u"Pat\tBrien\tO'Neil Steel"_s);
    form->cmdOK_Click();
    EXPECT_EQ(reopened, QStringList{u"frmEmail"_s});
    EXPECT_EQ(std::tuple(local(u"Email"_s, u"To Name"_s), local(u"Email"_s, u"To Address"_s), local(u"Email"_s, u"To Company"_s),
                         local(u"Fax"_s, u"Company Sort"_s)),
              std::tuple(u"Pat Brien"_s, QString(), u"O'Neil Steel"_s, u"N"_s));

    // Fax mode, sorted by company; an unsaved change is offered for saving.
    auto* fax = new frmContactFM(s, u"Fax"_s);
    child<QCheckBox>(fax, "cboSort")->click();
    EXPECT_EQ(rows(*fax), (QStringList{u"Al\tZed\tAcme"_s, u"Pat\tBrien\tO'Neil Steel"_s}));
    pick(*fax, u"Al\tZed\tAcme"_s);
    fax->cmdOK_Click();
    EXPECT_EQ(std::pair(local(u"Fax"_s, u"To #"_s), local(u"Fax"_s, u"Company Sort"_s)), std::pair(u"555-0100"_s, u"Y"_s));
    fax = new frmContactFM(s, u"Fax"_s);
    pick(*fax, u"Al\tZed\tAcme"_s);
    child<QLineEdit>(fax, "txtNo")->setText(u"555-0199"_s);
    site.prompter().clear(), site.prompter().answer(Answer::Yes);
    fax->close();
    EXPECT_EQ(site.prompter().titles(), QStringList{u"Save Changes"_s});
    s.contact = ContactRecord{u"Zed"_s, u"Al"_s, u"Acme"_s, {}, {}};
    ASSERT_TRUE(ReadContact(s));
    EXPECT_EQ(s.contact.faxNumber, u"555-0199"_s);
}

// The test message goes out off the interface thread; its conversation
// fills txtStatus line by line, and a server that never answers ends in a
// failure line instead of a frozen window.
TEST_P(EmailForms, TestMessageShowsTheConversation)
{
    if (GetParam() != Engine::Sqlite)
        GTEST_SKIP() << "needs no database";
    SmtpTestServer server({}), silent({.silent = true});
    ASSERT_TRUE(server.start() && silent.start());
    Session& s = site.session();
    for (auto [key, value] : {std::pair{u"EmailServer"_s, u"127.0.0.1"_s}, {u"ServerPort"_s, QString::number(server.port())}})
        PutLocal(s, u"Email"_s, key, value);
    auto* form = new frmEtest(s);
    for (auto [box, value] : {std::pair{"txtFName", u"QA"_s}, {"txtFAddress", u"qa@example.com"_s}, {"txtTAddress", u"it@example.com"_s}})
        child<QLineEdit>(form, box)->setText(value);
    auto* status = child<QPlainTextEdit>(form, "txtStatus");
    int ticks = 0, linesSeenDuringSend = 0;
    QTimer timer;
    QObject::connect(&timer, &QTimer::timeout, [&] { ++ticks, linesSeenDuringSend = std::max(linesSeenDuringSend, int(status->blockCount())); });
    timer.start(1);
    form->cmdSend_Click();
    const QStringList lines = status->toPlainText().split(u'\n');
    EXPECT_TRUE(lines.contains(u"250 Message accepted for delivery"_s)) << status->toPlainText().toStdString();
    EXPECT_EQ(std::pair(lines.value(0), lines.last()),
              std::pair(u"Connecting to 127.0.0.1 port %1"_s.arg(server.port()), u"Send successfull - check recipient's mail box"_s));
    EXPECT_TRUE(ticks > 0 && linesSeenDuringSend > 1) << ticks << ' ' << linesSeenDuringSend;
    EXPECT_EQ(std::pair(server.messages().size(), local(u"Email"_s, u"TestToAddress"_s)), std::pair(qsizetype(1), u"it@example.com"_s));

    form->serverSettings = [&] {
        SmtpSettings settings = EmailServerSettings(s);
        settings.port = QString::number(silent.port());
        settings.responseTimeout = std::chrono::seconds(1), settings.totalTimeout = std::chrono::seconds(2);
        return settings;
    };
    form->cmdSend_Click();
    EXPECT_TRUE(status->toPlainText().section(u'\n', -1).startsWith(u"Send failed - no answer from 127.0.0.1"_s))
        << status->toPlainText().toStdString();
    form->close();
}

TARLOX_ON_BOTH_ENGINES(EmailForms);

namespace {

class EmailForm : public SiteTest {
protected:
    void SetUp() override
    {
        SiteTest::SetUp();
        ASSERT_TRUE(server.start());
        for (auto [section, key, value] : {std::tuple{u"Email"_s, u"EmailServer"_s, u"127.0.0.1"_s}, {u"Email"_s, u"ServerPort"_s, QString::number(server.port())},
                                           {u"Email"_s, u"From Address"_s, u"qa@example.com"_s}, {u"Interface"_s, u"AddMessage"_s, u"True"_s}})
            PutLocal(site.session(), section, key, value);
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
    SmtpTestServer server{{}};
    QStringList paths;
};

}  // namespace

TEST_P(EmailForm, QueueSendsTogetherAndOnlyASuccessfulSendClearsIt)
{
    frmEmail* form = open(7);
    child<QLineEdit>(form, "txtPages")->setText(u"1-2"_s);
    EXPECT_TRUE(!form->txtPages_Validate() && site.prompter().wasAsked(u"Invalid Pages"_s));
    child<QLineEdit>(form, "txtPages")->setText(u"2"_s);
    child<QLineEdit>(form, "txtHeat")->setText(u"H-77"_s);
    form->cmdQueue_Click();
    EXPECT_EQ(queued(), paths[0] + u";2"_s);

    // Opened for the queue alone, then with a second image: an empty address is refused.
    form = open(0);
    EXPECT_EQ(std::pair(child<QPlainTextEdit>(form, "txtStatus")->toPlainText(), child<QLineEdit>(form, "txtPages")->isEnabled()),
              std::pair(u"There is 1 file queued to email"_s, false));
    form->close();
    form = open(8);
    form->cmdEmail_Click();
    EXPECT_TRUE(site.prompter().wasAsked(u"Email"_s));
    child<QLineEdit>(form, "txtToAddress")->setText(u"buyer@example.com"_s);
    child<QLineEdit>(form, "txtSubject")->setText(u"Two reports"_s);

    // A failed send keeps both images queued and says so.
    const QString port = QString::number(server.port());
    PutLocal(site.session(), u"Email"_s, u"ServerPort"_s, u"1"_s);
    site.prompter().clear(), site.prompter().answer(Answer::Yes);
    sendAndWait(form);
    EXPECT_EQ(site.prompter().titles(), (QStringList{u"Email Queued Images?"_s, u"Email"_s}));
    const QString failed = site.prompter().textOf(u"Email"_s);
    EXPECT_TRUE(failed.startsWith(u"Your attempt to send mail failed for the following reason: \ncan't connect"_s)
                && failed.contains(u"There are 2 files queued to email"_s)) << failed.toStdString();
    EXPECT_EQ(std::pair(queued(), ReadIniValue(site.localIni(), u"Email"_s, u"To Address"_s).value),
              std::pair(QString(paths[0] + u";2;"_s + paths[1] + u";All"_s), u"buyer@example.com"_s));

    // Sent: both reports, prepared (message fields are on), the temporary files gone, the queue empty.
    PutLocal(site.session(), u"Email"_s, u"ServerPort"_s, port);
    form = open(0);
    site.prompter().clear();
    sendAndWait(form);
    EXPECT_TRUE(site.prompter().asked().isEmpty()) << site.prompter().titles().join(u',').toStdString();
    ASSERT_EQ(std::pair(queued(), server.messages().size()), std::pair(QString(), qsizetype(1)));
    // The attachments, written out under their names, and their pages.
    const QJsonObject mail = ReadMail(server.messages()[0], site.path(u"."_s));
    EXPECT_EQ(std::tuple(mail[u"to"_s].toString(), mail[u"subject"_s].toString(), mail[u"files"_s].toArray().size(), GetPages(site.path(u"TM000007_1.TIF"_s)),
                         GetPages(site.path(u"TM000008_2.TIF"_s)), QDir(site.session().tempDir).entryList(QDir::Files).filter(u"TM"_s)),
              std::tuple(u"buyer@example.com"_s, u"Two reports"_s, 2, 1, 3, QStringList()));
}

TARLOX_ON_BOTH_ENGINES(EmailForm);
