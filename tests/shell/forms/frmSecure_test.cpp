#include "shell/forms/frmSecure.h"

#include "data/OptionsData.h"
#include "data/UserData.h"
#include "shell/forms/frmAbout.h"
#include "base/IniFile.h"
#include "support/TestSite.h"
#include "support/FormControls.h"
#include "support/SystemTexts.h"

#include <QAbstractButton>
#include <QApplication>
#include <QClipboard>
#include <QLabel>
#include <QLineEdit>
#include <QMimeData>
#include <QRadioButton>
#include <QTabWidget>
#include <QTableWidget>
#include <QTextDocument>
#include <QTimer>

#include <gtest/gtest.h>

using namespace tarlox;
using namespace tarlox::test;

namespace {

class ServerScreen : public ::testing::Test {
protected:
    void SetUp() override { ASSERT_TRUE(site.start()); }
    TestSite site;
};

// A machine without its row: the screen opens modal at the start.
class NewMachineScreen : public ::testing::Test {
protected:
    void SetUp() override { site.create(); }
    TestSite site;
};

}  // namespace

TEST_F(ServerScreen, ShowsWhatIsInForceKeepsItsOwnMachineAndOffersToSave)
{
    frmSecure screen(site.session());
    ASSERT_TRUE(screen.loaded());
    const auto on = [&](const char* name) { return child<QWidget>(screen, name)->isEnabled(); };
    EXPECT_EQ(std::tuple(child<QLineEdit>(screen, "txtServerIni")->text(), child<QRadioButton>(screen, "optAccess")->isChecked(), child<QLineEdit>(screen, "txtDatabase")->text(),
                         on("fraSQL"), on("cmdUpdate"), child<QTableWidget>(screen, "grdUsers")->rowCount()),
              std::tuple(site.serverIni(), true, site.path(QStringLiteral("server/Tarlox.db")), false, false, 1));

    child<QRadioButton>(screen, "optSQL")->setChecked(true);
    EXPECT_EQ(std::tuple(on("fraAccess"), on("cmdUpdate")), std::tuple(false, true));
    child<QRadioButton>(screen, "optAccess")->setChecked(true);
    EXPECT_FALSE(on("cmdUpdate"));

    // The timeout is set back within its bounds (SettingsRules' table) on leaving the box.
    child<QLineEdit>(screen, "txtConnectionTimeout")->setText(QStringLiteral("500"));
    screen.txtConnectionTimeout_LostFocus();
    screen.grdUsers_DblClick(0);
    EXPECT_EQ(std::tuple(child<QLineEdit>(screen, "txtConnectionTimeout")->text(), site.prompter().wasAsked(QStringLiteral("Can't delete")),
                         child<QTableWidget>(screen, "grdUsers")->rowCount()),
              std::tuple(QStringLiteral("120"), true, 1));

    // Leaving the first tab offers to save.
    child<QLineEdit>(screen, "txtConnectionTimeout")->setText(QStringLiteral("17"));
    site.prompter().answer(Answer::Ok), child<QTabWidget>(screen, "tabMain")->setCurrentIndex(1);
    EXPECT_EQ(std::tuple(site.prompter().textOf(QStringLiteral("Save changes")), ReadIniValue(site.serverIni(), QStringLiteral("Data"), QStringLiteral("ConnectionTimeout")).value,
                         child<QAbstractButton>(screen, "cmdUpdate")->isEnabled()),
              std::tuple(texts::SaveChanges, QStringLiteral("17"), false));
}

TEST_F(ServerScreen, ClipboardHoldsPlainAndRichText)
{
    Session& s = site.session();
    s.options.companyName = QStringLiteral("Steel & <Co>");
    ASSERT_TRUE(UpdateOptions(s));
    frmSecure screen(s);
    screen.cmdClip_Click();
    const QMimeData* data = QGuiApplication::clipboard()->mimeData();
    ASSERT_TRUE(data && data->hasHtml());
    QTextDocument rich;
    rich.setHtml(data->html());
    EXPECT_EQ(std::tuple(data->hasFormat(QStringLiteral("text/rtf")), data->text().contains(QStringLiteral("Company Name = Steel & <Co>\r\n")),
                         data->text().contains(s.machine.machineName), rich.toPlainText().count(QStringLiteral("Steel & <Co>"))),
              std::tuple(true, true, true, 1));
}

TEST_F(NewMachineScreen, CancelEndsTheStartUpdateKeepsTheUser)
{
    Session& s = site.session();
    QTimer::singleShot(0, [] {
        if (auto* screen = qobject_cast<frmSecure*>(QApplication::activeModalWidget()))
            child<QAbstractButton>(screen, "cmdCancel")->click();
    });
    EXPECT_FALSE(StartSessionWithSetup(s, [&] { RunServerSetupForNewMachine(s, nullptr); }));

    bool result = false;
    // The person at the screen: types a name and presses Update.
    QTimer::singleShot(0, [&] {
        auto* screen = qobject_cast<frmSecure*>(QApplication::activeModalWidget());
        ASSERT_NE(screen, nullptr);
        EXPECT_TRUE(screen->newMachine() && !child<QAbstractButton>(screen, "cmdUpdate")->isEnabled());
        child<QLineEdit>(screen, "txtName")->setText(QStringLiteral("Clerk One"));
        EXPECT_TRUE(child<QAbstractButton>(screen, "cmdUpdate")->isEnabled());
        child<QAbstractButton>(screen, "cmdUpdate")->click();
    });
    EXPECT_TRUE(StartSessionWithSetup(s, [&] { result = RunServerSetupForNewMachine(s, nullptr); }));
    ASSERT_TRUE(result && ReadUser(s, QString()));
    EXPECT_EQ(s.machine.userName, QStringLiteral("Clerk One"));
}

TEST_F(ServerScreen, AboutShowsTheVersions)
{
    frmAbout about(site.session());
    QTableWidget* grid = child<QTableWidget>(about, "grdVersion");
    ASSERT_EQ(grid->rowCount(), 10);
    EXPECT_EQ((QStringList{grid->item(1, 0)->text(), grid->item(1, 1)->text(), child<QLabel>(about, "lblUser")->text()}),
              (QStringList{QStringLiteral("Qt"), QString::fromLatin1(qVersion()), site.session().machine.userName}));
}
