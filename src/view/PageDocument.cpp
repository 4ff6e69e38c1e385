#include "view/PageDocument.h"

#include "data/ImageData.h"
#include "base/ErrorReport.h"
#include "base/FileTools.h"
#include "base/Prompter.h"
#include "data/Session.h"
#include "data/Settings.h"
#include "base/TextTools.h"
#include "store/ImageFiles.h"
#include "store/PageImage.h"
#include "store/TiffReader.h"
#include "view/Drawing.h"
#include "view/PagePreview.h"
#include "store/PageSource.h"
#include "view/PrintLayout.h"
#include "view/ViewerScan.h"

#include <QFile>
#include <QFileInfo>

#include <algorithm>
#include <cmath>

namespace tarlox {

namespace {

const QString Info = QStringLiteral("Info");
const QString MagnifyTip = QStringLiteral("Click and drag around the area you want enlarged.");
const QString FullScreenTip = QStringLiteral("Right click to return to full screen.");

QString pageCaption(int index)
{
    // "&1" ... "&9", "1&0" ... "2&0": the last digit is the access key.
    const QString digits = QString::number(index);
    return digits.left(digits.size() - 1) + QLatin1Char('&') + digits.right(1);
}

}  // namespace

PageDocument::PageDocument(Session& session, ViewerHost* host) : s_(session), host_(host)
{
    for (int i = 0; i < 20; ++i)
        menus_.mnuPageNum[size_t(i)] = MenuItem{true, false, false, pageCaption(i + 1)};
}

void PageDocument::busy(bool on)
{
    s_.prompter().setBusy(on);
}

void PageDocument::refresh()
{
    if (host_)
        host_->refresh();
}

void PageDocument::reportError(const QString& procedure, const QString& step, const QString& description)
{
    ReportError(s_.prompter(), ErrorDetails{procedure, step, 0, description});
}

void PageDocument::notCreated(const QString& file)
{
    s_.prompter().ask(QStringLiteral("Error"), QStringLiteral("Image file '") + file + QStringLiteral("' was not created!"), Buttons::Ok,
                      Icon::Exclamation);
}

void PageDocument::load(bool annotateMode, const QString& annotateFile)
{
    s_.traceCall(QStringLiteral("Form_Load"));
    busy(true);
    const int rotation = IntVal(GetLocal(s_, Info, QStringLiteral("ViewRotation")));
    viewRotation_ = ((rotation % 360) + 360) % 360;
    imageNumber_ = s_.currentImage;
    annotateMode_ = annotateMode;
    currentPage_ = 1;  // the first page comes once the window is on the screen
    if (!annotateMode_) {
        copyFile_ = s_.imageFilePath;
        viewFile_ = copyFile_;
        originalFile_ = OriginalPathOf(copyFile_);
        CheckOriginal();
    } else {
        copyFile_ = annotateFile;
        viewFile_ = copyFile_;
        originalFile_ = OutputOriginalPathOf(copyFile_);
    }
    setTool(QString(), QStringLiteral("Select"), true, MagnifyTip);
    SetCaption();
    busy(false);
}

int PageDocument::SetPicture(const QString& file, int pageIndex)
{
    if (file == viewFile_ || file == copyFile_)
        copyStamp_ = StampOf(copyFile_);
    page_ = QImage();
    ++pageVersion_;
    auto reader = TiffReader::open(file);
    if (!reader) {
        reportError(QStringLiteral("SetPicture"), QStringLiteral("Loading ") + file, reader.error());
        return -1;
    }
    const int pages = reader->pageCount();
    const int index = pageIndex > 0 ? std::min(pageIndex, pages - 1) : 0;
    auto image = reader->readPage(index);
    if (!image) {
        reportError(QStringLiteral("SetPicture"), QStringLiteral("Loading page %1 of ").arg(index + 1) + file, image.error());
        return pages;
    }
    page_ = DrawablePage(*image);
    ++pageVersion_;
    return pages;
}

void PageDocument::RotateImage()
{
    ++pageVersion_;
    if (viewRotation_ == 180) {
        page_ = TurnPage(TurnPage(page_, 1), 1);
        return;
    }
    // Settings offer quarter turns; any other angle goes to the nearest one.
    page_ = TurnPage(page_, int(std::lround(viewRotation_ / 90.0)) % 4);
}

void PageDocument::fitted()
{
    zoomed_ = false;
}

void PageDocument::FirstImage()
{
    s_.traceCall(QStringLiteral("FirstImage"));
    menus_.mnuPage.enabled = false;
    menus_.mnuPrint.enabled = false;
    menus_.mnuDelete.enabled = false;
    const int pages = SetPicture(viewFile_, currentPage_ - 1);
    pageCount_ = std::max(0, pages);
    if (currentPage_ > pageCount_)
        currentPage_ = pageCount_;
    if (currentPage_ < 1 && pageCount_ > 0)
        currentPage_ = 1;
    if (viewRotation_ != 0)
        RotateImage();
    // While a page is being edited it stays the one page on the screen.
    if (!dirty()) {
        if (pageCount_ > 0)
            menus_.mnuPrint.enabled = true;
        if (pageCount_ > 1) {
            menus_.mnuPage.enabled = true;
            menus_.mnuDelete.enabled = true;
        }
    }
    fitted();
    refresh();
    SetPages();
    busy(false);
}

void PageDocument::SetPages()
{
    for (int i = 1; i <= 20; ++i) {
        MenuItem& item = menus_.mnuPageNum[size_t(i - 1)];
        item.visible = i <= pageCount_;
        item.checked = i == currentPage_;
    }
    refresh();
}

void PageDocument::showPage(int page)
{
    busy(true);
    currentPage_ = page;
    const int pages = SetPicture(viewFile_, page - 1);
    if (pages >= 0 && pages < currentPage_) {  // the file lost pages meanwhile
        pageCount_ = pages;
        currentPage_ = pages;
    }
    if (viewRotation_ != 0)
        RotateImage();
    fitted();
    refresh();
    SetPages();
    busy(false);
}

void PageDocument::mnuPageNum_Click(int index)
{
    s_.traceCall(QStringLiteral("mnuPageNum_Click"), {QString::number(index)});
    if (index <= 0 || index > pageCount_ || index > 20)
        return;
    showPage(index);
}

bool PageDocument::goToPage(int page)
{
    if (!menus_.mnuPage.enabled || page < 1 || page > pageCount_ || page == currentPage_)
        return false;
    showPage(page);
    return true;
}

void PageDocument::SetCaption()
{
    if (annotateMode_) {
        caption_ = QStringLiteral("Annotate ") + viewFile_;
    } else {
        caption_ = QStringLiteral("Image: ") + viewFile_;
        if (QFileInfo::exists(originalFile_))
            caption_ += viewFile_ != originalFile_ ? QStringLiteral(" (Copy)") : QStringLiteral(" (Original)");
    }
    if (!drawMode_.isEmpty())
        caption_ += QStringLiteral(" - Drawing Mode");
    refresh();
}

void PageDocument::CheckOriginal()
{
    menus_.mnuScanOpt.enabled = true;
    if (QFileInfo::exists(originalFile_)) {
        menus_.mnuViewOrig.enabled = menus_.mnuViewOrig.visible = true;
        menus_.mnuRestOrig.enabled = menus_.mnuRestOrig.visible = true;
        if (viewFile_ == originalFile_)
            menus_.mnuScanOpt.enabled = false;  // the Original is never edited
    } else {
        menus_.mnuViewOrig.enabled = menus_.mnuViewOrig.visible = false;
        menus_.mnuRestOrig.enabled = menus_.mnuRestOrig.visible = false;
    }
    SetCaption();
}

void PageDocument::mnuViewOrig_Click()
{
    s_.traceCall(QStringLiteral("mnuViewOrig_Click"));
    busy(true);
    if (viewFile_ != originalFile_) {
        viewFile_ = originalFile_;
        menus_.mnuViewOrig.caption = QStringLiteral("View C&opy");
    } else {
        viewFile_ = copyFile_;
        menus_.mnuViewOrig.caption = QStringLiteral("View &Original");
    }
    FirstImage();
    CheckOriginal();
}

void PageDocument::setTool(const QString& mode, const QString& cursor, bool selectEnabled, const QString& toolTip)
{
    drawMode_ = mode;
    cursorKey_ = cursor;
    selectEnabled_ = selectEnabled;
    toolTip_ = toolTip;
    refresh();
}

void PageDocument::ViewCommand()
{
    setTool(QString(), QStringLiteral("Select"), true, zoomed_ ? FullScreenTip : MagnifyTip);
}

void PageDocument::LineCommand()
{
    if (s_.draw.lineWidth == 0 && host_)
        host_->showLineProperties();
    if (s_.draw.lineWidth != 0)
        setTool(QStringLiteral("Line"), QStringLiteral("Line"), false, QStringLiteral("Click and drag to draw line."));
}

void PageDocument::RectangleCommand()
{
    if (s_.draw.rectangleWidth == 0 && host_)
        host_->showRectangleProperties();
    if (s_.draw.rectangleWidth != 0)
        setTool(QStringLiteral("Rect"), QStringLiteral("Rect"), true, QStringLiteral("Click and drag to create rectangle."));
}

void PageDocument::StampCommand()
{
    const auto isImage = [this] { return s_.draw.stampType == QLatin1String("Image"); };
    if (host_ && ((!isImage() && s_.draw.stampText.isEmpty()) || (isImage() && s_.draw.stampImage.isEmpty())))
        host_->showStampProperties();
    const QString stampTip = QStringLiteral("Click and drag to define area to stamp.");
    if (!isImage() && !s_.draw.stampText.isEmpty())
        setTool(QStringLiteral("Stamp"), QStringLiteral("Text"), true, stampTip);
    else if (isImage() && !s_.draw.stampImage.isEmpty())
        setTool(QStringLiteral("Stamp"), QStringLiteral("Stamp"), true, stampTip);
    else  // still no stamp: back to magnifying
        setTool(QString(), QStringLiteral("Select"), true, MagnifyTip);
}

void PageDocument::mouseDown(int button, QPointF at)
{
    if (button == 2) {
        fitted();
        toolTip_ = MagnifyTip;
        refresh();
        return;
    }
    drag_ = at;
    band_ = RubberBand{true, at, at, std::max(1, s_.draw.lineWidth)};
    refresh();
}

void PageDocument::mouseMove(QPointF at)
{
    if (drawMode_ == QLatin1String("Line") && band_.visible && drag_.x() != 0) {
        band_.to = at;
        refresh();
    }
}

void PageDocument::mouseUp(int button, QPointF at)
{
    const bool stroke = band_.visible && button != 2;
    band_.visible = false;
    if (drawMode_ == QLatin1String("Line") && stroke)
        DrawLine(drag_.x(), drag_.y(), at.x(), at.y());
    refresh();
}

void PageDocument::select(double left, double top, double right, double bottom)
{
    busy(true);
    if (drawMode_.isEmpty() || left + 1 >= right) {
        const double size = std::max(bottom - top, right - left);
        if (size > 10) {
            zoomSize_ = std::trunc(size);
            zoomLeft_ = std::trunc(left);
            zoomTop_ = std::trunc(top);
            zoomed_ = true;
            toolTip_ = FullScreenTip;
        }
    } else if (drawMode_ == QLatin1String("Rect")) {
        DrawRect(left, top, right, bottom);
    } else if (drawMode_ == QLatin1String("Stamp")) {
        if (s_.draw.stampType == QLatin1String("Image"))
            StampImage(left, top, right, bottom);
        else
            StampText(left, top, right, bottom);
    }
    refresh();
    busy(false);
}

void PageDocument::scroll(double x, double y)
{
    zoomLeft_ = x;
    zoomTop_ = y;
    refresh();
}

void PageDocument::mnuRotate_Click(int index)
{
    s_.traceCall(QStringLiteral("mnuRotate_Click"), {QString::number(index)});
    busy(true);
    switch (index) {
    case 1:
        page_ = TurnPage(page_, -1);
        viewRotation_ += 270;
        break;
    case 2:
        page_ = TurnPage(page_, 1);
        viewRotation_ += 90;
        break;
    case 3:
        page_ = TurnPage(TurnPage(page_, 1), 1);
        viewRotation_ += 180;
        break;
    default:
        busy(false);
        return;
    }
    ++pageVersion_;
    fitted();
    refresh();
    busy(false);
    if (viewRotation_ > 359)
        viewRotation_ -= 360;
}

void PageDocument::DrawLine(double x1, double y1, double x2, double y2)
{
    if (page_.isNull())
        return;
    tarlox::DrawLine(page_, QPointF(x1, y1), QPointF(x2, y2), s_.draw.lineWidth);
    SaveOn();
}

void PageDocument::DrawRect(double left, double top, double right, double bottom)
{
    if (page_.isNull())
        return;
    tarlox::DrawRect(page_, QRectF(QPointF(left, top), QPointF(right, bottom)), s_.draw.rectangleWidth, s_.draw.rectangleFill,
                     s_.draw.rectangleBlack);
    SaveOn();
}

void PageDocument::StampImage(double left, double top, double right, double bottom)
{
    if (page_.isNull())
        return;
    auto stamp = LoadStampPicture(s_.draw.stampImage);
    if (!stamp) {
        reportError(QStringLiteral("StampImage"), QStringLiteral("Loading ") + s_.draw.stampImage, stamp.error());
        return;
    }
    LayStamp(page_, QRectF(QPointF(left, top), QPointF(right, bottom)), *stamp, s_.draw.stampOvl);
    SaveOn();
}

void PageDocument::StampText(double left, double top, double right, double bottom)
{
    if (page_.isNull())
        return;
    const DrawSettings& d = s_.draw;
    const TextStamp stamp{d.stampText, d.fontName, d.fontSize, d.fontBold, d.fontItalic, d.stampCenter, d.stampOvl};
    if (auto drawn = DrawTextStamp(page_, QRectF(QPointF(left, top), QPointF(right, bottom)), stamp); !drawn) {
        reportError(QStringLiteral("StampText"), QStringLiteral("Creating font"), drawn.error());
        return;
    }
    SaveOn();
}

void PageDocument::SaveOn()
{
    ++pageVersion_;  // every drawing routine ends here
    if (menus_.mnuSave.enabled) {
        refresh();
        return;
    }
    menus_.mnuScanOpt.enabled = false;
    menus_.mnuPrint.enabled = false;
    menus_.mnuPage.enabled = false;
    menus_.mnuSave.enabled = true;
    menus_.mnuAbort.enabled = true;
    menus_.mnuSaveExit.enabled = true;
    menus_.mnuRestOrig.enabled = false;
    menus_.mnuViewOrig.enabled = true;
    SetCaption();
}

void PageDocument::SaveOff()
{
    s_.traceCall(QStringLiteral("SaveOff"));
    menus_.mnuScanOpt.enabled = true;
    menus_.mnuFile.enabled = true;
    menus_.mnuPage.enabled = true;
    menus_.mnuSave.enabled = false;
    menus_.mnuAbort.enabled = false;
    menus_.mnuSaveExit.enabled = false;
    setTool(QString(), QStringLiteral("Select"), true, MagnifyTip);
    CheckOriginal();
    FirstImage();
    SetCaption();
}

bool PageDocument::copyStillOurs()
{
    if (StampOf(copyFile_) == copyStamp_)
        return true;
    const Answer answer = s_.prompter().ask(
        QStringLiteral("Changed by Another User"),
        QStringLiteral("The file '") + copyFile_ + QStringLiteral("' has been changed by another user since you opened it.\r")
            + QStringLiteral("Select 'Yes' to replace it with your version, or 'No' to keep the other user's version."),
        Buttons::YesNo, Icon::Exclamation, Answer::No);
    return answer == Answer::Yes;
}

IoResult<SaveOutcome> PageDocument::SaveChanges()
{
    s_.traceCall(QStringLiteral("SaveChanges"));
    busy(true);
    if (!copyStillOurs()) {
        busy(false);
        return SaveOutcome::OtherUsersKept;
    }
    // The page in memory stays as it is until the caller reloads it after a
    // successful save, so a failure loses nothing.
    bool originalMade = false;
    const IoStatus saved = SaveEditedCopy(copyFile_, originalFile_, page_, currentPage_, &originalMade);
    busy(false);
    if (!saved) {
        // An Original made by this save is a copy of the unchanged Copy: it
        // goes again, so the failed save leaves the files as they were.
        if (originalMade)
            QFile::remove(originalFile_);
        return saved.failure();
    }
    if (originalMade)
        CheckOriginal();
    return SaveOutcome::Written;
}

IoStatus PageDocument::mnuSave_Click()
{
    if (auto saved = SaveChanges(); !saved)
        return saved.failure();
    SaveOff();
    return {};
}

void PageDocument::reportSaveFailure(const IoError& why)
{
    reportError(QStringLiteral("SaveChanges"), QStringLiteral("Writing ") + copyFile_, why.message);
    notCreated(copyFile_);
}

void PageDocument::mnuAbort_Click()
{
    SaveOff();
}

void PageDocument::mnuScan_Click(int index, PageSource* source)
{
    s_.traceCall(QStringLiteral("mnuScan_Click"), {QString::number(index)});
    RescanRequest request;
    switch (index) {
    case 1:
        scanMode_ = ScanMode::Replace;
        request.title = QStringLiteral("ReScan Page");
        break;
    case 2:
        scanMode_ = ScanMode::Insert;
        request.title = QStringLiteral("Insert Page");
        break;
    case 3:
        scanMode_ = ScanMode::Append;
        request.title = QStringLiteral("Append Page");
        break;
    default:
        return;
    }
    if (!source) {
        s_.prompter().tell(request.title, QStringLiteral("No scanner is set up on this workstation."), Icon::Exclamation);
        scanMode_ = ScanMode::None;
        return;
    }
    QString sizeCode = s_.pageSizeCode;
    if (ReadImage(s_, imageNumber_))
        sizeCode = s_.image.size;
    request.mode = ScanModeLetter(scanMode_);
    request.brightness = IntVal(GetLocal(s_, Info, QStringLiteral("Brightness")));
    request.dpi = RescanDpi(s_, DpiOf(page_).x);
    request.pageLength = PageLengthOf(sizeCode);
    request.device = GetLocal(s_, Info, QStringLiteral("Device"));
    request.showInterface = s_.scannerInterface;
    pendingRequest_ = request;
    if (source->confirm(pendingRequest_))
        RewriteImage(source);
}

void PageDocument::mnuDelete_Click()
{
    s_.traceCall(QStringLiteral("mnuDelete_Click"));
    if (s_.prompter().ask(QStringLiteral("Delete a Page"), QStringLiteral("Are you sure you want to remove this page?"), Buttons::OkCancel,
                          Icon::Critical)
        != Answer::Ok)
        return;
    ReadImage(s_, imageNumber_);
    scanMode_ = ScanMode::Delete;
    RewriteImage(nullptr);
}

void PageDocument::RewriteImage(PageSource* source)
{
    s_.traceCall(QStringLiteral("RewriteImage"), {QString(ScanModeLetter(scanMode_))});
    busy(true);
    if (!copyStillOurs()) {
        scanMode_ = ScanMode::None;
        FirstImage();
        return;
    }
    bool cancelled = false;
    const RescanRequest request = pendingRequest_;
    const auto newPage = [&]() -> std::optional<QImage> {
        if (!source)
            return std::nullopt;
        if (host_)
            host_->processEvents();
        if (s_.prompter().ask(QStringLiteral("Prepare to Scan"), QStringLiteral("Put the page to scan in the scanner"), Buttons::OkCancel,
                              Icon::Critical)
            != Answer::Ok) {
            cancelled = true;
            return std::nullopt;
        }
        auto scanned = source->acquire(request);
        if (host_)
            host_->processEvents();
        source->close();
        if (!scanned) {
            if (!scanned.error().isEmpty())
                s_.prompter().ask(QStringLiteral("Scanner Error"), scanned.error(), Buttons::Ok, Icon::Critical);
            return std::nullopt;
        }
        return AcceptScannedPage(s_, *scanned, request.pageLength);
    };
    page_ = QImage();
    ++pageVersion_;
    auto result = RewritePages(copyFile_, scanMode_, currentPage_, newPage);
    if (!result) {
        reportError(QStringLiteral("RewriteImage"), QStringLiteral("Writing ") + copyFile_, result.error());
        notCreated(copyFile_);
        scanMode_ = ScanMode::None;
    } else if (!result->written && !cancelled) {
        scanMode_ = ScanMode::None;
    }
    if (scanMode_ == ScanMode::Append)
        currentPage_ = pageCount_ + 1;
    else if (scanMode_ == ScanMode::Delete && currentPage_ >= 2)
        --currentPage_;
    FirstImage();
}

void PageDocument::mnuRestOrig_Click()
{
    s_.traceCall(QStringLiteral("mnuRestOrig_Click"));
    if (s_.prompter().ask(QStringLiteral("Restore Original"),
                          QStringLiteral("Are you sure you want to restore the original cert\r")
                              + QStringLiteral("and abort any changes that have been made?"),
                          Buttons::OkCancel, Icon::Question)
        != Answer::Ok)
        return;
    busy(true);
    page_ = QImage();
    ++pageVersion_;
    if (auto restored = RestoreOriginalFiles(copyFile_, originalFile_); !restored)
        reportError(QStringLiteral("mnuRestOrig_Click"), QStringLiteral("Restoring ") + copyFile_, restored.error());
    if (viewFile_ == originalFile_)
        viewFile_ = copyFile_;
    FirstImage();
    CheckOriginal();
}

IoResult<PageDocument::Unload> PageDocument::unload()
{
    s_.traceCall(QStringLiteral("Form_Unload"));
    if (dirty()) {
        const Answer answer = s_.prompter().ask(QStringLiteral("Save Changes"), QStringLiteral("Do you want to save your changes?"),
                                                Buttons::YesNoCancel, Icon::Exclamation);
        if (answer == Answer::Cancel)
            return Unload::KeptOpen;
        if (answer == Answer::Yes) {
            if (auto saved = SaveChanges(); !saved)
                return saved.failure();
        }
        menus_.mnuSave.enabled = menus_.mnuAbort.enabled = menus_.mnuSaveExit.enabled = false;
        drawMode_.clear();
    }
    if (annotateMode_)
        KillFile(originalFile_);
    page_ = QImage();
    ++pageVersion_;
    annotateMode_ = false;
    return Unload::Done;
}

bool PageDocument::printPages(PageSink& sink, int from, int to, int copies)
{
    s_.traceCall(QStringLiteral("PrintImage"));
    busy(true);
    bool ok = true;
    for (const PrintJob& job : PlanPrintJobs(from, to, copies)) {
        if (host_)
            host_->printProgress(QStringLiteral("Printing Page ") + QString::number(job.page));
        auto reader = TiffReader::open(viewFile_);
        if (!reader) {
            reportError(QStringLiteral("PrintImage"), QStringLiteral("Loading ") + viewFile_, reader.error());
            ok = false;
            break;
        }
        auto image = reader->readPage(std::min(job.page, reader->pageCount()) - 1);
        if (!image) {
            reportError(QStringLiteral("PrintImage"), QStringLiteral("Loading page %1").arg(job.page), image.error());
            ok = false;
            break;
        }
        const QImage paper = PageForPaper(*image);
        if (host_)
            host_->processEvents();
        if (!sink.beginJob() || !sink.printPage(paper, PrintFrameInches()) || !sink.endJob()) {
            reportError(QStringLiteral("PrintImage"), QStringLiteral("Printing page %1").arg(job.page), sink.lastError());
            ok = false;
            break;
        }
    }
    // The screen shows the current page again, as it was before printing.
    SetPicture(viewFile_, currentPage_ - 1);
    if (viewRotation_ != 0)
        RotateImage();
    fitted();
    if (host_)
        host_->printProgress(QString());
    refresh();
    busy(false);
    return ok;
}

ViewGeometry PageDocument::geometry(QSize window) const
{
    return ViewGeometry{page_.size(), window, zoomed_, zoomSize_, zoomLeft_, zoomTop_};
}

}  // namespace tarlox
