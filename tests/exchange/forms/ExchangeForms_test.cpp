#include "exchange/forms/frmExport.h"
#include "exchange/forms/frmImport.h"

#include "data/ImageData.h"
#include "data/Settings.h"
#include "support/FormControls.h"
#include "support/TestSite.h"

#include <QCheckBox>
#include <QDir>
#include <QLineEdit>
#include <QListWidget>
#include <QPushButton>
#include <QTimer>

#include <gtest/gtest.h>

using namespace tarlox;
using namespace tarlox::test;
using namespace Qt::StringLiterals;

namespace {

TEST(ExchangeForms, ImportOffersItsButtonForAnExportFileAndKeepsIncrementAndRenumberApart)
{
    TestSite site;
    ASSERT_TRUE(site.start());
    frmImport form(site.session());
    auto* file = child<QLineEdit>(form, "txtImportFile");
    auto* increment = child<QLineEdit>(form, "txtIncrement");
    auto* renumber = child<QCheckBox>(form, "chkChgImg");
    for (const char* name : {"a.exp", "b.EXP", "c.exp.exp", "d.exp.bak"})
        ASSERT_TRUE(WriteFile(site.path(QString::fromUtf8(name)), "x"));
    const struct { const char* file; bool offered; } files[] = {{"a.exp", true}, {"b.EXP", true}, {"c.exp.exp", false}, {"d.exp.bak", false}, {"missing.exp", false}};
    for (const auto& f : files) {
        file->setText(site.path(QString::fromUtf8(f.file)));
        EXPECT_EQ(child<QPushButton>(form, "cmdImport")->isEnabled(), f.offered) << f.file;
    }
    const struct { const char* typed; const char* kept; bool renumberOffered; } increments[] = {{"999999", "999999", false}, {"1000000", "", true}, {"0", "0", true}, {"12", "12", false}, {"", "", true}};
    for (const auto& i : increments) {
        increment->setText(QString::fromUtf8(i.typed));
        EXPECT_EQ(std::tuple(increment->text(), renumber->isEnabled()), std::tuple(QString::fromUtf8(i.kept), i.renumberOffered)) << i.typed;
    }
    increment->setText(u"7"_s);
    increment->clear();
    renumber->setChecked(true);
    EXPECT_EQ(std::tuple(increment->isEnabled(), increment->text()), std::tuple(false, QString()));
}

// Cancel pressed while the export runs takes effect between images: the
// export file holds whole images only, fewer than asked for.
TEST(ExchangeForms, CancelStopsAnExportBetweenImages)
{
    TestSite site;
    ASSERT_TRUE(site.start());
    Session& s = site.session();
    for (qint32 n = 1; n <= 3; ++n) {
        ASSERT_TRUE(WriteFile(QDir(s.dataDir).filePath(u"TR00000%1.TIF"_s.arg(n)), "x"));
        s.image = ImageRecord{n, s.dataDir, u" "_s, QDateTime::currentDateTime(), u" "_s, u"4"_s};
        s.info = InfoRecord{u"H"_s, u"P"_s, {}, {}, {}, QDateTime::currentDateTime(), n};
        ASSERT_TRUE(AddImageWithInfo(s, false));
    }
    const QString target = site.path(u"out"_s);
    ASSERT_TRUE(QDir().mkpath(target));
    auto* form = new frmExport(s, SqlCondition{});
    form->setAttribute(Qt::WA_DeleteOnClose);
    EXPECT_EQ(child<QListWidget>(form, "lstImages")->count(), 3);
    child<QLineEdit>(form, "txtExportDir")->setText(target + u'/');
    QTimer::singleShot(0, child<QPushButton>(form, "cmdCancel"), &QPushButton::click);
    child<QPushButton>(form, "cmdExport")->click();
    EXPECT_EQ(std::tuple(QDir(target).entryList({u"TR*"_s}).size() < 3, GetLocal(s, u"Info"_s, u"ExportDir"_s)), std::tuple(true, target));
}

}  // namespace
