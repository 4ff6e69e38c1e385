#include "capture/forms/ScannerPageSource.h"

#include "capture/forms/frmVScan.h"
#include "data/Settings.h"
#include "store/PageImage.h"
#include "store/SaneDevice.h"
#include "store/SaneLibrary.h"
#include "support/SaneTestBackend.h"
#include "view/PageDocument.h"
#include "view/ViewerTestSupport.h"

#include <QApplication>
#include <QPushButton>
#include <QRadioButton>
#include <QTimer>
#include <QWidget>

#include <gtest/gtest.h>

using namespace tarlox;
using namespace tarlox::test;

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
