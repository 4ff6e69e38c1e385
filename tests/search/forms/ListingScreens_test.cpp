#include "search/forms/ListingPreview.h"
#include "search/forms/frmAscii.h"

#include "search/SearchData.h"
#include "support/FormControls.h"
#include "support/TestSite.h"

#include <QFile>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>

using namespace tarlox;
using namespace tarlox::test;
using namespace Qt::StringLiterals;

namespace {

class ListingScreens : public SiteTest {
protected:
    void addReferences(int count)
    {
        QList<Ref> refs;
        for (int i = 1; i <= count; ++i)
            refs << Ref{u"H%1"_s.arg(i), u"P%1"_s.arg(i), u"PO"_s, u"Acme"_s, u"Mill"_s, i, QDateTime(QDate(2025, 3, 1), QTime(9, 0))};
        ASSERT_TRUE(addRefs(s(), refs));
    }
    static QByteArray contents(const QString& path)
    {
        QFile file(path);
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    }
};

// The preview pages forward and back, knows its last page once it has been
// there, and writes the whole listing to PDF and CSV files the person names.
TEST_P(ListingScreens, PreviewPagesAndSavesTheWholeListing)
{
    addReferences(150);
    ListingPreview preview(s(), ListingRequest{});
    auto* page = child<QLabel>(preview, "lblPage");
    EXPECT_EQ(std::tuple(page->text(), child<QPushButton>(preview, "cmdPrevious")->isEnabled()), std::tuple(u"Page 1"_s, false));
    child<QPushButton>(preview, "cmdLast")->click();
    const int last = preview.currentPage();
    EXPECT_EQ(std::tuple(last > 1, page->text(), child<QPushButton>(preview, "cmdNext")->isEnabled()),
              std::tuple(true, u"Page %1 of %1"_s.arg(last), false));
    EXPECT_FALSE(preview.grab().isNull());
    child<QPushButton>(preview, "cmdFirst")->click();
    EXPECT_EQ(std::tuple(preview.currentPage(), preview.showPage(last + 1)), std::tuple(1, false));
    const QString pdf = site.path(u"listing.pdf"_s), csv = site.path(u"listing.csv"_s);
    prompter().answerFile(pdf);
    child<QPushButton>(preview, "cmdPdf")->click();
    prompter().answerFile(csv);
    child<QPushButton>(preview, "cmdCsv")->click();
    EXPECT_EQ(std::tuple(contents(pdf).startsWith("%PDF"), contents(csv).count('\n'), prompter().titles().size()),
              std::tuple(true, 151, 2));  // the two file pickers, no error box
}

// The CSV of a date range: a name is asked for first, then the count of
// references written is told.
TEST_P(ListingScreens, AsciiListingWritesTheRangeToTheNamedFile)
{
    addReferences(3);
    frmAscii form(s());
    auto* name = child<QLineEdit>(form, "txtName");
    name->clear();
    child<QPushButton>(form, "cmdPrint")->click();
    const QString path = site.path(u"refs.csv"_s);
    prompter().answerFile(path);
    child<QPushButton>(form, "cmdFileName")->click();
    child<QPushButton>(form, "cmdPrint")->click();
    const QList<Prompt>& asked = prompter().asked();
    ASSERT_EQ(asked.size(), 3);
    EXPECT_EQ(std::tuple(asked[0].text, name->text(), asked[2].icon, asked[2].text, contents(path).count('\n')),
              std::tuple(u"Enter the name of the file to write."_s, path, Icon::Information, u"3 references written to "_s + path, 4));
}

TARLOX_ON_BOTH_ENGINES(ListingScreens);

}  // namespace
