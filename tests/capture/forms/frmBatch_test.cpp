#include "capture/forms/BatchPageView.h"
#include "capture/forms/frmBatch.h"
#include "capture/forms/frmScanChk.h"
#include "data/DataOp.h"
#include "data/Session.h"
#include "data/Settings.h"
#include "store/TiffReader.h"
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

#include <gtest/gtest.h>

using namespace tarlox;
using namespace tarlox::test;

namespace {

QString S(const char* text) { return QString::fromUtf8(text); }

QImage markedPage(int width, int height)
{
    QImage page(width, height, QImage::Format_RGB32);
    page.fill(Qt::white);
    QPainter(&page).fillRect(width / 4, height / 4, width / 2, height / 2, Qt::black);
    page.setDotsPerMeterX(3937);
    page.setDotsPerMeterY(3937);
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
        form->resize(1100, 720);
        form->show();
        site.prompter().clear();
    }
    Session& s() { return site.session(); }
    template <class T> T* c(const char* name) { return child<T>(form.get(), name); }
    QTabWidget* tabs() { return c<QTabWidget>("tabMain"); }
    QRadioButton* opt(const char* name) { return c<QRadioButton>(name); }
    void type(const char* field, const QString& text)
    {
        auto* edit = c<QLineEdit>(field);
        edit->selectAll();
        QTest::keyClick(edit, Qt::Key_Delete);
        QTest::keyClicks(edit, text);
    }
    qint64 count(const QString& sql)
    {
        DataOp op(s(), S("test"));
        auto v = op.scalar(sql);
        return v ? v->toLongLong() : -1;
    }

    TestSite site{Engine::Sqlite};
    std::unique_ptr<frmBatch> form;
};

}  // namespace

// Files read into a batch, walked and added: the unselected file leaves the
// list, Heat turns New into Append at once and P/O only at the next showing.
TEST_F(BatchForm, FilesIndexedAndAdded)
{
    const QString dir = site.path(S("in"));
    QDir().mkpath(dir);
    ASSERT_TRUE(WriteTiff(dir + S("/a.tif"), {markedPage(850, 1100), markedPage(850, 1100), markedPage(850, 1100)}));
    ASSERT_TRUE(markedPage(850, 1100).save(dir + S("/b.jpg")));
    ASSERT_TRUE(markedPage(850, 1100).save(dir + S("/c.jpg")));
    tabs()->setCurrentIndex(frmBatch::ReadTab);
    c<QLineEdit>("txtFilesDir")->setText(dir);
    auto* files = c<QListWidget>("lstFiles");
    ASSERT_EQ(files->count(), 3);
    EXPECT_EQ(files->selectedItems().size(), 3) << "new names arrive selected";
    files->item(2)->setSelected(false);  // c.jpg
    tabs()->setCurrentIndex(frmBatch::IndexTab);

    ASSERT_EQ(form->pageCount(), 4);
    EXPECT_EQ(files->count(), 0) << "the unselected file left the list too";
    EXPECT_EQ(c<QLabel>("lblPage")->text(), S("Page 1"));
    EXPECT_EQ(c<QListWidget>("lstThumbs")->count(), 4);
    type("txtHeat", S("A"));
    type("txtPart", S("P"));
    EXPECT_TRUE(opt("optNew")->isChecked());
    c<QPushButton>("cmdNext")->click();
    EXPECT_TRUE(opt("optAppend")->isChecked()) << "page 2 takes page 1's data";
    EXPECT_TRUE(opt("optNew")->isHidden());
    type("txtHeat", S("B"));
    EXPECT_TRUE(opt("optNew")->isChecked()) << "other data: New at once";
    c<QPushButton>("cmdNext")->click();
    type("txtHeat", S("A"));
    EXPECT_TRUE(opt("optAppend")->isChecked()) << "page 1's data again: Append at once";
    type("txtPO", S("X"));
    EXPECT_TRUE(opt("optAppend")->isChecked()) << "P/O counts at the next page only";
    EXPECT_FALSE(c<QPushButton>("cmdAdd")->isEnabled());
    c<QPushButton>("cmdNext")->click();
    opt("optSkip")->setChecked(true);
    EXPECT_TRUE(c<QPushButton>("cmdAdd")->isEnabled()) << "last page after a good save";
    tabs()->setCurrentIndex(frmBatch::ListTab);
    auto* grid = c<QTableWidget>("grdSave");
    EXPECT_EQ(grid->item(3, 0)->text(), S("Skip"));
    EXPECT_EQ(grid->item(2, 5)->text(), S("**Appended**"));
    grid->cellClicked(2, 0);
    EXPECT_EQ(form->currentPage(), 3);
    EXPECT_EQ(tabs()->currentIndex(), int(frmBatch::IndexTab));
    EXPECT_TRUE(opt("optNew")->isChecked()) << "shown again, its P/O now counts";
    c<QPushButton>("cmdNext")->click();

    c<QPushButton>("cmdAdd")->click();
    EXPECT_FALSE(site.prompter().wasAsked(S("Pages Not Joined")));
    EXPECT_EQ(form->lastAdd().stored(), 3);
    EXPECT_EQ(count(S("SELECT COUNT(*) FROM \"Info\" WHERE \"P/O #\" = 'X'")), 1);
    EXPECT_EQ(count(S("SELECT COUNT(*) FROM \"Info\" WHERE \"Heat #\" = 'B'")), 1);
    EXPECT_EQ(form->pageCount(), 0) << "back to empty";
}

// Nothing gathered: arriving on the indexing tab asks for files, or, with
// nothing selected, leaves the form as it was. A scan from SANE's test
// device makes a one-page batch, with Add at once; closing asks first.
TEST_F(BatchForm, ScanIntoTheBatch)
{
    const QString dir = site.path(S("bad"));
    QDir().mkpath(dir);
    ASSERT_TRUE(WriteFile(dir + S("/x.gif"), "GIF89a broken"));
    tabs()->setCurrentIndex(frmBatch::ReadTab);
    c<QLineEdit>("txtFilesDir")->setText(dir);
    tabs()->setCurrentIndex(frmBatch::IndexTab);
    EXPECT_TRUE(site.prompter().wasAsked(S("Nothing Selected")));
    EXPECT_EQ(tabs()->currentIndex(), int(frmBatch::ReadTab));
    c<QPushButton>("cmdClearAll")->click();
    site.prompter().clear();
    tabs()->setCurrentIndex(frmBatch::IndexTab);
    EXPECT_TRUE(site.prompter().asked().isEmpty());
    EXPECT_EQ(tabs()->currentIndex(), int(frmBatch::IndexTab));

    ASSERT_TRUE(tabs()->isTabEnabled(frmBatch::ScanTab));
    tabs()->setCurrentIndex(frmBatch::ScanTab);
    auto* timer = new QTimer;
    timer->setInterval(20);
    QObject::connect(timer, &QTimer::timeout, [timer] {
        if (auto* check = qobject_cast<frmScanChk*>(QApplication::activeModalWidget())) {
            check->findChild<QPushButton*>(S("cmdNo"))->click();
            timer->deleteLater();
        }
    });
    timer->start();
    c<QPushButton>("cmdScan")->click();
    tabs()->setCurrentIndex(frmBatch::IndexTab);
    ASSERT_EQ(form->pageCount(), 1) << site.prompter().titles().join(S("|")).toStdString();
    EXPECT_TRUE(c<QPushButton>("cmdAdd")->isEnabled()) << "a one-page batch can be added at once";

    auto* view = c<BatchPageView>("imcMain");
    const QPoint middle = view->rect().center();
    QTest::mousePress(view, Qt::LeftButton, {}, middle);
    EXPECT_TRUE(view->magnifier()->isVisible());
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
    const QString dir = site.path(S("two"));
    QDir().mkpath(dir);
    ASSERT_TRUE(markedPage(850, 1100).save(dir + S("/a.jpg")));
    ASSERT_TRUE(markedPage(850, 1100).save(dir + S("/b.jpg")));
    tabs()->setCurrentIndex(frmBatch::ReadTab);
    c<QLineEdit>("txtFilesDir")->setText(dir);
    tabs()->setCurrentIndex(frmBatch::IndexTab);
    ASSERT_EQ(form->pageCount(), 2);
    type("txtHeat", S("A"));
    type("txtPart", S("P"));
    opt("optSkip")->setChecked(true);
    c<QPushButton>("cmdNext")->click();
    type("txtHeat", S("A"));
    type("txtPart", S("P"));
    EXPECT_TRUE(opt("optAppend")->isChecked()) << "skipped pages count in the comparison";
    site.prompter().answer(Answer::No);
    c<QPushButton>("cmdAdd")->click();
    EXPECT_TRUE(site.prompter().textOf(S("Pages Not Joined")).startsWith(S("Page 2 is marked Append")))
        << site.prompter().titles().join(S("|")).toStdString();
    EXPECT_EQ(count(S("SELECT COUNT(*) FROM \"Images\"")), 0);
    EXPECT_EQ(form->pageCount(), 2) << "the batch stays in hand";
}
