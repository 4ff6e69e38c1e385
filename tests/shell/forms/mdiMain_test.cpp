#include "shell/forms/mdiMain.h"

#include "base/IniFile.h"
#include "base/forms/ChildMenus.h"
#include "base/forms/FormLayout.h"
#include "data/FormGeometry.h"
#include "data/Settings.h"
#include "data/UserData.h"
#include "output/FaxSettings.h"
#include "shell/forms/DropDownToolButton.h"
#include "shell/forms/HelpWindow.h"
#include "support/FaxTestServer.h"
#include "support/SaneTestBackend.h"
#include "support/TestSite.h"
#include "view/forms/ViewerCommands.h"
#include <QApplication>
#include <QCloseEvent>
#include <QDialog>
#include <QMdiArea>
#include <QMdiSubWindow>
#include <QMenuBar>
#include <QSignalSpy>
#include <QStatusBar>
#include <QTest>
#include <QTextBrowser>
#include <QToolBar>

#include <gtest/gtest.h>

using namespace tarlox;
using namespace tarlox::test;
using namespace Qt::StringLiterals;

namespace {

// SANE reads its configuration once per process: no backend at all, so
// this program finds no scanner (FrameScanner_test finds one).
const QString SaneDir = UseNoScanners();

QStringList namesOf(const QList<QAction*>& actions, bool (*keep)(QAction*))
{
    QStringList names;
    for (QAction* a : actions)
        if (keep(a))
            names << a->objectName();
    return names;
}

class TestForm : public QWidget {
public:
    TestForm(Session&, mdiMain&) { resize(300, 200); }
    bool refuseClose = false;

protected:
    void closeEvent(QCloseEvent* event) override { refuseClose ? event->ignore() : QWidget::closeEvent(event); }
};

class TestViewer : public QWidget, public ViewerCommands, public ChildMenus {
public:
    TestViewer(Session&, mdiMain&)
    {
        resize(320, 240);
        for (const char* name : {"viewerFile", "mnuWindow"})
            bar.addMenu(QLatin1String(name))->menuAction()->setObjectName(QLatin1String(name));
    }
    QList<QMenu*> framedMenus() const override { return {bar.actions().first()->menu()}; }
    void showOwnMenuBar(bool shown) override { bar.setVisible(shown); }
    QMenuBar bar{this};
    void RectangleCommand() override { calls << u"Rectangle"_s; }
    void StampCommand() override { calls << u"Stamp"_s; }
    void LineCommand() override { calls << u"Line"_s; }
    void ViewCommand() override { calls << u"View"_s; }
    QString activeTool() const override { return calls.isEmpty() ? u"View"_s : calls.back(); }
    QStringList calls;
};

struct TestDialog : QDialog {
    TestDialog(Session&, mdiMain&) {}
};

FormRegistry testForms()
{
    FormRegistry forms;
    for (const char* name : {"frmScan", "frmBatch", "frmBarcode", "frmFind"})
        forms.child<TestForm>(QLatin1String(name));
    forms.child<TestViewer>(u"frmView"_s);
    forms.dialog<TestDialog>(u"frmVTRec"_s);
    return forms;
}

class Frame : public ::testing::Test {
protected:
    void SetUp() override
    {
        ASSERT_TRUE(site.start());
        frame = std::make_unique<mdiMain>(site.session(), testForms());
        frame->move(10, 10);
        frame->show();
        ASSERT_TRUE(QTest::qWaitForWindowExposed(frame.get()));
        frame->ChildUnload(nullptr);
    }
    void TearDown() override { frame.reset(), QTest::qWait(1); }

    QMdiSubWindow* windowOf(QWidget* form) { return qobject_cast<QMdiSubWindow*>(FormWindowOf(form)); }
    int openChildren() const { return static_cast<int>(frame->mdiArea()->subWindowList().size()); }
    bool isStrip() const { return frame->size() == frame->stripSize(); }
    QSize room() const { return frame->mdiArea()->contentsRect().size(); }

    TestSite site;
    std::unique_ptr<mdiMain> frame;
};

}  // namespace

TEST_F(Frame, WithNoChildItIsAStripOfMenusAndToolbar)
{
    EXPECT_TRUE(QTest::qWaitFor([&] { return isStrip(); }));
    // Title, menus, toolbar and status bar, and no room for children.
    EXPECT_EQ(std::tuple(frame->width(), frame->height(), frame->mdiArea()->geometry().intersected(frame->rect()).isEmpty()),
              std::tuple(std::max(TwipsToPixels(StripWidthTwips), frame->toolbar()->sizeHint().width()),
                         frame->menuBar()->height() + frame->toolbar()->height() + frame->statusBar()->height(), true));
    // The File menu's commands stand in their order.
    EXPECT_EQ(namesOf(frame->menuBar()->actions().first()->menu()->actions(), [](QAction* a) { return !a->isSeparator(); }).join(u' '), u"mnuOpen mnuScan mnuBatch mnuBarcode mnuFind mnuPrint mnuList mnuFax mnuAscii mnuPack mnuImport mnuImportTif "
                               "mnuUpdate mnuRepair mnuSrvSetup mnuSetup mnuExit"_s);
}

TEST_F(Frame, GrowsToHoldAChildAndTurnsBackIntoTheStripWhenItCloses)
{
    QMdiSubWindow* window = windowOf(frame->ShowForm(u"frmScan"_s));
    ASSERT_TRUE(window);
    // Straight from the strip the frame already holds the child as it opened.
    ASSERT_TRUE(QTest::qWaitFor([&] { return room().width() >= window->geometry().right() + 1; }));
    EXPECT_GE(room().height(), window->geometry().bottom() + 1);
    // A child of 6,000 by 4,000 twips at the origin.
    window->setGeometry(0, 0, TwipsToPixels(6000), TwipsToPixels(4000));
    frame->ChildLoad(window);
    ASSERT_TRUE(QTest::qWaitFor([&] { return room().width() >= 400 && room().height() >= 267; }))
        << room().width() << "x" << room().height();
    EXPECT_EQ(window->geometry(), QRect(0, 0, 400, 267));

    // A child that stands partly above or left of the room is moved in.
    window->move(-30, -20);
    frame->ChildLoad(window);
    EXPECT_EQ(window->pos(), QPoint(0, 0));

    // A child taller than the screen: the frame stops at the screen and the
    // child shrinks to the room, so its bottom edge stays within reach.
    const QSize screen = frame->screen()->availableSize();
    window->setGeometry(0, 0, 300, screen.height() + 400);
    frame->ChildLoad(window);
    ASSERT_TRUE(QTest::qWaitFor([&] { return frame->height() <= screen.height() && window->geometry().bottom() < room().height(); }))
        << frame->height() << " " << window->geometry().bottom() << " " << room().height();
    EXPECT_EQ(window->width(), 300);

    window->close();
    EXPECT_TRUE(QTest::qWaitFor([&] { return openChildren() == 0 && isStrip(); }));
}

TEST_F(Frame, MaximizedFrameBecomesTheStripAndTheNextChildMaximizesItAgain)
{
    QWidget* form = frame->ShowForm(u"frmScan"_s);
    frame->showMaximized();
    ASSERT_TRUE(QTest::qWaitFor([&] { return frame->isMaximized(); }));
    windowOf(form)->close();
    ASSERT_TRUE(QTest::qWaitFor([&] { return openChildren() == 0; }));
    EXPECT_TRUE(!frame->isMaximized() && QTest::qWaitFor([&] { return isStrip(); }));

    frame->ShowForm(u"frmBatch"_s);
    EXPECT_TRUE(QTest::qWaitFor([&] { return frame->isMaximized(); }));

    // Restored by hand while a child is open, it stays normal for the next child.
    frame->showNormal();
    ASSERT_TRUE(QTest::qWaitFor([&] { return !frame->isMaximized(); }));
    frame->ShowForm(u"frmFind"_s);
    QTest::qWait(20);
    EXPECT_FALSE(frame->isMaximized());
}

TEST_F(Frame, ScanTwiceRaisesTheOneWindowAndRestoresItWhenMinimized)
{
    site.session().machine.scanner = true;
    frame->MDIForm_Activate();
    QAction* scan = frame->toolbarButton(u"Scan"_s);
    ASSERT_TRUE(scan->isVisible());
    scan->trigger();
    frame->ShowForm(u"frmFind"_s);
    scan->trigger();
    ASSERT_EQ(openChildren(), 2);
    QMdiSubWindow* scanWindow = frame->mdiArea()->currentSubWindow();
    EXPECT_EQ(scanWindow->widget()->objectName(), u"frmScan"_s);

    scanWindow->showMinimized();
    frame->ShowForm(u"frmFind"_s);
    frame->menuEntry(u"mnuScan"_s)->trigger();
    EXPECT_EQ(std::tuple(openChildren(), scanWindow->isMinimized(), frame->mdiArea()->currentSubWindow()), std::tuple(2, false, scanWindow));
}

TEST_F(Frame, CommandsWithoutTheirFormOrDeviceAreGreyAndHaveNoButton)
{
    frame->MDIForm_Activate();
    for (const auto& [entry, button, on] : {std::tuple{"mnuBatch", "Batch", true}, {"mnuList", "List", false}, {"mnuFax", "Fax", false}})
        EXPECT_EQ(std::pair(frame->menuEntry(QLatin1String(entry))->isEnabled(), frame->toolbarButton(QLatin1String(button))->isVisible()), std::pair(on, on)) << entry;
    for (const char* entry : {"mnuPrint", "mnuAscii", "mnuImport", "mnuUpdate", "mnuChange", "mnuAbout"})
        EXPECT_FALSE(frame->menuEntry(QLatin1String(entry))->isEnabled()) << entry;

    // The program's own list today: no command may open an empty window.
    mdiMain bare(site.session());
    bare.MDIForm_Activate();
    const QWidgetList before = QApplication::topLevelWidgets();
    for (const char* entry : {"mnuScan", "mnuPrint", "mnuFax"}) {
        QAction* action = bare.menuEntry(QLatin1String(entry));
        EXPECT_FALSE(action->isEnabled()) << entry;
        action->trigger();
    }
    EXPECT_EQ((std::tuple{bare.ShowForm(u"frmNoSuchForm"_s), bare.mdiArea()->subWindowList().size(), QApplication::topLevelWidgets().size()}),
              std::tuple(static_cast<QWidget*>(nullptr), 0, before.size()));
}

TEST_F(Frame, ViewerButtonsShowOnlyWhileAViewerIsActiveAndWorkOnIt)
{
    for (const char* key : {"Rectangle", "Stamp", "Line", "View"})
        EXPECT_FALSE(frame->toolbarButton(QLatin1String(key))->isVisible()) << key;

    auto* first = dynamic_cast<TestViewer*>(frame->ShowInstance(u"frmView"_s));
    auto* second = dynamic_cast<TestViewer*>(frame->ShowInstance(u"frmView"_s));
    ASSERT_TRUE(first && second);
    EXPECT_TRUE(frame->toolbarButton(u"Line"_s)->isVisible());

    // The pressed button is the active viewer's tool.
    const auto checked = [&] {
        QStringList on;
        for (const char* key : {"Rectangle", "Stamp", "Line", "View"})
            if (frame->findChild<QAction*>(QLatin1String(key))->isChecked())
                on << QLatin1String(key);
        return on.join(QLatin1Char(','));
    };
    const auto press = [&](const QString& key) { return frame->findChild<QAction*>(key)->trigger(), checked(); };
    const auto activate = [&](TestViewer* viewer) { return frame->mdiArea()->setActiveSubWindow(windowOf(viewer)), checked(); };
    EXPECT_EQ((QStringList{checked(), press(u"Rectangle"_s), activate(first), activate(second), press(u"View"_s)}),
              (QStringList{u"View"_s, u"Rectangle"_s, u"View"_s, u"Rectangle"_s, u"View"_s}));
    EXPECT_EQ(std::tuple(second->calls, first->calls, frame->currentChild()), std::tuple(QStringList{u"Rectangle"_s, u"View"_s}, QStringList(), second));

    // The arrow beside Rectangle opens its properties at once, modal.
    auto* button = frame->toolbar()->findChild<DropDownToolButton*>(u"Rectangle"_s);
    ASSERT_TRUE(button);
    frame->mdiArea()->setActiveSubWindow(windowOf(first));
    QTest::mouseClick(button, Qt::LeftButton, {}, QPoint(button->width() - 3, button->height() / 2));
    QWidget* properties = frame->findChild<QDialog*>(u"frmVTRec"_s);
    ASSERT_TRUE(properties);
    EXPECT_EQ(std::tuple(properties->windowModality(), frame->currentChild(), first->calls.size()), std::tuple(Qt::ApplicationModal, first, 0));
    properties->close();
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);

    // Stamp and Line have no properties dialog in this build: nothing to open.
    QAction* stampProperties = frame->findChild<QAction*>(u"StampProperties"_s);
    EXPECT_FALSE(stampProperties->isEnabled());
    stampProperties->trigger();
    EXPECT_EQ(frame->findChildren<QDialog*>().size(), 0);

    // The viewer's menus stand in the frame's bar in place of the frame's own;
    // Window and Help stay the frame's.
    const auto shownMenus = [&] { return namesOf(frame->menuBar()->actions(), [](QAction* a) { return a->isVisible(); }); };
    EXPECT_EQ(std::pair(shownMenus(), first->bar.isVisibleTo(first)), std::pair(QStringList{u"viewerFile"_s, u"mnuWindow"_s, u"mnuMainHelp"_s}, false));

    frame->ShowForm(u"frmScan"_s);
    EXPECT_EQ(std::tuple(shownMenus().first(), shownMenus().contains(u"viewerFile"_s), frame->toolbarButton(u"Rectangle"_s)->isVisible(),
                         frame->findChild<QAction*>(u"Rectangle"_s)->isEnabled()),
              std::tuple(u"mnuFile"_s, false, false, false));
}

TEST_F(Frame, WindowMenuArrangesTheChildren)
{
    frame->resize(800, 600);
    ASSERT_TRUE(QTest::qWaitFor([&] { return room().width() > 600; }));
    QMdiSubWindow* a = windowOf(frame->ShowForm(u"frmScan"_s));
    QMdiSubWindow* b = windowOf(frame->ShowForm(u"frmFind"_s));
    const QSize r = room();

    const auto arrange = [&](const QString& entry) { return frame->menuEntry(entry)->trigger(), std::pair(a->geometry(), b->geometry()); };
    EXPECT_EQ(arrange(u"mnuWindowVertical"_s).second.left(), r.width() / 2);
    EXPECT_EQ(arrange(u"mnuWindowHorizontal"_s).first, QRect(0, 0, r.width(), r.height() / 2));
    const auto cascaded = arrange(u"mnuWindowCascade"_s);
    EXPECT_NE(cascaded.first.topLeft(), cascaded.second.topLeft());

    // Expand fills the frame with each sizable child in its normal state.
    b->setFixedSize(b->size());
    const auto [expanded, fixed] = arrange(u"mnuWindowExpand"_s);
    EXPECT_EQ(std::pair(expanded, fixed == QRect(QPoint(0, 0), r)), std::pair(QRect(QPoint(0, 0), r), false));

    b->setMinimumSize(0, 0);
    b->setMaximumSize(QWIDGETSIZE_MAX, QWIDGETSIZE_MAX);
    a->showMinimized();
    b->showMinimized();
    frame->menuEntry(u"mnuWindowArrange"_s)->trigger();
    EXPECT_EQ(std::pair(b->geometry().bottom(), b->geometry().left()), std::pair(r.height() - 1, a->geometry().right() + 1));
}

// The first time the form closes itself and takes its window along.
TEST_F(Frame, ChildrenComeBackAtTheirSavedPlaceAndState)
{
    frame->resize(900, 700);
    QWidget* form = frame->ShowForm(u"frmScan"_s);
    windowOf(form)->setGeometry(30, 40, 450, 300);
    form->close();
    ASSERT_TRUE(QTest::qWaitFor([&] { return openChildren() == 0 && isStrip(); }));
    const auto saved = [&] {
        return QStringList{ReadIniValue(site.localIni(), u"Form"_s, u"frmScanState"_s).value, ReadIniValue(site.localIni(), u"Form"_s, u"frmScanWidth"_s).value};
    };
    EXPECT_EQ(saved(), (QStringList{u"0"_s, u"6750"_s}));

    QMdiSubWindow* window = windowOf(frame->ShowForm(u"frmScan"_s));
    EXPECT_EQ(window->geometry(), QRect(30, 40, 450, 300));
    window->showMaximized();
    window->close();
    ASSERT_TRUE(QTest::qWaitFor([&] { return openChildren() == 0; }));
    EXPECT_TRUE(saved() == QStringList({u"2"_s, u"6750"_s}) && windowOf(frame->ShowForm(u"frmScan"_s))->isMaximized());
}

TEST_F(Frame, AChildRememberedOffTheScreenOpensInsideTheFrame)
{
    // Kept on a larger screen, or at another scaling: (3000, 2000) pixels.
    for (const auto& [key, value] : {std::pair{"frmScanLeft", "45000"}, {"frmScanTop", "30000"}, {"frmScanWidth", "6750"},
                                     {"frmScanHeight", "4500"}, {"frmScanState", "0"}})
        PutLocal(site.session(), u"Form"_s, QLatin1String(key), QLatin1String(value));
    QMdiSubWindow* window = windowOf(frame->ShowForm(u"frmScan"_s));
    // Grown to hold the child, not to reach its old place.
    EXPECT_EQ(window->size(), QSize(450, 300));
    EXPECT_TRUE(frame->width() <= window->width() + 40 && frame->height() <= window->height() + 120) << frame->width() << "x" << frame->height();
    EXPECT_TRUE(QRect(QPoint(0, 0), room()).contains(window->geometry())) << window->geometry().x() << "," << window->geometry().y();
}

// Help opens at its index, search and changes; Exit closes the children and the help.
TEST_F(Frame, HelpOpensAtItsEntriesAndExitClosesEveryChildUnlessOneRefuses)
{
    frame->menuEntry(u"mnuIndex"_s)->trigger();
    HelpWindow* help = frame->helpWindow();
    ASSERT_TRUE(help && help->currentEntry() == HelpWindow::Entry::Index);
    frame->menuEntry(u"mnuSearch"_s)->trigger();
    EXPECT_EQ(std::tuple(frame->helpWindow(), help->currentEntry()), std::tuple(help, HelpWindow::Entry::Search));
    frame->menuEntry(u"mnuChgs"_s)->trigger();
    EXPECT_EQ(std::tuple(help->browser()->source().path(), help->browser()->toPlainText().contains(u"Version 8.00"_s)), std::tuple(u"/manual/changes.html"_s, true));

    auto* stubborn = static_cast<TestForm*>(frame->ShowForm(u"frmScan"_s));
    frame->ShowForm(u"frmFind"_s);
    stubborn->refuseClose = true;
    frame->menuEntry(u"mnuExit"_s)->trigger();
    EXPECT_TRUE(frame->isVisible() && QTest::qWaitFor([&] { return openChildren() == 1; }));

    stubborn->refuseClose = false;
    frame->ShowHelp(HelpWindow::Entry::Contents);
    frame->menuEntry(u"mnuExit"_s)->trigger();
    EXPECT_EQ(std::tuple(frame->isVisible(), frame->helpWindow()->isVisible()), std::tuple(false, false));
}

TEST_F(Frame, OpenSwitchesToAnotherConfigurationWithoutARestart)
{
    TestSite other;
    other.create();
    site.prompter().answerFile(other.localIni()), frame->menuEntry(u"mnuOpen"_s)->trigger();
    EXPECT_EQ(std::tuple(site.session().dataBase, frame->isVisible()), std::tuple(other.path(u"server/Tarlox.db"_s), true));

    // Cancelling the dialog reads the program directory's own file again.
    frame->menuEntry(u"mnuOpen"_s)->trigger();
    EXPECT_EQ(site.session().dataBase, site.path(u"server/Tarlox.db"_s));

    // A configuration whose server can't be reached: Cancel ends the program.
    QFile::remove(other.serverIni());
    site.prompter().answerFile(other.localIni()), site.prompter().answer(Answer::Cancel), frame->menuEntry(u"mnuOpen"_s)->trigger();
    EXPECT_EQ(std::tuple(site.prompter().wasAsked(u"Invalid Server Information File"_s), frame->isVisible()), std::tuple(true, false));
}

class FrameScanner : public Frame {};

TEST_F(FrameScanner, LoadRecordsLoginAndThatNoScannerIsThere)
{
    site.session().machine.scanner = true;
    QSignalSpy checked(frame.get(), &mdiMain::scannerChecked);
    frame->MDIForm_Load();
    ASSERT_TRUE(checked.wait(30000));
    EXPECT_EQ(std::tuple(checked.first().first().toBool(), frame->menuEntry(u"mnuScan"_s)->isEnabled(), frame->toolbarButton(u"Scan"_s)->isVisible()),
              std::tuple(false, false, false));

    const QDateTime login = site.session().machine.lastLogin;
    ASSERT_TRUE(login.isValid() && ReadUser(site.session(), QString()));
    EXPECT_EQ(std::pair(site.session().machine.scanner, qAbs(site.session().machine.lastLogin.secsTo(login)) <= 1), std::pair(false, true));
}

// Fax is offered where a fax server answers, with or without a modem.
TEST(FrameFax, FaxCommandFollowsTheFaxServersAnswer)
{
    FaxTestServer* server = FaxTestServer::Get();
    if (!server)
        GTEST_SKIP() << FaxTestServer::skipReason().toStdString();
    TestSite site;
    ASSERT_TRUE(site.start());
    FormRegistry forms = testForms();
    forms.child<TestForm>(u"frmFaxct"_s);
    const struct { QString address; bool offered; const char* text; } rows[] = {{u"127.0.0.1:%1"_s.arg(ClosedPort()), false, "no fax server: "}, {server->address(), true, "0 fax device(s) found"}};
    for (const auto& row : rows) {
        PutLocal(site.session(), fax::Section, fax::FaxServer, row.address);
        mdiMain frame(site.session(), forms);
        QSignalSpy checked(&frame, &mdiMain::faxChecked);
        frame.MDIForm_Load();
        ASSERT_TRUE(checked.wait(20000));
        EXPECT_EQ(std::tuple(frame.faxAvailable(), frame.menuEntry(u"mnuFax"_s)->isEnabled(), frame.toolbarButton(u"Fax"_s)->isVisible()),
                  std::tuple(row.offered, row.offered, row.offered));
        EXPECT_TRUE(frame.faxDeviceText().startsWith(QLatin1String(row.text))) << frame.faxDeviceText().toStdString();
    }
}

TEST(FrameServer, RepairIsNotOfferedForTheServerDatabase)
{
    TestSite site(Engine::Postgres);
    ASSERT_TRUE(site.start());
    mdiMain frame(site.session(), testForms());
    frame.MDIForm_Activate();
    EXPECT_FALSE(frame.menuEntry(u"mnuRepair"_s)->isEnabled());
}

TEST(Manual, HasItsChaptersIndexAndSearchAndNoBrokenLinks)
{
    HelpWindow help;
    const HelpBook& book = help.book();
    QStringList chapters;
    for (const HelpTopic& t : book.contents())
        if (t.level == 0)
            chapters << t.title;
    EXPECT_EQ(chapters, (QStringList{u"Starting Tarlox"_s, u"The main window"_s, u"Scanning"_s, u"Adding documents in batch"_s, u"Barcoded Reports"_s, u"Finding test reports"_s, u"Listings and Updates"_s, u"Viewing"_s, u"Printing and Sending"_s, u"Annotating"_s, u"Exchanging reports"_s, u"Faxing"_s, u"Administration"_s, u"Changes"_s}));
    EXPECT_TRUE(book.brokenLinks().isEmpty()) << book.brokenLinks().join(QLatin1Char('\n')).toStdString();

    const auto indexHas = [&](const QString& keyword, const QString& url) {
        return std::any_of(book.index().begin(), book.index().end(), [&](const HelpKeyword& k) { return k.keyword == keyword && k.url == url; });
    };
    EXPECT_TRUE(indexHas(u"TARLOX.INI"_s, u"startup.html#local-settings"_s));
    EXPECT_TRUE(std::is_sorted(book.index().begin(), book.index().end(), [](const HelpKeyword& a, const HelpKeyword& b) {
        return a.keyword.compare(b.keyword, Qt::CaseInsensitive) < 0;
    }));

    EXPECT_EQ(book.search(u"odb NDB"_s).value(0).url, u"mainwindow.html#repair"_s);
    // The manual says that programs are not copied to the server directory.
    const QList<HelpTopic> copy = book.search(u"not copied server directory"_s);
    EXPECT_TRUE(std::any_of(copy.begin(), copy.end(), [](const HelpTopic& t) { return t.url == QLatin1String("startup.html#versions"); })
                && book.search(u"zebra quantum"_s).isEmpty());
}
