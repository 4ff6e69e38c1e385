#include "search/forms/frmFind.h"
#include "shell/forms/mdiMain.h"
#include "view/forms/frmView.h"

#include "data/Settings.h"
#include "search/SearchData.h"
#include "view/ViewerTestSupport.h"

#include <QLineEdit>
#include <QMdiArea>
#include <QStatusBar>
#include <QTest>

using namespace tarlox;
using namespace tarlox::test;

namespace {

const QString Tag = QStringLiteral("^T-(.+)-\\d+$");

// Three reports: AB100 twice on report 7, CD200 on 8 and 9.
class QuickFindBox : public SiteTest {
protected:
    void SetUp() override
    {
        SiteTest::SetUp();
        for (const qint32 image : {7, 8, 9})
            ASSERT_FALSE(StoreReport(site, NumberedPages(2), image).isEmpty());
        const QDateTime day(QDate(2024, 3, 5), QTime(0, 0));
        ASSERT_TRUE(addRefs(s(), {{QStringLiteral("AB100"), QStringLiteral("P1"), {}, {}, {}, 7, day}, {QStringLiteral("AB100"), QStringLiteral("P2"), {}, {}, {}, 7, day},
                                  {QStringLiteral("CD200"), QStringLiteral("P3"), {}, {}, {}, 8, day}, {QStringLiteral("CD200"), QStringLiteral("P4"), {}, {}, {}, 9, day}},
                            false));
        s().draw.lineWidth = 2;
        frame = std::make_unique<mdiMain>(s());
        frame->show();
        frame->activateWindow();
        ASSERT_TRUE(QTest::qWaitForWindowActive(frame.get()));
    }

    // The shortcut from where the focus is, then the keys a person or a scanner types, and Enter.
    void enter(QKeyCombination shortcut, const QString& keys)
    {
        QWidget* focus = QApplication::focusWidget() ? QApplication::focusWidget() : frame.get();
        QTest::keyClick(focus, shortcut.key(), shortcut.keyboardModifiers());
        ASSERT_EQ(QApplication::focusWidget(), frame->quickFindBox());
        QTest::keyClicks(frame->quickFindBox(), keys);
        QTest::keyClick(frame->quickFindBox(), Qt::Key_Return);
    }

    std::unique_ptr<mdiMain> frame;
};

TEST_P(QuickFindBox, OneOpensTheViewerSeveralListInFindNoneSaysSo)
{
    const struct { QKeyCombination shortcut; QString pattern; const char* keys; int image; int listed; } rows[] = {
        {Qt::CTRL | Qt::Key_F, {}, "ab100", 7, 0},  // typed: one report of two references
        {Qt::Key_F3, Tag, "T-AB100-5", 7, 0},        // scanned, from the viewer now active
        {Qt::Key_F3, Tag, "CD200", 0, 2},            // two reports
        {Qt::CTRL | Qt::Key_F, Tag, "T-CD200-3", 0, 2},
        {Qt::Key_F3, {}, "AB10", 0, 0},              // none: exact, not a beginning
        {Qt::Key_F3, Tag, "T-ZZ9-1", 0, 0},
        {Qt::Key_F3, QStringLiteral("T-("), "AB100", 7, 0},  // a broken pattern trims nothing
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.keys);
        PutLocal(s(), section::Info, QStringLiteral("QuickFindPattern"), row.pattern);
        const qsizetype children = frame->mdiArea()->subWindowList().size();
        frame->statusBar()->clearMessage();
        ASSERT_NO_FATAL_FAILURE(enter(row.shortcut, QString::fromLatin1(row.keys)));
        auto* viewer = qobject_cast<frmView*>(frame->activeForm());
        auto* find = qobject_cast<frmFind*>(frame->activeForm());
        if (row.image) {
            ASSERT_TRUE(viewer);
            EXPECT_EQ((std::tuple{s().currentImage, QTest::qWaitFor([&] { return viewer->document().pageCount() == 2; })}), std::tuple(row.image, true));
        } else if (row.listed) {
            ASSERT_TRUE(find);
            EXPECT_EQ(find->results().size(), row.listed);
        } else {
            EXPECT_EQ(std::tuple(frame->mdiArea()->subWindowList().size(), frame->statusBar()->currentMessage().isEmpty()), std::tuple(children, false));
        }
        EXPECT_TRUE(prompter().asked().isEmpty());
        if (frame->activeForm())
            frame->activeForm()->setFocus();
    }
}

TEST_P(QuickFindBox, ThePressedToolFollowsTheViewer)
{
    ASSERT_NO_FATAL_FAILURE(enter(Qt::Key_F3, QStringLiteral("AB100")));
    auto* viewer = qobject_cast<frmView*>(frame->activeForm());
    ASSERT_TRUE(viewer);
    const auto pressed = [&](const char* key) { return frame->findChild<QAction*>(QLatin1String(key))->isChecked(); };
    // The viewer changes its tool by itself, not through the toolbar.
    viewer->LineCommand();
    EXPECT_TRUE(pressed("Line") && !pressed("View"));
    viewer->ViewCommand();
    EXPECT_TRUE(pressed("View") && !pressed("Line"));
}

TARLOX_ON_BOTH_ENGINES(QuickFindBox);

}  // namespace
