#include "view/forms/frmView.h"

#include "base/ErrorReport.h"
#include "base/IniFile.h"
#include "data/Settings.h"
#include "store/ImageInput.h"
#include "view/forms/PageView.h"
#include "view/forms/frmVTLin.h"
#include "view/forms/frmVTRec.h"
#include "view/forms/frmVTStm.h"
#include "view/ViewerTestSupport.h"
#include "support/FormControls.h"
#include "support/SystemTexts.h"

#include <QCheckBox>
#include <QLineEdit>
#include <QRadioButton>
#include <QApplication>
#include <QFileInfo>
#include <QLabel>
#include <QMenu>
#include <QPlainTextEdit>
#include <QPrinter>
#include <QSpinBox>
#include <QTest>

#include <gtest/gtest.h>

using namespace tarlox;
using namespace tarlox::test;

namespace {

// A certificate page with a heading bar.
QImage certificatePage(int n)
{
    QImage page = CertificatePage(n);
    FillBlack(page, 100, 60, 1075, 6);
    return page;
}

class ViewerWindow : public ::testing::Test {
protected:
    void SetUp() override
    {
        ASSERT_TRUE(site.start());
        site.prompter().clear();
    }

    frmView* openViewer(const QList<QImage>& pages)
    {
        path = StoreReport(site, pages);
        EXPECT_FALSE(path.isEmpty());
        auto* viewer = new frmView(site.session());
        viewer->resize(700, 900), viewer->show();
        EXPECT_TRUE(QTest::qWaitForWindowExposed(viewer));
        QTest::qWait(20), QApplication::processEvents();
        return viewer;
    }

    // Drags on the page from one image point to another with the left button.
    void drag(frmView* viewer, QPointF from, QPointF to)
    {
        PageView* view = viewer->imcMain();
        const QPoint a = view->toWindow(from), b = view->toWindow(to);
        QTest::mousePress(view, Qt::LeftButton, {}, a);
        QTest::mouseMove(view, (a + b) / 2);
        QTest::mouseMove(view, b);
        QTest::mouseRelease(view, Qt::LeftButton, {}, b);
        QApplication::processEvents();
    }

    TestSite site{Engine::Sqlite};
    QString path;
};

}  // namespace

// The pages are gone through by menu, keys and the page box.
TEST_F(ViewerWindow, FirstPageComesOnceTheWindowIsOnScreenThenTheOthers)
{
    path = StoreReport(site, {certificatePage(1), certificatePage(2), certificatePage(3)});
    auto* viewer = new frmView(site.session());
    // No page at construction yet.
    EXPECT_EQ(std::pair(viewer->document().page().isNull(), viewer->windowTitle()), std::pair(true, QString(QStringLiteral("Image: ") + path)));
    viewer->show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(viewer));
    ASSERT_TRUE(QTest::qWaitFor([&] { return !viewer->document().page().isNull(); }));
    EXPECT_EQ(std::tuple(viewer->document().pageCount(), viewer->action(QStringLiteral("mnuPageNum_4"))->isVisible(),
                         viewer->action(QStringLiteral("mnuSave"))->isEnabled(), viewer->pageBox()->maximum()),
              std::tuple(3, false, false, 3));

    // The fitted page is shown in grey levels: thin strokes average, not vanish.
    QSet<int> levels;
    const auto shaded = [&] {
        const QImage shown = viewer->imcMain()->rendered();
        levels.clear();
        for (int y = 0; y < shown.height(); ++y)
            for (int x = 0; x < shown.width(); ++x)
                levels.insert(qGray(shown.pixel(x, y)));
        levels.remove(0x80);  // the ground beside the page
        return levels.contains(255) && levels.size() >= 4;  // white, black and shades between
    };
    EXPECT_TRUE(QTest::qWaitFor(shaded)) << levels.size();

    QList<std::function<void()>> steps = {[&] { viewer->action(QStringLiteral("mnuPageNum_3"))->trigger(); },
                                          [&] { QTest::keyClick(viewer->imcMain(), Qt::Key_PageUp); },
                                          [&] { viewer->pageBox()->setValue(1); },
                                          [&] { QTest::keyClick(viewer->imcMain(), Qt::Key_PageDown); }};
    QList<std::pair<int, int>> seen;  // the page shown and the page box
    for (const auto& step : steps)
        step(), seen << std::pair(PageNumberOf(viewer->document().page()), viewer->pageBox()->value());
    EXPECT_EQ(seen, (QList<std::pair<int, int>>{{3, 3}, {2, 2}, {1, 1}, {2, 2}}));
    viewer->close();
}

// A drag magnifies a square that fills the view's shorter side; a line drawn
// then lands on the same page pixels all the same; a right click returns.
TEST_F(ViewerWindow, LineDrawnOnScreenLandsInImagePixelsAndSaves)
{
    frmView* viewer = openViewer(NumberedPages(2));
    drag(viewer, QPointF(200, 400), QPointF(600, 500));
    ASSERT_TRUE(viewer->document().zoomed());
    const ViewGeometry g = viewer->imcMain()->geometryNow();
    EXPECT_TRUE(std::abs(viewer->document().zoomSize() - 400) <= 6 && std::abs(viewer->document().zoomLeft() - 200) <= 4) << viewer->document().zoomSize();
    EXPECT_NEAR(g.scale(), std::min(g.window.width(), g.window.height()) / viewer->document().zoomSize(), 1e-9);
    site.session().draw.lineWidth = 4;
    viewer->LineCommand();
    drag(viewer, QPointF(250, 450), QPointF(500, 450));
    const QImage& page = viewer->document().page();
    EXPECT_EQ(std::tuple(viewer->action(QStringLiteral("mnuSave"))->isEnabled(), viewer->menu(QStringLiteral("mnuPage"))->menuAction()->isEnabled(),
                         viewer->pageBox()->isEnabled(), IsBlackAt(page, 375, 450), IsBlackAt(page, 375, 460)),
              std::tuple(true, false, false, true, false));
    QTest::mouseClick(viewer->imcMain(), Qt::RightButton, {}, viewer->imcMain()->rect().center());
    EXPECT_FALSE(viewer->document().zoomed());
    viewer->action(QStringLiteral("mnuSave"))->trigger();
    EXPECT_EQ(std::pair(QFileInfo::exists(OriginalPathOf(path)), viewer->windowTitle()), std::pair(true, QString(QStringLiteral("Image: ") + path + QStringLiteral(" (Copy)"))));
    viewer->action(QStringLiteral("mnuViewOrig"))->trigger();
    EXPECT_EQ(std::pair(viewer->windowTitle().endsWith(QStringLiteral(" (Original)")), viewer->menu(QStringLiteral("mnuScanOpt"))->menuAction()->isEnabled()),
              std::pair(true, false));
    site.prompter().answer(Answer::Ok), viewer->action(QStringLiteral("mnuRestOrig"))->trigger();
    const bool originalLeft = QFileInfo::exists(OriginalPathOf(path));
    viewer->action(QStringLiteral("mnuRotate_1"))->trigger();
    EXPECT_EQ(std::pair(originalLeft, viewer->document().viewRotation()), std::pair(false, 270));
    viewer->close();
}

// A failed save, by Save and Exit or by Yes to the close question, is
// reported and the viewer stays open with its changes; Yes saves once the
// data directory takes data again.
TEST_F(ViewerWindow, ClosingWithChangesAsksAndSavesAndAFailedSaveKeepsItOpen)
{
    frmView* viewer = openViewer(NumberedPages(1));
    bool closed = false;
    QObject::connect(viewer, &frmView::closed, [&] { closed = true; });
    site.session().draw.lineWidth = 3;
    viewer->LineCommand();
    drag(viewer, QPointF(100, 600), QPointF(700, 600));
    {
        FullDisk full;
        viewer->action(QStringLiteral("mnuSaveExit"))->trigger();
        site.prompter().answer(Answer::Yes), viewer->close();
    }
    EXPECT_EQ(std::tuple(closed, viewer->isVisible(), IsBlackAt(viewer->document().page(), 400, 600)), std::tuple(false, true, true));
    // The error report, once for each try.
    EXPECT_EQ(std::tuple(site.prompter().titles().count(ProgramTitle()), site.prompter().textOf(ProgramTitle()).contains(path),
                         site.prompter().textOf(QStringLiteral("Error"))),
              std::tuple(2, true, texts::ImageFileNotCreated.arg(path)));

    // Cancel (Escape) at the question keeps the viewer and its edits.
    site.prompter().answer(Answer::Cancel), viewer->close();
    EXPECT_EQ(std::pair(closed, IsBlackAt(viewer->document().page(), 400, 600)), std::pair(false, true));

    site.prompter().answer(Answer::Yes), viewer->close();
    EXPECT_EQ(std::pair(closed, IsBlackAt(*TiffReader::open(path)->readPage(0), 400, 600)), std::pair(true, true));
}

TEST_F(ViewerWindow, PrintsToAPdfOnePagePerPageAndCopy)
{
    frmView* viewer = openViewer({certificatePage(1), TextPage(1650, 1275, 9, 150), certificatePage(3)});
    const QString pdf = site.path(QStringLiteral("printed.pdf"));
    int dialogs = 0;
    viewer->printDialog = [&](QWidget*, QPrinter& printer, int pageCount, int& copies, int& from, int& to) {
        ++dialogs;
        EXPECT_EQ(pageCount, 3);
        printer.setOutputFormat(QPrinter::PdfFormat), printer.setOutputFileName(pdf), printer.setPageSize(QPageSize(QPageSize::Letter));
        printer.setPageMargins(QMarginsF(0.25, 0.25, 0.25, 0.25), QPageLayout::Inch);
        copies = 2, from = 2, to = 3;
        return true;
    };
    viewer->action(QStringLiteral("mnuPrint"))->trigger();
    EXPECT_EQ(std::pair(dialogs, viewer->lblPrintMsg()->isVisible()), std::pair(1, false));
    auto printed = ImageInput::open(pdf, 50);
    ASSERT_TRUE(printed) << printed.error().toStdString();
    ASSERT_EQ(printed->pageCount(), 4);  // pages 2 and 3, twice
    for (int i = 0; i < 4; ++i) {
        auto page = printed->page(i);
        ASSERT_TRUE(page && page->size() == QSize(425, 550)) << i;  // letter at 50 dpi
        // The picture stands in the 8 x 10.5 inch frame a quarter inch from the corner.
        const QImage grey = page->convertToFormat(QImage::Format_Grayscale8);
        int right = 0, bottom = 0;
        for (int y = 0; y < grey.height(); ++y)
            for (int x = 0; x < grey.width(); ++x)
                if (qGray(grey.pixel(x, y)) < 200)
                    right = std::max(right, x), bottom = std::max(bottom, y);
        EXPECT_TRUE(right <= 13 + 400 && bottom <= 13 + 525 && bottom > 13 + 400) << right << ' ' << bottom;
    }
    EXPECT_EQ(viewer->document().currentPage(), 1);
    viewer->close();
}

TEST_F(ViewerWindow, PropertyFormsClampAndKeepTheSettings)
{
    Session& s = site.session();
    {
        frmVTLin form(s);
        QLineEdit* box = child<QLineEdit>(&form, "txtLineWidth");
        QStringList shown{box->text()};  // 0 in the settings
        for (const char* typed : {"500", ""})
            box->setText(QLatin1String(typed)), shown << box->text();
        EXPECT_EQ(shown, (QStringList{QStringLiteral("1"), QStringLiteral("100"), QStringLiteral("1")}));
        box->setText(QStringLiteral("7"));
        form.show(), form.close();  // the title bar's close button keeps the value too
    }
    const auto key = [&](const char* name) { return ReadIniValue(site.localIni(), QStringLiteral("Draw"), QLatin1String(name)).value; };
    EXPECT_EQ(std::pair(s.draw.lineWidth, key("LineWidth")), std::pair(7, QStringLiteral("7")));
    {
        frmVTRec form(s);
        child<QLineEdit>(&form, "txtRecWidth")->setText(QStringLiteral("0"));
        EXPECT_EQ(child<QLineEdit>(&form, "txtRecWidth")->text(), QStringLiteral("1"));
        child<QCheckBox>(&form, "chkFill")->setChecked(true), child<QCheckBox>(&form, "chkBlack")->setChecked(false);
        form.reject();
    }
    EXPECT_EQ(std::tuple(s.draw.rectangleWidth, s.draw.rectangleFill, s.draw.rectangleBlack, key("RectangleFill")),
              std::tuple(1, true, false, GetLocal(s, QStringLiteral("Draw"), QStringLiteral("RectangleFill"))));

    // The stamp form shows and keeps its text lines, font and type.
    s.draw.stampType = QStringLiteral("Text"), s.draw.stampText = QStringLiteral("RECEIVED|QA DEPT");
    s.draw.fontName = QStringLiteral("DejaVu Serif"), s.draw.fontSize = 18, s.draw.fontBold = true;
    {
        frmVTStm form(s);
        EXPECT_EQ(std::pair(child<QPlainTextEdit>(&form, "txtStampText")->toPlainText(), child<QLineEdit>(&form, "txtFont")->text()),
                  std::pair(QStringLiteral("RECEIVED\nQA DEPT"), QStringLiteral("DejaVu Serif 18point Bold ")));
        form.chooseFont = [](const QFont&, QWidget*) {
            QFont chosen(QStringLiteral("DejaVu Sans"), 24);
            chosen.setItalic(true);
            return std::optional<QFont>(chosen);
        };
        form.cmdFont_Click();
        EXPECT_EQ(child<QLineEdit>(&form, "txtFont")->text(), QStringLiteral("DejaVu Sans 24point Italic "));
        form.show();
        child<QPlainTextEdit>(&form, "txtStampText")->setPlainText(QStringLiteral("APPROVED\nBY\n"));
        child<QRadioButton>(&form, "optImage")->setChecked(true);
        EXPECT_EQ(std::pair(child<QPlainTextEdit>(&form, "txtStampText")->isEnabled(), child<QLineEdit>(&form, "txtImageName")->isEnabled()),
                  std::pair(false, true));
        site.prompter().answerFile(site.path(QStringLiteral("stamp.png"))), form.cmdImageName_Click();
        child<QCheckBox>(&form, "cbStampOvl")->setChecked(true);
        form.accept();
    }
    EXPECT_EQ(std::tuple(s.draw.stampText, s.draw.stampType, s.draw.fontName, s.draw.fontItalic, s.draw.fontBold, s.draw.stampOvl, s.draw.stampImage),
              std::tuple(QStringLiteral("APPROVED|BY|"), QStringLiteral("Image"), QStringLiteral("DejaVu Sans"), true, false, true,
                         site.path(QStringLiteral("stamp.png"))));
    EXPECT_EQ(std::pair(key("StampText"), key("FontSize")), std::pair(QStringLiteral("APPROVED|BY|"), QStringLiteral("24")));
}
