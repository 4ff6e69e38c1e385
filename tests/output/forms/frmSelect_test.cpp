#include "output/forms/frmSelect.h"

#include "output/SelectImage.h"
#include "base/IniFile.h"
#include "view/forms/frmView.h"
#include "view/ViewerTestSupport.h"
#include "support/FormControls.h"
#include "support/SystemTexts.h"

#include <QLineEdit>
#include <QPushButton>
#include <QFile>

#include <gtest/gtest.h>

using namespace tarlox;
using namespace tarlox::test;

namespace {

class SelectScreen : public SiteTest {};

}  // namespace

TEST_P(SelectScreen, ShowsTheImageAndOpensANewViewerEachTime)
{
    const QString path = StoreReport(site, NumberedPages(3), 123, QStringLiteral("G"));
    ASSERT_FALSE(path.isEmpty());
    site.session().currentImage = 0;
    frmSelect* form = frmSelect::Open(site.session(), 123);
    ASSERT_NE(form, nullptr);
    EXPECT_EQ(child<QLineEdit>(form, "txtImg")->text(), QStringLiteral("TR000123.TIF"));
    EXPECT_EQ(child<QLineEdit>(form, "txtPages")->text(), QStringLiteral("3"));
    EXPECT_EQ(child<QLineEdit>(form, "txtSize")->text(), QStringLiteral("G"));
    EXPECT_EQ(child<QLineEdit>(form, "txtDate")->text(), QStringLiteral("3/5/2024"));
    EXPECT_TRUE(child<QPushButton>(form, "cmdPrint")->isVisible());
    // Fax and E-mail show when the program has those forms.
    EXPECT_FALSE(child<QPushButton>(form, "cmdFax")->isVisible());
    EXPECT_FALSE(child<QPushButton>(form, "cmdEmail")->isVisible());
    form->setSendForms(true, false);
    EXPECT_TRUE(child<QPushButton>(form, "cmdEmail")->isVisible());
    EXPECT_FALSE(child<QPushButton>(form, "cmdFax")->isVisible());
    EXPECT_TRUE(child<QPushButton>(form, "cmdView")->isVisible());
    EXPECT_EQ(ReadIniValue(site.localIni(), QStringLiteral("Info"), QStringLiteral("Last Image")).value, QStringLiteral("TR000123.TIF"));

    QList<qint32> asked;
    QObject::connect(form, &frmSelect::viewRequested, [&](qint32 image) { asked.append(image); });
    form->cmdView_Click();
    EXPECT_EQ(asked, QList<qint32>{123});
    EXPECT_EQ(site.session().imageFilePath, path);
    QObject::connect(form, &frmSelect::rescanRequested, [&](qint32 image) { asked.append(-image); });
    form->cmdReScan_Click();
    EXPECT_EQ(asked, (QList<qint32>{123, -123}));
}

TEST_P(SelectScreen, MissingImageRowOrFileSaysWhy)
{
    EXPECT_EQ(frmSelect::Open(site.session(), 777), nullptr);
    EXPECT_EQ(site.prompter().textOf(QStringLiteral("Error")), texts::ImageNotInDatabase);

    const QString path = StoreReport(site, NumberedPages(1), 124);
    QFile::remove(path);
    site.prompter().clear();
    // The volume holding the directory is the one the row names: the file is gone.
    EXPECT_EQ(frmSelect::Open(site.session(), 124), nullptr);
    EXPECT_EQ(site.prompter().textOf(QStringLiteral("Error")), texts::ImageFileGone);
}

TARLOX_ON_BOTH_ENGINES(SelectScreen);
