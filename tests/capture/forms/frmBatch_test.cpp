#include "capture/forms/BatchPageView.h"
#include "capture/forms/frmBatch.h"
#include "capture/forms/frmScanChk.h"
#include "data/DataOp.h"
#include "data/Settings.h"
#include "store/TiffWriter.h"
#include "support/FormControls.h"
#include "support/SaneTestBackend.h"
#include "support/TestSite.h"

#include <QApplication>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPainter>
#include <QPushButton>
#include <QRadioButton>
#include <QTabWidget>
#include <QTableWidget>
#include <QTest>
#include <QTimer>

using namespace tarlox;
using namespace tarlox::test;

namespace {

QString S(const char* text) { return QString::fromUtf8(text); }

QImage markedPage(int width, int height)
{
    QImage page(width, height, QImage::Format_RGB32);
    page.fill(Qt::white);
    QPainter(&page).fillRect(width / 4, height / 4, width / 2, height / 2, Qt::black);
    page.setDotsPerMeterX(3937), page.setDotsPerMeterY(3937);
    return page;
}

class BatchForm : public ::testing::Test {
protected:
    static void SetUpTestSuite() { UseSaneTestBackend(); }
    void SetUp() override
    {
        ASSERT_TRUE(StartWithTestScanner(site));
        s().machine.scanner = true;
        form = std::make_unique<frmBatch>(s());
        form->resize(1100, 720), form->show(), site.prompter().clear();
    }
    Session& s() { return site.session(); }
    template <class T> T* c(const char* name) { return child<T>(form.get(), name); }
    QTabWidget* tabs() { return c<QTabWidget>("tabMain"); }
    QRadioButton* opt(const char* name) { return c<QRadioButton>(name); }
    // A folder of marked pages as .jpg files.
    QString folder(const char* name, const QStringList& jpgs)
    {
        const QString dir = site.path(S(name));
        QDir().mkpath(dir);
        for (const QString& jpg : jpgs) EXPECT_TRUE(markedPage(850, 1100).save(dir + u'/' + jpg));
        return dir;
    }
    void readFolder(const QString& dir) { tabs()->setCurrentIndex(frmBatch::ReadTab), c<QLineEdit>("txtFilesDir")->setText(dir); }
    void click(const char* button) { c<QPushButton>(button)->click(); }
    // The page's Heat # and Part #.
    void type(const char* heat, const char* part) { type("txtHeat", S(heat)), type("txtPart", S(part)); }
    void type(const char* field, const QString& text) { auto* edit = c<QLineEdit>(field); edit->selectAll(), QTest::keyClick(edit, Qt::Key_Delete), QTest::keyClicks(edit, text); }
    qint64 count(const QString& sql) { return DataOp(s(), S("test")).scalar(sql).value_or(-1).toLongLong(); }

    TestSite site{Engine::Sqlite};
    std::unique_ptr<frmBatch> form;
};

}  // namespace

// Files read into a batch, walked and added: the unselected file leaves the
// list, Heat turns New into Append at once and P/O only at the next showing.
TEST_F(BatchForm, FilesIndexedAndAdded)
{
    const QString dir = folder("in", {S("b.jpg"), S("c.jpg")});
    ASSERT_TRUE(WriteTiff(dir + S("/a.tif"), QList<QImage>(3, markedPage(850, 1100))));
    readFolder(dir);
    auto* files = c<QListWidget>("lstFiles");
    ASSERT_EQ(std::pair(files->count(), files->selectedItems().size()), std::pair(3, qsizetype(3))) << "new names arrive selected";
    files->item(2)->setSelected(false);  // c.jpg
    tabs()->setCurrentIndex(frmBatch::IndexTab);

    ASSERT_EQ(form->pageCount(), 4);
    EXPECT_EQ(std::tuple(files->count(), c<QLabel>("lblPage")->text(), c<QListWidget>("lstThumbs")->count()), std::tuple(0, S("Page 1"), 4))
        << "the unselected file left the list too";
    type("A", "P");
    EXPECT_TRUE(opt("optNew")->isChecked());
    click("cmdNext");
    EXPECT_TRUE(opt("optAppend")->isChecked() && opt("optNew")->isHidden()) << "page 2 takes page 1's data";
    // One step: the field typed, and the option chosen at once.
    struct Step { const char* field; const char* text; const char* chosen; const char* why; };
    for (const Step& step : {Step{"txtHeat", "B", "optNew", "other data: New at once"}, Step{nullptr, nullptr, nullptr, "next page"},
                             Step{"txtHeat", "A", "optAppend", "page 1's data again: Append at once"},
                             Step{"txtPO", "X", "optAppend", "P/O counts at the next page only"}}) {
        if (step.field) type(step.field, S(step.text));
        else click("cmdNext");
        EXPECT_TRUE(!step.field || opt(step.chosen)->isChecked()) << step.why;
    }
    EXPECT_FALSE(c<QPushButton>("cmdAdd")->isEnabled());
    click("cmdNext"), opt("optSkip")->setChecked(true);
    EXPECT_TRUE(c<QPushButton>("cmdAdd")->isEnabled()) << "last page after a good save";
    tabs()->setCurrentIndex(frmBatch::ListTab);
    auto* grid = c<QTableWidget>("grdSave");
    EXPECT_EQ(std::pair(grid->item(3, 0)->text(), grid->item(2, 5)->text()), std::pair(S("Skip"), S("**Appended**")));
    grid->cellClicked(2, 0);
    EXPECT_EQ(std::tuple(form->currentPage(), tabs()->currentIndex(), opt("optNew")->isChecked()), std::tuple(3, int(frmBatch::IndexTab), true))
        << "shown again, its P/O now counts";
    click("cmdNext"), click("cmdAdd");
    EXPECT_EQ(std::tuple(site.prompter().wasAsked(S("Pages Not Joined")), form->lastAdd().stored(), form->pageCount()), std::tuple(false, 3, 0))
        << "stored, back to empty";
    EXPECT_EQ(std::pair(count(S("SELECT COUNT(*) FROM \"Info\" WHERE \"P/O #\" = 'X'")), count(S("SELECT COUNT(*) FROM \"Info\" WHERE \"Heat #\" = 'B'"))),
              std::pair(qint64(1), qint64(1)));
}

// Nothing gathered: arriving on the indexing tab asks for files, or, with
// nothing selected, leaves the form as it was. A scan from SANE's test
// device makes a one-page batch, with Add at once; closing asks first.
TEST_F(BatchForm, ScanIntoTheBatch)
{
    const QString dir = folder("bad", {});
    ASSERT_TRUE(WriteFile(dir + S("/x.gif"), "GIF89a broken"));
    readFolder(dir), tabs()->setCurrentIndex(frmBatch::IndexTab);
    EXPECT_EQ(std::pair(site.prompter().wasAsked(S("Nothing Selected")), tabs()->currentIndex()), std::pair(true, int(frmBatch::ReadTab)));
    click("cmdClearAll"), site.prompter().clear(), tabs()->setCurrentIndex(frmBatch::IndexTab);
    EXPECT_EQ(std::pair(site.prompter().asked().isEmpty(), tabs()->currentIndex()), std::pair(true, int(frmBatch::IndexTab)));

    ASSERT_TRUE(tabs()->isTabEnabled(frmBatch::ScanTab));
    tabs()->setCurrentIndex(frmBatch::ScanTab);
    auto* timer = new QTimer;
    timer->setInterval(20);
    QObject::connect(timer, &QTimer::timeout, [timer] {
        if (auto* check = qobject_cast<frmScanChk*>(QApplication::activeModalWidget())) check->findChild<QPushButton*>(S("cmdNo"))->click(), timer->deleteLater();
    });
    timer->start(), click("cmdScan"), tabs()->setCurrentIndex(frmBatch::IndexTab);
    ASSERT_EQ(form->pageCount(), 1) << site.prompter().titles().join(S("|")).toStdString();
    EXPECT_TRUE(c<QPushButton>("cmdAdd")->isEnabled()) << "a one-page batch can be added at once";

    auto* view = c<BatchPageView>("imcMain");
    const QPoint middle = view->rect().center();
    QTest::mousePress(view, Qt::LeftButton, {}, middle);
    ASSERT_TRUE(view->magnifier()->isVisible());
    EXPECT_NEAR(view->magnifiedArea().width(), 2 * 200, 1) << "two inches of the page";
    QTest::mouseRelease(view, Qt::LeftButton, {}, middle);
    EXPECT_FALSE(view->magnifier()->isVisible());

    site.prompter().answer(Answer::Cancel);
    EXPECT_FALSE(form->close());
    EXPECT_TRUE(site.prompter().wasAsked(S("Images Pending")));
    site.prompter().answer(Answer::Ok);
    EXPECT_TRUE(form->close());
}

// A skipped first page and a page with its data: the page would join
// nothing, so it is named before anything is stored, and No stores nothing.
TEST_F(BatchForm, UnjoinedPageNamedBeforeAdding)
{
    readFolder(folder("two", {S("a.jpg"), S("b.jpg")})), tabs()->setCurrentIndex(frmBatch::IndexTab);
    ASSERT_EQ(form->pageCount(), 2);
    type("A", "P"), opt("optSkip")->setChecked(true), click("cmdNext"), type("A", "P");
    EXPECT_TRUE(opt("optAppend")->isChecked()) << "skipped pages count in the comparison";
    site.prompter().answer(Answer::No), click("cmdAdd");
    EXPECT_TRUE(site.prompter().textOf(S("Pages Not Joined")).startsWith(S("Page 2 is marked Append")))
        << site.prompter().titles().join(S("|")).toStdString();
    EXPECT_EQ(std::pair(count(S("SELECT COUNT(*) FROM \"Images\"")), form->pageCount()), std::pair(qint64(0), 2)) << "the batch stays in hand";
}
