#include "capture/SeparatorSheet.h"
#include "capture/forms/frmBarcode.h"
#include "data/DataOp.h"
#include "data/FormGeometry.h"
#include "data/Settings.h"
#include "store/TestPages.h"
#include "store/TiffWriter.h"
#include "support/FormControls.h"
#include "support/TestSite.h"

#include <QApplication>
#include <QLineEdit>
#include <QPushButton>
#include <QRadioButton>
#include <QScrollBar>
#include <QSignalSpy>
#include <QTableWidget>
#include <QTest>

using namespace tarlox;
using namespace tarlox::test;

namespace {

// S a separator sheet (PO-1, PO-2, ...), P a report page.
QString WriteStack(TestSite& site, const char* layout)
{
    QList<QImage> pages;
    int sheets = 0;
    for (const char* c = layout; *c; ++c)
        pages.append(*c == 'S' ? *SeparatorSheet({QStringLiteral("PO-%1").arg(++sheets), 0, qint16(sheets), 0}) : TextPage(1275, 1650, quint32(pages.size() + 1), 150));
    const QString path = site.path(QString::fromLatin1(layout) + QStringLiteral(".tif"));
    EXPECT_TRUE(WriteTiff(path, pages).ok());
    return path;
}

void Read(frmBarcode& form, TestSite& site, const QString& stack)
{
    QSignalSpy loaded(&form, &frmBarcode::gridLoaded);
    site.prompter().answerFile(stack), form.Command1_Click();
    ASSERT_TRUE(loaded.wait(60000));
}

void ClickCell(QTableWidget* grid, int row, int column) { QTest::mouseClick(grid->viewport(), Qt::LeftButton, {}, grid->visualRect(grid->model()->index(row, column)).center()); }

}  // namespace

// Read a stack, walk through the cells correcting one, Update, and the
// form's keys on closing.
TEST(frmBarcode, ReadCorrectAndUpdate)
{
    TestSite site;
    ASSERT_TRUE(site.start());
    Session& s = site.session();
    s.poShort = QStringLiteral("Order");
    const auto key = [&](const char* name) { return GetLocal(s, section::Form, QLatin1String(name)); };
    for (auto [name, value] : {std::pair{"BarcodeColWidth0", "150"}, {"BarcodeColWidth5", "1500"}, {"BarcodePageSize", "A"}})
        PutLocal(s, section::Form, QLatin1String(name), QLatin1String(value));
    const QString csv = site.path(QStringLiteral("lines.csv"));
    ASSERT_TRUE(WriteFile(csv, "PO-1,0,1,0,H1,P1,Acme,Mill\nPO-2,0,2,0,H2,P2,Beta,Mill\n"));
    PutLocal(s, section::Data, QStringLiteral("RBQClient"), QStringLiteral("csv:") + csv);

    frmBarcode form(s);
    form.show(), form.activateWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(&form));
    auto* grid = child<QTableWidget>(form, "grdMain");
    EXPECT_EQ(std::tuple(grid->columnCount(), grid->horizontalHeaderItem(0)->text(), grid->horizontalHeaderItem(8)->text(), grid->columnWidth(0),
                         grid->columnWidth(5), child<QRadioButton>(form, "optA4")->isChecked()),
              std::tuple(9, QStringLiteral("Order"), QStringLiteral("Mfg"), TwipsToPixels(600), TwipsToPixels(1500), true));

    Read(form, site, WriteStack(site, "SPPSP"));
    ASSERT_EQ(grid->rowCount(), 2);
    const auto cell = [&](int row, int column) { return grid->item(row, column)->text(); };
    EXPECT_EQ(std::tuple(cell(0, 4), cell(1, 4), cell(1, 5)), std::tuple(QStringLiteral("2"), QStringLiteral("1"), QStringLiteral("H2")));
    auto* pages = child<QScrollBar>(form, "hsbImages");
    EXPECT_EQ(std::tuple(child<QPushButton>(form, "cmdUpdate")->isEnabled(), pages->minimum(), pages->maximum()), std::tuple(true, 0, 2));

    ClickCell(grid, 1, 0);  // the second sheet and its page
    EXPECT_EQ(std::pair(pages->minimum(), pages->maximum()), std::pair(3, 4));

    // Correct the first heat; Enter walks on to the part.
    ClickCell(grid, 0, 5);
    auto* box = child<QLineEdit>(form, "txtGrid");
    ASSERT_TRUE(box->isVisible());
    box->selectAll(), QTest::keyClicks(box, QStringLiteral("H1-FIXED")), QTest::keyClick(box, Qt::Key_Return), QApplication::processEvents();
    EXPECT_EQ(std::tuple(cell(0, 5), box->isVisible(), box->text()), std::tuple(QStringLiteral("H1-FIXED"), true, QStringLiteral("P1")))
        << "the walk moved on to Part";

    form.cmdUpdate_Click();
    ASSERT_EQ(form.lastUpdate().stored(), 2);
    EXPECT_EQ(DataOp(s, QStringLiteral("test")).scalar(QStringLiteral("SELECT COUNT(*) FROM \"Info\" WHERE \"Heat #\" = 'H1-FIXED' AND \"P/O #\" = 'PO-1'"))->toInt(), 1);
    // The same grid again: asked first, and No stores nothing.
    site.prompter().clear(), form.cmdUpdate_Click();
    EXPECT_TRUE(site.prompter().textOf(QStringLiteral("Update")).startsWith(QStringLiteral("These reports were stored already")) && form.lastUpdate().stored() == 2) << "no new run";

    child<QRadioButton>(form, "optLegal")->setChecked(true), form.close();
    EXPECT_EQ(std::tuple(key("BarcodeColWidth0"), key("BarcodePageSize"), key("BarcodeWindowState")),
              std::tuple(QStringLiteral("600"), QStringLiteral("G"), QStringLiteral("0")));
}

// Update stays off unless the first row has pages; a stack without a
// sheet in front is refused.
TEST(frmBarcode, StacksThatCantBeStored)
{
    TestSite site;
    ASSERT_TRUE(site.start());
    frmBarcode form(site.session());
    for (auto [layout, rows, asked] : {std::tuple{"SSP", 2, ""}, {"PSP", 0, "No Barcodes"}}) {
        site.prompter().clear(), Read(form, site, WriteStack(site, layout));
        EXPECT_EQ(std::tuple(child<QTableWidget>(form, "grdMain")->rowCount(), child<QPushButton>(form, "cmdUpdate")->isEnabled(),
                             site.prompter().wasAsked(QLatin1String(asked))),
                  std::tuple(rows, false, *asked != 0))
            << layout;
    }
}
