#pragma once

#include "shell/forms/FormRegistry.h"
#include "shell/forms/HelpWindow.h"

#include <QHash>
#include <QMainWindow>
#include <QMenu>
#include <QPointer>

class QAction;
class QLineEdit;
class QMdiArea;
class QMdiSubWindow;
class QToolBar;

namespace tarlox {

class Session;
class ChildWindow;

// The program's one top-level window: the menus, the toolbar tlbMain and
// the child forms. It decides which commands this machine offers, opens or
// raises the children, shrinks to a strip while no child is open and grows
// to hold a child that opens.
class mdiMain : public QMainWindow {
    Q_OBJECT
public:
    explicit mdiMain(Session& session, FormRegistry forms = StandardForms(), QWidget* parent = nullptr);
    ~mdiMain() override;

    // The load steps: the frame starts as a strip, this machine's LastLogin
    // and Scanner are recorded (the scanner is looked for in the background;
    // scannerChecked() tells when that is done).
    void MDIForm_Load();
    // Sets every command to what this machine and this build offer.
    void MDIForm_Activate();

    Session& session() { return session_; }
    QMdiArea* mdiArea() const { return area_; }
    const FormRegistry& forms() const { return forms_; }

    // Opens the form, or brings the open one to the front (restoring it
    // when minimized). nullptr when the form is not part of this build.
    QWidget* ShowForm(const QString& formName);
    // Opens one more instance of a child form.
    QWidget* ShowInstance(const QString& formName);

    // Enables a menu entry and its toolbar button together; a button whose
    // command is not offered is hidden, while the menu entry shows grey.
    void EnableOption(QAction* menuEntry, bool enable);

    // The frame's part in a child's life; ShowForm and closing a child call them.
    void ChildLoad(QMdiSubWindow* child);
    // child: the window that is closing, or nullptr at the start.
    void ChildUnload(QMdiSubWindow* child);
    // Sizes every sizable child in its normal state to the frame.
    void WindowExpand();
    enum class Arrangement { Cascade, TileHorizontal, TileVertical, Icons };
    void Arrange(Arrangement arrangement);

    // The printer dialog for this program's printer or its server printer.
    void SetDefaultPrinter(bool server);
    // Switches the whole session to another local settings file.
    void OpenConfiguration();
    void ShowHelp(HelpWindow::Entry entry);
    void ShowHelpTopic(const QString& topic);
    HelpWindow* helpWindow() const { return help_; }

    // The menu entry "mnuScan" and the toolbar button "Scan" (the action
    // that shows or hides it in tlbMain).
    QAction* menuEntry(const QString& name) const;
    QAction* toolbarButton(const QString& key) const;
    QToolBar* toolbar() const { return toolbar_; }

    // The quick find box "txtQuickFind" in tlbMain; Ctrl+F and F3 put the
    // cursor there from anywhere in the program.
    QLineEdit* quickFindBox() const { return quickFind_; }
    void FocusQuickFind();
    // Looks for the heat in text (a scanned tag code is trimmed by the
    // site's pattern): one report opens in a viewer, several are listed in
    // Find, none is said in the status bar.
    void QuickFind(const QString& text);

    // The form of the active child window, and the one that was active at
    // the last toolbar click (the drawing dialogs work on that one).
    QWidget* activeForm() const;
    QWidget* currentChild() const { return currentChild_; }

    bool faxAvailable() const { return faxAvailable_; }
    // Asks the fax server for its modems, off the interface thread; the
    // fax commands follow the answer (faxChecked tells when it came).
    void CheckFaxDevices();
    // " fax device(s) found" with the count, or why there is no fax server.
    QString faxDeviceText() const { return faxDeviceText_; }
    void setFaxAvailable(bool available);
    bool scannerPresent() const;

    // The frame's size with no child open.
    QSize stripSize() const;

signals:
    void scannerChecked(bool present);
    void faxChecked(bool available);

protected:
    void closeEvent(QCloseEvent* event) override;
    void changeEvent(QEvent* event) override;

private slots:
    void showActiveTool();

private:
    void mergeChildMenus();
    void restoreFramePlace();
    struct Button {
        QAction* command = nullptr;    // what a click does
        QAction* placement = nullptr;  // the button's place in the toolbar
    };

    void createMenus();
    void createToolbar();
    QAction* addEntry(QMenu* menu, const QString& name, const QString& caption);
    void addFormEntry(QMenu* menu, const QString& name, const QString& caption, const QString& formName);
    void addButton(const QString& key, const QString& toolTip, const QString& icon);
    void addDrawingButton(const QString& key, const QString& toolTip, const QString& icon, const QString& propertiesCaption,
                          const QString& dialog);
    void toolbarClick(const QString& key);
    void toolbarDropDown(const QString& key, const QString& dialog);
    void updateViewerButtons();
    void addQuickFind();
    void fitToolbar();
    void scannerFound(bool present);
    void faxDevicesFound(int devices, const QString& error);
    void repairDatabase();
    QWidget* openChild(const FormEntry& entry);
    QWidget* openDialog(const FormEntry& entry);
    void childUnloading(ChildWindow* window);
    // The room that the menus, toolbar and borders take beside the child area.
    QSize chrome() const;

    Session& session_;
    FormRegistry forms_;
    QMdiArea* area_;
    QToolBar* toolbar_ = nullptr;
    QLineEdit* quickFind_ = nullptr;
    QHash<QString, QAction*> entries_;
    QHash<QString, Button> buttons_;
    QHash<QString, QString> entryForms_;      // menu entry -> form class
    QHash<QString, QString> drawingDialogs_;  // drawing button -> its properties dialog
    QHash<QString, QPointer<QWidget>> dialogs_;
    QPointer<HelpWindow> help_;
    QPointer<QWidget> currentChild_;
    bool faxAvailable_ = false;
    QString faxDeviceText_;
    bool scannerKnown_ = false;
    Qt::WindowStates savedState_ = Qt::WindowNoState;
    bool stateSaved_ = false;
    bool closing_ = false;
    // The active child's menus now on the frame's bar.
    QList<QPointer<QMenu>> mergedMenus_;
};

}  // namespace tarlox
