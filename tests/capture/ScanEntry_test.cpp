#include "base/ErrorReport.h"
#include "base/IniFile.h"
#include "base/TextTools.h"
#include "capture/Rescan.h"
#include "capture/ScanChoices.h"
#include "capture/ScanEntry.h"
#include "data/ImageData.h"
#include "data/Settings.h"
#include "store/ImageStore.h"
#include "store/SaneDevice.h"
#include "store/ScannerSession.h"
#include "store/TiffReader.h"
#include "support/SaneTestBackend.h"
#include "support/SystemTexts.h"
#include "support/TestSite.h"

#include <QFile>

using namespace tarlox;
using namespace tarlox::test;
using namespace Qt::StringLiterals;

namespace {

// The test device's option set before each sheet once `from` sheets are read.
std::function<void(ScannerSession&)> withOption(const char* name, const QVariant& value, int from = 0)
{
    return [=](ScannerSession& scanner) {
        scanner.beforeSheet = [=](SaneDevice& device, int read) { EXPECT_TRUE(read < from || device.setValue(QLatin1String(name), value).ok()) << name; };
    };
}

class ScanEntryTest : public SiteTest {
protected:
    static void SetUpTestSuite() { UseSaneTestBackend(); }

    void SetUp() override { ASSERT_TRUE(StartWithTestScanner(site)); prompter().clear(); }

    qint64 imageRows() { return rows(QStringLiteral("Images")); }
    qint64 infoRows() { return rows(QStringLiteral("Info")); }
    std::tuple<qint64, qint64, qint64> counts() { return {imageRows(), infoRows(), nextName()}; }
    QStringList titles() { return prompter().titles(); }
    static QStringList list(std::initializer_list<const char*> texts) { return QStringList(texts.begin(), texts.end()); }

    ScanEntryFields entry(const char* heat, const char* part = "P1")
    {
        ScanEntryFields f;
        std::tie(f.heat, f.part, f.po, f.vend, f.mfg) = std::tuple(QString::fromLatin1(heat), QString::fromLatin1(part), u"PO-77"_s, u"Acme Steel"_s, u"Mill 4"_s);
        return f;
    }
};

// The everyday road: three sheets through the feeder become one file of
// three pages on the data directory, one image row and a reference for
// each heat and part; the settings keys describe the new image.
TEST_P(ScanEntryTest, ThreeSheetsStoredAndIndexed)
{
    PutLocal(s(), QStringLiteral("Info"), QStringLiteral("UseADF"), BoolToIni(true));
    ScanEntry scan(s());
    scan.prepareScanner = withOption("read-return-value", QStringLiteral("SANE_STATUS_NO_DOCS"), 3);  // three sheets in the feeder
    QStringList steps;
    QObject::connect(&scan, &ScanEntry::stepChanged, [&](const QString& step) { steps << step; });
    const qint64 before = nextName();
    ScanEntryFields f = entry("H100 H200", "P1 P2");
    f.pageSizeCode = QStringLiteral("G");
    const ScanEntry::Result result = scan.cmdScan_Click(f);
    ASSERT_EQ(result.outcome, ScanEntry::Outcome::Stored) << prompter().titles().join(QLatin1Char('|')).toStdString();
    const qint32 n = result.imageNumber;
    EXPECT_EQ(std::tuple(n, s().currentImage, titles(), prompter().asked().first().text),
              std::tuple(before, n, list({"Prepare to Scan", "Scan Next Page"}), texts::PutReportInScanner));
    const QString name = QStringLiteral("TR%1.TIF").arg(n, 6, 10, QLatin1Char('0'));
    // The work file stays in the temporary directory.
    EXPECT_EQ(std::tuple(PageCount(data(name)), PageCount(site.path(QStringLiteral("TEMP/") + name)), std::abs(TiffReader::open(data(name))->pageInfo(0)->height - 2800) <= 1),
              std::tuple(3, 3, true)) << "Legal";

    EXPECT_EQ(std::tuple(scalarText(QStringLiteral("SELECT \"Size\" FROM \"Images\"")),
                         rows(QStringLiteral("Info"), QStringLiteral("\"Image #\" = %1 AND \"P/O #\" = 'PO-77'").arg(n)),
                         ReadIniValue(site.localIni(), QStringLiteral("Info"), QStringLiteral("Last Image")).value, steps),
              std::tuple(QStringLiteral("G"), qint64(2), name, list({"", "GetNextImage", "Scanning", "Copy from Temp", "Add data"})));
}

// A blank vendor is stored as one blank in the references, while the
// file's tag carries the field as typed; the high resolution comes from HighDPI.
TEST_P(ScanEntryTest, BlankVendorAndTheHighResolution)
{
    PutLocal(s(), QStringLiteral("Info"), QStringLiteral("HighDPI"), QStringLiteral("250"));
    ScanEntry scan(s());
    ScanEntryFields f = entry("H1");
    f.vend.clear(), f.highResolution = true;
    ASSERT_TRUE(scan.cmdScan_Click(f).stored());
    auto reader = TiffReader::open(s().imageFilePath);
    ASSERT_TRUE(reader.ok());
    EXPECT_EQ(std::tuple(scalarText(QStringLiteral("SELECT \"Vend Name\" FROM \"Info\"")), reader->tags().vendor, reader->tags().manufacturer, reader->pageInfo(0)->dpi),
              std::tuple(QStringLiteral(" "), QString(), QStringLiteral("Mill 4"), Dpi{250, 250}));
}

TEST_P(ScanEntryTest, RefusedOrCancelledEntriesTakeNoNumber)
{
    const auto before = counts();
    ScanEntry scan(s());
    const ScanEntry::Outcome refused = scan.cmdScan_Click(entry("")).outcome;
    EXPECT_EQ(std::pair(refused, prompter().textOf(QStringLiteral("Error"))), std::pair(ScanEntry::Outcome::Refused, texts::HeatRequired));
    prompter().clear(), prompter().answer(Answer::Cancel);
    EXPECT_EQ(scan.cmdScan_Click(entry("H1")).outcome, ScanEntry::Outcome::Cancelled);
    EXPECT_EQ(std::tuple(titles(), counts(), files(QStringLiteral("DATA"))), std::tuple(list({"Prepare to Scan"}), before, QStringList()));
}

// A scan that produces nothing removes the image row again; the number is
// spent and the current image is 0.
TEST_P(ScanEntryTest, NothingScannedRemovesTheImageRow)
{
    ScanEntry scan(s());
    scan.prepareScanner = withOption("read-return-value", QStringLiteral("SANE_STATUS_COVER_OPEN"));
    const qint64 before = nextName();
    const ScanEntry::Result result = scan.cmdScan_Click(entry("H1"));
    EXPECT_EQ(std::tuple(result.outcome, titles(), prompter().textOf(QStringLiteral("Error"))),
              std::tuple(ScanEntry::Outcome::NotCreated, list({"Prepare to Scan", "Scanner Error", "Error"}), texts::ImageNotCreated));
    EXPECT_EQ(std::tuple(counts(), s().currentImage, scan.stepLabel()), std::tuple(std::tuple(qint64(0), qint64(0), before + 1), 0, QStringLiteral("Image not created")));
}

TEST_P(ScanEntryTest, CancelInTheCheckDialogStoresTheFirstPage)
{
    for (bool showInvert : {false, true}) {
        SCOPED_TRACE(showInvert ? "asked before saving" : "asked after the pass");
        PutLocal(s(), QStringLiteral("Info"), QStringLiteral("ShowInvert"), BoolToIni(showInvert));
        prompter().clear(), prompter().answer(Answer::Ok), prompter().answer(Answer::Cancel);
        ScanEntry scan(s());
        const ScanEntry::Result result = scan.cmdScan_Click(entry(showInvert ? "H2" : "H1"));
        ASSERT_TRUE(result.stored()) << titles().join(QLatin1Char('|')).toStdString();
        EXPECT_EQ(std::pair(titles(), PageCount(s().imageFilePath)), std::pair(list({"Prepare to Scan", "Scan Next Page"}), 1));
    }
    EXPECT_EQ(infoRows(), 2);
}

TEST_P(ScanEntryTest, JamStoresThePagesBeforeIt)
{
    ScanEntry scan(s());
    scan.prepareScanner = withOption("read-return-value", QStringLiteral("SANE_STATUS_JAMMED"), 2);
    ScanEntryFields f = entry("H1");
    f.useAdf = true;
    ASSERT_TRUE(scan.cmdScan_Click(f).stored());
    EXPECT_EQ(std::pair(PageCount(s().imageFilePath), prompter().textOf(QStringLiteral("Scanner Error")).contains(QStringLiteral("jammed"))), std::pair(2, true));
}

TEST_P(ScanEntryTest, FailedReferencesRemoveRowAndFile)
{
    if (GetParam() == Engine::Sqlite) ASSERT_TRUE(site.execRaw(QStringLiteral("CREATE TRIGGER refuse BEFORE INSERT ON \"Info\" BEGIN SELECT RAISE(ABORT, 'refused'); END")));
    else ASSERT_TRUE(site.execRaw(QStringLiteral("CREATE FUNCTION refuse() RETURNS trigger AS $$ BEGIN RAISE EXCEPTION 'refused'; END $$ LANGUAGE plpgsql"))
                     && site.execRaw(QStringLiteral("CREATE TRIGGER refuse BEFORE INSERT ON \"Info\" FOR EACH ROW EXECUTE FUNCTION refuse()")));
    ScanEntry scan(s());
    const ScanEntry::Result result = scan.cmdScan_Click(entry("H1"));
    EXPECT_EQ(std::tuple(result.outcome, imageRows(), infoRows(), QFile::exists(s().imageFilePath), prompter().wasAsked(ProgramTitle())),
              std::tuple(ScanEntry::Outcome::NotIndexed, qint64(0), qint64(0), false, true));
}

TARLOX_ON_BOTH_ENGINES(ScanEntryTest);

TEST(ScanChoices, DittoKeyOfThePartField)
{
    const struct { const char* typed; const char* result; } rows[] = {{"A B", "A B B"}, {"A", "A A"}, {"  A  B  ", "A  B B"}, {"", " "}, {"   ", " "}, {"P-1 P-22", "P-1 P-22 P-22"}};
    for (const auto& r : rows) EXPECT_EQ(DittoLastPart(QLatin1String(r.typed)), QLatin1String(r.result)) << r.typed;
}

TEST(ScanChoices, BrightnessBoxTakesItsNumberWithinRange)
{
    const struct { const char* text; int value; } rows[] = {
        {"abc", 0}, {"5000", 1000}, {"-5000", -1000}, {"250", 250}, {" -40x", -40}, {"", 0}, {"12.5", 12}, {"13.5", 14}};
    for (const auto& r : rows) EXPECT_EQ(BrightnessFromText(QLatin1String(r.text)), r.value) << r.text;
}

TEST(ScanChoices, ResolutionsAndDefaultsFromTheSettings)
{
    TestSite site;
    ASSERT_TRUE(site.start());
    Session& s = site.session();
    // Low caption, high caption, and the resolutions of each.
    const auto read = [&] {
        const ResolutionChoice choice = ReadResolutionChoice(s);
        return QStringList{choice.lowCaption(), choice.highCaption(), choice.dpiFor(false), choice.dpiFor(true)};
    };
    EXPECT_EQ(read(), (QStringList{QStringLiteral("200dpi"), QStringLiteral("300dpi"), QStringLiteral("200"), QStringLiteral("300")}));
    for (auto [key, value] : {std::pair{"LowDPI", "150"}, {"HighDPI", "400"}, {"Brightness", "7000"}})
        PutLocal(s, QStringLiteral("Info"), QLatin1String(key), QLatin1String(value));
    EXPECT_EQ(read() << QString::number(DefaultBrightness(s)), (QStringList{u"150dpi"_s, u"400dpi"_s, u"150"_s, u"400"_s, u"1000"_s}));
}

class RescanTest : public SiteTest {
protected:
    static void SetUpTestSuite() { UseSaneTestBackend(); }

    void SetUp() override
    {
        ASSERT_TRUE(StartWithTestScanner(site));
        // A Letter report of two heats, scanned the everyday way, made current as the select form does.
        ScanEntryFields f;
        f.heat = QStringLiteral("H1 H2"), f.part = QStringLiteral("P1 P2"), f.po = QStringLiteral("PO1 PO2");
        const ScanEntry::Result result = ScanEntry(s()).cmdScan_Click(f);
        number = result.imageNumber;
        ASSERT_TRUE(result.stored() && GetImage(s(), number));
        prompter().clear();
    }

    QString size() { return scalarText(QStringLiteral("SELECT \"Size\" FROM \"Images\" WHERE \"Image #\" = %1").arg(number)); }
    static std::function<void(ScannerSession&)> readStatus(const char* status) { return withOption("read-return-value", QLatin1String(status)); }
    int heightOfFirstPage() { auto reader = TiffReader::open(s().imageFilePath); return reader ? reader->pageInfo(0)->height : 0; }

    qint32 number = 0;
};

// A Letter report rescanned as Legal: the new file (14-inch pages) takes
// the old one's place, [Size] becomes "G", the references stay as they were.
TEST_P(RescanTest, LetterRescannedAsLegal)
{
    ASSERT_NEAR(heightOfFirstPage(), 2200, 1);
    const qint64 references = rows(QStringLiteral("Info"), QStringLiteral("\"Image #\" = %1").arg(number));
    ASSERT_EQ(references, 4);
    Rescan rescan(s());
    RescanChoices choices;
    ASSERT_TRUE(rescan.Load(choices));
    EXPECT_EQ(std::pair(choices.pageSizeCode, rescan.targetPath()),
              std::pair(QStringLiteral(" "), site.path(QStringLiteral("DATA/TM%1.TIF").arg(number, 6, 10, QLatin1Char('0')))));

    choices.pageSizeCode = QStringLiteral("G");
    QStringList steps;
    rescan.prepareScanner = [&](ScannerSession& scanner) { QObject::connect(&scanner, &ScannerSession::stepChanged, [&](const QString& step) { steps << step; }); };
    ASSERT_TRUE(rescan.cmdScan_Click(choices));
    // 14 inches from the first page; rescanned files carry no tags.
    EXPECT_EQ(std::tuple(std::abs(heightOfFirstPage() - 2800) <= 1, steps.contains(QStringLiteral("Set Frame length to 14 for test:0")), size(),
                         rows(QStringLiteral("Info"), QStringLiteral("\"Image #\" = %1").arg(number)), QFile::exists(rescan.targetPath()),
                         TiffReader::open(s().imageFilePath)->tags().heat),
              std::tuple(true, true, QStringLiteral("G"), references, false, QString()));
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
    rescan.prepareScanner = readStatus("SANE_STATUS_IO_ERROR");
    EXPECT_FALSE(rescan.cmdScan_Click(choices));
    EXPECT_EQ(std::pair(prompter().textOf(QStringLiteral("Error")), size()), std::pair(texts::ImageFileNotCreated.arg(rescan.targetPath()), QStringLiteral(" ")));

    prompter().clear(), prompter().answer(Answer::Ok), prompter().answer(Answer::Cancel);
    rescan.prepareScanner = readStatus("Default");
    EXPECT_FALSE(rescan.cmdScan_Click(choices));
    EXPECT_EQ(std::tuple(prompter().titles(), size(), FileBytes(s().imageFilePath)),
              std::tuple(QStringList{QStringLiteral("Prepare to Scan"), QStringLiteral("Scan Next Page"), QStringLiteral("Error")}, QStringLiteral(" "), before));
}

TEST_P(RescanTest, MissingRowIsTold)
{
    s().currentImage = number + 50;
    Rescan rescan(s());
    RescanChoices choices;
    EXPECT_TRUE(!rescan.Load(choices) && prompter().textOf(QStringLiteral("Error")) == QLatin1String("Can't Read Image"));
}

TARLOX_ON_BOTH_ENGINES(RescanTest);

}  // namespace
