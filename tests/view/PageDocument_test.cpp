#include "view/PageDocument.h"

#include "base/ErrorReport.h"
#include "data/Settings.h"
#include "store/PageSource.h"
#include "view/PagePreview.h"
#include "view/PrintLayout.h"
#include "view/ViewerScan.h"
#include "view/ViewerTestSupport.h"
#include "support/SystemTexts.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <gtest/gtest.h>

using namespace tarlox;
using namespace tarlox::test;

namespace {

// The person's side of the property forms: each form, when shown, leaves
// the values a person would type.
class Host : public ViewerHost {
public:
    explicit Host(Session& s) : s(s) {}
    void showLineProperties() override { ++lineForms, s.draw.lineWidth = lineWidthTyped; }
    void showStampProperties() override { ++stampForms; }

    Session& s;
    int lineWidthTyped = 1;
    int lineForms = 0;
    int stampForms = 0;
};

class Scanner : public PageSource {
public:
    bool confirm(RescanRequest& request) override { return seen = request, confirmed; }
    IoResult<QImage> acquire(const RescanRequest&) override
    {
        ++acquired;
        return next ? IoResult<QImage>(*next) : IoResult<QImage>(Failure(error));
    }
    bool confirmed = true;
    std::optional<QImage> next;
    QString error;
    RescanRequest seen;
    int acquired = 0;
};

class Recorder : public PageSink {
public:
    bool beginJob() override { return ++jobs, open = true; }
    bool printPage(const QImage& page, const QRectF& frame) override { return pages.append(page), frames.append(frame), open; }
    bool endJob() override { return !(open = false); }
    int jobs = 0;
    bool open = false;
    QList<QImage> pages;
    QList<QRectF> frames;
};

class Viewer : public ::testing::Test {
protected:
    void SetUp() override
    {
        ASSERT_TRUE(site.start());
        prompter().clear();
    }

    Session& s() { return site.session(); }
    ScriptedPrompter& prompter() { return site.prompter(); }

    // A stored report open in a viewer, first page on the screen.
    void open(const QList<QImage>& pages)
    {
        path = StoreReport(site, pages);
        ASSERT_FALSE(path.isEmpty());
        doc.load();
        doc.FirstImage();
    }
    void open(int pages) { open(NumberedPages(pages)); }
    int shown() const { return PageNumberOf(doc.page()); }
    QString original() const { return OriginalPathOf(path); }
    bool reportShown() { return prompter().wasAsked(ProgramTitle()); }
    // The pages in the file, the page in hand and the page on the screen.
    std::tuple<QList<int>, int, int> state() { return {PageNumbersOf(path), doc.currentPage(), shown()}; }
    QString caption(const QString& file, const char* suffix = "") { return QStringLiteral("Image: ") + file + QLatin1String(suffix); }
    void set(const char* key, const char* value) { PutLocal(s(), QStringLiteral("Info"), QLatin1String(key), QLatin1String(value)); }

    void drawLine(double y = 500)
    {
        s().draw.lineWidth = 5;
        doc.LineCommand();
        doc.mouseDown(1, QPointF(100, y));
        doc.mouseMove(QPointF(700, y));
        doc.mouseUp(1, QPointF(700, y));
    }

    TestSite site{Engine::Sqlite};
    Host host{site.session()};
    PageDocument doc{site.session(), &host};
    QString path;
};

}  // namespace

TEST_F(Viewer, PageMenuFollowsThePageCount)
{
    const auto menus = [&] { return std::tuple(doc.pageCount(), doc.menus().mnuPage.enabled, doc.menus().mnuDelete.enabled, doc.menus().mnuPrint.enabled); };
    open(1);
    EXPECT_TRUE(menus() == std::tuple(1, false, false, true) && !doc.goToPage(2));
    open(2);
    EXPECT_EQ(menus(), std::tuple(2, true, true, true));

    // Twenty-one pages: all reachable though the menu lists twenty.
    open(21);
    EXPECT_EQ(doc.pageCount(), 21);
    const auto& items = doc.menus().mnuPageNum;
    EXPECT_TRUE(std::all_of(items.begin(), items.begin() + 20, [](const auto& item) { return item.visible; }));
    EXPECT_EQ(std::pair(items[0].caption, items[19].caption), std::pair(QStringLiteral("&1"), QStringLiteral("2&0")));
    doc.mnuPageNum_Click(21);  // no such menu item
    EXPECT_EQ(doc.currentPage(), 1);
    doc.mnuPageNum_Click(20);
    EXPECT_EQ(std::tuple(shown(), items[19].checked, items[0].checked), std::tuple(20, true, false));
    EXPECT_TRUE(doc.goToPage(21));  // Page Down or the page box
    EXPECT_TRUE(!doc.goToPage(22) && shown() == 21);
}

TEST_F(Viewer, DragOfTenPixelsDoesNothingElevenMagnifiesASquare)
{
    open(1);
    doc.select(100, 100, 110, 104);
    EXPECT_FALSE(doc.zoomed());
    doc.select(100, 100, 111, 103);  // wide and low: still a square
    ASSERT_TRUE(doc.zoomed());
    EXPECT_EQ(std::tuple(doc.zoomSize(), doc.zoomLeft(), doc.zoomTop(), doc.toolTip(), doc.geometry(QSize(440, 440)).scale()),
              std::tuple(11, 100, 100, QStringLiteral("Right click to return to full screen."), 40.0));
    doc.mouseDown(2, QPointF(5, 5));
    EXPECT_EQ(std::pair(doc.zoomed(), doc.toolTip()), std::pair(false, QStringLiteral("Click and drag around the area you want enlarged.")));

    // A narrow drag in rectangle mode magnifies instead of drawing.
    open(1);
    s().draw.rectangleWidth = 3, s().draw.rectangleBlack = true;
    doc.RectangleCommand();
    EXPECT_EQ(doc.drawMode(), QStringLiteral("Rect"));
    doc.select(200, 100, 201, 400);
    EXPECT_EQ(std::pair(doc.zoomed(), doc.dirty()), std::pair(true, false));
    doc.select(200, 300, 400, 400);
    EXPECT_EQ(std::pair(doc.dirty(), IsBlackAt(doc.page(), 300, 300)), std::pair(true, true));
}

TEST_F(Viewer, ClockwiseTwiceIsAHalfTurnAppliedToEveryPage)
{
    // A turn from the settings is used, but a turn on the screen never written back.
    const auto turned = [&] { return std::pair(doc.viewRotation(), doc.page().size()); };
    set("ViewRotation", "90");
    open(1);
    EXPECT_EQ(turned(), std::pair(90, QSize(1100, 850)));
    doc.mnuRotate_Click(2);
    EXPECT_EQ(GetLocal(s(), QStringLiteral("Info"), QStringLiteral("ViewRotation")), QStringLiteral("90"));
    set("ViewRotation", "0");
    open(2);
    const QImage upright = doc.page();
    doc.mnuRotate_Click(1);
    EXPECT_EQ(turned(), std::pair(270, QSize(1100, 850)));
    doc.mnuRotate_Click(1);
    // Turning marks nothing changed.
    EXPECT_EQ(std::tuple(doc.viewRotation(), SamePixels(doc.page(), TurnPage(TurnPage(upright, 1), 1)), doc.dirty()), std::tuple(180, true, false));
    doc.goToPage(2);
    EXPECT_TRUE(IsBlackAt(doc.page(), 849 - 15, 1099 - 15));  // page 2 arrives turned too
    QList<int> rotations;
    for (const int turn : {1, 1, 3, 2})
        doc.mnuRotate_Click(turn), rotations << doc.viewRotation();
    EXPECT_EQ(rotations, (QList<int>{90, 0, 180, 270}));
}

// Abort drops the changes in memory; a save makes the Original and the caption
// says which is shown; a restore from the Original shows the restored copy.
TEST_F(Viewer, CaptionShowsCopyOnlyOnceAnOriginalExistsUntilItIsRestored)
{
    open(2);
    EXPECT_EQ(std::pair(doc.caption(), doc.menus().mnuViewOrig.visible), std::pair(caption(path), false));
    drawLine();
    doc.mnuAbort_Click();
    EXPECT_EQ(std::tuple(doc.dirty(), IsBlackAt(doc.page(), 400, 500), QFileInfo::exists(original())), std::tuple(false, false, false));
    drawLine();
    EXPECT_EQ(doc.caption(), caption(path, " - Drawing Mode"));
    ASSERT_TRUE(doc.mnuSave_Click());
    EXPECT_EQ(std::tuple(doc.caption(), doc.menus().mnuViewOrig.visible, doc.menus().mnuRestOrig.enabled), std::tuple(caption(path, " (Copy)"), true, true));
    doc.mnuViewOrig_Click();
    // The Original is never edited.
    EXPECT_EQ(std::tuple(doc.caption(), doc.menus().mnuViewOrig.caption, doc.menus().mnuScanOpt.enabled, IsBlackAt(doc.page(), 400, 500)),
              std::tuple(caption(original(), " (Original)"), QStringLiteral("View C&opy"), false, false));
    doc.mnuViewOrig_Click();
    EXPECT_EQ(std::pair(doc.menus().mnuScanOpt.enabled, IsBlackAt(doc.page(), 400, 500)), std::pair(true, true));

    // Restored while the Original is on the screen: the restored copy shows.
    doc.mnuViewOrig_Click();
    ASSERT_EQ(doc.viewFile(), original());
    prompter().answer(Answer::Cancel), doc.mnuRestOrig_Click();
    EXPECT_TRUE(QFileInfo::exists(original()));  // Cancel: nothing
    prompter().answer(Answer::Ok), doc.mnuRestOrig_Click();
    // The menu's caption stays as it was.
    EXPECT_EQ(std::tuple(doc.viewFile(), QFileInfo::exists(original()), IsBlackAt(doc.page(), 400, 500), doc.menus().mnuScanOpt.enabled, doc.menus().mnuViewOrig.caption),
              std::tuple(path, false, false, true, QStringLiteral("View C&opy")));
}

TEST_F(Viewer, WhiteFilledRectangleSurvivesASaveUntilRestore)
{
    QImage black = NumberedPage(1);
    black.fill(1);
    open({black});
    s().draw.rectangleWidth = 1, s().draw.rectangleFill = true, s().draw.rectangleBlack = false;
    doc.RectangleCommand();
    doc.select(100, 100, 300, 300);
    ASSERT_TRUE(doc.mnuSave_Click());
    const QImage saved = *TiffReader::open(path)->readPage(0);
    EXPECT_EQ(std::tuple(IsBlackAt(doc.page(), 200, 200), IsBlackAt(saved, 200, 200), IsBlackAt(saved, 400, 400)), std::tuple(false, false, true));

    prompter().answer(Answer::Ok), doc.mnuRestOrig_Click();
    EXPECT_EQ(prompter().textOf(QStringLiteral("Restore Original")), texts::RestoreOriginal);
    EXPECT_EQ(std::tuple(IsBlackAt(doc.page(), 200, 200), QFileInfo::exists(original()), doc.menus().mnuRestOrig.visible, doc.caption()),
              std::tuple(true, false, false, caption(path)));
}

TEST_F(Viewer, DeletePageOneAndPageThreeOfThree)
{
    open(3);
    prompter().answer(Answer::Cancel), doc.mnuDelete_Click();
    EXPECT_EQ(std::pair(PageNumbersOf(path), prompter().textOf(QStringLiteral("Delete a Page"))), std::pair(QList<int>{1, 2, 3}, texts::DeletePage));

    prompter().answer(Answer::Ok), doc.mnuDelete_Click();
    EXPECT_EQ(std::pair(state(), QFileInfo::exists(original())), std::pair(std::tuple(QList<int>{2, 3}, 1, 2), false));

    open(3);
    doc.goToPage(3);
    prompter().answer(Answer::Ok), doc.mnuDelete_Click();
    EXPECT_EQ(state(), std::tuple(QList<int>{1, 2}, 2, 2));
}

TEST_F(Viewer, InsertRescanAndAppendThroughTheScanner)
{
    open(2);
    Scanner scanner;
    scanner.next = NumberedPage(9);
    prompter().answer(Answer::Ok), doc.mnuScan_Click(2, &scanner);
    EXPECT_EQ(std::tuple(scanner.seen.title, scanner.seen.mode, scanner.seen.dpi, scanner.seen.pageLength),
              std::tuple(QStringLiteral("Insert Page"), QLatin1Char('I'), 200, 11.0));
    EXPECT_EQ(std::tuple(prompter().textOf(QStringLiteral("Prepare to Scan")), state(), QFileInfo::exists(original())),
              std::tuple(texts::PrepareToScan, std::tuple(QList<int>{9, 1, 2}, 1, 9), false));

    // Rescan and append, and a cancel at the prompt in append mode: the
    // file stays, the view moves to the last page.
    open(3);
    scanner.next = NumberedPage(7);
    struct Step { int from, mode; Answer answer; QList<int> pages; int page; };
    for (const Step& step : {Step{2, 1, Answer::Ok, {1, 7, 3}, 2}, Step{2, 3, Answer::Ok, {1, 7, 3, 7}, 4},
                             Step{1, 3, Answer::Cancel, {1, 7, 3, 7}, 4}}) {
        doc.goToPage(step.from);
        prompter().answer(step.answer), doc.mnuScan_Click(step.mode, &scanner);
        EXPECT_EQ(std::pair(PageNumbersOf(path), doc.currentPage()), std::pair(step.pages, step.page)) << step.mode;
    }

    // The operator cancels the confirmation screen: no prompt, nothing scanned.
    scanner.confirmed = false;
    const int acquired = scanner.acquired;
    doc.mnuScan_Click(1, &scanner);
    EXPECT_EQ(scanner.acquired, acquired);
}

TEST_F(Viewer, ScannerFailureAndShortScanLeaveTheFileRescanResolutionFollowsTheDocument)
{
    open(2);
    Scanner scanner;
    scanner.error = QStringLiteral("Document feeder empty");
    prompter().answer(Answer::Ok), doc.mnuScan_Click(1, &scanner);
    EXPECT_EQ(std::tuple(prompter().textOf(QStringLiteral("Scanner Error")), state(), doc.scanMode()),
              std::tuple(QStringLiteral("Document feeder empty"), std::tuple(QList<int>{1, 2}, 1, 1), ScanMode::None));

    prompter().clear();
    doc.mnuScan_Click(1, nullptr);
    EXPECT_TRUE(prompter().wasAsked(QStringLiteral("ReScan Page")));

    // A short scan is questioned and dropped by default.
    open(1);
    scanner.next = NumberedPage(5, 850, 600);  // 6 inches of an 11 inch page
    prompter().answer(Answer::Ok), doc.mnuScan_Click(3, &scanner);
    const QString text = prompter().textOf(QStringLiteral("Scanner Error"));
    EXPECT_TRUE(text.startsWith(QStringLiteral("The image returned from the scanner was too small!"))
                && text.contains(QStringLiteral("It should have been 11 inches but instead was 6 inches.")))
        << text.toStdString();
    EXPECT_EQ(PageNumbersOf(path), (QList<int>{1}));

    prompter().answer(Answer::Ok), prompter().answer(Answer::Yes), doc.mnuScan_Click(3, &scanner);
    EXPECT_EQ(PageNumbersOf(path), (QList<int>{1, 5}));

    // Overlong pages are cut to the frame.
    scanner.next = NumberedPage(6, 850, 1500);
    prompter().answer(Answer::Ok), doc.mnuScan_Click(3, &scanner);
    EXPECT_EQ(TiffReader::open(path)->pageInfo(2)->height, 1100);
    EXPECT_EQ(std::pair(RescanDpi(s(), 200), RescanDpi(s(), 300)), std::pair(200, 300));
    set("LowDPI", "150"), set("HighDPI", "400");
    EXPECT_EQ(std::pair(RescanDpi(s(), 300), RescanDpi(s(), 400)), std::pair(150, 400));
    EXPECT_EQ(std::tuple(PageLengthOf(QStringLiteral("G")), PageLengthOf(QStringLiteral("A")), PageLengthOf(QStringLiteral(" "))),
              std::tuple(14.0, 11.7, 11.0));
}

TEST_F(Viewer, AnotherUsersSaveIsKeptUnlessTheOperatorOverwrites)
{
    open(2);
    drawLine();
    // Another workstation saves the report meanwhile.
    ASSERT_TRUE(WriteTiff(path, NumberedPages(4)));
    ASSERT_TRUE(doc.mnuSave_Click());
    EXPECT_TRUE(prompter().wasAsked(QStringLiteral("Changed by Another User")));
    EXPECT_EQ(std::tuple(PageNumbersOf(path), QFileInfo::exists(original()), doc.pageCount()), std::tuple(QList<int>{1, 2, 3, 4}, false, 4));

    drawLine();
    ASSERT_TRUE(WriteTiff(path, NumberedPages(3)));
    prompter().answer(Answer::Yes);
    ASSERT_TRUE(doc.mnuSave_Click());
    EXPECT_EQ(std::pair(PageNumbersOf(path), IsBlackAt(*TiffReader::open(path)->readPage(0), 400, 500)), std::pair(QList<int>{1, 2, 3}, true));
}

TEST_F(Viewer, MissingFileIsReportedAndLeavesAnEmptyViewer)
{
    path = StoreReport(site, NumberedPages(1));
    QFile::remove(path);
    doc.load();
    doc.FirstImage();
    EXPECT_EQ(std::tuple(reportShown(), doc.pageCount(), doc.menus().mnuPrint.enabled, doc.page().isNull()), std::tuple(true, 0, false, true));
    drawLine();  // nothing to draw on
    EXPECT_FALSE(doc.dirty());
    doc.select(0, 0, 100, 100);
    doc.mnuRotate_Click(1);
    EXPECT_TRUE(doc.page().isNull());
}

// A page number past the end, the file having lost pages elsewhere, shows the last page.
TEST_F(Viewer, DamagedPageIsReportedMissingPagesShowTheLast)
{
    open(2);
    // Spoil the coded data of page 2.
    QByteArray bytes = FileBytes(path);
    const qsizetype at = bytes.indexOf(RawStrips(path, 1).at(0));
    ASSERT_TRUE(at > 0 && WriteFile(path, bytes.replace(at, 64, QByteArray(64, '\x00'))));
    prompter().clear();
    doc.goToPage(2);
    EXPECT_EQ(std::pair(reportShown(), doc.page().isNull()), std::pair(true, true));
    doc.goToPage(1);
    EXPECT_EQ(shown(), 1);

    open(3);
    prompter().clear();
    doc.goToPage(3);
    ASSERT_TRUE(WriteTiff(path, NumberedPages(2)));
    doc.FirstImage();
    EXPECT_EQ(std::tuple(doc.currentPage(), shown(), reportShown()), std::tuple(2, 2, false));
}

TEST_F(Viewer, UnreadableStampIsReportedTextStampDrawn)
{
    open(1);
    s().draw.stampType = QStringLiteral("Image");
    s().draw.stampImage = site.path(QStringLiteral("nothing.tif"));
    doc.StampCommand();
    const auto tool = [&] { return std::pair(doc.drawMode(), doc.cursorKey()); };
    EXPECT_EQ(tool(), std::pair(QStringLiteral("Stamp"), QStringLiteral("Stamp")));
    doc.select(100, 100, 300, 200);
    EXPECT_EQ(std::tuple(reportShown(), doc.dirty(), doc.drawMode()), std::tuple(true, false, QStringLiteral("Stamp")));

    // An undefined text stamp opens its form and falls back to magnifying.
    open(1);
    s().draw.stampType = QStringLiteral("Text");
    s().draw.stampText.clear();
    doc.StampCommand();
    EXPECT_EQ(std::pair(host.stampForms, tool()), std::pair(1, std::pair(QString(), QStringLiteral("Select"))));

    s().draw.stampText = QStringLiteral("RECEIVED"), s().draw.fontName = QStringLiteral("DejaVu Sans"), s().draw.fontSize = 12;
    doc.StampCommand();
    EXPECT_EQ(std::tuple(host.stampForms, doc.cursorKey(), doc.toolTip()),
              std::tuple(1, QStringLiteral("Text"), QStringLiteral("Click and drag to define area to stamp.")));
    doc.select(100, 100, 600, 160);
    EXPECT_EQ(std::pair(doc.dirty(), doc.caption()), std::pair(true, caption(path, " - Drawing Mode")));
}

TEST_F(Viewer, FirstLineWithoutAWidthOpensTheFormAndClampedOneStartsTheTool)
{
    open(1);
    s().draw.lineWidth = 0;
    host.lineWidthTyped = 1;
    doc.LineCommand();
    EXPECT_EQ(std::tuple(host.lineForms, doc.drawMode(), doc.selectEnabled(), doc.toolTip()),
              std::tuple(1, QStringLiteral("Line"), false, QStringLiteral("Click and drag to draw line.")));
    doc.LineCommand();
    EXPECT_EQ(host.lineForms, 1);  // a width is set now

    // The rubber band follows the drag and goes at the end.
    doc.mouseDown(1, QPointF(50, 60));
    doc.mouseMove(QPointF(70, 80));
    EXPECT_EQ(std::pair(doc.rubberBand().visible, doc.rubberBand().to), std::pair(true, QPointF(70, 80)));
    doc.mouseUp(1, QPointF(70, 80));
    EXPECT_EQ(std::pair(doc.rubberBand().visible, IsBlackAt(doc.page(), 60, 70)), std::pair(false, true));
    doc.ViewCommand();
    EXPECT_EQ(doc.drawMode(), QString());
}

// A save that can't write, from the Save menu or from the close question,
// keeps the changes on the screen and the files as they were; once the data
// directory takes data again, the same changes save. The first save keeps
// the file as scanned as the Original, the second leaves it.
TEST_F(Viewer, FailedSaveKeepsTheChangesAndTheFilesUntilASaveSucceeds)
{
    // onClose: Yes to the close question, else the Save menu; roomForOriginal: the Original is made, the new Copy fails
    struct Row { const char* name; bool onClose; double lineAt; bool roomForOriginal; };
    open(3);
    const QByteArray asScanned = FileBytes(path);
    doc.goToPage(2);
    for (const Row& row : {Row{"first save, Save menu", false, 300, true}, Row{"second save, close question", true, 700, false}}) {
        SCOPED_TRACE(row.name);
        drawLine(row.lineAt);
        EXPECT_FALSE(doc.goToPage(3));  // all strokes of one save on one page
        const QImage edited = doc.page();
        const QByteArray copyBefore = FileBytes(path);
        const QByteArray originalBefore = FileBytes(original());
        const QStringList filesBefore = QDir(s().dataDir).entryList(QDir::Files | QDir::Hidden);
        const auto save = [&]() -> IoStatus {
            if (!row.onClose)
                return doc.mnuSave_Click();
            prompter().answer(Answer::Yes);
            if (auto unloaded = doc.unload(); !unloaded)
                return unloaded.failure();
            return {};
        };
        IoStatus saved;
        {
            test::FullDisk full(row.roomForOriginal ? copyBefore.size() : 0);
            saved = save();
        }
        ASSERT_FALSE(saved);
        EXPECT_TRUE(saved.error().contains(s().dataDir)) << saved.error().toStdString();
        EXPECT_EQ(std::tuple(doc.dirty(), doc.currentPage(), SamePixels(doc.page(), edited)), std::tuple(true, 2, true));
        EXPECT_EQ(std::pair(FileBytes(path), FileBytes(original())), std::pair(copyBefore, originalBefore));
        EXPECT_EQ(QDir(s().dataDir).entryList(QDir::Files | QDir::Hidden), filesBefore);  // no work file, no new Original

        ASSERT_TRUE(save());
        EXPECT_EQ(std::tuple(doc.dirty(), doc.drawMode(), FileBytes(original()), PageNumbersOf(path)),
                  std::tuple(false, QString(), asScanned, QList<int>{1, 2, 3}));
        EXPECT_TRUE(SamePixels(*TiffReader::open(path)->readPage(1), edited));
    }
    EXPECT_EQ(prompter().textOf(QStringLiteral("Save Changes")), texts::SaveChanges);
}

TEST_F(Viewer, AnnotateModeRemovesItsOriginalOnClose)
{
    const QString temp = JoinPath(s().tempDir, QStringLiteral("TP000042.TIF"));
    ASSERT_TRUE(WriteTiff(temp, NumberedPages(2)));
    PageDocument annotate(s(), &host);
    annotate.load(true, temp);
    annotate.FirstImage();
    EXPECT_EQ(std::pair(annotate.caption(), annotate.originalFile()), std::pair(QString(QStringLiteral("Annotate ") + temp), JoinPath(s().tempDir, QStringLiteral("OT000042.TIF"))));
    s().draw.lineWidth = 3;
    annotate.LineCommand();
    annotate.DrawLine(10, 10, 200, 10);
    EXPECT_EQ(annotate.caption(), QStringLiteral("Annotate ") + temp + QStringLiteral(" - Drawing Mode"));
    ASSERT_TRUE(annotate.mnuSave_Click());
    EXPECT_TRUE(QFileInfo::exists(annotate.originalFile()));
    ASSERT_TRUE(annotate.unload());
    EXPECT_EQ(std::pair(QFileInfo::exists(annotate.originalFile()), QFileInfo::exists(temp)), std::pair(false, true));
}

TEST_F(Viewer, PrintingTurnsLandscapePagesOneJobEachAndRestoresTheScreen)
{
    open({NumberedPage(1), NumberedPage(2, 1100, 850), NumberedPage(3)});
    doc.goToPage(3);
    Recorder printer;
    ASSERT_TRUE(doc.printPages(printer, 1, 3, 2));
    ASSERT_EQ(std::pair(printer.jobs, printer.pages.size()), std::pair(6, qsizetype(6)));
    // Page 2 turned for paper, the second copy starts again, the screen as it was.
    EXPECT_EQ(std::tuple(printer.pages[1].size(), PageNumberOf(printer.pages[3]), printer.frames[0], shown(), doc.currentPage()),
              std::tuple(QSize(850, 1100), 1, PrintFrameInches(), 3, 3));
    EXPECT_EQ(std::tuple(PrintFrameInches().width(), PrintFrameInches().height(), PrintFrameInches(true).height()), std::tuple(8.0, 10.5, 13.5));
}
