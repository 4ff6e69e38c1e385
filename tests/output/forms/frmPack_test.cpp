#include "output/forms/frmPack.h"

#include "output/PackSite.h"
#include "output/PdfTools.h"
#include "data/ContactData.h"
#include "support/FormControls.h"
#include "support/TestSite.h"

#include <QComboBox>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QRegularExpression>
#include <QTableWidget>

using namespace tarlox;
using namespace tarlox::test;
using namespace Qt::Literals::StringLiterals;

namespace {

class PackForm : public SiteTest {};

// The clerk's way through the form: a heat column the header doesn't name
// chosen by hand, the colours of the lines, a pick, a drop, the customer's
// address from the address book, and the pack made.
TEST_P(PackForm, LinesArePickedDroppedAndMade)
{
    ASSERT_GT(StorePackReport(s(), u"H1"_s, 2), 0);
    const qint32 older = StorePackReport(s(), u"H2"_s, 5);
    ASSERT_GT(StorePackReport(s(), u"H2"_s, 8), older);
    s().contact = ContactRecord{u"Miller"_s, u"Ann"_s, u"Acme Steel"_s, {}, u"ann@acme.example"_s};
    ASSERT_TRUE(AddContact(s(), false));

    frmPack form(s(), FindPackHeat(s()));
    child<QPlainTextEdit>(form, "txtLines")->setPlainText(u"Ln#\tMelt\n1\tH1\n2\tH2\n3\tH9\n"_s);
    form.cmdRead_Click();
    EXPECT_TRUE(form.plan().entries.isEmpty()) << "no heat column yet";
    auto* grid = child<QTableWidget>(form, "grdLines");
    auto* melt = qobject_cast<QComboBox*>(child<QTableWidget>(form, "grdColumns")->cellWidget(0, 1));
    ASSERT_TRUE(melt);
    melt->setCurrentIndex(melt->findText(u"Heat"_s));  // reads the lines again
    ASSERT_EQ(form.plan().entries.size(), 3);
    const auto colour = [&](int row) { return grid->item(row, 0)->background().color(); };
    // Found: no colour; several and none differ.
    EXPECT_TRUE(colour(0) == QColor(Qt::black) && colour(1) != colour(2) && colour(1) != QColor(Qt::black));

    auto* pick = qobject_cast<QComboBox*>(grid->cellWidget(1, 4));
    ASSERT_TRUE(pick);
    pick->setCurrentIndex(1);
    EXPECT_EQ(std::pair(form.plan().entries[1].report()->image, colour(1)), std::pair(older, QColor(Qt::black))) << "a pick settles the line";
    grid->setCurrentCell(0, 0);
    form.cmdDrop_Click();

    child<QComboBox>(form, "cboCustomer")->setCurrentText(u"acme steel"_s);
    EXPECT_EQ(child<QLineEdit>(form, "txtEmail")->text(), u"ann@acme.example"_s);
    const QString pdf = site.path(u"pack.pdf"_s);
    ASSERT_TRUE(form.MakeFile(pdf));
    EXPECT_TRUE(Tool(u"pdfinfo"_s, {pdf}).contains(QRegularExpression(u"Pages:\\s+3\\n"_s))) << "the cover and line 2 only";
}

TARLOX_ON_BOTH_ENGINES(PackForm);

}  // namespace
