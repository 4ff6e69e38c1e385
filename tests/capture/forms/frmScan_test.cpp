#include "capture/forms/ScanPreview.h"
#include "base/IniFile.h"
#include "base/TextTools.h"
#include "capture/forms/ScannerOptionsDialog.h"
#include "capture/forms/ScannerPageSource.h"
#include "capture/forms/frmRescn.h"
#include "capture/forms/frmScan.h"
#include "capture/forms/frmScanChk.h"
#include "capture/forms/frmVScan.h"
#include "data/ImageData.h"
#include "data/Session.h"
#include "data/Settings.h"
#include "store/PageImage.h"
#include "store/SaneDevice.h"
#include "store/SaneLibrary.h"
#include "store/TiffReader.h"
#include "support/FormControls.h"
#include "support/SaneTestBackend.h"
#include "support/TestSite.h"
#include "view/PageDocument.h"
#include "view/ViewerTestSupport.h"

#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QRadioButton>
#include <QScrollBar>
#include <QTest>
#include <QTimer>
#include <QWidget>

#include <gtest/gtest.h>

using namespace tarlox;
using namespace tarlox::test;

namespace {

// The controls of the scan forms by name.
struct Controls {
    explicit Controls(QObject* f) : form(f) {}
    QObject* form;
    QLineEdit* line(const char* n) const { return child<QLineEdit>(form, n); }
    QRadioButton* option(const char* n) const { return child<QRadioButton>(form, n); }
    QPushButton* button(const char* n) const { return child<QPushButton>(form, n); }
    QScrollBar* hsbBright() const { return child<QScrollBar>(form, "hsbBright"); }
    QCheckBox* chkInvert() const { return child<QCheckBox>(form, "chkInvert"); }
};

// Answers the next "Scan Next Page" dialog the way a person would, by
// pressing one of its buttons once it is up.
void pressInScanCheck(const char* button)
{
    auto* timer = new QTimer;
    timer->setInterval(20);
    QObject::connect(timer, &QTimer::timeout, [timer, name = QString::fromLatin1(button)] {
        auto* dialog = qobject_cast<frmScanChk*>(QApplication::activeModalWidget());
        if (!dialog)
            return;
        EXPECT_FALSE(Controls(dialog).chkInvert()->isVisible()) << "no invert question after the pass";
        EXPECT_TRUE(Controls(dialog).button("cmdNo")->isDefault());
        dialog->findChild<QPushButton*>(name)->click();
        timer->stop();
        timer->deleteLater();
    });
    timer->start();
}

void showActive(QWidget& form)
{
    form.show();
    form.activateWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(&form));
}

class ScanForms : public ::testing::Test {
protected:
    static void SetUpTestSuite() { UseSaneTestBackend(); }
    void SetUp() override
    {
        ASSERT_TRUE(StartWithTestScanner(site));
        site.prompter().clear();
    }
    Session& s() { return site.session(); }
    TestSite site;
};

}  // namespace

TEST_F(ScanForms, LoadTakesTheSettingsAndTheSiteNames)
{
    PutLocal(s(), QStringLiteral("Info"), QStringLiteral("300dpi"), BoolToIni(true));
    PutLocal(s(), QStringLiteral("Info"), QStringLiteral("HighDPI"), QStringLiteral("400"));
    PutLocal(s(), QStringLiteral("Info"), QStringLiteral("Brightness"), QStringLiteral("-120"));
    s().poShort = QStringLiteral("Job");
    s().vendShort = QStringLiteral("Supplier");
    frmScan form(s());
    const Controls ui(&form);
    EXPECT_TRUE(ui.option("optLetter")->isChecked());
    EXPECT_TRUE(ui.option("opt300")->isChecked());
    EXPECT_EQ(ui.option("opt300")->text(), QStringLiteral("400dpi"));
    EXPECT_EQ(ui.hsbBright()->value(), -120);
    EXPECT_EQ(child<QLabel>(&form, "lblPO")->text(), QStringLiteral("Job:"));
    EXPECT_TRUE(ui.line("txtVend")->toolTip().contains(QStringLiteral("Supplier")));
}

// The keyboard rules: the ditto key of Part #, select-all on the kept
// fields, the brightness box held within its range and tied to its bar.
TEST_F(ScanForms, DittoKeyFocusAndBrightness)
{
    frmScan form(s());
    const Controls ui(&form);
    showActive(form);
    ui.line("txtPart")->setFocus();
    QTest::keyClicks(ui.line("txtPart"), QStringLiteral("A B"));
    QTest::keyClick(ui.line("txtPart"), '"');
    EXPECT_EQ(ui.line("txtPart")->text(), QStringLiteral("A B B"));
    EXPECT_EQ(ui.line("txtPart")->cursorPosition(), 5);
    QTest::keyClick(ui.line("txtPart"), 'C');
    EXPECT_EQ(ui.line("txtPart")->text(), QStringLiteral("A B BC"));

    ui.line("txtVend")->setText(QStringLiteral("Acme"));
    QTest::mouseClick(ui.line("txtVend"), Qt::LeftButton);
    QTest::qWait(50);
    EXPECT_EQ(ui.line("txtVend")->selectedText(), QStringLiteral("Acme")) << "typing replaces what was kept";
    QTest::keyClicks(ui.line("txtVend"), QStringLiteral("Bolt"));
    EXPECT_EQ(ui.line("txtVend")->text(), QStringLiteral("Bolt"));

    for (auto [typed, shown] : {std::pair{"abc", "0"}, {"5000", "1000"}, {"-77", "-77"}}) {
        ui.line("txtBright")->setFocus();
        ui.line("txtBright")->selectAll();
        QTest::keyClicks(ui.line("txtBright"), QLatin1String(typed));
        ui.line("txtHeat")->setFocus();
        EXPECT_EQ(ui.line("txtBright")->text(), QLatin1String(shown)) << typed;
        EXPECT_EQ(ui.hsbBright()->value(), ui.line("txtBright")->text().toInt());
    }
    ui.hsbBright()->setValue(350);
    EXPECT_EQ(ui.line("txtBright")->text(), QStringLiteral("350"));
    EXPECT_EQ(form.fields().brightness, 350);
}

// Scan from the form, two sheets (Yes, then No in the check dialog): each
// page shows beside the fields while scanning; afterwards Heat # and Part #
// are blank with the focus on Heat #, and everything else is kept for the next report.
TEST_F(ScanForms, ScanClearsHeatAndPartAndKeepsTheRest)
{
    frmScan form(s());
    const Controls ui(&form);
    form.resize(1000, 640);
    showActive(form);
    QTest::keyClicks(ui.line("txtHeat"), QStringLiteral("H-1001 H-1002"));
    QTest::keyClicks(ui.line("txtPart"), QStringLiteral("BAR-7"));
    QTest::keyClick(ui.line("txtPart"), '"');
    QTest::keyClicks(ui.line("txtPO"), QStringLiteral("4711"));
    QTest::keyClicks(ui.line("txtVend"), QStringLiteral("Acme Steel"));
    QTest::keyClicks(ui.line("txtMfg"), QStringLiteral("Northern Mill"));
    ui.option("optLegal")->setChecked(true);
    ui.hsbBright()->setValue(-200);

    QList<int> pages;
    QObject::connect(&form, &frmScan::pageShown, [&](int number) {
        pages << number;
        EXPECT_FALSE(ui.button("cmdScan")->isEnabled());
        EXPECT_FALSE(child<ScanPreview>(&form, "imcMain")->page().isNull()) << "the page shows while scanning";
        pressInScanCheck(number < 2 ? "cmdYes" : "cmdNo");
    });
    ui.button("cmdScan")->click();

    EXPECT_EQ(pages, (QList<int>{1, 2}));
    ASSERT_TRUE(form.lastResult().stored()) << site.prompter().titles().join(QLatin1Char('|')).toStdString();
    EXPECT_TRUE(ui.line("txtHeat")->text().isEmpty());
    EXPECT_TRUE(ui.line("txtPart")->text().isEmpty());
    EXPECT_EQ(ui.line("txtMfg")->text(), QStringLiteral("Northern Mill"));
    EXPECT_TRUE(ui.option("optLegal")->isChecked());
    EXPECT_EQ(ui.line("txtBright")->text(), QStringLiteral("-200"));
    EXPECT_EQ(form.focusWidget(), ui.line("txtHeat"));
    EXPECT_EQ(site.prompter().titles(), QStringList{QStringLiteral("Prepare to Scan")});
    EXPECT_EQ(s().info.part, QStringLiteral("BAR-7 BAR-7"));
    auto reader = TiffReader::open(s().imageFilePath);
    ASSERT_TRUE(reader.ok());
    EXPECT_EQ(reader->pageCount(), 2);
    EXPECT_EQ(reader->tags().part, QStringLiteral("BAR-7 BAR-7"));
    EXPECT_NEAR(reader->pageInfo(0)->height, 2800, 1);

    // A refused entry keeps the fields as typed, focus on Heat #.
    site.prompter().clear();
    QTest::keyClicks(ui.line("txtPart"), QStringLiteral("P9"));
    ui.button("cmdScan")->click();
    EXPECT_EQ(form.lastResult().outcome, ScanEntry::Outcome::Refused);
    EXPECT_EQ(ui.line("txtPart")->text(), QStringLiteral("P9"));
    EXPECT_EQ(form.focusWidget(), ui.line("txtHeat"));

    // Closing keeps the window's place for next time.
    form.close();
    EXPECT_EQ(ReadIniValue(site.localIni(), QStringLiteral("Form"), QStringLiteral("frmScanState")).value, QStringLiteral("0"));
    EXPECT_EQ(ReadIniValue(site.localIni(), QStringLiteral("Form"), QStringLiteral("frmScanWidth")).value, QStringLiteral("15000"));
}

TEST_F(ScanForms, ScanCheckDialogAndItsInvertBox)
{
    QImage page = NewMonoPage(80, 100);
    QList<uint> shownPixels;
    frmScanChk withPage(&page, [&](const QImage& shown) { shownPixels << shown.pixelIndex(0, 0); });
    withPage.show();
    EXPECT_TRUE(Controls(&withPage).chkInvert()->isVisible());
    Controls(&withPage).chkInvert()->click();
    EXPECT_EQ(page.pixelIndex(0, 0), 1) << "black for white";
    EXPECT_EQ(shownPixels, QList<uint>{1}) << "the form shows the inverted page";
    Controls(&withPage).chkInvert()->click();
    EXPECT_EQ(page.pixelIndex(0, 0), 0) << "and back";
    EXPECT_EQ(shownPixels, (QList<uint>{1, 0}));
    Controls(&withPage).button("cmdYes")->click();
    EXPECT_EQ(withPage.ScanCheckResult(), Answer::Yes);

    frmScanChk plain(nullptr, {});
    plain.show();
    EXPECT_FALSE(Controls(&plain).chkInvert()->isVisible());
    Controls(&plain).button("cmdCancel")->click();
    EXPECT_EQ(plain.ScanCheckResult(), Answer::Cancel);
}

TEST_F(ScanForms, PageScanDialogOfTheViewer)
{
    s().dpi = QStringLiteral("300");
    s().brightness = 150;
    {
        frmVScan dialog(s());
        EXPECT_TRUE(Controls(&dialog).option("opt300")->isChecked());
        EXPECT_EQ(Controls(&dialog).line("txtBright")->text(), QStringLiteral("150"));
        Controls(&dialog).option("opt200")->setChecked(true);
        Controls(&dialog).hsbBright()->setValue(-30);
        Controls(&dialog).button("cmdScan")->click();
        EXPECT_TRUE(dialog.scanWanted());
        EXPECT_EQ(dialog.result(), QDialog::Accepted);
    }
    EXPECT_EQ(s().dpi, QStringLiteral("200"));
    EXPECT_EQ(s().brightness, -30);
    PutLocal(s(), QStringLiteral("Info"), QStringLiteral("HighDPI"), QStringLiteral("300"));
    s().dpi = QStringLiteral("400");
    frmVScan other(s());
    EXPECT_TRUE(Controls(&other).option("opt200")->isChecked()) << "only a session resolution of exactly 300 selects the high one";
    Controls(&other).button("cmdScanCancel")->click();
    EXPECT_FALSE(other.scanWanted());
    EXPECT_EQ(s().dpi, QStringLiteral("400"));
}

TEST_F(ScanForms, RescanFormOpensOnTheImagesSize)
{
    PutLocal(s(), QStringLiteral("Info"), QStringLiteral("300dpi"), BoolToIni(true));
    s().image = ImageRecord{7, site.path(QStringLiteral("DATA")), QStringLiteral(" "), QDateTime::currentDateTime(), QStringLiteral("A"), QStringLiteral("4")};
    ASSERT_TRUE(AddImage(s(), false));
    s().currentImage = 7;
    frmRescn form(s());
    EXPECT_TRUE(Controls(&form).option("optA4")->isChecked());
    EXPECT_TRUE(Controls(&form).option("opt200")->isChecked()) << "always the low resolution";
    EXPECT_EQ(form.choices().pageSizeCode, QStringLiteral("A"));
    EXPECT_TRUE(site.prompter().asked().isEmpty());
}

// The scanner's settings from its own descriptions: a change goes to the
// device and the dialog shows the device's options as they then are.
TEST_F(ScanForms, ScannerSettingsDialogFromTheDevice)
{
    auto device = SaneDevice::open(QStringLiteral("test:0"));
    ASSERT_TRUE(device.ok());
    ScannerOptionsDialog dialog(**device);
    auto* mode = dialog.findChild<QComboBox*>(QStringLiteral("mode"));
    ASSERT_NE(mode, nullptr);
    EXPECT_EQ(mode->currentText(), QStringLiteral("Gray"));
    auto* threePass = dialog.findChild<QWidget*>(QStringLiteral("three-pass"));
    ASSERT_NE(threePass, nullptr);
    EXPECT_FALSE(threePass->isEnabled()) << "inactive in grey";
    mode->setCurrentIndex(mode->findText(QStringLiteral("Color")));
    Q_EMIT mode->textActivated(QStringLiteral("Color"));
    QApplication::processEvents();
    EXPECT_EQ((*device)->value(QStringLiteral("mode")).toString(), QStringLiteral("Color"));
    threePass = dialog.findChild<QWidget*>(QStringLiteral("three-pass"));
    ASSERT_NE(threePass, nullptr);
    EXPECT_TRUE(threePass->isEnabled()) << "the dialog was built again from the device";
}

namespace {

// The person at "Scanning Dialog": picks the high resolution (or not) and
// presses one of its buttons once it is up.
void answerScanningDialog(const char* button, bool highResolution)
{
    auto* timer = new QTimer;
    timer->setInterval(20);
    QObject::connect(timer, &QTimer::timeout, [timer, highResolution, name = QString::fromLatin1(button)] {
        auto* dialog = qobject_cast<frmVScan*>(QApplication::activeModalWidget());
        if (!dialog)
            return;
        dialog->findChild<QRadioButton*>(highResolution ? QStringLiteral("opt300") : QStringLiteral("opt200"))->setChecked(true);
        dialog->findChild<QPushButton*>(name)->click();
        timer->deleteLater();
    });
    timer->start();
}

class ViewerScanner : public ::testing::Test {
protected:
    static void SetUpTestSuite() { UseSaneTestBackend(); }

    void SetUp() override
    {
        ASSERT_TRUE(StartWithTestScanner(site));
        path = StoreReport(site, NumberedPages(2));
        ASSERT_FALSE(path.isEmpty());
        doc.load();
        doc.FirstImage();
        site.prompter().clear();
    }

    TestSite site{Engine::Sqlite};
    ViewerHost host;
    PageDocument doc{site.session(), &host};
    QWidget window;
    ScannerPageSource scanner{site.session(), &window};
    QString path;
};

}  // namespace

// Append and Insert through the real scanner: the page arrives in two
// colours at the resolution chosen in the dialog, cut to the Letter frame.
TEST_F(ViewerScanner, AppendsAScannedPageAtTheChosenResolution)
{
    answerScanningDialog("cmdScan", true);
    site.prompter().answer(Answer::Ok);
    doc.mnuScan_Click(3, &scanner);
    EXPECT_TRUE(site.prompter().wasAsked(QStringLiteral("Prepare to Scan")));
    EXPECT_FALSE(site.prompter().wasAsked(QStringLiteral("Scanner Error"))) << site.prompter().titles().join(QLatin1Char('|')).toStdString();
    auto reader = TiffReader::open(path);
    ASSERT_TRUE(reader.ok());
    ASSERT_EQ(reader->pageCount(), 3);
    const auto added = reader->readPage(2);
    EXPECT_EQ(qRound(DpiOf(*added).y), 300);
    // The test device measures its frame in whole millimetres: a line may go.
    EXPECT_NEAR(added->height(), 3300, 1);
    EXPECT_EQ(site.session().dpi, QStringLiteral("300"));
    EXPECT_EQ(doc.currentPage(), 3);

    answerScanningDialog("cmdScan", false);
    site.prompter().answer(Answer::Ok);
    doc.goToPage(1);
    doc.mnuScan_Click(2, &scanner);
    reader = TiffReader::open(path);
    ASSERT_EQ(reader->pageCount(), 4);
    EXPECT_NEAR(reader->readPage(0)->height(), 2200, 1);
    EXPECT_EQ(PageNumberOf(*reader->readPage(1)), 1);
}

TEST_F(ViewerScanner, CancelInTheDialogScansNothing)
{
    answerScanningDialog("cmdScanCancel", false);
    doc.mnuScan_Click(3, &scanner);
    EXPECT_FALSE(site.prompter().wasAsked(QStringLiteral("Prepare to Scan")));
    EXPECT_EQ(PageNumbersOf(path), (QList<int>{1, 2}));
}

// A jam ends the page scan with the scanner's reason and leaves the file as it was.
TEST_F(ViewerScanner, AJamKeepsTheFile)
{
    // The test device keeps its read status from one opening to the next
    // while SANE runs; holding the library keeps it running.
    const auto library = SaneLibrary::acquire();
    ASSERT_TRUE(library);
    {
        auto device = SaneDevice::open(QStringLiteral("test:0"));
        ASSERT_TRUE(device.ok());
        ASSERT_TRUE((*device)->setValue(QStringLiteral("read-return-value"), QStringLiteral("SANE_STATUS_JAMMED")).ok());
    }
    answerScanningDialog("cmdScan", false);
    site.prompter().answer(Answer::Ok);
    site.prompter().answer(Answer::Ok);
    doc.mnuScan_Click(3, &scanner);
    EXPECT_TRUE(site.prompter().wasAsked(QStringLiteral("Scanner Error"))) << site.prompter().titles().join(QLatin1Char('|')).toStdString();
    EXPECT_EQ(PageNumbersOf(path), (QList<int>{1, 2}));
}
