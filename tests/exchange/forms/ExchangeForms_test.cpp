#include "exchange/forms/frmExport.h"
#include "exchange/forms/frmImport.h"
#include "exchange/forms/frmImportTif.h"
#include "exchange/forms/frmMove.h"

#include "data/ImageData.h"
#include "data/Settings.h"
#include "store/PageImage.h"
#include "store/TiffWriter.h"
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

void addReports(Session& s, int count)
{
    for (qint32 n = 1; n <= count; ++n) {
        ASSERT_TRUE(WriteFile(QDir(s.dataDir).filePath(u"TR00000%1.TIF"_s.arg(n)), "x"));
        s.image = ImageRecord{n, s.dataDir, u" "_s, QDateTime::currentDateTime(), u" "_s, u"4"_s};
        s.info = InfoRecord{u"H"_s, u"P"_s, {}, {}, {}, QDateTime::currentDateTime(), n};
        ASSERT_TRUE(AddImageWithInfo(s, false));
    }
}

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
    addReports(s, 3);
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

// A missing data directory is refused before anything is read; a run
// indexes the tagged files, names the untagged one in its summary box and
// remembers the directory.
TEST(ExchangeForms, TifImportRefusesAMissingDataDirectoryAndTellsWhatItSkipped)
{
    TestSite site;
    ASSERT_TRUE(site.start());
    Session& s = site.session();
    const QString tifs = site.path(u"tifs"_s);
    ASSERT_TRUE(QDir().mkpath(tifs));
    QImage page(64, 64, QImage::Format_Mono);
    page.fill(1);
    SetDpi(page, Dpi{200, 200});
    ASSERT_TRUE(WriteTiff(tifs + u"/TR000031.TIF"_s, {page}, ReportTags::forReport(u"H31"_s, u"P31"_s, {}, {}, {})));
    ASSERT_TRUE(WriteTiff(tifs + u"/TR000032.TIF"_s, {page}, std::nullopt));
    frmImportTif form(s);
    child<QLineEdit>(form, "txtImportDir")->setText(tifs);
    auto* dataDir = child<QLineEdit>(form, "txtDataDir");
    QList<Prompt> prompts;
    for (const QString& dir : {site.path(u"missing"_s), s.dataDir}) {
        site.prompter().clear();
        dataDir->setText(dir);
        child<QPushButton>(form, "cmdImport")->click();
        ASSERT_EQ(site.prompter().asked().size(), 1);
        prompts << site.prompter().asked().first();
    }
    EXPECT_EQ(std::tuple(prompts[0].title, prompts[1].icon, prompts[1].text.contains(u"TR000032.TIF"_s), ReadImage(s, 31), ReadImage(s, 32)),
              std::tuple(u"No Data Directory"_s, Icon::Exclamation, true, true, false));
    EXPECT_EQ(std::tuple(child<QLineEdit>(form, "txtStatus")->text().startsWith(u"1 of 2 images imported"_s),
                         GetLocal(s, u"Info"_s, u"ImportTifDir"_s)),
              std::tuple(true, tifs));
}

// Move takes the found set's files to the target and closes; relink back
// to where the files no longer are skips every image and keeps the rows.
TEST(ExchangeForms, MoveCarriesTheFilesAndRelinkFindsNothingToLinkTo)
{
    TestSite site;
    ASSERT_TRUE(site.start());
    Session& s = site.session();
    addReports(s, 2);
    const QString home = s.dataDir, target = site.path(u"vol2"_s);
    ASSERT_TRUE(QDir().mkpath(target));
    for (const auto& [dir, button, movedTo] : {std::tuple(target, "cmdMove", target), std::tuple(home, "cmdRelink", target)}) {
        site.prompter().clear();
        frmMove form(s, SqlCondition{});
        child<QLineEdit>(form, "txtTargetDir")->setText(dir);
        child<QPushButton>(form, button)->click();
        ASSERT_TRUE(ReadImage(s, 2));
        EXPECT_EQ(std::tuple(s.image.path, QDir(target).entryList({u"TR*"_s}).size(), site.prompter().asked().size()),
                  std::tuple(movedTo, 2, QString(button) == u"cmdRelink"_s ? 1 : 0))
            << button;
    }
}

}  // namespace
