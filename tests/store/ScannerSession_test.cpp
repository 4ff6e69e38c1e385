#include "store/PageImage.h"
#include "store/SaneDevice.h"
#include "store/ScannerSession.h"
#include "store/TiffReader.h"
#include "support/SaneTestBackend.h"
#include "support/TestSite.h"

#include <QDir>
#include <QFile>

#include <numeric>

using namespace tarlox;
using namespace tarlox::test;

namespace {

const QString kScannerError = QStringLiteral("Scanner Error");
const QString kNextPage = QStringLiteral("Scan Next Page");
using BeforeSheet = std::function<void(SaneDevice&, int)>;

void setOption(SaneDevice& device, const char* name, const QVariant& value)
{
    const SaneResult r = device.setValue(QLatin1String(name), value); EXPECT_TRUE(r.ok()) << name << ": " << r.text.toStdString();
}

// From the sheet numbered at on, the device answers with status.
BeforeSheet failFrom(int at, const char* status)
{
    return [=](SaneDevice& device, int read) { if (read == at) setOption(device, "read-return-value", QLatin1String(status)); };
}

qint64 blackPixels(const QImage& page)
{
    qint64 black = 0;
    for (int y = 0; y < page.height(); ++y) for (int x = 0; x < page.width(); ++x) black += page.pixelIndex(x, y);
    return black;
}

class ScannerSessionTest : public ::testing::Test {
protected:
    static void SetUpTestSuite() { UseSaneTestBackend(2); }

    void SetUp() override
    {
        ResetSaneTestDevices(2);
        ASSERT_TRUE(site.start());
        prompter().clear();
    }

    Session& s() { return site.session(); }
    ScriptedPrompter& prompter() { return site.prompter(); }

    // The site's settings for the first test device, changed by change.
    ScanSettings settings(const QString& pageSizeCode = QStringLiteral(" "), const std::function<void(ScanSettings&)>& change = {})
    {
        ScanSettings st = ScanSettings::read(s(), 200, 0, pageSizeCode);
        st.device = QStringLiteral("test:0");
        if (change) change(st);
        return st;
    }
    // A fresh device (it keeps the status it was given), no prompts, no output file.
    void fresh() { ResetSaneTestDevices(2), prompter().clear(), QFile::remove(output); }
    ScanProfile entryProfile() { return ScanProfile::forScanEntry(output, tags, imageFile); }
    std::unique_ptr<ScannerSession> scanner(const ScanProfile& profile, const ScanSettings& st, BeforeSheet before = {})
    {
        auto made = std::make_unique<ScannerSession>(s(), profile, st);
        made->beforeSheet = std::move(before);
        return made;
    }

    TestSite site;
    const QString output = site.path(QStringLiteral("TEMP/TR000001.TIF")), imageFile = site.path(QStringLiteral("DATA/TR000001.TIF"));
    const ReportTags tags = ReportTags::forReport(QStringLiteral("H1 H2"), QStringLiteral("P1 P2"), QStringLiteral("PO9"), QString(), QStringLiteral("Mill"));
};

}  // namespace

// A jam in the feeder's run keeps the pages before it and asks nothing more.
TEST_F(ScannerSessionTest, DeviceStatusesBecomeTheScannerErrorBox)
{
    // failAt: the sheets read before the failure, in the feeder.
    const struct { const char *status, *words; int failAt, kept; } rows[] = {
        {"SANE_STATUS_JAMMED", "jammed", 0, 0}, {"SANE_STATUS_JAMMED", "jammed", 2, 2}, {"SANE_STATUS_NO_DOCS", "no document in the feeder", 0, 0},
        {"SANE_STATUS_COVER_OPEN", "cover", 0, 0}, {"SANE_STATUS_DEVICE_BUSY", "busy", 0, 0}, {"SANE_STATUS_IO_ERROR", "I/O error", 0, 0},
        {"SANE_STATUS_ACCESS_DENIED", "denied", 0, 0},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.status);
        fresh();
        auto run = scanner(entryProfile(), settings(QStringLiteral(" "), [&](ScanSettings& v) { v.useAdf = row.failAt > 0; }), failFrom(row.failAt, row.status));
        run->Scan();
        EXPECT_EQ(std::tuple(prompter().titles(), prompter().asked().first().buttons, PageCount(output), run->scanDone()),
                  std::tuple(QStringList{kScannerError}, Buttons::Ok, row.kept, false));
        EXPECT_TRUE(prompter().textOf(kScannerError).contains(QLatin1String(row.words))) << prompter().textOf(kScannerError).toStdString();
    }
}

// Yes keeps the short page as it came, No leaves nothing; a rescan that ignores the size does not ask.
TEST_F(ScannerSessionTest, TooSmallPageIsAskedAbout)
{
    const auto shortSheet = [](SaneDevice& device, int) { setOption(device, "br-y", 200.0); };  // 7.87 inches
    prompter().answer(Answer::Yes);
    scanner(entryProfile(), settings(), shortSheet)->Scan();
    ASSERT_GE(prompter().asked().size(), 1);
    const Prompt question = prompter().asked().first();
    EXPECT_EQ(std::tuple(question.title, question.buttons, question.defaultAnswer, question.withHelp, question.text.contains(QStringLiteral("11 inches but instead was 7.87"))),
              std::tuple(kScannerError, Buttons::YesNo, Answer::No, true, true));
    EXPECT_NEAR(TiffReader::open(output)->pageInfo(0)->height, 1575, 1);

    fresh();
    scanner(entryProfile(), settings(), shortSheet)->Scan();  // the default answer: No
    EXPECT_EQ(std::tuple(prompter().titles(), QFile::exists(output)), std::tuple(QStringList{kScannerError}, false)) << "no check dialog without a page";

    prompter().clear();
    scanner(ScanProfile::forRescan(output), settings(QStringLiteral(" "), [](ScanSettings& v) { v.ignoreSize = true; }), shortSheet)->Scan();
    EXPECT_EQ(std::tuple(prompter().titles(), PageCount(output)), std::tuple(QStringList{kNextPage}, 1));
}

// Without the feeder each pass takes one sheet; Cancel removes a rescan's target.
TEST_F(ScannerSessionTest, CheckDialogDrivesThePasses)
{
    for (Answer a : {Answer::Yes, Answer::Yes, Answer::No}) prompter().answer(a);
    scanner(entryProfile(), settings(QStringLiteral("G")))->Scan();
    EXPECT_EQ(std::tuple(prompter().titles(), prompter().asked().first().buttons, prompter().asked().first().defaultAnswer),
              std::tuple(QStringList{kNextPage, kNextPage, kNextPage}, Buttons::YesNoCancel, Answer::No));
    ASSERT_EQ(PageCount(output), 3);
    EXPECT_NEAR(TiffReader::open(output)->pageInfo(2)->height, 2800, 1) << "Legal: 14 inches";

    prompter().clear();
    for (Answer a : {Answer::Yes, Answer::Cancel}) prompter().answer(a);
    const QString target = site.path(QStringLiteral("DATA/TM000001.TIF"));
    scanner(ScanProfile::forRescan(target), settings())->Scan();
    EXPECT_EQ(std::tuple(prompter().titles(), QFile::exists(target)), std::tuple(QStringList{kNextPage, kNextPage}, false));
}

// The page is saved whatever is pressed, inverted if the box was ticked; Cancel on
// the first page keeps it (it removes the report's final name, not yet written).
TEST_F(ScannerSessionTest, InvertQuestionBeforeEachPage)
{
    auto run = scanner(entryProfile(), settings(QStringLiteral(" "), [](ScanSettings& v) { v.showInvert = true; }));
    qint64 shownBlack = -1;  // stays when no page is shown, and fails the count below
    int asked = 0;
    run->scanCheck = [&](QImage* page) {
        ++asked;
        if (page) shownBlack = blackPixels(*page), page->invertPixels();  // "Invert Scan" ticked
        return Answer::Cancel;
    };
    run->Scan();
    ASSERT_EQ(std::tuple(asked, PageCount(output)), std::tuple(1, 1));
    const QImage page = *TiffReader::open(output)->readPage(0);
    EXPECT_EQ(blackPixels(page), qint64(page.width()) * page.height() - shownBlack);
}

TEST_F(ScannerSessionTest, StepLabelsOfEachForm)
{
    const ScanSettings st = settings(QStringLiteral("A"), [](ScanSettings& v) { std::tie(v.useAdf, v.transferCount, v.brightness) = std::tuple(true, 1, -250); });
    for (const ScanProfile& profile : {entryProfile(), ScanProfile::forRescan(site.path(QStringLiteral("DATA/TM000001.TIF")))}) {
        QStringList steps;
        auto run = scanner(profile, st);
        QObject::connect(run.get(), &ScannerSession::stepChanged, [&](const QString& step) { steps << step; });
        run->Scan();
        EXPECT_TRUE(steps.contains(QStringLiteral("Set Brightness to -250 for test:0")) && steps.contains(QStringLiteral("Set Frame length to 11.7 for test:0"))
                    && steps.last() == QLatin1String("Scan finished"));
    }
}

// A name no device answers to scans on the first device.
TEST_F(ScannerSessionTest, DeviceChosenByNameOrDescription)
{
    const struct { const char* key; const char* opened; } rows[] = {
        {"test:1", "test:1"}, {"Noname frontend-tester", "test:0"}, {"test:1 (Noname frontend-tester)", "test:1"}, {"Nosuch Scanner 3000", "test:0"}, {"", "test:0"}};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.key);
        QString opened;
        EXPECT_TRUE(scanner(ScanProfile::forPage(), settings(QStringLiteral(" "), [&](ScanSettings& v) { v.device = QLatin1String(row.key); }),
                            [&](SaneDevice& device, int) { opened = device.name(); })->ScanOnePage());
        EXPECT_EQ(std::tuple(opened, prompter().asked().size()), std::tuple(QString::fromLatin1(row.opened), 0));
    }
}

// Worked on like every page, handed back, written nowhere; a failed page gives nothing back.
TEST_F(ScannerSessionTest, OnePageForTheViewer)
{
    const ScanSettings st = settings(QStringLiteral("A"), [](ScanSettings& v) { std::tie(v.dpi, v.useAdf, v.showInvert) = std::tuple(300, true, true); });
    int sheets = 0;
    const std::optional<QImage> page = scanner(ScanProfile::forPage(), st, [&](SaneDevice&, int) { ++sheets; })->ScanOnePage();
    ASSERT_TRUE(page.has_value());
    EXPECT_EQ(std::tuple(sheets, DpiOf(*page), prompter().asked().size(), QDir(site.path(QStringLiteral("TEMP"))).entryList(QDir::Files)),
              std::tuple(1, Dpi{300, 300}, 0, QStringList{})) << "one sheet, feeder or not";
    EXPECT_NEAR(page->height(), 3510, 1) << "A4 at 300 dpi";

    EXPECT_FALSE(scanner(ScanProfile::forPage(), settings(), failFrom(0, "SANE_STATUS_COVER_OPEN"))->ScanOnePage());
    EXPECT_EQ(prompter().titles(), QStringList{kScannerError});
}

TEST_F(ScannerSessionTest, PageOfUnknownLength)
{
    const auto page = scanner(ScanProfile::forPage(), settings(QStringLiteral(" "), [](ScanSettings& v) { v.ignoreSize = true; }),
                              [](SaneDevice& device, int) { setOption(device, "hand-scanner", true); })->ScanOnePage();
    ASSERT_TRUE(page.has_value());
    EXPECT_TRUE(page->height() > 0 && page->height() <= 2200) << page->height();
    EXPECT_NEAR(page->width(), 866, 2) << "the test device's hand scanner is 11 cm wide";
}

// The test device holds ten sheets; "no documents" ends the stack, not an error.
// On Stop the sheet in hand and any already read are kept.
TEST_F(ScannerSessionTest, FeederRunsUntilEmptyTheTransferCountOrStop)
{
    // pages -1: two, and at most the sheets already read ahead.
    const struct { int limit, noDocsAt; bool stop; int pages; } rows[] = {{999, 3, false, 3}, {999, -1, false, 10}, {4, -1, false, 4}, {999, -1, true, -1}};
    ScanSettings st = settings(QStringLiteral(" "), [](ScanSettings& v) { v.useAdf = true; });
    for (const auto& row : rows) {
        SCOPED_TRACE(testing::Message() << row.limit << " " << row.noDocsAt << " " << row.stop);
        fresh();
        st.transferCount = row.limit;
        auto run = scanner(entryProfile(), st, failFrom(row.noDocsAt, "SANE_STATUS_NO_DOCS"));
        QList<int> shown;
        QObject::connect(run.get(), &ScannerSession::pageReady, [&](const QImage& page, int number) {
            shown.append(number);
            EXPECT_TRUE(IsBlackAndWhite(page));
            if (row.stop && number == 2) run->requestStop();
        });
        run->Scan();
        QList<int> inOrder(std::max(row.pages, 0));
        std::iota(inOrder.begin(), inOrder.end(), 1);
        if (row.pages >= 0) EXPECT_EQ(std::tuple(run->pagesSaved(), shown, prompter().titles()), std::tuple(row.pages, inOrder, QStringList{kNextPage}));
        else EXPECT_TRUE(run->pagesSaved() >= 2 && run->pagesSaved() <= 2 + 3);
        auto stored = TiffReader::open(output);
        ASSERT_EQ(stored->pageCount(), run->pagesSaved());
        const TiffPageInfo last = *stored->pageInfo(run->pagesSaved() - 1);
        EXPECT_EQ(std::tuple(last.compression, last.dpi, stored->tags(), QFile::exists(imageFile), prompter().wasAsked(kScannerError)),
                  std::tuple(4, Dpi{200, 200}, tags, false, false)) << "CCITT Group 4";
        EXPECT_NEAR(last.height, 2200, 1);
        EXPECT_GT(blackPixels(*stored->readPage(1)), 0) << "the grid came through";
    }
}
