#include "base/IniFile.h"
#include "base/TextTools.h"
#include "capture/forms/ScanPreview.h"
#include "capture/forms/ScannerOptionsDialog.h"
#include "capture/forms/ScannerPageSource.h"
#include "capture/forms/frmRescn.h"
#include "capture/forms/frmScan.h"
#include "capture/forms/frmScanChk.h"
#include "capture/forms/frmVScan.h"
#include "data/ImageData.h"
#include "data/Settings.h"
#include "store/SaneDevice.h"
#include "store/SaneLibrary.h"
#include "store/TiffReader.h"
#include "support/FormControls.h"
#include "support/SaneTestBackend.h"
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

// The person at the next modal Dialog: once it is up, looks at it (and
// sets what they would), then presses one of its buttons.
template <class Dialog> void pressInDialog(const char* button, const std::function<void(Controls)>& look = {})
{
    auto* timer = new QTimer;
    timer->setInterval(20);
    QObject::connect(timer, &QTimer::timeout, [timer, look, name = button] {
        auto* dialog = qobject_cast<Dialog*>(QApplication::activeModalWidget());
        if (!dialog) return;
        if (look) look(Controls(dialog));
        Controls(dialog).button(name)->click();
        timer->stop(), timer->deleteLater();
    });
    timer->start();
}

// Answers the next "Scan Next Page" dialog, which asks no invert question after the pass.
void pressInScanCheck(const char* button)
{
    pressInDialog<frmScanChk>(button, [](Controls ui) { EXPECT_TRUE(!ui.chkInvert()->isVisible() && ui.button("cmdNo")->isDefault()); });
}

void showActive(QWidget& form) { form.show(), form.activateWindow(); ASSERT_TRUE(QTest::qWaitForWindowActive(&form)); }

class ScanForms : public ::testing::Test {
protected:
    static void SetUpTestSuite() { UseSaneTestBackend(); }
    void SetUp() override { ASSERT_TRUE(StartWithTestScanner(site)); site.prompter().clear(); }
    Session& s() { return site.session(); }
    void set(const char* key, const QString& value) { PutLocal(s(), QStringLiteral("Info"), QLatin1String(key), value); }
    TestSite site;
};

TEST_F(ScanForms, LoadTakesTheSettingsAndTheSiteNames)
{
    set("300dpi", BoolToIni(true)), set("HighDPI", QStringLiteral("400")), set("Brightness", QStringLiteral("-120"));
    s().poShort = QStringLiteral("Job"), s().vendShort = QStringLiteral("Supplier");
    frmScan form(s());
    const Controls ui(&form);
    EXPECT_EQ(std::tuple(ui.option("optLetter")->isChecked(), ui.option("opt300")->isChecked(), ui.option("opt300")->text(), ui.hsbBright()->value(),
                         child<QLabel>(&form, "lblPO")->text(), ui.line("txtVend")->toolTip().contains(QStringLiteral("Supplier"))),
              std::tuple(true, true, QStringLiteral("400dpi"), -120, QStringLiteral("Job:"), true));
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
    const auto ditto = std::pair(ui.line("txtPart")->text(), ui.line("txtPart")->cursorPosition());
    QTest::keyClick(ui.line("txtPart"), 'C');
    EXPECT_EQ(std::tuple(ditto, ui.line("txtPart")->text()), std::tuple(std::pair(QStringLiteral("A B B"), 5), QStringLiteral("A B BC")));

    ui.line("txtVend")->setText(QStringLiteral("Acme"));
    QTest::mouseClick(ui.line("txtVend"), Qt::LeftButton);
    QTest::qWait(50);
    const QString selected = ui.line("txtVend")->selectedText();
    QTest::keyClicks(ui.line("txtVend"), QStringLiteral("Bolt"));
    EXPECT_EQ((QStringList{selected, ui.line("txtVend")->text()}), (QStringList{QStringLiteral("Acme"), QStringLiteral("Bolt")})) << "typing replaces what was kept";

    for (auto [typed, shown] : {std::pair{"abc", "0"}, {"5000", "1000"}, {"-77", "-77"}}) {
        ui.line("txtBright")->setFocus(), ui.line("txtBright")->selectAll();
        QTest::keyClicks(ui.line("txtBright"), QLatin1String(typed));
        ui.line("txtHeat")->setFocus();
        EXPECT_EQ(std::pair(ui.line("txtBright")->text(), ui.hsbBright()->value()), std::pair(QString::fromLatin1(shown), QByteArray(shown).toInt())) << typed;
    }
    ui.hsbBright()->setValue(350);
    EXPECT_EQ(std::pair(ui.line("txtBright")->text(), form.fields().brightness), std::pair(QStringLiteral("350"), 350));
}

// Scan from the form, two sheets (Yes, then No in the check dialog): each
// page shows beside the fields while scanning; afterwards Heat # and Part #
// are blank with the focus on Heat #, and everything else is kept for the next report.
TEST_F(ScanForms, ScanClearsHeatAndPartAndKeepsTheRest)
{
    frmScan form(s());
    const Controls ui(&form);
    form.resize(1000, 640), showActive(form);
    for (auto [box, typed] : {std::pair{"txtHeat", "H-1001 H-1002"}, {"txtPart", "BAR-7\""}, {"txtPO", "4711"}, {"txtVend", "Acme Steel"}, {"txtMfg", "Northern Mill"}})
        QTest::keyClicks(ui.line(box), QLatin1String(typed));
    ui.option("optLegal")->setChecked(true), ui.hsbBright()->setValue(-200);

    QList<int> pages;
    QObject::connect(&form, &frmScan::pageShown, [&](int number) {
        pages << number;
        EXPECT_FALSE(ui.button("cmdScan")->isEnabled() || child<ScanPreview>(&form, "imcMain")->page().isNull()) << "the page shows while scanning";
        pressInScanCheck(number < 2 ? "cmdYes" : "cmdNo");
    });
    ui.button("cmdScan")->click();

    EXPECT_EQ(pages, (QList<int>{1, 2}));
    ASSERT_TRUE(form.lastResult().stored()) << site.prompter().titles().join(QLatin1Char('|')).toStdString();
    EXPECT_EQ(std::tuple(ui.line("txtHeat")->text(), ui.line("txtPart")->text(), ui.line("txtMfg")->text(), ui.option("optLegal")->isChecked(),
                         ui.line("txtBright")->text(), form.focusWidget() == ui.line("txtHeat")),
              std::tuple(QString(), QString(), QStringLiteral("Northern Mill"), true, QStringLiteral("-200"), true));
    EXPECT_EQ(std::pair(site.prompter().titles(), s().info.part), std::pair(QStringList{QStringLiteral("Prepare to Scan")}, QStringLiteral("BAR-7 BAR-7")));
    auto reader = TiffReader::open(s().imageFilePath);
    ASSERT_TRUE(reader.ok());
    EXPECT_EQ(std::tuple(reader->pageCount(), reader->tags().part, std::abs(reader->pageInfo(0)->height - 2800) <= 1),
              std::tuple(2, QStringLiteral("BAR-7 BAR-7"), true)) << reader->pageInfo(0)->height;

    // A refused entry keeps the fields as typed, focus on Heat #.
    site.prompter().clear(), QTest::keyClicks(ui.line("txtPart"), QStringLiteral("P9")), ui.button("cmdScan")->click();
    EXPECT_EQ(std::tuple(form.lastResult().outcome, ui.line("txtPart")->text(), form.focusWidget() == ui.line("txtHeat")),
              std::tuple(ScanEntry::Outcome::Refused, QStringLiteral("P9"), true));

    // Closing keeps the window's place for next time.
    form.close();
    const auto kept = [&](const char* key) { return ReadIniValue(site.localIni(), QStringLiteral("Form"), QLatin1String(key)).value; };
    EXPECT_EQ(std::pair(kept("frmScanState"), kept("frmScanWidth")), std::pair(QStringLiteral("0"), QStringLiteral("15000")));
}

TEST_F(ScanForms, ScanCheckDialogAndItsInvertBox)
{
    QImage page = NewMonoPage(80, 100);
    QList<uint> shownPixels;
    frmScanChk withPage(&page, [&](const QImage& shown) { shownPixels << shown.pixelIndex(0, 0); });
    withPage.show();
    const Controls ui(&withPage);
    const bool visible = ui.chkInvert()->isVisible();
    ui.chkInvert()->click();
    EXPECT_EQ(std::tuple(visible, page.pixelIndex(0, 0), shownPixels), std::tuple(true, 1, QList<uint>{1})) << "black for white, and shown so";
    ui.chkInvert()->click(), ui.button("cmdYes")->click();
    EXPECT_EQ(std::tuple(page.pixelIndex(0, 0), shownPixels, withPage.ScanCheckResult()), std::tuple(0, QList<uint>{1, 0}, Answer::Yes)) << "and back";

    frmScanChk plain(nullptr, {});
    plain.show();
    const bool plainVisible = Controls(&plain).chkInvert()->isVisible();
    Controls(&plain).button("cmdCancel")->click();
    EXPECT_EQ(std::pair(plainVisible, plain.ScanCheckResult()), std::pair(false, Answer::Cancel));
}

TEST_F(ScanForms, PageScanDialogOfTheViewer)
{
    s().dpi = QStringLiteral("300"), s().brightness = 150;
    {
        frmVScan dialog(s());
        const Controls ui(&dialog);
        EXPECT_EQ(std::pair(ui.option("opt300")->isChecked(), ui.line("txtBright")->text()), std::pair(true, QStringLiteral("150")));
        ui.option("opt200")->setChecked(true), ui.hsbBright()->setValue(-30), ui.button("cmdScan")->click();
        EXPECT_EQ(std::pair(dialog.scanWanted(), dialog.result()), std::pair(true, int(QDialog::Accepted)));
    }
    EXPECT_EQ(std::pair(s().dpi, s().brightness), std::pair(QStringLiteral("200"), std::optional<int>(-30)));
    set("HighDPI", QStringLiteral("300")), s().dpi = QStringLiteral("400");
    frmVScan other(s());
    const bool low = Controls(&other).option("opt200")->isChecked();  // only a session resolution of exactly 300 selects the high one
    Controls(&other).button("cmdScanCancel")->click();
    EXPECT_EQ(std::tuple(low, other.scanWanted(), s().dpi), std::tuple(true, false, QStringLiteral("400")));
}

TEST_F(ScanForms, RescanFormOpensOnTheImagesSize)
{
    set("300dpi", BoolToIni(true));
    s().image = ImageRecord{7, site.path(QStringLiteral("DATA")), QStringLiteral(" "), QDateTime::currentDateTime(), QStringLiteral("A"), QStringLiteral("4")};
    ASSERT_TRUE(AddImage(s(), false));
    s().currentImage = 7;
    frmRescn form(s());
    // Always the low resolution.
    EXPECT_EQ(std::tuple(Controls(&form).option("optA4")->isChecked(), Controls(&form).option("opt200")->isChecked(), form.choices().pageSizeCode,
                         site.prompter().asked().isEmpty()),
              std::tuple(true, true, QStringLiteral("A"), true));
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
    const auto threePassEnabled = [&] {
        auto* threePass = dialog.findChild<QWidget*>(QStringLiteral("three-pass"));
        return threePass ? std::optional(threePass->isEnabled()) : std::nullopt;
    };
    EXPECT_EQ(std::pair(mode->currentText(), threePassEnabled()), std::pair(QStringLiteral("Gray"), std::optional(false))) << "inactive in grey";
    mode->setCurrentIndex(mode->findText(QStringLiteral("Color")));
    Q_EMIT mode->textActivated(QStringLiteral("Color"));
    QApplication::processEvents();
    EXPECT_EQ(std::pair((*device)->value(QStringLiteral("mode")).toString(), threePassEnabled()), std::pair(QStringLiteral("Color"), std::optional(true)))
        << "the dialog was built again from the device";
}

// The person at "Scanning Dialog": picks the high resolution (or not) and presses a button.
void answerScanningDialog(const char* button, bool highResolution)
{
    pressInDialog<frmVScan>(button, [highResolution](Controls ui) { ui.option(highResolution ? "opt300" : "opt200")->setChecked(true); });
}

class ViewerScanner : public ::testing::Test {
protected:
    static void SetUpTestSuite() { UseSaneTestBackend(); }

    void SetUp() override
    {
        ASSERT_TRUE(StartWithTestScanner(site));
        path = StoreReport(site, NumberedPages(2));
        ASSERT_FALSE(path.isEmpty());
        doc.load(), doc.FirstImage(), site.prompter().clear();
    }

    TestSite site{Engine::Sqlite};
    ViewerHost host;
    PageDocument doc{site.session(), &host};
    QWidget window;
    ScannerPageSource scanner{site.session(), &window};
    QString path;
};

// Append and Insert through the real scanner: the page arrives in two
// colours at the resolution chosen in the dialog, cut to the Letter frame.
TEST_F(ViewerScanner, AppendsAScannedPageAtTheChosenResolution)
{
    answerScanningDialog("cmdScan", true), site.prompter().answer(Answer::Ok), doc.mnuScan_Click(3, &scanner);
    EXPECT_TRUE(site.prompter().wasAsked(QStringLiteral("Prepare to Scan")) && !site.prompter().wasAsked(QStringLiteral("Scanner Error")))
        << site.prompter().titles().join(QLatin1Char('|')).toStdString();
    auto reader = TiffReader::open(path);
    ASSERT_TRUE(reader.ok() && reader->pageCount() == 3);
    const auto added = reader->readPage(2);
    // The test device measures its frame in whole millimetres: a line may go.
    EXPECT_EQ(std::tuple(qRound(DpiOf(*added).y), site.session().dpi, doc.currentPage(), std::abs(added->height() - 3300) <= 1), std::tuple(300, QStringLiteral("300"), 3, true));

    answerScanningDialog("cmdScan", false), site.prompter().answer(Answer::Ok), doc.goToPage(1), doc.mnuScan_Click(2, &scanner);
    reader = TiffReader::open(path);
    ASSERT_EQ(reader->pageCount(), 4);
    EXPECT_EQ(std::pair(std::abs(reader->readPage(0)->height() - 2200) <= 1, PageNumberOf(*reader->readPage(1))), std::pair(true, 1));
}

TEST_F(ViewerScanner, CancelInTheDialogScansNothing)
{
    answerScanningDialog("cmdScanCancel", false), doc.mnuScan_Click(3, &scanner);
    EXPECT_EQ(std::pair(site.prompter().wasAsked(QStringLiteral("Prepare to Scan")), PageNumbersOf(path)), std::pair(false, QList<int>{1, 2}));
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
        ASSERT_TRUE(device.ok() && (*device)->setValue(QStringLiteral("read-return-value"), QStringLiteral("SANE_STATUS_JAMMED")).ok());
    }
    answerScanningDialog("cmdScan", false), site.prompter().answer(Answer::Ok), site.prompter().answer(Answer::Ok), doc.mnuScan_Click(3, &scanner);
    EXPECT_EQ(std::pair(site.prompter().wasAsked(QStringLiteral("Scanner Error")), PageNumbersOf(path)), std::pair(true, QList<int>{1, 2}))
        << site.prompter().titles().join(QLatin1Char('|')).toStdString();
}

}  // namespace
