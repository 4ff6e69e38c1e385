#include "output/forms/frmSelect.h"

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
    QStringList boxes;
    for (const char* name : {"txtImg", "txtPages", "txtSize", "txtDate"})
        boxes << child<QLineEdit>(form, name)->text();
    EXPECT_EQ(boxes, (QStringList{QStringLiteral("TR000123.TIF"), QStringLiteral("3"), QStringLiteral("G"), QStringLiteral("3/5/2024")}));
    // Print, View, E-mail, Fax: the last two show when the program has those forms.
    const auto shown = [&] {
        QList<bool> visible;
        for (const char* name : {"cmdPrint", "cmdView", "cmdEmail", "cmdFax"})
            visible << child<QPushButton>(form, name)->isVisible();
        return visible;
    };
    EXPECT_EQ(shown(), (QList<bool>{true, true, false, false}));
    form->setSendForms(true, false);
    EXPECT_EQ(shown(), (QList<bool>{true, true, true, false}));
    EXPECT_EQ(ReadIniValue(site.localIni(), QStringLiteral("Info"), QStringLiteral("Last Image")).value, QStringLiteral("TR000123.TIF"));

    QList<qint32> asked;
    QObject::connect(form, &frmSelect::viewRequested, [&](qint32 image) { asked.append(image); });
    form->cmdView_Click();
    EXPECT_EQ(std::pair(asked, site.session().imageFilePath), std::pair(QList<qint32>{123}, path));
    QObject::connect(form, &frmSelect::rescanRequested, [&](qint32 image) { asked.append(-image); });
    form->cmdReScan_Click();
    EXPECT_EQ(asked, (QList<qint32>{123, -123}));
}

TEST_P(SelectScreen, MissingImageRowOrFileSaysWhy)
{
    EXPECT_TRUE(!frmSelect::Open(site.session(), 777) && site.prompter().textOf(QStringLiteral("Error")) == texts::ImageNotInDatabase);

    const QString path = StoreReport(site, NumberedPages(1), 124);
    QFile::remove(path);
    site.prompter().clear();
    // The volume holding the directory is the one the row names: the file is gone.
    EXPECT_TRUE(!frmSelect::Open(site.session(), 124) && site.prompter().textOf(QStringLiteral("Error")) == texts::ImageFileGone);
}

TARLOX_ON_BOTH_ENGINES(SelectScreen);
