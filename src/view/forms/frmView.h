#pragma once

#include "base/forms/ChildMenus.h"
#include "view/forms/ViewerCommands.h"
#include "view/PageDocument.h"

#include <QHash>
#include <QWidget>

#include <functional>

class QAction;
class QLabel;
class QMenu;
class QMenuBar;
class QPrinter;
class QSpinBox;
class QStatusBar;

namespace tarlox {

class PageSource;
class PageView;
class Session;

// The Screen Viewer: one image file page by page, magnified and turned, with
// the menus for printing, the Original, page choice, rescanning and page
// editing. Drawing and saving happen in its PageDocument; the window shows
// the page and forwards the person's gestures. Several viewers may be open
// at once; each is a plain widget, ready to sit in the main window's MDI area.
class frmView : public QWidget, public ViewerCommands, public ChildMenus, private ViewerHost {
    Q_OBJECT
public:
    // ChildMenus: every menu but Window joins the frame's bar.
    QList<QMenu*> framedMenus() const override;
    void showOwnMenuBar(bool shown) override;
    // Form_Load on the image in hand (session.imageFilePath), or in annotate
    // mode on a temporary output file.
    explicit frmView(Session& session, QWidget* parent = nullptr, bool annotateMode = false, const QString& annotateFile = {});
    ~frmView() override;

    // Opens a viewer in annotate mode on fileName; the caller waits for closed().
    static frmView* Annotate(Session& session, const QString& fileName, QWidget* parent = nullptr);

    PageDocument& document() { return document_; }
    PageView* imcMain() const { return view_; }
    QAction* action(const QString& name) const { return actions_.value(name); }
    QMenu* menu(const QString& name) const { return menus_.value(name); }
    QSpinBox* pageBox() const { return pageBox_; }
    QLabel* lblPrintMsg() const { return lblPrintMsg_; }

    // The scanner for rescan, insert and append; not owned. Without one the
    // Scan menu says that no scanner is set up.
    void setPageSource(PageSource* source) { pageSource_ = source; }

    // The print dialog; tests put a PDF printer in its place.
    std::function<bool(QWidget*, QPrinter&, int pageCount, int& copies, int& from, int& to)> printDialog;

    // Form_Paint's first run: the first page, once the window is on the screen.
    void Form_Paint();

    // The three property forms, modal over owner (the toolbar's arrows call these).
    static void ShowLineProperties(Session& session, QWidget* owner);
    static void ShowRectangleProperties(Session& session, QWidget* owner);
    static void ShowStampProperties(Session& session, QWidget* owner);

public slots:
    // The main toolbar's four buttons, on the active viewer.
    void ViewCommand() override;
    void LineCommand() override;
    void RectangleCommand() override;
    void StampCommand() override;
    QString activeTool() const override;
    void PrintImage();

signals:
    // A command of the Window menu for the main window: "Cascade",
    // "Horizontal", "Vertical", "Arrange", "Expand".
    void windowCommand(const QString& name);
    // The viewer has closed (after the save question).
    void closed();
    // ViewerCommands: the tool changed ("Rectangle", "Stamp", "Line", "View").
    void activeToolChanged(const QString& tool) override;

protected:
    void resizeEvent(QResizeEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void closeEvent(QCloseEvent* event) override;

private:
    // ViewerHost
    void refresh() override;
    void processEvents() override;
    void showLineProperties() override;
    void showRectangleProperties() override;
    void showStampProperties() override;
    void printProgress(const QString& text) override;

    void buildMenus();
    QAction* addAction(QMenu* menu, const QString& name, const QString& caption);
    void applyMenus();
    // Shows why a save failed, if it did; true when it didn't.
    bool showSaveFailure(const IoStatus& saved);
    QWidget* propertyOwner();

    Session& session_;
    PageDocument document_;
    PageSource* pageSource_ = nullptr;
    QMenuBar* menuBar_;
    PageView* view_;
    QLabel* lblPrintMsg_;
    QStatusBar* statusBar_;
    QSpinBox* pageBox_;
    QLabel* pageOf_;
    QHash<QString, QAction*> actions_;
    QHash<QString, QMenu*> menus_;
    bool firstPaint_ = true;
    bool unloaded_ = false;
    bool applying_ = false;
    QString shownTool_ = QStringLiteral("View");
};

}  // namespace tarlox
