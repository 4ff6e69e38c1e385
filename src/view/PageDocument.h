#pragma once

#include "view/PageFiles.h"
#include "store/PageSource.h"
#include "view/ViewGeometry.h"

#include <QImage>
#include <QPointF>
#include <QRectF>
#include <QString>

#include <array>

namespace tarlox {

class Session;
class PageSink;

// One menu item of the viewer as the window should show it.
struct MenuItem {
    bool enabled = true;
    bool visible = true;
    bool checked = false;
    QString caption;
};

// The viewer's menus, by the names of their items.
struct ViewerMenus {
    MenuItem mnuFile{true, true, false, QStringLiteral("&File")};
    MenuItem mnuPrint{false, true, false, QStringLiteral("&Print...")};
    MenuItem mnuSave{false, true, false, QStringLiteral("&Save Changes")};
    MenuItem mnuAbort{false, true, false, QStringLiteral("&Abort Changes")};
    MenuItem mnuViewOrig{false, false, false, QStringLiteral("View &Original")};
    MenuItem mnuRestOrig{false, false, false, QStringLiteral("&Restore Original")};
    MenuItem mnuSaveExit{false, true, false, QStringLiteral("Save and E&xit")};
    MenuItem mnuEnd{true, true, false, QStringLiteral("E&xit")};
    MenuItem mnuTurn{true, true, false, QStringLiteral("&Rotate")};
    MenuItem mnuPage{false, true, false, QStringLiteral("&Page")};
    MenuItem mnuScanOpt{true, true, false, QStringLiteral("&Scan")};
    MenuItem mnuDelete{false, true, false, QStringLiteral("&Delete...")};
    // mnuPageNum(1) to (20): "&1" ... "2&0".
    std::array<MenuItem, 20> mnuPageNum{};
};

// The rubber band line shown while a stroke is dragged, in image pixels.
struct RubberBand {
    bool visible = false;
    QPointF from;
    QPointF to;
    int width = 1;  // pen width in image pixels
};

// What the viewer window offers the document: repainting, letting events
// through during long work, and the three property forms.
class ViewerHost {
public:
    virtual ~ViewerHost() = default;
    virtual void refresh() {}
    virtual void processEvents() {}
    virtual void showLineProperties() {}
    virtual void showRectangleProperties() {}
    virtual void showStampProperties() {}
    virtual void printProgress(const QString& text) { (void)text; }
};

// How a save ended that did not fail: the Copy written, or left to another
// user's newer version at the person's choice (the changes are dropped).
enum class SaveOutcome { Written, OtherUsersKept };

// The viewer without its window: the file shown (Copy, Original, or the
// temporary file of annotate mode), the page in memory with the drawing
// burned into it, rotation, magnification, the menus' rules, and the page
// editing that rewrites the stored file. The window forwards the person's
// gestures here and shows what comes back.
class PageDocument {
public:
    explicit PageDocument(Session& session, ViewerHost* host = nullptr);

    // Form_Load: the image in hand (session.imageFilePath and currentImage),
    // or in annotate mode the temporary file to annotate.
    void load(bool annotateMode = false, const QString& annotateFile = {});

    // --- showing pages
    void FirstImage();
    void SetPages();
    void SetCaption();
    void CheckOriginal();
    // mnuPageNum_Click: pages 1 to 20 of the page menu.
    void mnuPageNum_Click(int index);
    // Any page, from the page box or Page Up and Page Down; only while the
    // page menu is enabled.
    bool goToPage(int page);
    void mnuViewOrig_Click();

    // --- the tools
    void ViewCommand();
    void LineCommand();
    void RectangleCommand();
    void StampCommand();

    // --- gestures, in image pixels; button 1 left, 2 right
    void mouseDown(int button, QPointF at);
    void mouseMove(QPointF at);
    void mouseUp(int button, QPointF at);
    // imcMain_Select: the end of a selection drag.
    void select(double left, double top, double right, double bottom);
    // imcMain_Scroll: the magnified view moved.
    void scroll(double x, double y);

    // --- rotation (1 clockwise, 2 counter-clockwise, 3 flip)
    void mnuRotate_Click(int index);

    // --- drawing, at full resolution; each ends in SaveOn
    void DrawLine(double x1, double y1, double x2, double y2);
    void DrawRect(double left, double top, double right, double bottom);
    void StampImage(double left, double top, double right, double bottom);
    void StampText(double left, double top, double right, double bottom);

    // --- page editing
    void SaveOn();
    void SaveOff();
    // Writes the page in memory into the Copy. A failure changes nothing:
    // the page keeps its changes, the document stays changed on the same
    // page, and the Copy and the Original stay as they were; the reason comes
    // back for the window to show, and the person can save again.
    IoResult<SaveOutcome> SaveChanges();
    // SaveChanges, then SaveOff unless it failed.
    IoStatus mnuSave_Click();
    // For the window, when a save came back failed: the shared error report
    // with the reason, then the message that the file was not created.
    void reportSaveFailure(const IoError& why);
    void mnuAbort_Click();
    // mnuScan_Click: 1 rescan, 2 insert, 3 append, through source.
    void mnuScan_Click(int index, PageSource* source);
    void mnuDelete_Click();
    void RewriteImage(PageSource* source);
    void mnuRestOrig_Click();
    // Form_Unload: the save question, and the annotate mode's Original removed.
    // When the save asked for fails nothing is unloaded: the reason comes
    // back and the viewer stays open with its changes. Cancel (or Escape) at
    // the question keeps the viewer open too: a key press never loses work.
    enum class Unload { Done, KeptOpen };
    IoResult<Unload> unload();

    // --- printing (PrintImage after the print dialog): copies of pages from..to
    bool printPages(PageSink& sink, int from, int to, int copies);

    // --- state
    const QImage& page() const { return page_; }
    // Changes whenever the page in memory changes (loaded, turned, drawn on).
    quint64 pageVersion() const { return pageVersion_; }
    bool annotateMode() const { return annotateMode_; }
    const QString& copyFile() const { return copyFile_; }
    const QString& originalFile() const { return originalFile_; }
    const QString& viewFile() const { return viewFile_; }
    int currentPage() const { return currentPage_; }
    int pageCount() const { return pageCount_; }
    int viewRotation() const { return viewRotation_; }
    const QString& drawMode() const { return drawMode_; }
    ScanMode scanMode() const { return scanMode_; }
    void setScanMode(ScanMode mode) { scanMode_ = mode; }
    bool dirty() const { return menus_.mnuSave.enabled; }
    bool zoomed() const { return zoomed_; }
    double zoomSize() const { return zoomSize_; }
    double zoomLeft() const { return zoomLeft_; }
    double zoomTop() const { return zoomTop_; }
    const ViewerMenus& menus() const { return menus_; }
    const QString& caption() const { return caption_; }
    const QString& toolTip() const { return toolTip_; }
    const QString& cursorKey() const { return cursorKey_; }
    bool selectEnabled() const { return selectEnabled_; }
    const RubberBand& rubberBand() const { return band_; }
    qint32 imageNumber() const { return imageNumber_; }
    // The geometry of the page in a window of that size.
    ViewGeometry geometry(QSize window) const;

private:
    // SetPicture: loads a page (from 0; past the end the last) of file into
    // the page in memory; the file's page count, or -1 when it can't be read.
    int SetPicture(const QString& file, int pageIndex);
    void RotateImage();
    void showPage(int page);
    void fitted();
    void busy(bool on);
    void refresh();
    void reportError(const QString& procedure, const QString& step, const QString& description);
    void notCreated(const QString& file);
    // True when the Copy is as it was loaded, or the person chose to overwrite it.
    bool copyStillOurs();
    void setTool(const QString& mode, const QString& cursor, bool selectEnabled, const QString& toolTip);

    Session& s_;
    ViewerHost* host_;
    bool annotateMode_ = false;
    QString copyFile_;
    QString originalFile_;
    QString viewFile_;
    int currentPage_ = 0;
    int pageCount_ = 0;
    int viewRotation_ = 0;
    QString drawMode_;
    ScanMode scanMode_ = ScanMode::None;
    bool zoomed_ = false;
    double zoomSize_ = 0;
    double zoomLeft_ = 0;
    double zoomTop_ = 0;
    QPointF drag_;
    qint32 imageNumber_ = 0;
    QImage page_;
    quint64 pageVersion_ = 0;
    FileStamp copyStamp_;
    ViewerMenus menus_;
    QString caption_;
    QString toolTip_;
    QString cursorKey_ = QStringLiteral("Select");
    bool selectEnabled_ = true;
    RubberBand band_;
    RescanRequest pendingRequest_;
};

}  // namespace tarlox
