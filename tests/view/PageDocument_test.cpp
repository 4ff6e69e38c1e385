#include "view/PageDocument.h"

#include "base/ErrorReport.h"
#include "data/Settings.h"
#include "view/PagePreview.h"
#include "store/PageSource.h"
#include "view/PrintLayout.h"
#include "view/ViewerScan.h"
#include "view/ViewerTestSupport.h"
#include "support/SystemTexts.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <tiffio.h>

#include <gtest/gtest.h>

using namespace tarlox;
using namespace tarlox::test;

namespace {

// The person's side of the property forms: each form, when shown, leaves
// the values a person would type.
class Host : public ViewerHost {
public:
    explicit Host(Session& s) : s(s) {}
    void showLineProperties() override
    {
        ++lineForms;
        s.draw.lineWidth = lineWidthTyped;
    }
    void showStampProperties() override { ++stampForms; }

    Session& s;
    int lineWidthTyped = 1;
    int lineForms = 0;
    int stampForms = 0;
};

class Scanner : public PageSource {
public:
    bool confirm(RescanRequest& request) override
    {
        seen = request;
        return confirmed;
    }
    IoResult<QImage> acquire(const RescanRequest&) override
    {
        ++acquired;
        if (next)
            return *next;
        return Failure(error);
    }
    bool confirmed = true;
    std::optional<QImage> next;
    QString error;
    RescanRequest seen;
    int acquired = 0;
};

class Recorder : public PageSink {
public:
    bool beginJob() override
    {
        ++jobs;
        open = true;
        return true;
    }
    bool printPage(const QImage& page, const QRectF& frame) override
    {
        pages.append(page);
        frames.append(frame);
        return open;
    }
    bool endJob() override
    {
        open = false;
        return true;
    }
    int jobs = 0;
    bool open = false;
    QList<QImage> pages;
    QList<QRectF> frames;
};

class Viewer : public ::testing::Test {
protected:
    void SetUp() override
    {
        EnsureGuiApplication();
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
    open(1);
    EXPECT_EQ(doc.pageCount(), 1);
    EXPECT_FALSE(doc.menus().mnuPage.enabled);
    EXPECT_FALSE(doc.menus().mnuDelete.enabled);
    EXPECT_TRUE(doc.menus().mnuPrint.enabled);
    EXPECT_FALSE(doc.goToPage(2));
    open(2);
    EXPECT_TRUE(doc.menus().mnuPage.enabled);
    EXPECT_TRUE(doc.menus().mnuDelete.enabled);

    // Twenty-one pages: all reachable though the menu lists twenty.
    open(21);
    EXPECT_EQ(doc.pageCount(), 21);
    for (int i = 1; i <= 20; ++i)
        EXPECT_TRUE(doc.menus().mnuPageNum[size_t(i - 1)].visible) << i;
    EXPECT_EQ(doc.menus().mnuPageNum[19].caption, QStringLiteral("2&0"));
    EXPECT_EQ(doc.menus().mnuPageNum[0].caption, QStringLiteral("&1"));
    doc.mnuPageNum_Click(21);  // no such menu item
    EXPECT_EQ(doc.currentPage(), 1);
    doc.mnuPageNum_Click(20);
    EXPECT_EQ(shown(), 20);
    EXPECT_TRUE(doc.menus().mnuPageNum[19].checked);
    EXPECT_FALSE(doc.menus().mnuPageNum[0].checked);
    EXPECT_TRUE(doc.goToPage(21));  // Page Down or the page box
    EXPECT_EQ(shown(), 21);
    EXPECT_FALSE(doc.goToPage(22));
    EXPECT_EQ(doc.currentPage(), 21);
}

TEST_F(Viewer, DragOfTenPixelsDoesNothingElevenMagnifiesASquare)
{
    open(1);
    doc.select(100, 100, 110, 104);
    EXPECT_FALSE(doc.zoomed());
    doc.select(100, 100, 111, 103);  // wide and low: still a square
    ASSERT_TRUE(doc.zoomed());
    EXPECT_EQ(doc.zoomSize(), 11);
    EXPECT_EQ(doc.zoomLeft(), 100);
    EXPECT_EQ(doc.zoomTop(), 100);
    EXPECT_EQ(doc.toolTip(), QStringLiteral("Right click to return to full screen."));
    const ViewGeometry g = doc.geometry(QSize(440, 440));
    EXPECT_DOUBLE_EQ(g.scale(), 40);
    doc.mouseDown(2, QPointF(5, 5));
    EXPECT_FALSE(doc.zoomed());
    EXPECT_EQ(doc.toolTip(), QStringLiteral("Click and drag around the area you want enlarged."));

    // A narrow drag in rectangle mode magnifies instead of drawing.
    open(1);
    s().draw.rectangleWidth = 3;
    s().draw.rectangleBlack = true;
    doc.RectangleCommand();
    EXPECT_EQ(doc.drawMode(), QStringLiteral("Rect"));
    doc.select(200, 100, 201, 400);
    EXPECT_TRUE(doc.zoomed());
    EXPECT_FALSE(doc.dirty());
    doc.select(200, 300, 400, 400);
    EXPECT_TRUE(doc.dirty());
    EXPECT_TRUE(IsBlackAt(doc.page(), 300, 300));
}

TEST_F(Viewer, ClockwiseTwiceIsAHalfTurnAppliedToEveryPage)
{
    // A turn from the settings is used, but a turn on the screen never written back.
    PutLocal(s(), QStringLiteral("Info"), QStringLiteral("ViewRotation"), QStringLiteral("90"));
    open(1);
    EXPECT_EQ(doc.viewRotation(), 90);
    EXPECT_EQ(doc.page().size(), QSize(1100, 850));
    doc.mnuRotate_Click(2);
    EXPECT_EQ(GetLocal(s(), QStringLiteral("Info"), QStringLiteral("ViewRotation")), QStringLiteral("90"));
    PutLocal(s(), QStringLiteral("Info"), QStringLiteral("ViewRotation"), QStringLiteral("0"));
    open({NumberedPage(1), NumberedPage(2)});
    const QImage upright = doc.page();
    doc.mnuRotate_Click(1);
    EXPECT_EQ(doc.viewRotation(), 270);
    EXPECT_EQ(doc.page().size(), QSize(1100, 850));
    doc.mnuRotate_Click(1);
    EXPECT_EQ(doc.viewRotation(), 180);
    EXPECT_TRUE(SamePixels(doc.page(), TurnPage(TurnPage(upright, 1), 1)));
    EXPECT_FALSE(doc.dirty());  // turning marks nothing changed
    doc.goToPage(2);
    EXPECT_TRUE(IsBlackAt(doc.page(), 849 - 15, 1099 - 15));  // page 2 arrives turned too
    doc.mnuRotate_Click(1);
    doc.mnuRotate_Click(1);
    EXPECT_EQ(doc.viewRotation(), 0);
    doc.mnuRotate_Click(3);
    EXPECT_EQ(doc.viewRotation(), 180);
    doc.mnuRotate_Click(2);
    EXPECT_EQ(doc.viewRotation(), 270);
}

// Abort drops the changes in memory; a save makes the Original and the caption says which is shown.
TEST_F(Viewer, CaptionShowsCopyOnlyOnceAnOriginalExists)
{
    open(2);
    EXPECT_EQ(doc.caption(), QStringLiteral("Image: ") + path);
    EXPECT_FALSE(doc.menus().mnuViewOrig.visible);
    drawLine();
    doc.mnuAbort_Click();
    EXPECT_FALSE(doc.dirty());
    EXPECT_FALSE(IsBlackAt(doc.page(), 400, 500));
    EXPECT_FALSE(QFileInfo::exists(original()));
    drawLine();
    EXPECT_EQ(doc.caption(), QStringLiteral("Image: ") + path + QStringLiteral(" - Drawing Mode"));
    ASSERT_TRUE(doc.mnuSave_Click());
    EXPECT_EQ(doc.caption(), QStringLiteral("Image: ") + path + QStringLiteral(" (Copy)"));
    EXPECT_TRUE(doc.menus().mnuViewOrig.visible);
    EXPECT_TRUE(doc.menus().mnuRestOrig.enabled);
    doc.mnuViewOrig_Click();
    EXPECT_EQ(doc.caption(), QStringLiteral("Image: ") + original() + QStringLiteral(" (Original)"));
    EXPECT_EQ(doc.menus().mnuViewOrig.caption, QStringLiteral("View C&opy"));
    EXPECT_FALSE(doc.menus().mnuScanOpt.enabled);  // the Original is never edited
    EXPECT_FALSE(IsBlackAt(doc.page(), 400, 500));
    doc.mnuViewOrig_Click();
    EXPECT_TRUE(doc.menus().mnuScanOpt.enabled);
    EXPECT_TRUE(IsBlackAt(doc.page(), 400, 500));
}

TEST_F(Viewer, WhiteFilledRectangleSurvivesASaveUntilRestore)
{
    QImage black = NewMonoPage(850, 1100);
    FillBlack(black, 0, 0, 850, 1100);
    SetDpi(black, Dpi{100, 100});
    open({black});
    s().draw.rectangleWidth = 1;
    s().draw.rectangleFill = true;
    s().draw.rectangleBlack = false;
    doc.RectangleCommand();
    doc.select(100, 100, 300, 300);
    ASSERT_TRUE(doc.mnuSave_Click());
    EXPECT_FALSE(IsBlackAt(doc.page(), 200, 200));
    auto reader = TiffReader::open(path);
    EXPECT_FALSE(IsBlackAt(*reader->readPage(0), 200, 200));
    EXPECT_TRUE(IsBlackAt(*reader->readPage(0), 400, 400));

    prompter().answer(Answer::Ok);
    doc.mnuRestOrig_Click();
    EXPECT_EQ(prompter().textOf(QStringLiteral("Restore Original")), texts::RestoreOriginal);
    EXPECT_TRUE(IsBlackAt(doc.page(), 200, 200));
    EXPECT_FALSE(QFileInfo::exists(original()));
    EXPECT_FALSE(doc.menus().mnuRestOrig.visible);
    EXPECT_EQ(doc.caption(), QStringLiteral("Image: ") + path);
}

TEST_F(Viewer, RestoreWhileViewingTheOriginalShowsTheRestoredCopy)
{
    open(2);
    drawLine();
    ASSERT_TRUE(doc.mnuSave_Click());
    doc.mnuViewOrig_Click();
    ASSERT_EQ(doc.viewFile(), original());
    prompter().answer(Answer::Cancel);
    doc.mnuRestOrig_Click();
    EXPECT_TRUE(QFileInfo::exists(original()));  // Cancel: nothing
    prompter().answer(Answer::Ok);
    doc.mnuRestOrig_Click();
    EXPECT_EQ(doc.viewFile(), path);
    EXPECT_FALSE(QFileInfo::exists(original()));
    EXPECT_FALSE(IsBlackAt(doc.page(), 400, 500));
    EXPECT_EQ(doc.menus().mnuViewOrig.caption, QStringLiteral("View C&opy"));  // stays as it was
    EXPECT_TRUE(doc.menus().mnuScanOpt.enabled);
}

TEST_F(Viewer, DeletePageOneAndPageThreeOfThree)
{
    open(3);
    prompter().answer(Answer::Cancel);
    doc.mnuDelete_Click();
    EXPECT_EQ(PageNumbersOf(path), (QList<int>{1, 2, 3}));
    EXPECT_EQ(prompter().textOf(QStringLiteral("Delete a Page")), texts::DeletePage);

    prompter().answer(Answer::Ok);
    doc.mnuDelete_Click();
    EXPECT_EQ(PageNumbersOf(path), (QList<int>{2, 3}));
    EXPECT_EQ(doc.currentPage(), 1);
    EXPECT_EQ(shown(), 2);
    EXPECT_FALSE(QFileInfo::exists(original()));

    open(3);
    doc.goToPage(3);
    prompter().answer(Answer::Ok);
    doc.mnuDelete_Click();
    EXPECT_EQ(PageNumbersOf(path), (QList<int>{1, 2}));
    EXPECT_EQ(doc.currentPage(), 2);
    EXPECT_EQ(shown(), 2);
}

TEST_F(Viewer, InsertRescanAndAppendThroughTheScanner)
{
    open(2);
    Scanner scanner;
    scanner.next = NumberedPage(9);
    prompter().answer(Answer::Ok);
    doc.mnuScan_Click(2, &scanner);
    EXPECT_EQ(scanner.seen.title, QStringLiteral("Insert Page"));
    EXPECT_EQ(scanner.seen.mode, QLatin1Char('I'));
    EXPECT_EQ(scanner.seen.dpi, 200);
    EXPECT_DOUBLE_EQ(scanner.seen.pageLength, 11);
    EXPECT_EQ(prompter().textOf(QStringLiteral("Prepare to Scan")), texts::PrepareToScan);
    EXPECT_EQ(PageNumbersOf(path), (QList<int>{9, 1, 2}));
    EXPECT_EQ(doc.currentPage(), 1);
    EXPECT_EQ(shown(), 9);
    EXPECT_FALSE(QFileInfo::exists(original()));

    // Rescan and append, and their cancels.
    open(3);
    doc.goToPage(2);
    scanner.next = NumberedPage(7);
    prompter().answer(Answer::Ok);
    doc.mnuScan_Click(1, &scanner);
    EXPECT_EQ(PageNumbersOf(path), (QList<int>{1, 7, 3}));
    EXPECT_EQ(doc.currentPage(), 2);

    prompter().answer(Answer::Ok);
    doc.mnuScan_Click(3, &scanner);
    EXPECT_EQ(PageNumbersOf(path), (QList<int>{1, 7, 3, 7}));
    EXPECT_EQ(doc.currentPage(), 4);

    // Cancel at the prompt in append mode: the file stays, the view moves to the last page.
    doc.goToPage(1);
    prompter().answer(Answer::Cancel);
    doc.mnuScan_Click(3, &scanner);
    EXPECT_EQ(PageNumbersOf(path), (QList<int>{1, 7, 3, 7}));
    EXPECT_EQ(doc.currentPage(), 4);

    // The operator cancels the confirmation screen: no prompt, nothing scanned.
    scanner.confirmed = false;
    const int acquired = scanner.acquired;
    doc.mnuScan_Click(1, &scanner);
    EXPECT_EQ(scanner.acquired, acquired);
}

TEST_F(Viewer, ScannerFailureAndShortScanLeaveTheFile)
{
    open(2);
    Scanner scanner;
    scanner.error = QStringLiteral("Document feeder empty");
    prompter().answer(Answer::Ok);
    doc.mnuScan_Click(1, &scanner);
    EXPECT_EQ(prompter().textOf(QStringLiteral("Scanner Error")), QStringLiteral("Document feeder empty"));
    EXPECT_EQ(PageNumbersOf(path), (QList<int>{1, 2}));
    EXPECT_EQ(doc.scanMode(), ScanMode::None);
    EXPECT_EQ(shown(), 1);

    prompter().clear();
    doc.mnuScan_Click(1, nullptr);
    EXPECT_TRUE(prompter().wasAsked(QStringLiteral("ReScan Page")));

    // A short scan is questioned and dropped by default.
    open(1);
    scanner.next = NumberedPage(5, 850, 600);  // 6 inches of an 11 inch page
    prompter().answer(Answer::Ok);
    doc.mnuScan_Click(3, &scanner);
    const QString text = prompter().textOf(QStringLiteral("Scanner Error"));
    EXPECT_TRUE(text.startsWith(QStringLiteral("The image returned from the scanner was too small!")));
    EXPECT_TRUE(text.contains(QStringLiteral("It should have been 11 inches but instead was 6 inches.")));
    EXPECT_EQ(PageNumbersOf(path), (QList<int>{1}));

    prompter().answer(Answer::Ok);
    prompter().answer(Answer::Yes);
    doc.mnuScan_Click(3, &scanner);
    EXPECT_EQ(PageNumbersOf(path), (QList<int>{1, 5}));

    // Overlong pages are cut to the frame.
    scanner.next = NumberedPage(6, 850, 1500);
    prompter().answer(Answer::Ok);
    doc.mnuScan_Click(3, &scanner);
    auto reader = TiffReader::open(path);
    EXPECT_EQ(reader->pageInfo(2)->height, 1100);
}

TEST_F(Viewer, RescanResolutionFollowsTheDocument)
{
    EXPECT_EQ(RescanDpi(s(), 200), 200);
    EXPECT_EQ(RescanDpi(s(), 300), 300);
    PutLocal(s(), QStringLiteral("Info"), QStringLiteral("LowDPI"), QStringLiteral("150"));
    PutLocal(s(), QStringLiteral("Info"), QStringLiteral("HighDPI"), QStringLiteral("400"));
    EXPECT_EQ(RescanDpi(s(), 300), 150);
    EXPECT_EQ(RescanDpi(s(), 400), 400);
    EXPECT_DOUBLE_EQ(PageLengthOf(QStringLiteral("G")), 14);
    EXPECT_DOUBLE_EQ(PageLengthOf(QStringLiteral("A")), 11.7);
    EXPECT_DOUBLE_EQ(PageLengthOf(QStringLiteral(" ")), 11);
}

TEST_F(Viewer, AnotherUsersSaveIsKeptUnlessTheOperatorOverwrites)
{
    open(2);
    drawLine();
    // Another workstation saves the report meanwhile.
    ASSERT_TRUE(WriteTiff(path, NumberedPages(4)));
    ASSERT_TRUE(doc.mnuSave_Click());
    EXPECT_TRUE(prompter().wasAsked(QStringLiteral("Changed by Another User")));
    EXPECT_EQ(PageNumbersOf(path), (QList<int>{1, 2, 3, 4}));
    EXPECT_FALSE(QFileInfo::exists(original()));
    EXPECT_EQ(doc.pageCount(), 4);

    drawLine();
    ASSERT_TRUE(WriteTiff(path, NumberedPages(3)));
    prompter().answer(Answer::Yes);
    ASSERT_TRUE(doc.mnuSave_Click());
    EXPECT_EQ(PageNumbersOf(path), (QList<int>{1, 2, 3}));
    auto reader = TiffReader::open(path);
    EXPECT_TRUE(IsBlackAt(*reader->readPage(0), 400, 500));
}

TEST_F(Viewer, MissingFileIsReportedAndLeavesAnEmptyViewer)
{
    path = StoreReport(site, NumberedPages(1));
    QFile::remove(path);
    doc.load();
    doc.FirstImage();
    EXPECT_TRUE(reportShown());
    EXPECT_EQ(doc.pageCount(), 0);
    EXPECT_FALSE(doc.menus().mnuPrint.enabled);
    EXPECT_TRUE(doc.page().isNull());
    drawLine();  // nothing to draw on
    EXPECT_FALSE(doc.dirty());
    doc.select(0, 0, 100, 100);
    doc.mnuRotate_Click(1);
    EXPECT_TRUE(doc.page().isNull());
}

TEST_F(Viewer, DamagedPageIsReportedAndTheOthersStillShow)
{
    open(2);
    {
        // Spoil the coded data of page 2.
        TIFF* tif = TIFFOpen(QFile::encodeName(path).constData(), "r");
        ASSERT_NE(tif, nullptr);
        ASSERT_EQ(TIFFSetDirectory(tif, 1), 1);
        uint64_t* offsets = nullptr;
        ASSERT_EQ(TIFFGetField(tif, TIFFTAG_STRIPOFFSETS, &offsets), 1);
        const qint64 at = qint64(offsets[0]);
        TIFFClose(tif);
        QFile file(path);
        ASSERT_TRUE(file.open(QIODevice::ReadWrite));
        file.seek(at);
        file.write(QByteArray(64, '\x00'));
    }
    prompter().clear();
    doc.goToPage(2);
    EXPECT_TRUE(reportShown());
    EXPECT_TRUE(doc.page().isNull());
    doc.goToPage(1);
    EXPECT_EQ(shown(), 1);
}

TEST_F(Viewer, PageNumberPastTheEndShowsTheLastPage)
{
    open(3);
    doc.goToPage(3);
    ASSERT_TRUE(WriteTiff(path, NumberedPages(2)));  // removed elsewhere
    doc.FirstImage();
    EXPECT_EQ(doc.currentPage(), 2);
    EXPECT_EQ(shown(), 2);
    EXPECT_FALSE(reportShown());
}

TEST_F(Viewer, UnreadableStampIsReportedTextStampDrawn)
{
    open(1);
    s().draw.stampType = QStringLiteral("Image");
    s().draw.stampImage = site.path(QStringLiteral("nothing.tif"));
    doc.StampCommand();
    EXPECT_EQ(doc.drawMode(), QStringLiteral("Stamp"));
    EXPECT_EQ(doc.cursorKey(), QStringLiteral("Stamp"));
    doc.select(100, 100, 300, 200);
    EXPECT_TRUE(reportShown());
    EXPECT_FALSE(doc.dirty());
    EXPECT_EQ(doc.drawMode(), QStringLiteral("Stamp"));

    // An undefined text stamp opens its form and falls back to magnifying.
    open(1);
    s().draw.stampType = QStringLiteral("Text");
    s().draw.stampText.clear();
    doc.StampCommand();
    EXPECT_EQ(host.stampForms, 1);
    EXPECT_EQ(doc.drawMode(), QString());
    EXPECT_EQ(doc.cursorKey(), QStringLiteral("Select"));

    s().draw.stampText = QStringLiteral("RECEIVED");
    s().draw.fontName = QStringLiteral("DejaVu Sans");
    s().draw.fontSize = 12;
    doc.StampCommand();
    EXPECT_EQ(host.stampForms, 1);
    EXPECT_EQ(doc.cursorKey(), QStringLiteral("Text"));
    EXPECT_EQ(doc.toolTip(), QStringLiteral("Click and drag to define area to stamp."));
    doc.select(100, 100, 600, 160);
    EXPECT_TRUE(doc.dirty());
    EXPECT_EQ(doc.caption(), QStringLiteral("Image: ") + path + QStringLiteral(" - Drawing Mode"));
}

TEST_F(Viewer, FirstLineWithoutAWidthOpensTheFormAndClampedOneStartsTheTool)
{
    open(1);
    s().draw.lineWidth = 0;
    host.lineWidthTyped = 1;
    doc.LineCommand();
    EXPECT_EQ(host.lineForms, 1);
    EXPECT_EQ(doc.drawMode(), QStringLiteral("Line"));
    EXPECT_FALSE(doc.selectEnabled());
    EXPECT_EQ(doc.toolTip(), QStringLiteral("Click and drag to draw line."));
    doc.LineCommand();
    EXPECT_EQ(host.lineForms, 1);  // a width is set now

    // The rubber band follows the drag and goes at the end.
    doc.mouseDown(1, QPointF(50, 60));
    EXPECT_TRUE(doc.rubberBand().visible);
    doc.mouseMove(QPointF(70, 80));
    EXPECT_EQ(doc.rubberBand().to, QPointF(70, 80));
    doc.mouseUp(1, QPointF(70, 80));
    EXPECT_FALSE(doc.rubberBand().visible);
    EXPECT_TRUE(IsBlackAt(doc.page(), 60, 70));
    doc.ViewCommand();
    EXPECT_EQ(doc.drawMode(), QString());
}

// A save that can't write, from the Save menu or from the close question,
// keeps the changes on the screen and the files as they were; once the data
// directory takes data again, the same changes save. The first save keeps
// the file as scanned as the Original, the second leaves it.
TEST_F(Viewer, FailedSaveKeepsTheChangesAndTheFilesUntilASaveSucceeds)
{
    struct Row {
        const char* name;
        bool onClose;  // Yes to the close question, else the Save menu
        double lineAt;
        bool roomForOriginal;  // the Original is made, the new Copy fails
    };
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
        EXPECT_TRUE(doc.dirty());
        EXPECT_EQ(doc.currentPage(), 2);
        EXPECT_TRUE(SamePixels(doc.page(), edited));
        EXPECT_EQ(FileBytes(path), copyBefore);
        EXPECT_EQ(FileBytes(original()), originalBefore);
        EXPECT_EQ(QDir(s().dataDir).entryList(QDir::Files | QDir::Hidden), filesBefore);  // no work file, no new Original

        ASSERT_TRUE(save());
        EXPECT_FALSE(doc.dirty());
        EXPECT_EQ(doc.drawMode(), QString());
        EXPECT_EQ(FileBytes(original()), asScanned);
        EXPECT_EQ(PageNumbersOf(path), (QList<int>{1, 2, 3}));
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
    EXPECT_EQ(annotate.caption(), QStringLiteral("Annotate ") + temp);
    EXPECT_EQ(annotate.originalFile(), JoinPath(s().tempDir, QStringLiteral("OT000042.TIF")));
    s().draw.lineWidth = 3;
    annotate.LineCommand();
    annotate.DrawLine(10, 10, 200, 10);
    EXPECT_EQ(annotate.caption(), QStringLiteral("Annotate ") + temp + QStringLiteral(" - Drawing Mode"));
    ASSERT_TRUE(annotate.mnuSave_Click());
    EXPECT_TRUE(QFileInfo::exists(annotate.originalFile()));
    ASSERT_TRUE(annotate.unload());
    EXPECT_FALSE(QFileInfo::exists(annotate.originalFile()));
    EXPECT_TRUE(QFileInfo::exists(temp));
}

TEST_F(Viewer, PrintingTurnsLandscapePagesOneJobEachAndRestoresTheScreen)
{
    open({NumberedPage(1), NumberedPage(2, 1100, 850), NumberedPage(3)});
    doc.goToPage(3);
    Recorder printer;
    ASSERT_TRUE(doc.printPages(printer, 1, 3, 2));
    EXPECT_EQ(printer.jobs, 6);
    ASSERT_EQ(printer.pages.size(), 6);
    EXPECT_EQ(printer.pages[1].size(), QSize(850, 1100));  // turned for paper
    EXPECT_EQ(PageNumberOf(printer.pages[3]), 1);           // second copy starts again
    EXPECT_EQ(printer.frames[0], PrintFrameInches());
    EXPECT_DOUBLE_EQ(PrintFrameInches().width(), 8);
    EXPECT_DOUBLE_EQ(PrintFrameInches().height(), 10.5);
    EXPECT_DOUBLE_EQ(PrintFrameInches(true).height(), 13.5);
    EXPECT_EQ(shown(), 3);
    EXPECT_EQ(doc.currentPage(), 3);
}
