#include "search/forms/frmFind.h"

#include "data/DataOp.h"
#include "base/IniFile.h"
#include "support/QtPrinters.h"
#include "support/TestSite.h"

#include "search/SearchData.h"

#include <QAbstractItemModelTester>
#include <QApplication>
#include <QHeaderView>
#include <QTableView>
#include <QDir>
#include <QLabel>
#include <QLineEdit>
#include <QMdiArea>
#include <QMdiSubWindow>
#include <QPushButton>
#include <QSignalSpy>
#include <QTest>

#include <gtest/gtest.h>

#include <functional>

using namespace tarlox;
using namespace tarlox::test;

namespace {

QDateTime at(int y, int m, int d, int h = 0) { return QDateTime(QDate(y, m, d), QTime(h, 0)); }
QString S(const char* text) { return QString::fromUtf8(text); }

class FindFormTest : public ::testing::TestWithParam<Engine> {
protected:
    FindFormTest() : site(GetParam()) {}

    void SetUp() override
    {
        ASSERT_TRUE(site.start());
        ASSERT_TRUE(addRefs(s(), {{S("AB100"), S("P1"), S("PO1"), S("Acme Steel"), S("Mill A"), 7, at(2003, 1, 2, 9), S("/srv/data")},
                                  {S("AB200"), S("P2"), S("PO1"), S("Acme Steel"), S("Mill A"), 7, at(2003, 1, 2, 9), S("/srv/data")},
                                  {S("AB300"), S("P3"), S("PO3"), S("Other Co"), S("Mill B"), 8, at(2003, 2, 1), S("/srv/data")},
                                  {S("ZZ1"), S("P4"), S("PO4"), S("Other Co"), S("Mill B"), 9, at(2003, 3, 1), S("/srv/data")}}));
        site.prompter().clear();
    }

    Session& s() { return site.session(); }
    ScriptedPrompter& prompter() { return site.prompter(); }

    template <class W = QLineEdit> W* get(frmFind& form, const char* name)
    {
        auto* w = form.findChild<W*>(QLatin1String(name));
        EXPECT_TRUE(w) << name;
        return w;
    }
    QString text(frmFind& form, const char* name) { return get(form, name)->text(); }
    bool enabled(frmFind& form, const char* name) { return get<QWidget>(form, name)->isEnabled(); }
    void type(frmFind& form, const char* name, const QString& value) { get(form, name)->setText(value); }
    void click(frmFind& form, const char* name) { get<QPushButton>(form, name)->click(); }
    QColor base(frmFind& form, const char* name) { return get(form, name)->palette().color(QPalette::Base); }

    qint64 references() { return scalarOf(s(), QStringLiteral("SELECT count(*) FROM \"Info\"")); }

    // The form as a picture, when TARLOX_SCREENSHOTS names a directory.
    void shoot(QWidget& form, const QString& name)
    {
        const QString dir = qEnvironmentVariable("TARLOX_SCREENSHOTS");
        if (dir.isEmpty() || GetParam() != Engine::Sqlite)
            return;
        QDir().mkpath(dir);
        form.grab().save(QDir(dir).filePath(name + QStringLiteral(".png")));
    }

    TestSite site;
};

TEST_P(FindFormTest, BoxesLabelsTipsAndSize)
{
    s().poShort = S("Order");
    s().vendShort = QString();
    s().mfgShort = S("Mill");
    frmFind form(s());
    EXPECT_EQ(form.windowTitle(), S("Find Information Entry"));
    const QList<std::pair<const char*, const char*>> labels{{"lblHeat", "Heat #:"}, {"lblPart", "Part #:"}, {"lblPO", "Order:"},
                                                            {"lblVend", "Vendor:"}, {"lblMfg", "Mill:"},    {"lblImgNum", "Image #:"},
                                                            {"lblPath", "Path:"},   {"lblFrom", "From:"},   {"lblTo", "To:"}};
    for (const auto& [name, caption] : labels)
        EXPECT_EQ(get<QLabel>(form, name)->text(), S(caption)) << name;
    const QList<std::pair<const char*, const char*>> tips{
        {"txtHeat", "Enter a heat #, part of a heat # with an * wild card, or leave blank to match all heat #s"},
        {"txtPart", "Enter a part #, part of a part # with an * wild card, or leave blank to match all part #s"},
        {"txtPO", "Enter a Order, part of a Order with an * wild card, or leave blank to match all Orders"},
        {"txtVend", "Enter a vendor, part of a vendor with an * wild card, or leave blank to match all vendors"},
        {"txtMfg", "Enter a Mill, part of a Mill with an * wild card, or leave blank to match all Mills"},
        {"txtImgNum", "Enter an image #, part of an image # with an * wild card, or leave blank to match all images"},
        {"txtPath", "Enter the earliest date to check or leave blank to check all"},
        {"txtFrom", "Enter the earliest date to check or leave blank to check all"},
        {"txtTo", "Enter the latest date to check or leave blank to check all"},
        {"cmdFind", "Find test reports that have the above values"},
        {"cmdSelect", "Select the test report to print, view or fax"},
        {"cmdEnd", "End without finding"},
        {"cmdExport", "Export all of the test reports that match these values"},
        {"cmdDelete", "Delete all of the test reports that match these values"},
        {"cmdMove", "Move all of the test reports that match these values to another directory"},
        {"cmdChange", "Change the information for this test report"},
        {"lblResults", " Change 'Records to Read on Find' field in System Informatio/Custom to display more records. "}};
    for (const auto& [name, tip] : tips)
        EXPECT_EQ(get<QWidget>(form, name)->toolTip(), S(tip)) << name;
    const QList<std::pair<const char*, const char*>> captions{{"cmdFind", "&Find"},        {"cmdSelect", "&Select"}, {"cmdSelectAll", "Select &All"},
                                                              {"cmdEnd", "&End"},          {"cmdExport", "E&xport"}, {"cmdDelete", "&Delete"},
                                                              {"cmdMove", "&Move"},        {"cmdChange", "&Change"}, {"cmdAddCur", "Add"},
                                                              {"cmdDelCur", "Remove"}};
    for (const auto& [name, caption] : captions)
        EXPECT_EQ(get<QPushButton>(form, name)->text(), S(caption)) << name;
    for (const char* name : {"txtCurHeat", "txtCurPart", "txtCurPO", "txtCurVend", "txtCurMfg", "txtCurImgNum", "txtCurPath", "txtCurDate",
                             "cmdFirst", "cmdPrevious", "cmdNext", "cmdLast"})
        EXPECT_FALSE(enabled(form, name)) << name;
    EXPECT_TRUE(enabled(form, "cmdAddCur"));
    EXPECT_FALSE(enabled(form, "cmdChange"));
    EXPECT_FALSE(enabled(form, "cmdSelect"));
    EXPECT_GE(form.minimumWidth(), 8055 / 15);
    EXPECT_GE(form.minimumHeight(), 5445 / 15);
    EXPECT_EQ(form.findRecords(), 100);
    EXPECT_EQ(base(form, "txtCurHeat"), form.palette().color(QPalette::ToolTipBase));
    EXPECT_EQ(base(form, "txtHeat"), form.palette().color(QPalette::Base));
}

TEST_P(FindFormTest, FindShowsTheNewestAndWalksTheResults)
{
    WriteIniValue(site.localIni(), QStringLiteral("Info"), QStringLiteral("FindRecords"), QStringLiteral("2"));
    frmFind form(s());
    form.show();
    type(form, "txtHeat", S("ab*"));
    click(form, "cmdFind");
    EXPECT_EQ(get<QLabel>(form, "lblResults")->text(), S("3 found 2 shown"));
    EXPECT_EQ(form.lastIndex(), 1);
    // Newest first: AB300 (2/1/2003), then the two of image 7, the higher heat... by image and date only.
    EXPECT_EQ(text(form, "txtCurHeat"), S("AB300"));
    EXPECT_EQ(text(form, "txtCurImgNum"), S("8"));
    EXPECT_EQ(text(form, "txtCurDate"), S("2/1/2003"));
    EXPECT_EQ(text(form, "txtCurPath"), S("/srv/data"));
    EXPECT_EQ(get(form, "txtCurVend")->property("tag").toString(), S("Other Co"));
    EXPECT_TRUE(enabled(form, "cmdNext"));
    EXPECT_TRUE(enabled(form, "cmdLast"));
    EXPECT_FALSE(enabled(form, "cmdFirst"));
    EXPECT_FALSE(enabled(form, "cmdPrevious"));
    for (const char* name : {"cmdSelect", "cmdChange", "cmdDelCur", "cmdAddCur"})
        EXPECT_TRUE(enabled(form, name)) << name;
    // Screens still to come stay off.
    for (const char* name : {"cmdSelectAll", "cmdExport", "cmdDelete", "cmdMove"})
        EXPECT_FALSE(enabled(form, name)) << name;
    shoot(form, S("find-results"));

    click(form, "cmdNext");
    EXPECT_EQ(form.currentIndex(), 1);
    EXPECT_EQ(text(form, "txtCurImgNum"), S("7"));
    EXPECT_FALSE(enabled(form, "cmdNext"));
    EXPECT_TRUE(enabled(form, "cmdPrevious"));
    click(form, "cmdFirst");
    EXPECT_EQ(form.currentIndex(), 0);
    click(form, "cmdLast");
    EXPECT_EQ(form.currentIndex(), 1);

    // The criteria stay for the screens that work on the found set.
    EXPECT_EQ(s().findQuery.heat, S("ab*"));
    EXPECT_EQ(s().findQuery.assumeWild, std::optional<bool>(false));

    QSignalSpy selected(&form, &frmFind::selectRequested);
    click(form, "cmdSelect");
    ASSERT_EQ(selected.size(), 1);
    EXPECT_EQ(selected.front().front().toInt(), 7);
    EXPECT_EQ(s().currentImage, 7);

    type(form, "txtHeat", S("nothing*"));
    click(form, "cmdFind");
    EXPECT_EQ(prompter().textOf(S("Bad Search")), S("No records match this selection criteria"));
    EXPECT_EQ(prompter().asked().back().icon, Icon::Critical);
    EXPECT_EQ(get<QLabel>(form, "lblResults")->text(), S("None found!"));
    EXPECT_EQ(text(form, "txtCurHeat"), QString());
    EXPECT_FALSE(enabled(form, "cmdChange"));
    EXPECT_FALSE(enabled(form, "cmdSelect"));
}

TEST_P(FindFormTest, ResultsListFollowsTheBoxesSortsAndSelects)
{
    s().poShort = S("Order");
    frmFind form(s());
    form.resize(900, 600);
    form.show();
    QTableView* list = form.resultsList();
    QAbstractItemModelTester tester(list->model(), QAbstractItemModelTester::FailureReportingMode::Warning);
    type(form, "txtHeat", S("*"));
    QTest::keyClick(get(form, "txtHeat"), Qt::Key_Return);  // Enter in a criteria box finds
    ASSERT_EQ(list->model()->rowCount(), 4);
    EXPECT_EQ(list->model()->headerData(2, Qt::Horizontal).toString(), S("Order"));
    const auto cell = [&](int row, int column) { return list->model()->index(row, column).data().toString(); };
    EXPECT_EQ(cell(0, 0), S("ZZ1"));
    EXPECT_EQ(cell(0, 5), S("3/1/2003"));
    const auto position = [&] { return get<QLabel>(form, "lblPosition")->text(); };

    // Each step: what moves the cursor, then the row, heat in the boxes and "n of N".
    struct Step {
        std::function<void()> act;
        int row;
        const char* heat;
        const char* shown;
    };
    const QList<Step> steps{
        {[] {}, 0, "ZZ1", "1 of 4"},
        {[&] { click(form, "cmdNext"); }, 1, "AB300", "2 of 4"},
        {[&] { list->setCurrentIndex(list->model()->index(3, 1)); }, 3, nullptr, "4 of 4"},
        {[&] { QTest::keyClick(list, Qt::Key_Home, Qt::ControlModifier); }, 0, "ZZ1", "1 of 4"},
        {[&] { QTest::keyClick(list, Qt::Key_Down); }, 1, "AB300", "2 of 4"},
        // A sort by heat keeps AB300 in the boxes; it is now the third row.
        {[&] { list->sortByColumn(0, Qt::AscendingOrder); }, 2, "AB300", "3 of 4"},
        {[&] { click(form, "cmdFirst"); }, 0, "AB100", "1 of 4"},
        // By image, newest number first; the sort is stable, so AB100 stays before AB200.
        {[&] { list->sortByColumn(6, Qt::DescendingOrder); }, 2, "AB100", "3 of 4"},
        {[&] { click(form, "cmdPrevious"); }, 1, "AB300", "2 of 4"},
    };
    for (int i = 0; i < steps.size(); ++i) {
        steps[i].act();
        EXPECT_EQ(list->currentIndex().row(), steps[i].row) << i;
        EXPECT_EQ(form.currentIndex(), steps[i].row) << i;
        EXPECT_EQ(text(form, "txtCurHeat"), cell(steps[i].row, 0)) << i;
        if (steps[i].heat) {
            EXPECT_EQ(text(form, "txtCurHeat"), S(steps[i].heat)) << i;
        }
        EXPECT_EQ(position(), S(steps[i].shown)) << i;
    }
    EXPECT_EQ(cell(0, 0), S("ZZ1"));  // image 9 first
    type(form, "txtFrom", S("11/23/2026"));
    shoot(form, S("find-list"));

    // Enter and double click select the row under the cursor.
    QSignalSpy selected(&form, &frmFind::selectRequested);
    list->setFocus();
    QTest::keyClick(list, Qt::Key_Return);
    const QRect first = list->visualRect(list->model()->index(0, 1));
    QTest::mouseClick(list->viewport(), Qt::LeftButton, {}, first.center());
    QTest::mouseDClick(list->viewport(), Qt::LeftButton, {}, first.center());
    ASSERT_EQ(selected.size(), 2);
    EXPECT_EQ(selected.at(0).front().toInt(), 8);
    EXPECT_EQ(selected.at(1).front().toInt(), 9);

    // The date boxes show a whole date; the column widths outlive the form.
    EXPECT_GE(get(form, "txtFrom")->width(), get(form, "txtFrom")->fontMetrics().horizontalAdvance(S("11/23/2026")) + 4);
    list->setColumnWidth(3, 77);
    form.close();
    frmFind again(s());
    EXPECT_EQ(again.resultsList()->columnWidth(3), 77);
}

TEST_P(FindFormTest, ScreensOnTheFoundSetAskThroughTheirSignals)
{
    frmFind form(s());
    form.setScreenAvailable(frmFind::Screen::SelectAll, true);
    form.setScreenAvailable(frmFind::Screen::Export, true);
    EXPECT_FALSE(enabled(form, "cmdSelectAll"));
    click(form, "cmdFind");
    EXPECT_TRUE(enabled(form, "cmdSelectAll"));
    EXPECT_TRUE(enabled(form, "cmdExport"));
    EXPECT_FALSE(enabled(form, "cmdMove"));
    QSignalSpy all(&form, &frmFind::selectAllRequested);
    QSignalSpy exported(&form, &frmFind::exportRequested);
    click(form, "cmdSelectAll");
    click(form, "cmdExport");
    EXPECT_EQ(all.size(), 1);
    EXPECT_EQ(exported.size(), 1);
    form.setScreenAvailable(frmFind::Screen::Export, false);
    EXPECT_FALSE(enabled(form, "cmdExport"));
}

TEST_P(FindFormTest, CriteriaThatCantBeSearchedAreTold)
{
    frmFind form(s());
    type(form, "txtImgNum", S("TR000007"));
    click(form, "cmdFind");
    ASSERT_TRUE(prompter().wasAsked(S("Bad Search")));
    EXPECT_TRUE(prompter().textOf(S("Bad Search")).contains(S("TR000007")));
    type(form, "txtImgNum", QString());
    type(form, "txtTo", S("2/30/2003"));
    click(form, "cmdFind");
    EXPECT_EQ(prompter().asked().back().text, S("Invalid Date"));
    EXPECT_EQ(get<QLabel>(form, "lblResults")->text(), QString());
}

TEST_P(FindFormTest, DateBoxesRewriteAndCheckWhenLeft)
{
    frmFind form(s());
    form.show();
    form.activateWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(&form));
    QLineEdit* from = get(form, "txtFrom");
    from->setFocus();
    QTest::keyClicks(from, S("2003-01-02"));
    get(form, "txtTo")->setFocus();
    EXPECT_EQ(from->text(), S("1/2/2003"));
    EXPECT_TRUE(prompter().asked().isEmpty());

    from->setFocus();
    from->setText(S("13/45/2003"));
    get(form, "txtHeat")->setFocus();
    ASSERT_EQ(prompter().asked().size(), 1);
    EXPECT_EQ(prompter().asked().front().text, S("Invalid Date"));
    EXPECT_EQ(prompter().asked().front().buttons, Buttons::Ok);
    EXPECT_EQ(QApplication::focusWidget(), from);
}

TEST_P(FindFormTest, ChangeUpdatesTheShownReference)
{
    frmFind form(s());
    type(form, "txtHeat", S("AB300"));
    click(form, "cmdFind");
    click(form, "cmdChange");
    EXPECT_EQ(get<QPushButton>(form, "cmdChange")->text(), S("Update"));
    for (const char* name : {"txtCurHeat", "txtCurPart", "txtCurPO", "txtCurVend", "txtCurMfg", "txtCurDate"}) {
        EXPECT_TRUE(enabled(form, name)) << name;
        EXPECT_EQ(base(form, name), form.palette().color(QPalette::Base)) << name;
    }
    EXPECT_FALSE(enabled(form, "txtCurImgNum"));
    EXPECT_FALSE(enabled(form, "txtCurPath"));
    for (const char* name : {"txtHeat", "txtTo"}) {
        EXPECT_FALSE(enabled(form, name)) << name;
        EXPECT_EQ(base(form, name), form.palette().color(QPalette::Button)) << name;
    }
    for (const char* name : {"cmdFind", "cmdSelect", "cmdDelCur", "cmdAddCur", "cmdNext"})
        EXPECT_FALSE(enabled(form, name)) << name;
    type(form, "txtCurVend", S("Renamed Vendor"));
    shoot(form, S("find-change"));
    click(form, "cmdChange");
    EXPECT_TRUE(prompter().asked().isEmpty());
    EXPECT_EQ(get<QPushButton>(form, "cmdChange")->text(), S("Change"));
    EXPECT_FALSE(enabled(form, "txtCurVend"));
    EXPECT_EQ(base(form, "txtCurVend"), form.palette().color(QPalette::ToolTipBase));
    EXPECT_TRUE(enabled(form, "cmdAddCur"));
    EXPECT_EQ(get(form, "txtCurVend")->property("tag").toString(), S("Renamed Vendor"));
    EXPECT_EQ(form.results().front().vend, S("Renamed Vendor"));
    EXPECT_EQ(scalarOf(s(), S("SELECT count(*) FROM \"Info\" WHERE \"Vend Name\" = 'Renamed Vendor' AND \"Heat #\" = 'AB300'")), 1);
    EXPECT_EQ(references(), 4);

    // The caption set from code keeps no accelerator.
    click(form, "cmdChange");
    EXPECT_EQ(get<QPushButton>(form, "cmdChange")->text(), S("Update"));
    type(form, "txtCurDate", S("2/31/2003"));
    click(form, "cmdChange");
    EXPECT_EQ(prompter().asked().back().text, S("Invalid Date"));
    EXPECT_TRUE(enabled(form, "txtCurDate"));
    type(form, "txtCurDate", S("2/2/2003"));
    click(form, "cmdChange");
    EXPECT_EQ(get<QPushButton>(form, "cmdChange")->text(), S("Change"));
    EXPECT_EQ(text(form, "txtCurDate"), S("2/2/2003"));
}

TEST_P(FindFormTest, ChangeThatClashesPutsTheOldRowBack)
{
    frmFind form(s());
    type(form, "txtHeat", S("AB100"));
    click(form, "cmdFind");
    click(form, "cmdChange");
    type(form, "txtCurHeat", S("AB200"));
    type(form, "txtCurPart", S("p2"));
    type(form, "txtCurVend", S("Lost"));
    click(form, "cmdChange");
    ASSERT_TRUE(prompter().wasAsked(S("Error")));
    EXPECT_TRUE(prompter().textOf(S("Error")).startsWith(S("Record could not be re-added:\r\n")));
    EXPECT_GT(prompter().textOf(S("Error")).size(), S("Record could not be re-added:\r\n").size());
    EXPECT_EQ(prompter().asked().back().icon, Icon::Critical);
    EXPECT_EQ(text(form, "txtCurHeat"), S("AB100"));
    EXPECT_EQ(text(form, "txtCurVend"), S("Acme Steel"));
    EXPECT_EQ(get<QPushButton>(form, "cmdChange")->text(), S("Change"));
    EXPECT_EQ(scalarOf(s(), S("SELECT count(*) FROM \"Info\" WHERE \"Heat #\" = 'AB100' AND \"Vend Name\" = 'Acme Steel'")), 1);
    EXPECT_EQ(references(), 4);
}

TEST_P(FindFormTest, AddKeepsTheImageFieldsAndChecksNumberAndDate)
{
    frmFind form(s());
    type(form, "txtHeat", S("AB300"));
    click(form, "cmdFind");
    prompter().answer(Answer::Cancel);
    click(form, "cmdAddCur");
    EXPECT_TRUE(prompter().wasAsked(S("Add reference only!")));
    EXPECT_EQ(prompter().asked().back().text,
              S("Warning! This will only add a new reference to an existing image and will not not add the image itself. This should only be "
                "used to add a new reference to an image that has already been scanned. Enter the information and hit 'Update' button to "
                "add the record."));
    EXPECT_EQ(get<QPushButton>(form, "cmdAddCur")->text(), S("Add"));
    EXPECT_EQ(text(form, "txtCurHeat"), S("AB300"));

    click(form, "cmdAddCur");
    EXPECT_EQ(get<QPushButton>(form, "cmdAddCur")->text(), S("&Update"));
    EXPECT_EQ(text(form, "txtCurHeat"), QString());
    EXPECT_EQ(text(form, "txtCurPart"), QString());
    EXPECT_EQ(text(form, "txtCurPO"), S("PO3"));
    EXPECT_EQ(text(form, "txtCurVend"), S("Other Co"));
    EXPECT_EQ(text(form, "txtCurImgNum"), S("8"));
    EXPECT_EQ(text(form, "txtCurDate"), S("2/1/2003"));
    EXPECT_TRUE(enabled(form, "txtCurImgNum"));
    EXPECT_EQ(base(form, "txtCurImgNum"), form.palette().color(QPalette::Base));
    EXPECT_FALSE(enabled(form, "cmdFind"));
    EXPECT_EQ(get<QLabel>(form, "lblResults")->text(), QString());

    type(form, "txtCurHeat", S("NEW1"));
    type(form, "txtCurPart", S("NP1"));
    type(form, "txtCurImgNum", S("77"));
    prompter().answer(Answer::Ok);
    click(form, "cmdAddCur");
    EXPECT_TRUE(prompter().wasAsked(S("Image Number Not on File!")));
    EXPECT_EQ(get<QPushButton>(form, "cmdAddCur")->text(), S("&Update"));
    type(form, "txtCurImgNum", S("8"));
    type(form, "txtCurDate", S("someday"));
    prompter().answer(Answer::Ok);
    click(form, "cmdAddCur");
    EXPECT_EQ(prompter().textOf(S("Invalid Date!")),
              S("Warning! The date is invalid. Hit 'OK' to re-enter the Date or 'Cancel' to end without adding."));
    EXPECT_FALSE(enabled(form, "cmdFind"));
    type(form, "txtCurDate", S("2003-02-05"));
    shoot(form, S("find-add"));
    click(form, "cmdAddCur");
    EXPECT_EQ(get<QPushButton>(form, "cmdAddCur")->text(), S("Add"));
    EXPECT_TRUE(enabled(form, "cmdFind"));
    EXPECT_FALSE(enabled(form, "txtCurHeat"));
    EXPECT_EQ(text(form, "txtCurHeat"), QString());
    EXPECT_EQ(scalarOf(s(), S("SELECT count(*) FROM \"Info\" WHERE \"Heat #\" = 'NEW1' AND \"Image #\" = 8 AND \"P/O #\" = 'PO3'")), 1);

    // An add with no search at all: no image number means image 0, not on file.
    prompter().clear();
    click(form, "cmdAddCur");
    EXPECT_EQ(text(form, "txtCurImgNum"), QString());
    prompter().answer(Answer::Cancel);
    click(form, "cmdAddCur");
    EXPECT_TRUE(prompter().wasAsked(S("Image Number Not on File!")));
    EXPECT_TRUE(enabled(form, "cmdFind"));
    EXPECT_EQ(get<QPushButton>(form, "cmdAddCur")->text(), S("Add"));
    EXPECT_EQ(references(), 5);
}

TEST_P(FindFormTest, RemoveRefusesTheOnlyReference)
{
    frmFind form(s());
    type(form, "txtHeat", S("AB300"));
    click(form, "cmdFind");
    click(form, "cmdDelCur");
    EXPECT_TRUE(prompter().wasAsked(S("Remove reference only!")));
    EXPECT_EQ(prompter().asked().front().icon, Icon::Exclamation);
    EXPECT_EQ(prompter().textOf(S("Can't remove only reference!")),
              S("Error! This reference is the only reference for this image. If you remove it you will no longer have access to this image. "
                "Use the 'Change' button to change the values, or the 'Delete' button to remove the image and the reference."));
    EXPECT_EQ(references(), 4);
    EXPECT_EQ(get<QLabel>(form, "lblResults")->text(), S("1 found 1 shown"));

    prompter().clear();
    type(form, "txtHeat", S("AB100,AB200"));
    click(form, "cmdFind");
    EXPECT_EQ(get<QLabel>(form, "lblResults")->text(), S("2 found 2 shown"));
    click(form, "cmdNext");
    const QString removed = text(form, "txtCurHeat");
    click(form, "cmdDelCur");
    EXPECT_FALSE(prompter().wasAsked(S("Can't remove only reference!")));
    EXPECT_EQ(references(), 3);
    // The search ran again.
    EXPECT_EQ(get<QLabel>(form, "lblResults")->text(), S("1 found 1 shown"));
    EXPECT_NE(text(form, "txtCurHeat"), removed);
    click(form, "cmdDelCur");
    EXPECT_TRUE(prompter().wasAsked(S("Can't remove only reference!")));
    EXPECT_EQ(references(), 3);

    // Cancel removes nothing.
    prompter().clear();
    prompter().answer(Answer::Cancel);
    click(form, "cmdDelCur");
    EXPECT_EQ(prompter().asked().size(), 1);
}

TEST_P(FindFormTest, GeometryIsKeptInTwips)
{
    QMdiArea area;
    area.resize(1200, 900);
    area.show();
    auto* form = new frmFind(s());
    QMdiSubWindow* sub = area.addSubWindow(form);
    sub->show();
    sub->resize(700, 500);
    sub->move(30, 40);
    form->SaveFormSize();
    const auto key = [&](const char* name) { return ReadIniValue(site.localIni(), S("Form"), QLatin1String(name)).value; };
    EXPECT_EQ(key("frmFindState"), S("0"));
    EXPECT_EQ(key("frmFindWidth"), S("10500"));
    EXPECT_EQ(key("frmFindHeight"), S("7500"));
    EXPECT_EQ(key("frmFindLeft"), S("450"));
    EXPECT_EQ(key("frmFindTop"), S("600"));

    WriteIniValue(site.localIni(), S("Form"), S("frmFindWidth"), S("12000"));
    WriteIniValue(site.localIni(), S("Form"), S("frmFindLeft"), S(" "));
    sub->move(5, 5);
    form->GetFormSize();
    EXPECT_EQ(sub->width(), 800);
    EXPECT_EQ(sub->height(), 500);
    EXPECT_EQ(sub->x(), 5);
    EXPECT_EQ(sub->y(), 40);

    // Closing the window keeps the state; a maximized form keeps its last normal size.
    sub->showMaximized();
    sub->close();
    EXPECT_EQ(key("frmFindState"), S("2"));
    EXPECT_EQ(key("frmFindWidth"), S("12000"));
}

// A day at the screen: find by the beginning of a heat, walk the results,
// correct a vendor, add a reference, remove one, find again.
TEST_P(FindFormTest, NewUserWalkthrough)
{
    QMdiArea area;
    area.resize(760, 520);
    auto* form = new frmFind(s());
    QMdiSubWindow* sub = area.addSubWindow(form);
    area.show();
    sub->show();
    shoot(area, S("walk-1-empty"));
    type(*form, "txtHeat", S("ab"));
    WriteIniValue(site.localIni(), QStringLiteral("Info"), QStringLiteral("AssumeWild"), QStringLiteral("True"));
    click(*form, "cmdFind");
    EXPECT_EQ(get<QLabel>(*form, "lblResults")->text(), S("3 found 3 shown"));
    shoot(area, S("walk-2-found"));
    click(*form, "cmdNext");
    click(*form, "cmdLast");
    EXPECT_FALSE(enabled(*form, "cmdNext"));
    shoot(area, S("walk-3-last"));
    click(*form, "cmdChange");
    type(*form, "txtCurVend", S("Acme Steel Corp"));
    shoot(area, S("walk-4-changing"));
    click(*form, "cmdChange");
    EXPECT_EQ(text(*form, "txtCurVend"), S("Acme Steel Corp"));
    shoot(area, S("walk-5-changed"));
    click(*form, "cmdAddCur");
    type(*form, "txtCurHeat", S("AB400"));
    type(*form, "txtCurPart", S("P9"));
    shoot(area, S("walk-6-adding"));
    click(*form, "cmdAddCur");
    click(*form, "cmdFind");
    EXPECT_EQ(get<QLabel>(*form, "lblResults")->text(), S("4 found 4 shown"));
    click(*form, "cmdLast");
    click(*form, "cmdDelCur");
    EXPECT_FALSE(prompter().wasAsked(S("Can't remove only reference!")));
    EXPECT_EQ(get<QLabel>(*form, "lblResults")->text(), S("3 found 3 shown"));
    shoot(area, S("walk-7-removed-and-found-again"));
    EXPECT_EQ(references(), 4);
    EXPECT_FALSE(prompter().wasAsked(S("Error")));
}

INSTANTIATE_TEST_SUITE_P(Engines, FindFormTest, ::testing::Values(Engine::Sqlite, Engine::Postgres), EngineParamName<::testing::TestParamInfo<Engine>>);

}  // namespace
