#include "capture/ScanEntry.h"
#include "data/DataOp.h"
#include "data/ImageData.h"
#include "base/ErrorReport.h"
#include "base/IniFile.h"
#include "data/Settings.h"
#include "base/TextTools.h"
#include "store/SaneDevice.h"
#include "store/ScannerSession.h"
#include "store/TiffReader.h"
#include "support/SaneTestBackend.h"
#include "support/SystemTexts.h"
#include "support/TestSite.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>

#include <gtest/gtest.h>

using namespace tarlox;
using namespace tarlox::test;

namespace {

void setOption(SaneDevice& device, const char* name, const QVariant& value)
{
    const SaneResult r = device.setValue(QLatin1String(name), value);
    EXPECT_TRUE(r.ok()) << name << ": " << r.text.toStdString();
}

// The feeder holds this many sheets.
std::function<void(ScannerSession&)> sheetsInFeeder(int sheets)
{
    return [sheets](ScannerSession& scanner) {
        scanner.beforeSheet = [sheets](SaneDevice& device, int read) {
            if (read == sheets)
                setOption(device, "read-return-value", QStringLiteral("SANE_STATUS_NO_DOCS"));
        };
    };
}

class ScanEntryTest : public SiteTest {
protected:
    static void SetUpTestSuite()
    {
        UseSaneTestBackend();
    }

    void SetUp() override
    {
        ASSERT_TRUE(StartWithTestScanner(site));
        prompter().clear();
    }

    QString data(const QString& name = {}) const { return site.path(QStringLiteral("DATA/") + name); }
    QString temp(const QString& name = {}) const { return site.path(QStringLiteral("TEMP/") + name); }
    QString local(const char* key) const { return ReadIniValue(site.localIni(), QStringLiteral("Info"), QLatin1String(key)).value; }

    QString text(const QString& sql)
    {
        DataOp op(s(), QStringLiteral("test"));
        auto value = op.scalar(sql);
        return value ? value->toString() : QStringLiteral("(failed)");
    }
    qint64 imageRows() { return scalar(QStringLiteral("SELECT COUNT(*) FROM \"Images\"")); }
    qint64 infoRows() { return scalar(QStringLiteral("SELECT COUNT(*) FROM \"Info\"")); }
    qint64 nextName() { return scalar(QStringLiteral("SELECT \"NextName\" FROM \"Options\"")); }
    int pagesIn(const QString& path)
    {
        auto reader = TiffReader::open(path);
        return reader ? reader->pageCount() : 0;
    }

    ScanEntryFields entry(const QString& heat, const QString& part)
    {
        ScanEntryFields f;
        f.heat = heat;
        f.part = part;
        f.po = QStringLiteral("PO-77");
        f.vend = QStringLiteral("Acme Steel");
        f.mfg = QStringLiteral("Mill 4");
        return f;
    }
};

}  // namespace

// The everyday road: three sheets through the feeder become one file of
// three pages on the data directory, one image row and a reference for
// each heat and part; the settings keys describe the new image.
TEST_P(ScanEntryTest, ThreeSheetsStoredAndIndexed)
{
    PutLocal(s(), QStringLiteral("Info"), QStringLiteral("UseADF"), BoolToIni(true));
    ScanEntry scan(s());
    scan.prepareScanner = sheetsInFeeder(3);
    QStringList steps;
    QObject::connect(&scan, &ScanEntry::stepChanged, [&](const QString& step) { steps << step; });
    const qint64 before = nextName();
    ScanEntryFields f = entry(QStringLiteral("H100 H200"), QStringLiteral("P1 P2"));
    f.pageSizeCode = QStringLiteral("G");
    const ScanEntry::Result result = scan.cmdScan_Click(f);

    ASSERT_EQ(result.outcome, ScanEntry::Outcome::Stored) << prompter().titles().join(QLatin1Char('|')).toStdString();
    const qint32 n = result.imageNumber;
    EXPECT_EQ(n, before);
    EXPECT_EQ(prompter().titles(), (QStringList{QStringLiteral("Prepare to Scan"), QStringLiteral("Scan Next Page")}));
    EXPECT_EQ(prompter().asked().first().text, texts::PutReportInScanner);
    const QString name = QStringLiteral("TR%1.TIF").arg(n, 6, 10, QLatin1Char('0'));
    EXPECT_EQ(pagesIn(data(name)), 3);
    EXPECT_EQ(pagesIn(temp(name)), 3) << "the work file stays in the temporary directory";
    EXPECT_NEAR(TiffReader::open(data(name))->pageInfo(0)->height, 2800, 1) << "Legal";

    EXPECT_EQ(text(QStringLiteral("SELECT \"Size\" FROM \"Images\"")), QStringLiteral("G"));
    EXPECT_EQ(scalar(QStringLiteral("SELECT COUNT(*) FROM \"Info\" WHERE \"Image #\" = %1 AND \"P/O #\" = 'PO-77'").arg(n)), 2);
    EXPECT_EQ(local("Last Image"), name);
    EXPECT_EQ(steps, (QStringList{QString(), QStringLiteral("GetNextImage"), QStringLiteral("Scanning"), QStringLiteral("Copy from Temp"),
                                  QStringLiteral("Add data")}));
    EXPECT_EQ(s().currentImage, n);
}

// A blank vendor is stored as one blank in the references, while the
// file's tag carries the field as typed; the high resolution comes from HighDPI.
TEST_P(ScanEntryTest, BlankVendorAndTheHighResolution)
{
    PutLocal(s(), QStringLiteral("Info"), QStringLiteral("HighDPI"), QStringLiteral("250"));
    ScanEntry scan(s());
    ScanEntryFields f = entry(QStringLiteral("H1"), QStringLiteral("P1"));
    f.vend.clear();
    f.highResolution = true;
    const ScanEntry::Result result = scan.cmdScan_Click(f);
    ASSERT_TRUE(result.stored());
    EXPECT_EQ(text(QStringLiteral("SELECT \"Vend Name\" FROM \"Info\"")), QStringLiteral(" "));
    auto reader = TiffReader::open(s().imageFilePath);
    ASSERT_TRUE(reader.ok());
    EXPECT_EQ(reader->tags().vendor, QString());
    EXPECT_EQ(reader->tags().manufacturer, QStringLiteral("Mill 4"));
    EXPECT_EQ(reader->pageInfo(0)->dpi, (Dpi{250, 250}));
}

// Nothing is used up when the entry is refused or the operator cancels.
TEST_P(ScanEntryTest, RefusedOrCancelledEntriesTakeNoNumber)
{
    const qint64 before = nextName();
    ScanEntry scan(s());
    EXPECT_EQ(scan.cmdScan_Click(entry(QString(), QStringLiteral("P1"))).outcome, ScanEntry::Outcome::Refused);
    EXPECT_EQ(prompter().textOf(QStringLiteral("Error")), texts::HeatRequired);
    prompter().clear();
    prompter().answer(Answer::Cancel);
    EXPECT_EQ(scan.cmdScan_Click(entry(QStringLiteral("H1"), QStringLiteral("P1"))).outcome, ScanEntry::Outcome::Cancelled);
    EXPECT_EQ(prompter().titles(), QStringList{QStringLiteral("Prepare to Scan")});
    EXPECT_EQ(nextName(), before);
    EXPECT_EQ(imageRows(), 0);
    EXPECT_TRUE(QDir(data()).entryList(QDir::Files).isEmpty());
}

// A scan that produces nothing removes the image row again; the number is
// spent and the current image is 0.
TEST_P(ScanEntryTest, NothingScannedRemovesTheImageRow)
{
    ScanEntry scan(s());
    scan.prepareScanner = [](ScannerSession& scanner) {
        scanner.beforeSheet = [](SaneDevice& device, int) { setOption(device, "read-return-value", QStringLiteral("SANE_STATUS_COVER_OPEN")); };
    };
    const qint64 before = nextName();
    const ScanEntry::Result result = scan.cmdScan_Click(entry(QStringLiteral("H1"), QStringLiteral("P1")));
    EXPECT_EQ(result.outcome, ScanEntry::Outcome::NotCreated);
    EXPECT_EQ(prompter().titles(), (QStringList{QStringLiteral("Prepare to Scan"), QStringLiteral("Scanner Error"), QStringLiteral("Error")}));
    EXPECT_EQ(prompter().textOf(QStringLiteral("Error")), texts::ImageNotCreated);
    EXPECT_EQ(imageRows(), 0);
    EXPECT_EQ(infoRows(), 0);
    EXPECT_EQ(nextName(), before + 1);
    EXPECT_EQ(s().currentImage, 0);
    EXPECT_EQ(scan.stepLabel(), QStringLiteral("Image not created"));
}

// The too-small question answered No on the only page leaves no file: as
// nothing scanned. Answered Yes, the short page is stored.
TEST_P(ScanEntryTest, TooSmallPageAnsweredNoOrYes)
{
    const auto shortSheet = [](ScannerSession& scanner) {
        scanner.beforeSheet = [](SaneDevice& device, int) { setOption(device, "br-y", 250.0); };
    };
    ScanEntry scan(s());
    scan.prepareScanner = shortSheet;
    EXPECT_EQ(scan.cmdScan_Click(entry(QStringLiteral("H1"), QStringLiteral("P1"))).outcome, ScanEntry::Outcome::NotCreated);
    EXPECT_EQ(imageRows(), 0);

    prompter().clear();
    prompter().answer(Answer::Ok);   // Prepare to Scan
    prompter().answer(Answer::Yes);  // too small: use it anyway
    const ScanEntry::Result result = scan.cmdScan_Click(entry(QStringLiteral("H1"), QStringLiteral("P1")));
    ASSERT_TRUE(result.stored());
    EXPECT_NEAR(TiffReader::open(s().imageFilePath)->pageInfo(0)->height, 1969, 1);
}

// Cancel in the check dialog on the first page still stores that page.
TEST_P(ScanEntryTest, CancelInTheCheckDialogStoresTheFirstPage)
{
    for (bool showInvert : {false, true}) {
        SCOPED_TRACE(showInvert ? "asked before saving" : "asked after the pass");
        PutLocal(s(), QStringLiteral("Info"), QStringLiteral("ShowInvert"), BoolToIni(showInvert));
        prompter().clear();
        prompter().answer(Answer::Ok);
        prompter().answer(Answer::Cancel);
        ScanEntry scan(s());
        const ScanEntry::Result result = scan.cmdScan_Click(entry(showInvert ? QStringLiteral("H2") : QStringLiteral("H1"), QStringLiteral("P1")));
        ASSERT_TRUE(result.stored()) << prompter().titles().join(QLatin1Char('|')).toStdString();
        EXPECT_EQ(prompter().titles(), (QStringList{QStringLiteral("Prepare to Scan"), QStringLiteral("Scan Next Page")}));
        EXPECT_EQ(pagesIn(s().imageFilePath), 1);
    }
    EXPECT_EQ(infoRows(), 2);
}

// A jam after two sheets: the report is stored with those two pages.
TEST_P(ScanEntryTest, JamStoresThePagesBeforeIt)
{
    ScanEntry scan(s());
    scan.prepareScanner = [](ScannerSession& scanner) {
        scanner.beforeSheet = [](SaneDevice& device, int read) {
            if (read == 2)
                setOption(device, "read-return-value", QStringLiteral("SANE_STATUS_JAMMED"));
        };
    };
    ScanEntryFields f = entry(QStringLiteral("H1"), QStringLiteral("P1"));
    f.useAdf = true;
    const ScanEntry::Result result = scan.cmdScan_Click(f);
    ASSERT_TRUE(result.stored());
    EXPECT_EQ(pagesIn(s().imageFilePath), 2);
    EXPECT_TRUE(prompter().textOf(QStringLiteral("Scanner Error")).contains(QStringLiteral("jammed")));
}

// References that can't be written take the image row and the file with them.
TEST_P(ScanEntryTest, FailedReferencesRemoveRowAndFile)
{
    if (GetParam() == Engine::Sqlite) {
        ASSERT_TRUE(site.execRaw(QStringLiteral("CREATE TRIGGER refuse BEFORE INSERT ON \"Info\" BEGIN SELECT RAISE(ABORT, 'refused'); END")));
    } else {
        ASSERT_TRUE(site.execRaw(QStringLiteral("CREATE FUNCTION refuse() RETURNS trigger AS $$ BEGIN RAISE EXCEPTION 'refused'; END $$ LANGUAGE plpgsql")));
        ASSERT_TRUE(site.execRaw(QStringLiteral("CREATE TRIGGER refuse BEFORE INSERT ON \"Info\" FOR EACH ROW EXECUTE FUNCTION refuse()")));
    }
    ScanEntry scan(s());
    const ScanEntry::Result result = scan.cmdScan_Click(entry(QStringLiteral("H1"), QStringLiteral("P1")));
    EXPECT_EQ(result.outcome, ScanEntry::Outcome::NotIndexed);
    EXPECT_EQ(imageRows(), 0);
    EXPECT_EQ(infoRows(), 0);
    EXPECT_FALSE(QFile::exists(s().imageFilePath));
    EXPECT_TRUE(prompter().wasAsked(ProgramTitle())) << "the failure was reported";
}

TARLOX_ON_BOTH_ENGINES(ScanEntryTest);
