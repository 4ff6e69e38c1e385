#include "output/forms/frmContactFM.h"
#include "output/forms/frmEtest.h"
#include "output/EmailSend.h"

#include "base/IniFile.h"
#include "data/ContactData.h"
#include "data/Settings.h"
#include "support/FormControls.h"
#include "support/MailServers.h"
#include "support/TestSite.h"

#include <QCheckBox>
#include <QFile>
#include <QLineEdit>
#include <QListWidget>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QTimer>

#include <gtest/gtest.h>

using namespace tarlox;
using namespace tarlox::test;
using namespace Qt::Literals::StringLiterals;

namespace {

class EmailForms : public ::testing::TestWithParam<Engine> {
protected:
    EmailForms() : site(GetParam()) {}
    void SetUp() override { ASSERT_TRUE(site.start()); }

    QString local(const QString& section, const QString& key) { return ReadIniValue(site.localIni(), section, key).value; }
    static QStringList rows(frmContactFM& form)
    {
        QStringList texts;
        for (int i = 0; i < form.findChild<QListWidget*>(u"lstSearch"_s)->count(); ++i)
            texts << form.findChild<QListWidget*>(u"lstSearch"_s)->item(i)->text();
        return texts;
    }
    static void pick(frmContactFM& form, const QString& row)
    {
        auto* list = child<QListWidget>(form, "lstSearch");
        list->setCurrentItem(list->findItems(row, Qt::MatchExactly).value(0));
    }
    static void type(frmContactFM& form, const QStringList& values)
    {
        const char* names[] = {"txtComp", "txtLast", "txtFirst", "txtNo", "txtEmail"};
        for (int i = 0; i < values.size(); ++i)
            child<QLineEdit>(form, names[i])->setText(values[i]);
        form.CheckChange();
    }

    TestSite site;
};

}  // namespace

TEST_P(EmailForms, ContactsAreKeptByTheirThreeNamesAndEditedAsDeleteThenAdd)
{
    Session& s = site.session();
    auto* form = new frmContactFM(s, u"Email"_s);
    EXPECT_EQ(form->windowTitle(), u"Contact Maintenance"_s);
    auto* save = child<QPushButton>(form, "cmdSave");
    auto* remove = child<QPushButton>(form, "cmdDelete");

    // Apostrophes, and no fax number or address: only the names are required.
    type(*form, {u"O'Neil Steel"_s, u"O'Brien"_s, u"Pat"_s});
    EXPECT_TRUE(save->isEnabled() && save->isDefault());
    form->Save();
    form->Cancel();  // New
    type(*form, {u"Acme"_s, u"Zed"_s, u"Al"_s, u"555-0100"_s, u"al@acme.example"_s});
    form->Save();
    EXPECT_EQ(rows(*form), (QStringList{u"Pat\tO'Brien\tO'Neil Steel"_s, u"Al\tZed\tAcme"_s}));
    EXPECT_TRUE(form->haveContact() && !save->isEnabled() && remove->isEnabled());

    form->Cancel();
    type(*form, {QString(), u"Lone"_s});
    form->Save();
    EXPECT_EQ(site.prompter().textOf(u"Fields Missing"_s), u"First Name, Last Name and Company must not be blank"_s);
    EXPECT_EQ(rows(*form).size(), 2);

    // A new last name replaces the row; the address read back is empty, not a blank.
    pick(*form, u"Pat\tO'Brien\tO'Neil Steel"_s);
    EXPECT_EQ(child<QLineEdit>(form, "txtEmail")->text(), QString());
    EXPECT_FALSE(save->isEnabled());
    type(*form, {u"O'Neil Steel"_s, u"Brien"_s, u"Pat"_s});
    form->Save();
    EXPECT_EQ(rows(*form), (QStringList{u"Pat\tBrien\tO'Neil Steel"_s, u"Al\tZed\tAcme"_s}));

    // A new key that is taken: the form empties and the row as it was stays.
    type(*form, {u"Acme"_s, u"Zed"_s, u"Al"_s});
    site.prompter().clear();
    form->Save();
    EXPECT_FALSE(site.prompter().asked().isEmpty());
    EXPECT_FALSE(form->haveContact());
    EXPECT_EQ(child<QLineEdit>(form, "txtLast")->text(), QString());
    EXPECT_EQ(rows(*form).size(), 2);
    EXPECT_TRUE(rows(*form).contains(u"Pat\tBrien\tO'Neil Steel"_s));

    // OK hands the chosen contact to the e-mail form through its keys.
    QStringList reopened;
    QObject::connect(form, &frmContactFM::reopenRequested, [&](const QString& name) { reopened << name; });
    pick(*form, u"Pat\tBrien\tO'Neil Steel"_s);
    form->cmdOK_Click();
    EXPECT_EQ(reopened, QStringList{u"frmEmail"_s});
    EXPECT_EQ(local(u"Email"_s, u"To Name"_s), u"Pat Brien"_s);
    EXPECT_EQ(local(u"Email"_s, u"To Address"_s), QString());
    EXPECT_EQ(local(u"Email"_s, u"To Company"_s), u"O'Neil Steel"_s);
    EXPECT_EQ(local(u"Fax"_s, u"Company Sort"_s), u"N"_s);

    // Fax mode, sorted by company; an unsaved change is offered for saving.
    auto* fax = new frmContactFM(s, u"Fax"_s);
    child<QCheckBox>(fax, "cboSort")->click();
    EXPECT_EQ(rows(*fax), (QStringList{u"Al\tZed\tAcme"_s, u"Pat\tBrien\tO'Neil Steel"_s}));
    pick(*fax, u"Al\tZed\tAcme"_s);
    fax->cmdOK_Click();
    EXPECT_EQ(local(u"Fax"_s, u"To #"_s), u"555-0100"_s);
    EXPECT_EQ(local(u"Fax"_s, u"Company Sort"_s), u"Y"_s);
    fax = new frmContactFM(s, u"Fax"_s);
    pick(*fax, u"Al\tZed\tAcme"_s);
    child<QLineEdit>(fax, "txtNo")->setText(u"555-0199"_s);
    site.prompter().clear();
    site.prompter().answer(Answer::Yes);
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
    PutLocal(s, u"Email"_s, u"EmailServer"_s, u"127.0.0.1"_s);
    PutLocal(s, u"Email"_s, u"ServerPort"_s, QString::number(server.port()));
    auto* form = new frmEtest(s);
    EXPECT_EQ(form->windowTitle(), u"Test Email Settings"_s);
    child<QLineEdit>(form, "txtFName")->setText(u"QA"_s);
    child<QLineEdit>(form, "txtFAddress")->setText(u"qa@example.com"_s);
    child<QLineEdit>(form, "txtTAddress")->setText(u"it@example.com"_s);
    auto* status = child<QPlainTextEdit>(form, "txtStatus");
    int ticks = 0, linesSeenDuringSend = 0;
    QTimer timer;
    QObject::connect(&timer, &QTimer::timeout, [&] {
        ++ticks;
        linesSeenDuringSend = std::max(linesSeenDuringSend, int(status->blockCount()));
    });
    timer.start(1);
    form->cmdSend_Click();
    const QStringList lines = status->toPlainText().split(u'\n');
    EXPECT_EQ(lines.value(0), u"Connecting to 127.0.0.1 port %1"_s.arg(server.port()));
    EXPECT_TRUE(lines.contains(u"250 Message accepted for delivery"_s)) << status->toPlainText().toStdString();
    EXPECT_EQ(lines.last(), u"Send successfull - check recipient's mail box"_s);
    EXPECT_GT(ticks, 0);
    EXPECT_GT(linesSeenDuringSend, 1);
    EXPECT_EQ(server.messages().size(), 1);
    EXPECT_EQ(local(u"Email"_s, u"TestToAddress"_s), u"it@example.com"_s);

    form->serverSettings = [&] {
        SmtpSettings settings = EmailServerSettings(s);
        settings.port = QString::number(silent.port());
        settings.responseTimeout = std::chrono::seconds(1);
        settings.totalTimeout = std::chrono::seconds(2);
        return settings;
    };
    form->cmdSend_Click();
    EXPECT_TRUE(status->toPlainText().section(u'\n', -1).startsWith(u"Send failed - no answer from 127.0.0.1"_s))
        << status->toPlainText().toStdString();
    form->close();
}

INSTANTIATE_TEST_SUITE_P(Engines, EmailForms, testing::Values(Engine::Sqlite, Engine::Postgres), EngineParamName<testing::TestParamInfo<Engine>>);
