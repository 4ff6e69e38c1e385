#include "search/forms/frmFind.h"

#include "base/IniFile.h"
#include "search/SearchData.h"
#include "support/FormControls.h"
#include "support/QtPrinters.h"
#include "support/SystemTexts.h"
#include "support/TestSite.h"

#include <QAbstractItemModelTester>
#include <QApplication>
#include <QLabel>
#include <QLineEdit>
#include <QMdiArea>
#include <QMdiSubWindow>
#include <QPushButton>
#include <QSignalSpy>
#include <QTableView>
#include <QTest>

using namespace tarlox;
using namespace tarlox::test;
using namespace Qt::StringLiterals;

namespace {

QDateTime at(int y, int m, int d, int h = 0) { return QDateTime(QDate(y, m, d), QTime(h, 0)); }
QString S(const char* text) { return QString::fromUtf8(text); }

class FindFormTest : public SiteTest {
protected:
    void SetUp() override
    {
        SiteTest::SetUp();
        ASSERT_TRUE(addRefs(s(), {{u"AB100"_s, u"P1"_s, u"PO1"_s, u"Acme Steel"_s, u"Mill A"_s, 7, at(2003, 1, 2, 9), u"/srv/data"_s},
                                  {u"AB200"_s, u"P2"_s, u"PO1"_s, u"Acme Steel"_s, u"Mill A"_s, 7, at(2003, 1, 2, 9), u"/srv/data"_s},
                                  {u"AB300"_s, u"P3"_s, u"PO3"_s, u"Other Co"_s, u"Mill B"_s, 8, at(2003, 2, 1), u"/srv/data"_s},
                                  {u"ZZ1"_s, u"P4"_s, u"PO4"_s, u"Other Co"_s, u"Mill B"_s, 9, at(2003, 3, 1), u"/srv/data"_s}}));
    }

    QString text(frmFind& form, const char* name) { return child<QLineEdit>(form, name)->text(); }
    QStringList boxes(frmFind& form, std::initializer_list<const char*> names) { QStringList all; for (const char* n : names) all << text(form, n); return all; }
    QString caption(frmFind& form, const char* name) { return child<QPushButton>(form, name)->text(); }
    QString results(frmFind& form) { return child<QLabel>(form, "lblResults")->text(); }
    bool enabled(frmFind& form, const char* name) { return child<QWidget>(form, name)->isEnabled(); }
    void type(frmFind& form, const char* name, const QString& value) { child<QLineEdit>(form, name)->setText(value); }
    void type(frmFind& form, std::initializer_list<std::pair<const char*, QString>> values) { for (const auto& [n, v] : values) type(form, n, v); }
    void click(frmFind& form, const char* name) { child<QPushButton>(form, name)->click(); }
    void find(frmFind& form, const QString& heat) { type(form, "txtHeat", heat), click(form, "cmdFind"); }
    QColor base(frmFind& form, const char* name) { return child<QWidget>(form, name)->palette().color(QPalette::Base); }
    void expectEnabled(frmFind& form, std::initializer_list<const char*> names, bool on) { for (const char* n : names) EXPECT_EQ(enabled(form, n), on) << n; }
    qint64 references() { return rows(u"Info"_s); }
};

TEST_P(FindFormTest, BoxesLabelsTipsAndSize)
{
    std::tie(s().poShort, s().vendShort, s().mfgShort) = std::tuple(u"Order"_s, QString(), u"Mill"_s);
    frmFind form(s());
    EXPECT_EQ(form.windowTitle(), u"Find Information Entry"_s);
    // The field names come from the settings; an empty one takes its default.
    for (const auto& [name, label] : {std::pair{"lblPO", "Order:"}, {"lblVend", "Vendor:"}, {"lblMfg", "Mill:"}})
        EXPECT_EQ(child<QLabel>(form, name)->text(), S(label)) << name;
    for (const auto& [name, tip] : {std::pair{"txtPO", "Enter a Order, part of a Order with an * wild card, or leave blank to match all Orders"},
                                    {"txtMfg", "Enter a Mill, part of a Mill with an * wild card, or leave blank to match all Mills"}})
        EXPECT_EQ(child<QWidget>(form, name)->toolTip(), S(tip)) << name;
    expectEnabled(form, {"txtCurHeat", "txtCurPart", "txtCurPO", "txtCurVend", "txtCurMfg", "txtCurImgNum", "txtCurPath", "txtCurDate",
                         "cmdFirst", "cmdPrevious", "cmdNext", "cmdLast", "cmdChange", "cmdSelect"}, false);
    EXPECT_TRUE(enabled(form, "cmdAddCur") && form.minimumWidth() >= 8055 / 15 && form.minimumHeight() >= 5445 / 15) << form.minimumWidth() << "x" << form.minimumHeight();
    EXPECT_EQ(std::tuple(form.findRecords(), base(form, "txtCurHeat"), base(form, "txtHeat")),
              std::tuple(100, form.palette().color(QPalette::ToolTipBase), form.palette().color(QPalette::Base)));
}

TEST_P(FindFormTest, FindShowsTheNewestAndWalksTheResults)
{
    WriteIniValue(site.localIni(), u"Info"_s, u"FindRecords"_s, u"2"_s);
    frmFind form(s());
    form.show(), find(form, u"ab*"_s);
    EXPECT_EQ(std::tuple(results(form), form.lastIndex()), std::tuple(u"3 found 2 shown"_s, 1));
    // Newest first: AB300 (2/1/2003), then the two of image 7.
    EXPECT_EQ(boxes(form, {"txtCurHeat", "txtCurImgNum", "txtCurDate", "txtCurPath"}) << child<QLineEdit>(form, "txtCurVend")->property("tag").toString(),
              (QStringList{u"AB300"_s, u"8"_s, u"2/1/2003"_s, u"/srv/data"_s, u"Other Co"_s}));
    expectEnabled(form, {"cmdNext", "cmdLast", "cmdSelect", "cmdChange", "cmdDelCur", "cmdAddCur"}, true);
    // First and Previous at the first row; the screens on the found set still to come.
    expectEnabled(form, {"cmdFirst", "cmdPrevious", "cmdSelectAll", "cmdExport", "cmdDelete", "cmdMove"}, false);

    click(form, "cmdNext");
    EXPECT_EQ(std::tuple(form.currentIndex(), text(form, "txtCurImgNum"), enabled(form, "cmdNext"), enabled(form, "cmdPrevious")),
              std::tuple(1, u"7"_s, false, true));
    const auto moveTo = [&](const char* button) { return click(form, button), form.currentIndex(); };
    EXPECT_EQ((std::tuple{moveTo("cmdFirst"), moveTo("cmdLast")}), std::tuple(0, 1));

    // The criteria stay for the screens that work on the found set.
    EXPECT_EQ(std::tuple(s().findQuery.heat, s().findQuery.assumeWild), std::tuple(u"ab*"_s, std::optional<bool>(false)));

    QSignalSpy selected(&form, &frmFind::selectRequested);
    click(form, "cmdSelect");
    ASSERT_EQ(selected.size(), 1);
    EXPECT_EQ(std::tuple(selected.front().front().toInt(), s().currentImage), std::tuple(7, 7));

    find(form, u"nothing*"_s);
    EXPECT_EQ(std::tuple(prompter().textOf(u"Bad Search"_s), prompter().asked().back().icon, results(form), text(form, "txtCurHeat")),
              std::tuple(u"No records match this selection criteria"_s, Icon::Critical, u"None found!"_s, QString()));
    expectEnabled(form, {"cmdChange", "cmdSelect"}, false);
}

TEST_P(FindFormTest, ResultsListFollowsTheBoxesSortsAndSelects)
{
    s().poShort = u"Order"_s;
    frmFind form(s());
    form.resize(900, 600), form.show();
    QTableView* list = form.resultsList();
    QAbstractItemModelTester tester(list->model(), QAbstractItemModelTester::FailureReportingMode::Warning);
    type(form, "txtHeat", u"*"_s);
    QTest::keyClick(child<QLineEdit>(form, "txtHeat"), Qt::Key_Return);  // Enter in a criteria box finds
    ASSERT_EQ(list->model()->rowCount(), 4);
    const auto cell = [&](int row, int column) { return list->model()->index(row, column).data().toString(); };
    EXPECT_EQ((QStringList{list->model()->headerData(2, Qt::Horizontal).toString(), cell(0, 0), cell(0, 5)}), (QStringList{u"Order"_s, u"ZZ1"_s, u"3/1/2003"_s}));

    // Each step: what moves the cursor, then the row, heat in the boxes and "n of N".
    struct Step { std::function<void()> act; int row; const char* heat; const char* shown; };
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
        EXPECT_EQ(std::tuple(list->currentIndex().row(), form.currentIndex(), text(form, "txtCurHeat"), child<QLabel>(form, "lblPosition")->text()),
                  std::tuple(steps[i].row, steps[i].row, steps[i].heat ? S(steps[i].heat) : cell(steps[i].row, 0), S(steps[i].shown)))
            << i;
    }
    EXPECT_EQ(cell(0, 0), u"ZZ1"_s);  // image 9 first

    // Enter and double click select the row under the cursor.
    QSignalSpy selected(&form, &frmFind::selectRequested);
    list->setFocus();
    QTest::keyClick(list, Qt::Key_Return);
    const QRect first = list->visualRect(list->model()->index(0, 1));
    QTest::mouseClick(list->viewport(), Qt::LeftButton, {}, first.center());
    QTest::mouseDClick(list->viewport(), Qt::LeftButton, {}, first.center());
    ASSERT_EQ(selected.size(), 2);
    EXPECT_EQ(std::tuple(selected.at(0).front().toInt(), selected.at(1).front().toInt()), std::tuple(8, 9));

    // The date boxes show a whole date; the column widths outlive the form.
    QLineEdit* from = child<QLineEdit>(form, "txtFrom");
    EXPECT_GE(from->width(), from->fontMetrics().horizontalAdvance(u"11/23/2026"_s) + 4);
    list->setColumnWidth(3, 77);
    form.close();
    frmFind again(s());
    EXPECT_EQ(again.resultsList()->columnWidth(3), 77);
}

TEST_P(FindFormTest, ScreensOnTheFoundSetAskThroughTheirSignals)
{
    frmFind form(s());
    form.setScreenAvailable(frmFind::Screen::SelectAll, true), form.setScreenAvailable(frmFind::Screen::Export, true);
    EXPECT_FALSE(enabled(form, "cmdSelectAll"));
    click(form, "cmdFind");
    EXPECT_EQ(std::tuple(enabled(form, "cmdSelectAll"), enabled(form, "cmdExport"), enabled(form, "cmdMove")), std::tuple(true, true, false));
    QSignalSpy all(&form, &frmFind::selectAllRequested);
    QSignalSpy exported(&form, &frmFind::exportRequested);
    click(form, "cmdSelectAll"), click(form, "cmdExport");
    form.setScreenAvailable(frmFind::Screen::Export, false);
    EXPECT_EQ(std::tuple(all.size(), exported.size(), enabled(form, "cmdExport")), std::tuple(1, 1, false));
}

TEST_P(FindFormTest, CriteriaThatCantBeSearchedAreTold)
{
    frmFind form(s());
    type(form, "txtImgNum", u"TR000007"_s), click(form, "cmdFind");
    EXPECT_TRUE(prompter().textOf(u"Bad Search"_s).contains(u"TR000007"_s));
    type(form, {{"txtImgNum", QString()}, {"txtTo", u"2/30/2003"_s}}), click(form, "cmdFind");
    EXPECT_EQ(std::tuple(prompter().asked().back().text, results(form)), std::tuple(u"Invalid Date"_s, QString()));
}

TEST_P(FindFormTest, DateBoxesRewriteAndCheckWhenLeft)
{
    frmFind form(s());
    form.show(), form.activateWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(&form));
    QLineEdit* from = child<QLineEdit>(form, "txtFrom");
    from->setFocus();
    QTest::keyClicks(from, u"2003-01-02"_s);
    child<QLineEdit>(form, "txtTo")->setFocus();
    EXPECT_EQ(std::tuple(from->text(), prompter().asked().size()), std::tuple(u"1/2/2003"_s, qsizetype(0)));

    from->setFocus(), from->setText(u"13/45/2003"_s);
    child<QLineEdit>(form, "txtHeat")->setFocus();
    ASSERT_EQ(prompter().asked().size(), 1);
    EXPECT_EQ(std::tuple(prompter().asked().front().text, prompter().asked().front().buttons, QApplication::focusWidget()),
              std::tuple(u"Invalid Date"_s, Buttons::Ok, static_cast<QWidget*>(from)));
}

TEST_P(FindFormTest, ChangeUpdatesTheShownReference)
{
    frmFind form(s());
    find(form, u"AB300"_s), click(form, "cmdChange");
    EXPECT_EQ(caption(form, "cmdChange"), u"Update"_s);
    for (const char* name : {"txtCurHeat", "txtCurPart", "txtCurPO", "txtCurVend", "txtCurMfg", "txtCurDate"})
        EXPECT_EQ(std::pair(enabled(form, name), base(form, name)), std::pair(true, form.palette().color(QPalette::Base))) << name;
    for (const char* name : {"txtHeat", "txtTo"}) EXPECT_EQ(base(form, name), form.palette().color(QPalette::Button)) << name;
    expectEnabled(form, {"txtCurImgNum", "txtCurPath", "txtHeat", "txtTo", "cmdFind", "cmdSelect", "cmdDelCur", "cmdAddCur", "cmdNext"}, false);
    type(form, "txtCurVend", u"Renamed Vendor"_s), click(form, "cmdChange");
    // The caption set from code keeps no accelerator.
    EXPECT_EQ(std::tuple(prompter().asked().size(), caption(form, "cmdChange"), enabled(form, "txtCurVend"), base(form, "txtCurVend"), enabled(form, "cmdAddCur")),
              std::tuple(qsizetype(0), u"Change"_s, false, form.palette().color(QPalette::ToolTipBase), true));
    EXPECT_EQ((QStringList{child<QLineEdit>(form, "txtCurVend")->property("tag").toString(), form.results().front().vend}), QStringList(2, u"Renamed Vendor"_s));
    EXPECT_EQ(std::tuple(rows(u"Info"_s, u"\"Vend Name\" = 'Renamed Vendor' AND \"Heat #\" = 'AB300'"_s), references()), std::tuple(1LL, 4LL));

    // A bad date keeps the boxes open until it is put right.
    click(form, "cmdChange"), type(form, "txtCurDate", u"2/31/2003"_s), click(form, "cmdChange");
    EXPECT_EQ(std::tuple(prompter().asked().back().text, enabled(form, "txtCurDate")), std::tuple(u"Invalid Date"_s, true));
    type(form, "txtCurDate", u"2/2/2003"_s), click(form, "cmdChange");
    EXPECT_EQ(std::tuple(caption(form, "cmdChange"), text(form, "txtCurDate")), std::tuple(u"Change"_s, u"2/2/2003"_s));
}

TEST_P(FindFormTest, ChangeThatClashesPutsTheOldRowBack)
{
    frmFind form(s());
    find(form, u"AB100"_s), click(form, "cmdChange");
    type(form, {{"txtCurHeat", u"AB200"_s}, {"txtCurPart", u"p2"_s}, {"txtCurVend", u"Lost"_s}}), click(form, "cmdChange");
    const QString said = prompter().textOf(u"Error"_s);
    EXPECT_TRUE(said.startsWith(u"Record could not be re-added:\r\n"_s) && said.size() > u"Record could not be re-added:\r\n"_s.size()) << said.toStdString();
    EXPECT_EQ(std::tuple(prompter().asked().back().icon, boxes(form, {"txtCurHeat", "txtCurVend"}), caption(form, "cmdChange")),
              std::tuple(Icon::Critical, QStringList{u"AB100"_s, u"Acme Steel"_s}, u"Change"_s));
    EXPECT_EQ(std::tuple(rows(u"Info"_s, u"\"Heat #\" = 'AB100' AND \"Vend Name\" = 'Acme Steel'"_s), references()), std::tuple(1LL, 4LL));
}

TEST_P(FindFormTest, AddKeepsTheImageFieldsAndChecksNumberAndDate)
{
    frmFind form(s());
    find(form, u"AB300"_s), prompter().answer(Answer::Cancel), click(form, "cmdAddCur");
    EXPECT_EQ(std::tuple(prompter().textOf(u"Add reference only!"_s), caption(form, "cmdAddCur"), text(form, "txtCurHeat")),
              std::tuple(texts::AddReferenceOnly, u"Add"_s, u"AB300"_s));

    click(form, "cmdAddCur");
    EXPECT_EQ(caption(form, "cmdAddCur"), u"&Update"_s);
    EXPECT_EQ(boxes(form, {"txtCurHeat", "txtCurPart", "txtCurPO", "txtCurVend", "txtCurImgNum", "txtCurDate"}),
              (QStringList{QString(), QString(), u"PO3"_s, u"Other Co"_s, u"8"_s, u"2/1/2003"_s}));
    EXPECT_EQ(std::tuple(enabled(form, "txtCurImgNum"), base(form, "txtCurImgNum"), enabled(form, "cmdFind"), results(form)),
              std::tuple(true, form.palette().color(QPalette::Base), false, QString()));

    type(form, {{"txtCurHeat", u"NEW1"_s}, {"txtCurPart", u"NP1"_s}, {"txtCurImgNum", u"77"_s}}), prompter().answer(Answer::Ok), click(form, "cmdAddCur");
    EXPECT_EQ(std::tuple(prompter().wasAsked(u"Image Number Not on File!"_s), caption(form, "cmdAddCur")), std::tuple(true, u"&Update"_s));
    type(form, {{"txtCurImgNum", u"8"_s}, {"txtCurDate", u"someday"_s}}), prompter().answer(Answer::Ok), click(form, "cmdAddCur");
    EXPECT_EQ(std::tuple(prompter().textOf(u"Invalid Date!"_s), enabled(form, "cmdFind")), std::tuple(texts::InvalidDateReenter, false));
    type(form, "txtCurDate", u"2003-02-05"_s), click(form, "cmdAddCur");
    EXPECT_EQ(std::tuple(caption(form, "cmdAddCur"), enabled(form, "cmdFind"), enabled(form, "txtCurHeat"), text(form, "txtCurHeat")),
              std::tuple(u"Add"_s, true, false, QString()));
    EXPECT_EQ(rows(u"Info"_s, u"\"Heat #\" = 'NEW1' AND \"Image #\" = 8 AND \"P/O #\" = 'PO3'"_s), 1);

    // An add with no search at all: no image number means image 0, not on file.
    prompter().clear(), click(form, "cmdAddCur");
    EXPECT_EQ(text(form, "txtCurImgNum"), QString());
    prompter().answer(Answer::Cancel), click(form, "cmdAddCur");
    EXPECT_EQ(std::tuple(prompter().wasAsked(u"Image Number Not on File!"_s), enabled(form, "cmdFind"), caption(form, "cmdAddCur"), references()),
              std::tuple(true, true, u"Add"_s, 5LL));
}

TEST_P(FindFormTest, RemoveRefusesTheOnlyReference)
{
    frmFind form(s());
    find(form, u"AB300"_s), click(form, "cmdDelCur");
    EXPECT_EQ(std::tuple(prompter().wasAsked(u"Remove reference only!"_s), prompter().asked().front().icon, prompter().textOf(u"Can't remove only reference!"_s),
                         references(), results(form)),
              std::tuple(true, Icon::Exclamation, texts::OnlyReference, 4LL, u"1 found 1 shown"_s));

    prompter().clear(), find(form, u"AB100,AB200"_s);
    EXPECT_EQ(results(form), u"2 found 2 shown"_s);
    click(form, "cmdNext");
    const QString removed = text(form, "txtCurHeat");
    click(form, "cmdDelCur");
    // The search ran again.
    EXPECT_EQ(std::tuple(prompter().wasAsked(u"Can't remove only reference!"_s), references(), results(form)), std::tuple(false, 3LL, u"1 found 1 shown"_s));
    EXPECT_NE(text(form, "txtCurHeat"), removed);
    click(form, "cmdDelCur");
    EXPECT_EQ(std::tuple(prompter().wasAsked(u"Can't remove only reference!"_s), references()), std::tuple(true, 3LL));

    // Cancel removes nothing.
    prompter().clear(), prompter().answer(Answer::Cancel), click(form, "cmdDelCur");
    EXPECT_EQ(prompter().asked().size(), 1);
}

TEST_P(FindFormTest, GeometryIsKeptInTwips)
{
    QMdiArea area;
    area.resize(1200, 900), area.show();
    auto* form = new frmFind(s());
    QMdiSubWindow* sub = area.addSubWindow(form);
    sub->show(), sub->resize(700, 500), sub->move(30, 40), form->SaveFormSize();
    const auto key = [&](const char* name) { return ReadIniValue(site.localIni(), u"Form"_s, QLatin1String(name)).value; };
    for (const auto& [name, value] : {std::pair{"frmFindState", "0"}, {"frmFindWidth", "10500"}, {"frmFindHeight", "7500"},
                                      {"frmFindLeft", "450"}, {"frmFindTop", "600"}})
        EXPECT_EQ(key(name), S(value)) << name;

    WriteIniValue(site.localIni(), u"Form"_s, u"frmFindWidth"_s, u"12000"_s);
    WriteIniValue(site.localIni(), u"Form"_s, u"frmFindLeft"_s, u" "_s);
    sub->move(5, 5), form->GetFormSize();
    EXPECT_EQ(sub->geometry(), QRect(5, 40, 800, 500));

    // Closing the window keeps the state; a maximized form keeps its last normal size.
    sub->showMaximized(), sub->close();
    EXPECT_EQ(std::tuple(key("frmFindState"), key("frmFindWidth")), std::tuple(u"2"_s, u"12000"_s));
}

TARLOX_ON_BOTH_ENGINES(FindFormTest);

}  // namespace
