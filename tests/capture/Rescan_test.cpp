#include "capture/Rescan.h"
#include "capture/ScanEntry.h"
#include "data/DataOp.h"
#include "data/ImageData.h"
#include "data/Settings.h"
#include "store/ImageStore.h"
#include "store/SaneDevice.h"
#include "store/ScannerSession.h"
#include "store/TiffReader.h"
#include "support/SaneTestBackend.h"
#include "support/SystemTexts.h"
#include "support/TestSite.h"

#include <QCoreApplication>
#include <QFile>

#include <gtest/gtest.h>

using namespace tarlox;
using namespace tarlox::test;

namespace {

class RescanTest : public SiteTest {
protected:
    static void SetUpTestSuite()
    {
        UseSaneTestBackend();
    }

    void SetUp() override
    {
        ASSERT_TRUE(StartWithTestScanner(site));
        // A Letter report of two heats, scanned the everyday way, made current as the select form does.
        ScanEntryFields f;
        f.heat = QStringLiteral("H1 H2");
        f.part = QStringLiteral("P1 P2");
        f.po = QStringLiteral("PO1 PO2");
        ScanEntry scan(s());
        const ScanEntry::Result result = scan.cmdScan_Click(f);
        ASSERT_TRUE(result.stored());
        number = result.imageNumber;
        ASSERT_TRUE(GetImage(s(), number));
        prompter().clear();
    }

    QString size()
    {
        DataOp op(s(), QStringLiteral("test"));
        auto value = op.scalar(QStringLiteral("SELECT \"Size\" FROM \"Images\" WHERE \"Image #\" = %1").arg(number));
        return value ? value->toString() : QStringLiteral("(failed)");
    }
    int heightOfFirstPage()
    {
        auto reader = TiffReader::open(s().imageFilePath);
        return reader ? reader->pageInfo(0)->height : 0;
    }

    qint32 number = 0;
};

}  // namespace

// A Letter report rescanned as Legal: the new file (14-inch pages) takes
// the old one's place, [Size] becomes "G", the references stay as they were.
TEST_P(RescanTest, LetterRescannedAsLegal)
{
    ASSERT_NEAR(heightOfFirstPage(), 2200, 1);
    const qint64 references = scalar(QStringLiteral("SELECT COUNT(*) FROM \"Info\" WHERE \"Image #\" = %1").arg(number));
    ASSERT_EQ(references, 4);
    Rescan rescan(s());
    RescanChoices choices;
    ASSERT_TRUE(rescan.Load(choices));
    EXPECT_EQ(choices.pageSizeCode, QStringLiteral(" "));
    EXPECT_EQ(rescan.targetPath(), site.path(QStringLiteral("DATA/TM%1.TIF").arg(number, 6, 10, QLatin1Char('0'))));

    choices.pageSizeCode = QStringLiteral("G");
    QStringList steps;
    rescan.prepareScanner = [&](ScannerSession& scanner) {
        QObject::connect(&scanner, &ScannerSession::stepChanged, [&](const QString& step) { steps << step; });
    };
    ASSERT_TRUE(rescan.cmdScan_Click(choices));
    EXPECT_NEAR(heightOfFirstPage(), 2800, 1) << "14 inches from the first page";
    EXPECT_TRUE(steps.contains(QStringLiteral("Set Frame length to 14 for test:0")));
    EXPECT_EQ(size(), QStringLiteral("G"));
    EXPECT_EQ(scalar(QStringLiteral("SELECT COUNT(*) FROM \"Info\" WHERE \"Image #\" = %1").arg(number)), references);
    EXPECT_FALSE(QFile::exists(rescan.targetPath()));
    EXPECT_TRUE(TiffReader::open(s().imageFilePath)->tags().heat.isEmpty()) << "rescanned files carry no tags";
}

// No file from the scanner: the old file and [Size] are untouched, with
// the message naming the "TM" file. Cancel in the check dialog ends the same way.
TEST_P(RescanTest, NothingScannedLeavesTheReportAlone)
{
    const QByteArray before = FileBytes(s().imageFilePath);
    Rescan rescan(s());
    RescanChoices choices;
    ASSERT_TRUE(rescan.Load(choices));
    choices.pageSizeCode = QStringLiteral("A");
    rescan.prepareScanner = [](ScannerSession& scanner) {
        scanner.beforeSheet = [](SaneDevice& device, int) { device.setValue(QStringLiteral("read-return-value"), QStringLiteral("SANE_STATUS_IO_ERROR")); };
    };
    EXPECT_FALSE(rescan.cmdScan_Click(choices));
    EXPECT_EQ(prompter().textOf(QStringLiteral("Error")), texts::ImageFileNotCreated.arg(rescan.targetPath()));
    EXPECT_EQ(size(), QStringLiteral(" "));

    prompter().clear();
    prompter().answer(Answer::Ok);
    prompter().answer(Answer::Cancel);
    rescan.prepareScanner = [](ScannerSession& scanner) {
        scanner.beforeSheet = [](SaneDevice& device, int) { device.setValue(QStringLiteral("read-return-value"), QStringLiteral("Default")); };
    };
    EXPECT_FALSE(rescan.cmdScan_Click(choices));
    EXPECT_EQ(prompter().titles(), (QStringList{QStringLiteral("Prepare to Scan"), QStringLiteral("Scan Next Page"), QStringLiteral("Error")}));
    EXPECT_EQ(size(), QStringLiteral(" "));
    EXPECT_EQ(FileBytes(s().imageFilePath), before);
}

// A number without a row can't be rescanned.
TEST_P(RescanTest, MissingRowIsTold)
{
    s().currentImage = number + 50;
    Rescan rescan(s());
    RescanChoices choices;
    EXPECT_FALSE(rescan.Load(choices));
    EXPECT_EQ(prompter().textOf(QStringLiteral("Error")), QStringLiteral("Can't Read Image"));
}

TARLOX_ON_BOTH_ENGINES(RescanTest);
