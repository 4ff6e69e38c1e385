#include "data/Settings.h"
#include "base/TextTools.h"
#include "store/PageImage.h"
#include "store/SaneDevice.h"
#include "store/ScannedPage.h"
#include "store/ScannerSession.h"
#include "store/TiffReader.h"
#include "support/SaneTestBackend.h"
#include "support/TestSite.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>

#include <gtest/gtest.h>

#include <mutex>

using namespace tarlox;
using namespace tarlox::test;

namespace {

const QString kScannerError = QStringLiteral("Scanner Error");
const QString kNextPage = QStringLiteral("Scan Next Page");

// Sets one option of the test device; runs on the scanning thread.
void setOption(SaneDevice& device, const char* name, const QVariant& value)
{
    const SaneResult r = device.setValue(QLatin1String(name), value);
    EXPECT_TRUE(r.ok()) << name << ": " << r.text.toStdString();
}

struct StoredPages {
    QList<QImage> pages;
    QList<TiffPageInfo> infos;
    ReportTags tags;
};

StoredPages readFile(const QString& path)
{
    StoredPages stored;
    auto reader = TiffReader::open(path);
    if (!reader)
        return stored;
    stored.tags = reader->tags();
    for (int i = 0; i < reader->pageCount(); ++i) {
        stored.pages.append(*reader->readPage(i));
        stored.infos.append(*reader->pageInfo(i));
    }
    return stored;
}

qint64 blackPixels(const QImage& page)
{
    qint64 black = 0;
    for (int y = 0; y < page.height(); ++y)
        for (int x = 0; x < page.width(); ++x)
            black += page.pixelIndex(x, y);
    return black;
}

class ScannerSessionTest : public ::testing::Test {
protected:
    static void SetUpTestSuite()
    {
        UseSaneTestBackend(2);
    }

    void SetUp() override
    {
        ResetSaneTestDevices(2);
        ASSERT_TRUE(site.start());
        prompter().clear();
        output = site.path(QStringLiteral("TEMP/TR000001.TIF"));
        imageFile = site.path(QStringLiteral("DATA/TR000001.TIF"));
    }

    Session& s() { return site.session(); }
    ScriptedPrompter& prompter() { return site.prompter(); }

    ScanSettings settings(const QString& pageSizeCode = QStringLiteral(" "))
    {
        ScanSettings st = ScanSettings::read(s(), 200, 0, pageSizeCode);
        st.device = QStringLiteral("test:0");
        return st;
    }
    ScanProfile entryProfile() { return ScanProfile::forScanEntry(output, tags, imageFile); }

    TestSite site;
    QString output;
    QString imageFile;
    const ReportTags tags = ReportTags::forReport(QStringLiteral("H1 H2"), QStringLiteral("P1 P2"), QStringLiteral("PO9"), QString(),
                                                  QStringLiteral("Mill"));
};

}  // namespace

// Three sheets in the feeder: one Group 4 file of three pages, in order,
// with the report's tags on the first page; the feeder's "no documents"
// after them is the end of the stack, not an error.
TEST_F(ScannerSessionTest, FeederRunOfThreeSheetsGivesOneGroup4File)
{
    ScanSettings st = settings();
    st.useAdf = true;
    ScannerSession scanner(s(), entryProfile(), st);
    scanner.beforeSheet = [](SaneDevice& device, int read) {
        if (read == 3)
            setOption(device, "read-return-value", QStringLiteral("SANE_STATUS_NO_DOCS"));
    };
    QList<int> shown;
    QObject::connect(&scanner, &ScannerSession::pageReady, [&](const QImage& page, int number) {
        shown.append(number);
        EXPECT_TRUE(IsBlackAndWhite(page));
    });
    scanner.Scan();

    EXPECT_EQ(shown, (QList<int>{1, 2, 3}));
    EXPECT_EQ(scanner.pagesSaved(), 3);
    EXPECT_EQ(prompter().titles(), QStringList{kNextPage}) << "asked once after the run, and nothing else";
    const StoredPages stored = readFile(output);
    ASSERT_EQ(stored.pages.size(), 3);
    EXPECT_EQ(stored.infos[2].compression, 4) << "CCITT Group 4";
    EXPECT_EQ(stored.infos[2].dpi, (Dpi{200, 200}));
    EXPECT_NEAR(stored.infos[2].height, 2200, 1);
    EXPECT_EQ(stored.tags, tags);
    EXPECT_GT(blackPixels(stored.pages[1]), 0) << "the grid came through";
    EXPECT_FALSE(QFile::exists(imageFile));
}

// A jam after two sheets: the two pages stay in the file, the jam is told
// in the "Scanner Error" box, and the scan ends without asking for more.
TEST_F(ScannerSessionTest, JamMidStackKeepsThePagesBeforeIt)
{
    ScanSettings st = settings();
    st.useAdf = true;
    ScannerSession scanner(s(), entryProfile(), st);
    scanner.beforeSheet = [](SaneDevice& device, int read) {
        if (read == 2)
            setOption(device, "read-return-value", QStringLiteral("SANE_STATUS_JAMMED"));
    };
    scanner.Scan();
    EXPECT_EQ(readFile(output).pages.size(), 2);
    EXPECT_EQ(prompter().titles(), QStringList{kScannerError});
    EXPECT_EQ(prompter().textOf(kScannerError), SaneStatusText(6, QStringLiteral("test:0")));
    EXPECT_FALSE(scanner.scanDone());
}

// Each failing status of the device becomes its own clear sentence, and
// nothing is written.
TEST_F(ScannerSessionTest, DeviceStatusesBecomeTheScannerErrorBox)
{
    const struct {
        const char* status;
        const char* words;
    } rows[] = {
        {"SANE_STATUS_JAMMED", "jammed"},
        {"SANE_STATUS_NO_DOCS", "no document in the feeder"},
        {"SANE_STATUS_COVER_OPEN", "cover"},
        {"SANE_STATUS_DEVICE_BUSY", "busy"},
        {"SANE_STATUS_IO_ERROR", "I/O error"},
        {"SANE_STATUS_ACCESS_DENIED", "denied"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.status);
        prompter().clear();
        ScannerSession scanner(s(), entryProfile(), settings());
        scanner.beforeSheet = [&](SaneDevice& device, int) { setOption(device, "read-return-value", QLatin1String(row.status)); };
        scanner.Scan();
        EXPECT_EQ(prompter().titles(), QStringList{kScannerError});
        EXPECT_TRUE(prompter().textOf(kScannerError).contains(QLatin1String(row.words))) << prompter().textOf(kScannerError).toStdString();
        EXPECT_EQ(prompter().asked().first().buttons, Buttons::Ok);
        EXPECT_FALSE(QFile::exists(output));
    }
}

// A sheet shorter than the frame: the question with its exact words, No
// as the default; Yes keeps the page as it came, No leaves nothing.
TEST_F(ScannerSessionTest, TooSmallPageIsAskedAbout)
{
    const auto shortSheet = [](SaneDevice& device, int) { setOption(device, "br-y", 200.0); };  // 7.87 inches
    {
        prompter().answer(Answer::Yes);
        ScannerSession scanner(s(), entryProfile(), settings());
        scanner.beforeSheet = shortSheet;
        scanner.Scan();
        ASSERT_GE(prompter().asked().size(), 1);
        const Prompt& question = prompter().asked().first();
        EXPECT_EQ(question.title, kScannerError);
        EXPECT_EQ(question.buttons, Buttons::YesNo);
        EXPECT_EQ(question.defaultAnswer, Answer::No);
        EXPECT_TRUE(question.withHelp) << "the scan entry form offers Help";
        EXPECT_NEAR(readFile(output).infos.value(0).height, 1575, 1);
        EXPECT_TRUE(question.text.contains(QStringLiteral("11 inches but instead was 7.87")));
    }
    QFile::remove(output);
    prompter().clear();
    {
        ScannerSession scanner(s(), entryProfile(), settings());  // the default answer: No
        scanner.beforeSheet = shortSheet;
        scanner.Scan();
        EXPECT_EQ(prompter().titles(), QStringList{kScannerError}) << "no check dialog without a page";
        EXPECT_FALSE(QFile::exists(output));
    }
    prompter().clear();
    {
        ScanSettings st = settings();
        st.ignoreSize = true;
        ScannerSession scanner(s(), ScanProfile::forRescan(output), st);
        scanner.beforeSheet = shortSheet;
        scanner.Scan();
        EXPECT_EQ(prompter().titles(), QStringList{kNextPage});
        EXPECT_EQ(readFile(output).pages.size(), 1);
    }
}

// Without the feeder each pass takes one sheet; Yes scans another pass
// with the same settings, the tags go with the first page only, and
// Cancel removes the form's file.
TEST_F(ScannerSessionTest, CheckDialogDrivesThePasses)
{
    for (Answer a : {Answer::Yes, Answer::Yes, Answer::No})
        prompter().answer(a);
    {
        ScannerSession scanner(s(), entryProfile(), settings(QStringLiteral("G")));
        scanner.Scan();
        EXPECT_EQ(prompter().titles(), (QStringList{kNextPage, kNextPage, kNextPage}));
        EXPECT_EQ(prompter().asked().first().buttons, Buttons::YesNoCancel);
        EXPECT_EQ(prompter().asked().first().defaultAnswer, Answer::No);
    }
    const StoredPages stored = readFile(output);
    ASSERT_EQ(stored.pages.size(), 3);
    EXPECT_NEAR(stored.infos[2].height, 2800, 1) << "Legal: 14 inches";

    // A rescan's target goes when the operator cancels.
    prompter().clear();
    prompter().answer(Answer::Yes);
    prompter().answer(Answer::Cancel);
    const QString target = site.path(QStringLiteral("DATA/TM000001.TIF"));
    ScannerSession rescan(s(), ScanProfile::forRescan(target), settings());
    rescan.Scan();
    EXPECT_EQ(prompter().titles(), (QStringList{kNextPage, kNextPage}));
    EXPECT_FALSE(QFile::exists(target));
}

// With the invert question each page is shown before it is saved; the
// page is saved whatever is pressed, inverted if the box was ticked, and
// Cancel on the first page of the scan entry keeps it (the file it
// removes is the report's final name, not yet written).
TEST_F(ScannerSessionTest, InvertQuestionBeforeEachPage)
{
    ScanSettings st = settings();
    st.showInvert = true;
    ScannerSession scanner(s(), entryProfile(), st);
    qint64 shownBlack = -1;
    int asked = 0;
    scanner.scanCheck = [&](QImage* page) {
        ++asked;
        EXPECT_NE(page, nullptr);
        if (!page)
            return Answer::Cancel;
        shownBlack = blackPixels(*page);
        page->invertPixels();  // "Invert Scan" ticked
        return Answer::Cancel;
    };
    scanner.Scan();
    EXPECT_EQ(asked, 1);
    const StoredPages stored = readFile(output);
    ASSERT_EQ(stored.pages.size(), 1);
    const QImage& page = stored.pages.first();
    EXPECT_EQ(blackPixels(page), qint64(page.width()) * page.height() - shownBlack);
}

// The step labels the error report shows carry the values in force.
TEST_F(ScannerSessionTest, StepLabelsOfEachForm)
{
    ScanSettings st = settings();
    st.useAdf = true;
    st.transferCount = 1;
    st.pageSizeCode = QStringLiteral("A");
    st.brightness = -250;
    for (const ScanProfile& profile : {entryProfile(), ScanProfile::forRescan(site.path(QStringLiteral("DATA/TM000001.TIF")))}) {
        QStringList steps;
        ScannerSession scanner(s(), profile, st);
        QObject::connect(&scanner, &ScannerSession::stepChanged, [&](const QString& step) { steps << step; });
        scanner.Scan();
        EXPECT_TRUE(steps.contains(QStringLiteral("Set Brightness to -250 for test:0")));
        EXPECT_TRUE(steps.contains(QStringLiteral("Set Frame length to 11.7 for test:0")));
        EXPECT_EQ(steps.last(), QStringLiteral("Scan finished"));
    }
}

// Device names as the settings hold them: the SANE name, vendor and
// model, or one no device answers to, which scans on the first device.
TEST_F(ScannerSessionTest, DeviceChosenByNameOrDescription)
{
    const struct {
        const char* key;
        const char* opened;
    } rows[] = {{"test:1", "test:1"}, {"Noname frontend-tester", "test:0"}, {"test:1 (Noname frontend-tester)", "test:1"},
                {"Nosuch Scanner 3000", "test:0"}, {"", "test:0"}};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.key);
        prompter().clear();
        ScanSettings st = settings();
        st.device = QLatin1String(row.key);
        ScannerSession scanner(s(), ScanProfile::forPage(), st);
        QString opened;
        scanner.beforeSheet = [&](SaneDevice& device, int) { opened = device.name(); };
        EXPECT_TRUE(scanner.ScanOnePage().has_value());
        EXPECT_EQ(opened, QLatin1String(row.opened));
        EXPECT_TRUE(prompter().asked().isEmpty());
    }
}

// The viewer's one page: worked on like every page, handed back, written nowhere.
TEST_F(ScannerSessionTest, OnePageForTheViewer)
{
    ScanSettings st = settings(QStringLiteral("A"));
    st.dpi = 300;
    st.useAdf = true;
    st.showInvert = true;
    ScannerSession scanner(s(), ScanProfile::forPage(), st);
    int sheets = 0;
    scanner.beforeSheet = [&](SaneDevice&, int) { ++sheets; };
    const std::optional<QImage> page = scanner.ScanOnePage();
    ASSERT_TRUE(page.has_value());
    EXPECT_EQ(sheets, 1) << "one sheet, feeder or not";
    EXPECT_EQ(DpiOf(*page), (Dpi{300, 300}));
    EXPECT_NEAR(page->height(), 3510, 1) << "A4 at 300 dpi";
    EXPECT_TRUE(prompter().asked().isEmpty());
    EXPECT_TRUE(QDir(site.path(QStringLiteral("TEMP"))).entryList(QDir::Files).isEmpty());

    // A failed page gives nothing back, after telling why.
    ScannerSession failing(s(), ScanProfile::forPage(), settings());
    failing.beforeSheet = [](SaneDevice& device, int) { setOption(device, "read-return-value", QStringLiteral("SANE_STATUS_COVER_OPEN")); };
    EXPECT_FALSE(failing.ScanOnePage().has_value());
    EXPECT_EQ(prompter().titles(), QStringList{kScannerError});
}

// A hand scanner learns the page length while scanning.
TEST_F(ScannerSessionTest, PageOfUnknownLength)
{
    ScanSettings st = settings();
    st.ignoreSize = true;
    ScannerSession scanner(s(), ScanProfile::forPage(), st);
    scanner.beforeSheet = [](SaneDevice& device, int) { setOption(device, "hand-scanner", true); };
    const std::optional<QImage> page = scanner.ScanOnePage();
    ASSERT_TRUE(page.has_value());
    EXPECT_GT(page->height(), 0);
    EXPECT_LE(page->height(), 2200);
    EXPECT_NEAR(page->width(), 866, 2) << "the test device's hand scanner is 11 cm wide";
}

// Without a limit the feeder runs until it is empty (the test device holds
// ten sheets); the transfer count caps one run, and so does the operator's
// Stop between pages: the sheet in hand and any already read are kept.
TEST_F(ScannerSessionTest, FeederRunsUntilEmptyTheTransferCountOrStop)
{
    ScanSettings st = settings();
    st.useAdf = true;
    for (const int limit : {999, 4, 0}) {
        SCOPED_TRACE(limit);
        QFile::remove(output);
        st.transferCount = limit ? limit : 999;
        ScannerSession scanner(s(), entryProfile(), st);
        if (!limit)
            QObject::connect(&scanner, &ScannerSession::pageReady, [&](const QImage&, int number) {
                if (number == 2)
                    scanner.requestStop();
            });
        scanner.Scan();
        if (limit) {
            EXPECT_EQ(scanner.pagesSaved(), std::min(limit, 10));
        } else {
            EXPECT_TRUE(scanner.pagesSaved() >= 2 && scanner.pagesSaved() <= 2 + 3) << "at most the sheets already read ahead";
        }
        EXPECT_EQ(readFile(output).pages.size(), scanner.pagesSaved());
    }
    EXPECT_FALSE(prompter().wasAsked(kScannerError));
}
