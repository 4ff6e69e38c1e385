#include "search/QuickFind.h"
#include "search/forms/frmFind.h"
#include "shell/forms/mdiMain.h"
#include "view/forms/frmView.h"

#include "data/Settings.h"
#include "search/SearchData.h"
#include "view/ViewerTestSupport.h"
#include "WidgetApplication.h"

#include <QAction>
#include <QLineEdit>
#include <QMdiArea>
#include <QStatusBar>
#include <QTest>

#include <gtest/gtest.h>

using namespace tarlox;
using namespace tarlox::test;

namespace {

const QString TagPattern = QStringLiteral("^HT(.+)/\\d+$");

TEST(QuickFindPattern, TrimsAScannedCodeToItsHeat)
{
    const struct {
        const char* text;
        QString pattern;
        const char* heat;
    } rows[] = {
        {" AB100 ", {}, "AB100"},                       // blank pattern: as typed, without blanks
        {"HTAB100/17", TagPattern, "AB100"},            // prefix and suffix of the tag
        {"AB100", TagPattern, "AB100"},                 // typed by hand: no match, as typed
        {"HT/17", TagPattern, "HT/17"},                 // an empty heat is no heat
        {"HTAB100/17", QStringLiteral("HT("), "HTAB100/17"},  // a broken pattern trims nothing
        {"X-CD200-Y", QStringLiteral("X-(\\w+)-"), "CD200"},
    };
    for (const auto& row : rows)
        EXPECT_EQ(HeatFromScan(QString::fromLatin1(row.text), row.pattern), QString::fromLatin1(row.heat)) << row.text;
    EXPECT_TRUE(QuickFindPatternProblem(QString()).isEmpty());
    EXPECT_TRUE(QuickFindPatternProblem(TagPattern).isEmpty());
    EXPECT_FALSE(QuickFindPatternProblem(QStringLiteral("HT(")).isEmpty());
    EXPECT_FALSE(QuickFindPatternProblem(QStringLiteral("HT.+")).isEmpty());  // no group
}

// A site with three reports: AB100 twice on report 7, CD200 on 8 and 9.
class QuickFindBox : public SiteTest {
protected:
    void SetUp() override
    {
        SiteTest::SetUp();
        const QDateTime day(QDate(2024, 3, 5), QTime(0, 0));
        for (const qint32 image : {7, 8, 9})
            ASSERT_FALSE(StoreReport(site, NumberedPages(2), image).isEmpty());
        ASSERT_TRUE(addRefs(s(), {{QStringLiteral("AB100"), QStringLiteral("P1"), {}, {}, {}, 7, day},
                                  {QStringLiteral("AB100"), QStringLiteral("P2"), {}, {}, {}, 7, day},
                                  {QStringLiteral("CD200"), QStringLiteral("P3"), {}, {}, {}, 8, day},
                                  {QStringLiteral("CD200"), QStringLiteral("P4"), {}, {}, {}, 9, day}},
                            false));
        s().draw.lineWidth = 2;
        frame = std::make_unique<mdiMain>(s());
        frame->show();
        frame->activateWindow();
        ASSERT_TRUE(QTest::qWaitForWindowActive(frame.get()));
        prompter().clear();
    }
    void TearDown() override { frame.reset(); }

    // Ctrl+F or F3 from where the focus is, then the keys a person or a
    // scanner types, and Enter.
    void enter(QKeyCombination shortcut, const QString& keys)
    {
        QTest::keyClick(QApplication::focusWidget() ? QApplication::focusWidget() : frame.get(), shortcut.key(), shortcut.keyboardModifiers());
        ASSERT_EQ(QApplication::focusWidget(), frame->quickFindBox());
        QTest::keyClicks(frame->quickFindBox(), keys);
        QTest::keyClick(frame->quickFindBox(), Qt::Key_Return);
    }
    int children() const { return static_cast<int>(frame->mdiArea()->subWindowList().size()); }

    std::unique_ptr<mdiMain> frame;
};

TEST_P(QuickFindBox, OneOpensTheViewerSeveralListInFindNoneSaysSo)
{
    const struct {
        const char* what;
        QKeyCombination shortcut;
        QString pattern;
        const char* keys;
        int image;    // the report in the viewer, or 0
        int listed;   // the references Find lists, or 0
    } rows[] = {
        {"typed, one report of two references", Qt::CTRL | Qt::Key_F, {}, "ab100", 7, 0},
        {"scanned, one report", Qt::Key_F3, TagPattern, "HTAB100/17", 7, 0},
        {"typed, two reports", Qt::Key_F3, TagPattern, "CD200", 0, 2},
        {"scanned, two reports", Qt::CTRL | Qt::Key_F, TagPattern, "HTCD200/3", 0, 2},
        {"typed, none", Qt::Key_F3, {}, "AB10", 0, 0},
        {"scanned, none", Qt::Key_F3, TagPattern, "HTZZ9/1", 0, 0},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.what);
        PutLocal(s(), section::Info, QStringLiteral("QuickFindPattern"), row.pattern);
        const int before = children();
        frame->statusBar()->clearMessage();
        ASSERT_NO_FATAL_FAILURE(enter(row.shortcut, QString::fromLatin1(row.keys)));
        QWidget* active = frame->activeForm();
        if (row.image) {
            auto* viewer = qobject_cast<frmView*>(active);
            ASSERT_TRUE(viewer);
            EXPECT_EQ(s().currentImage, row.image);
            // The first page comes with the viewer's first paint.
            EXPECT_TRUE(QTest::qWaitFor([&] { return viewer->document().pageCount() == 2; }));
        } else if (row.listed) {
            auto* find = qobject_cast<frmFind*>(active);
            ASSERT_TRUE(find);
            EXPECT_EQ(find->results().size(), row.listed);
            EXPECT_EQ(find->findChild<QLineEdit*>(QStringLiteral("txtHeat"))->text(), QStringLiteral("CD200"));
        } else {
            EXPECT_EQ(children(), before);
            EXPECT_TRUE(frame->statusBar()->currentMessage().contains(QString::fromLatin1(row.keys).mid(row.pattern.isEmpty() ? 0 : 2, 3)));
        }
        EXPECT_TRUE(prompter().asked().isEmpty());
        // The next shortcut starts from the child now active.
        if (active)
            active->setFocus();
    }
}

TEST_P(QuickFindBox, ThePressedToolFollowsTheViewer)
{
    PutLocal(s(), section::Info, QStringLiteral("QuickFindPattern"), QString());
    ASSERT_NO_FATAL_FAILURE(enter(Qt::Key_F3, QStringLiteral("AB100")));
    auto* viewer = qobject_cast<frmView*>(frame->activeForm());
    ASSERT_TRUE(viewer);
    const auto pressed = [&] {
        for (const char* key : {"Rectangle", "Stamp", "Line", "View"})
            if (frame->findChild<QAction*>(QLatin1String(key))->isChecked())
                return QString::fromLatin1(key);
        return QString();
    };
    EXPECT_EQ(pressed(), QStringLiteral("View"));
    // The viewer changes its tool by itself, not through the toolbar.
    viewer->LineCommand();
    EXPECT_EQ(pressed(), QStringLiteral("Line"));
    viewer->ViewCommand();
    EXPECT_EQ(pressed(), QStringLiteral("View"));
}

TARLOX_ON_BOTH_ENGINES(QuickFindBox);

}  // namespace
