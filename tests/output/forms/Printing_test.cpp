#include "output/MessageQueue.h"
#include "output/forms/frmPrint.h"
#include "output/forms/frmSelect.h"
#include "output/forms/frmSelectAll.h"
#include "data/InfoData.h"
#include "data/Settings.h"
#include "view/ViewerTestSupport.h"
#include "output/PdfTools.h"
#include "support/FormControls.h"

#include <QCheckBox>
#include <QFile>
#include <QDir>
#include <QLineEdit>
#include <QPrinter>
#include <QPointer>
#include <QPushButton>
#include <QSpinBox>
#include <QTableWidget>
#include <QTest>

#include <gtest/gtest.h>

using namespace tarlox;
using namespace tarlox::test;

namespace {

// Letter paper at 100 dpi as pdftoppm sees it: which NumberedPage each
// printed page is (its bar, drawn 8 / 8.5 of its width), and whether
// anything stands in the bottom half inch; topBand: ink in the top rows right of
// the bar's place, the message block.
struct Sheet { int number = 0; bool bottomInked = false, topBand = false; };

QList<Sheet> PrintedSheets(const QString& pdf, const QString& stem)
{
    QList<Sheet> sheets;
    for (const QImage& page : GreyPages(pdf, stem, 100)) {
        Sheet sheet;
        const auto ink = [&](int x, int y) { return qGray(page.pixel(x, y)) < 128; };
        for (int y = 0; y < 60 && !sheet.number; ++y) {
            int x = 5;
            while (x < 20 && !ink(x, y))
                ++x;
            int run = 0;
            while (x + run < page.width() && ink(x + run, y))
                ++run;
            if (run > 10)
                sheet.number = int(std::lround(run / (20.0 * 800 / 850)));
        }
        for (int y = page.height() - 50; y < page.height() && !sheet.bottomInked; ++y)
            for (int x = 0; x < page.width() && !sheet.bottomInked; x += 2)
                sheet.bottomInked = ink(x, y);
        for (int y = 0; y < 9 && !sheet.topBand; ++y)
            for (int x = 40; x < 300 && !sheet.topBand; ++x)
                sheet.topBand = ink(x, y);
        sheets << sheet;
    }
    return sheets;
}

class PrintingTest : public SiteTest {
protected:
    void SetUp() override
    {
        SiteTest::SetUp();
        printer.setOutputFormat(QPrinter::PdfFormat), printer.setOutputFileName(pdf());
        printer.setPageSize(QPageSize(QPageSize::Letter)), printer.setFullPage(true), printer.setResolution(100);
    }
    void set(const QString& section, const char* key, const QString& value) { PutLocal(site.session(), section, QLatin1String(key), value); }
    QString pdf() const { return site.path(QStringLiteral("printed.pdf")); }
    QList<Sheet> printed() { return PrintedSheets(pdf(), site.path(QStringLiteral("sheet"))); }
    QList<int> printedNumbers()
    {
        QList<int> numbers;
        for (const Sheet& s : printed())
            numbers << s.number;
        return numbers;
    }
    // Which of the frmSelectAll's email requests came.
    static bool emailRequested(frmSelectAll& form, const std::function<void()>& click)
    {
        bool asked = false;
        QObject::connect(&form, &frmSelectAll::emailRequested, [&] { asked = true; });
        click();
        return asked;
    }
    frmPrint* pressPrint(qint32 number)
    {
        frmSelect* select = frmSelect::Open(site.session(), number);
        EXPECT_NE(select, nullptr);
        if (!select)
            return nullptr;
        EXPECT_TRUE(child<QPushButton>(select, "cmdPrint")->isVisible());
        select->usePrinter(&printer);
        QPointer<frmPrint> opened;
        QObject::connect(select, &frmSelect::printFormOpened, [&](frmPrint* form) { opened = form; });
        frmPrint* shown = select->cmdPrint_Click();
        if (!shown)
            settle(opened);
        return shown;
    }
    // Printing runs in the background; the form closes when it has ended.
    template <class Form> static void settle(const QPointer<Form>& form) { ASSERT_TRUE(QTest::qWaitFor([&] { return form.isNull(); }, 20000)); }
    bool tempIsEmpty() { return QDir(site.session().tempDir).entryList(QDir::Files).isEmpty(); }

    QPrinter printer{QPrinter::HighResolution};
};

}  // namespace

TEST_P(PrintingTest, PrintsAtOnceWhenNothingIsAskedElseAsksForPagesAndMessage)
{
    StoreReport(site, NumberedPages(3), 21);
    EXPECT_EQ(pressPrint(21), nullptr);  // no row to show: printed at once
    EXPECT_EQ(printedNumbers(), (QList<int>{1, 2, 3}));

    set(section::Interface, "AddMessage", QStringLiteral("True")), set(section::Info, "DefaultPages", QStringLiteral("All"));
    QFile::remove(pdf());
    frmPrint* form = pressPrint(21);
    ASSERT_NE(form, nullptr);
    EXPECT_EQ(std::pair(child<QLineEdit>(form, "txtHeat")->isVisible(), child<QSpinBox>(form, "txtCopies")->isVisible()), std::pair(true, false));
    auto* pages = child<QLineEdit>(form, "txtPages");
    pages->setText(QStringLiteral("1-3"));
    emit pages->editingFinished();
    EXPECT_EQ(std::pair(site.prompter().textOf(QStringLiteral("Invalid Pages")), pages->text()),
              std::pair(QStringLiteral("Pages must be 'All' or in the form 'n,m,l'"), QStringLiteral("All")));
    pages->setText(QStringLiteral("1,3"));
    child<QLineEdit>(form, "txtHeat")->setText(QStringLiteral("H-4711 A;B"));
    form->PrintImage();  // refused: a queue could not hold it
    EXPECT_FALSE(QFile::exists(pdf()));
    child<QLineEdit>(form, "txtHeat")->setText(QStringLiteral("H-4711"));
    form->PrintImage();
    settle(QPointer(form));
    const QList<Sheet> sheets = printed();
    ASSERT_EQ(sheets.size(), 2);
    EXPECT_TRUE(sheets[0].topBand && sheets[1].topBand && tempIsEmpty());

    // Annotate: printing waits until the viewer on the prepared file has closed.
    QFile::remove(pdf());
    form = pressPrint(21);
    ASSERT_NE(form, nullptr);
    child<QCheckBox>(form, "chkAnnotate")->setChecked(true);
    QString annotated;
    QObject::connect(form, &frmPrint::annotateRequested, [&](const QString& file) { annotated = file; });
    form->PrintImage();
    ASSERT_TRUE(QTest::qWaitFor([&] { return !annotated.isEmpty(); }, 20000));
    ASSERT_EQ(std::pair(QFile::exists(annotated), QFile::exists(pdf())), std::pair(true, false));
    form->annotationDone();
    settle(QPointer(form));
    EXPECT_EQ(std::pair(printed().size(), tempIsEmpty()), std::pair(qsizetype(3), true));
}

TEST_P(PrintingTest, LongReportsPrintAsTheAnswerSays)
{
    QImage legal = NumberedPage(2, 850, 1400);
    FillBlack(legal, 0, 1300, 850, 100);
    const QString path = StoreReport(site, {legal}, 22, QStringLiteral("G"));
    struct Case { Answer answer; bool printed, bottomShows; };  // bottomShows: reduced to fit, the whole page is on the sheet
    for (const Case& c : {Case{Answer::Yes, true, true}, Case{Answer::No, true, false}, Case{Answer::Cancel, false, false}}) {
        QFile::remove(pdf());
        site.prompter().answer(c.answer);
        EXPECT_TRUE(pressPrint(22) == nullptr && site.prompter().wasAsked(QStringLiteral("Larger than letter size")));
        EXPECT_EQ(std::pair(QFile::exists(pdf()), printed().value(0).bottomInked), std::pair(c.printed, c.bottomShows));
    }
}

TEST_P(PrintingTest, SelectAllPrintsEachImageOnceAndQueuesForLater)
{
    set(section::Interface, "AddMessage", QStringLiteral("True"));
    for (qint32 n : {31, 32, 33}) {
        StoreReport(site, NumberedPages(1), n);
        site.session().info = InfoRecord{QStringLiteral("H%1").arg(n), QStringLiteral("P%1").arg(n), QStringLiteral(" "), QStringLiteral(" "),
                                         QStringLiteral(" "), QDateTime(QDate(2024, 3, 5), QTime(0, 0)), n};
        ASSERT_TRUE(AddInfo(site.session(), false));
    }
    const SqlCondition all;
    {
        frmSelectAll form(site.session(), all);
        EXPECT_FALSE(child<QPushButton>(&form, "cmdEmail")->isVisible());
        auto* grid = child<QTableWidget>(&form, "grdImages");
        ASSERT_EQ(grid->rowCount(), 3);
        EXPECT_TRUE(form.isSelected(0) && form.isSelected(2));
        form.grdImages_Click(1);  // the second report is left out
        child<QCheckBox>(&form, "chkPrintHeat")->setChecked(true);
        EXPECT_TRUE(emailRequested(form, [&] { form.cmdEmail_Click(); }));
    }
    const Queue queue = ReadQueue(site.session(), QueueMode::Email);
    ASSERT_EQ(queue.count(), 2);
    EXPECT_EQ(std::tuple(queue.files.contains(QStringLiteral("TR000031.TIF;All;")), queue.files.contains(QStringLiteral("TR000032")),
                         ReadMessageString(queue.messages.split(QLatin1Char(';')).value(1)).heat),
              std::tuple(true, false, QStringLiteral("H33")));
    {
        // Cancel at the question leaves the queue as it was and opens nothing.
        frmSelectAll form(site.session(), all);
        site.prompter().answer(Answer::Cancel);
        EXPECT_FALSE(emailRequested(form, [&] { form.cmdEmail_Click(); }));
    }
    EXPECT_EQ(ReadQueue(site.session(), QueueMode::Email), queue);

    frmSelectAll form(site.session(), all);
    form.usePrinter(&printer);
    form.UnselectAll();
    form.grdImages_Click(0), form.grdImages_Click(2);
    form.cmdPrint_Click();
    ASSERT_TRUE(QTest::qWaitFor([&] { return !form.printing(); }, 20000));
    const QList<Sheet> sheets = printed();
    ASSERT_EQ(sheets.size(), 2);  // both reports in the one file
    EXPECT_TRUE(sheets[0].topBand && tempIsEmpty());
}

TARLOX_ON_BOTH_ENGINES(PrintingTest);
