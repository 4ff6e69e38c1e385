#include "search/forms/frmList.h"
#include "search/forms/frmUpdate.h"

#include "data/Settings.h"
#include "search/SearchData.h"
#include "support/FormControls.h"
#include "support/TestSite.h"

#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QRadioButton>
#include <QTableWidget>

using namespace tarlox;
using namespace tarlox::test;

namespace {

QString S(const char* text) { return QString::fromUtf8(text); }

class UpdateFormTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        ASSERT_TRUE(site.start());
        ASSERT_TRUE(addRefs(site.session(), {{S("H1"), S("P1"), S("PO1"), S("Acme"), S("M"), 1, QDateTime(QDate(2025, 3, 1), QTime(9, 0))},
                                             {S("H2"), S("P2"), S("PO1"), S("Baker"), S("M"), 2, QDateTime(QDate(2025, 3, 1), QTime(9, 0))}}));
        site.prompter().clear();
    }
    void type(QObject& form, const char* box, const QString& text) { child<QLineEdit>(form, box)->setText(text); }
    void press(QObject& form, const char* button) { child<QPushButton>(form, button)->click(); }

    TestSite site;
};

TEST_F(UpdateFormTest, AddCheckAndUpdateAsThePersonWould)
{
    PutLocal(site.session(), section::Custom, S("VendLong"), S("Supplier"));
    frmUpdate form(site.session());
    auto* field = child<QComboBox>(form, "cboField");
    EXPECT_EQ(field->findText(S("Supplier")), 4) << "the vendor choice reads VendLong";
    auto* grid = child<QTableWidget>(form, "grdInput");
    ASSERT_EQ(grid->rowCount(), 1);

    // The screen's own refusals, in the order a person meets them.
    press(form, "cmdUpdate"), press(form, "cmdAdd"), type(form, "txtOldValue", S("acme")), press(form, "cmdAdd");
    QStringList said;
    for (const auto& prompt : site.prompter().asked()) said << prompt.text;
    EXPECT_EQ(said, (QStringList{S("Select the Field to Change"), S("Set Old Value"), S("Set New Value")}));

    field->setCurrentIndex(4);
    for (const auto& [from, to] : {std::pair{S("acme"), S("O'Neil")}, std::pair{S("O'Neil"), S("Carter")}})
        type(form, "txtOldValue", from), type(form, "txtNewValue", to), press(form, "cmdAdd");
    ASSERT_EQ(grid->rowCount(), 2) << "the blank first row goes";

    // Update before a check asks; No goes on, the chain carries through.
    site.prompter().answer(Answer::No), press(form, "cmdUpdate");
    EXPECT_EQ(std::tuple(site.prompter().wasAsked(S("Check First?")), scalarOf(site.session(), S("SELECT count(*) FROM \"Info\" WHERE \"Vend Name\" = 'Carter'"))),
              std::tuple(true, 1));
    press(form, "cmdCheck");
    EXPECT_EQ((QStringList{grid->item(0, 1)->text(), grid->item(1, 3)->text()}), (QStringList{S("0"), S("1")}));

    // Removing a row asks first.
    site.prompter().answer(Answer::Ok), form.grdInput_Click(0);
    EXPECT_EQ(std::tuple(site.prompter().textOf(S("Remove Item")), grid->rowCount()), std::tuple(S("Do you want to remove old value = \"acme\" and new value = \"O'Neil\"?"), 1));
}

TEST_F(UpdateFormTest, ListingOpensOnTodayWithTheSiteWords)
{
    site.session().vendShort = S("Supp");
    frmList form(site.session());
    const QString today = site.session().now().date().toString(S("M/d/yyyy"));
    EXPECT_EQ(std::tuple(child<QRadioButton>(form, "optDate")->isChecked(), QStringList{child<QLineEdit>(form, "txtFromDate")->text(), child<QLineEdit>(form, "txtToDate")->text(),
                                                                                       child<QLabel>(form, "lblVend")->text(), child<QRadioButton>(form, "optVend")->text()}),
              std::tuple(true, QStringList{today, today, S("Supp:"), S("Supp:")}));
    type(form, "txtFromHeat", S("a")), child<QRadioButton>(form, "optVend")->setChecked(true);
    const ListingRequest r = form.request();
    EXPECT_EQ(std::tuple(r.sort, r.heat.from, r.fromDate), std::tuple(ListingSort::Vend, S("a"), today));
}

}  // namespace
