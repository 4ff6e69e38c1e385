#include "shell/forms/mdiMain.h"

#include "data/UserData.h"
#include "shell/PrinterChoice.h"
#include "shell/forms/ChildWindow.h"
#include "shell/forms/DropDownToolButton.h"
#include "base/forms/FormLayout.h"
#include "shell/forms/ShellResources.h"
#include "view/forms/ViewerCommands.h"
#include "startup/CompactData.h"
#include "base/ErrorReport.h"
#include "base/forms/ChildMenus.h"
#include "data/FormGeometry.h"
#include "base/Prompter.h"
#include "data/Session.h"
#include "data/Settings.h"
#include "startup/Startup.h"
#include "store/SaneDevices.h"
#include "output/FaxSettings.h"
#include "output/FaxTask.h"
#include "output/SelectImage.h"
#include "search/QuickFind.h"
#include "search/forms/frmFind.h"

#include <QCloseEvent>
#include <QFileInfo>
#include <QLayout>
#include <QMdiArea>
#include <QMdiSubWindow>
#include <QMenuBar>
#include <QPrintDialog>
#include <QPrinter>
#include <QHash>
#include <QLineEdit>
#include <QScreen>
#include <QStatusBar>
#include <QToolBar>

namespace tarlox {

namespace {

// Key of section "Form" for the frame's own place.
const QString FramePlaceKey = QStringLiteral("mdiMain");


constexpr Qt::WindowStates SizeStates = Qt::WindowMinimized | Qt::WindowMaximized | Qt::WindowFullScreen;

// The buttons that work on the active viewer.
const QStringList ViewerKeys = {QStringLiteral("Rectangle"), QStringLiteral("Stamp"), QStringLiteral("Line"), QStringLiteral("View")};

// The form each task command opens, menu entry and toolbar button alike.
struct FormCommand {
    const char* entry;
    const char* caption;
    const char* form;
};

}  // namespace

mdiMain::mdiMain(Session& session, FormRegistry forms, QWidget* parent)
    : QMainWindow(parent)
    , session_(session)
    , forms_(std::move(forms))
    , area_(new QMdiArea(this))
{
    InitShellResources();
    setObjectName(QStringLiteral("mdiMain"));
    setWindowTitle(ProgramTitle());
    setWindowIcon(QIcon(QStringLiteral(":/icons/tarlox.svg")));

    area_->setObjectName(QStringLiteral("mdiArea"));
    // The area takes what is left, down to nothing: the frame can become a strip.
    area_->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Ignored);
    area_->setHorizontalScrollBarPolicy(Qt::ScrollBarAsNeeded);
    area_->setVerticalScrollBarPolicy(Qt::ScrollBarAsNeeded);
    area_->setActivationOrder(QMdiArea::ActivationHistoryOrder);
    setCentralWidget(area_);

    createMenus();
    createToolbar();
    statusBar()->setObjectName(QStringLiteral("sbrMain"));
    statusBar()->setSizeGripEnabled(false);
    connect(area_, &QMdiArea::subWindowActivated, this, &mdiMain::updateViewerButtons);
    MDIForm_Activate();
    resize(stripSize());
}

mdiMain::~mdiMain()
{
    // The base class still hides the children: nothing of this class may react then.
    closing_ = true;
    disconnect(area_, nullptr, this, nullptr);
    const QList<QMdiSubWindow*> windows = area_->subWindowList();
    for (QMdiSubWindow* window : windows)
        disconnect(window, nullptr, this, nullptr);
}

// --- menus and toolbar

QAction* mdiMain::addEntry(QMenu* menu, const QString& name, const QString& caption)
{
    QAction* action = menu->addAction(caption);
    action->setObjectName(name);
    entries_.insert(name, action);
    return action;
}

void mdiMain::addFormEntry(QMenu* menu, const QString& name, const QString& caption, const QString& formName)
{
    QAction* action = addEntry(menu, name, caption);
    entryForms_.insert(name, formName);
    connect(action, &QAction::triggered, this, [this, formName] { ShowForm(formName); });
}

void mdiMain::createMenus()
{
    auto menu = [this](const QString& name, const QString& caption) {
        QMenu* m = menuBar()->addMenu(caption);
        m->setObjectName(name);
        m->menuAction()->setObjectName(name);
        return m;
    };

    QMenu* file = menu(QStringLiteral("mnuFile"), tr("&File"));
    connect(addEntry(file, QStringLiteral("mnuOpen"), tr("Open new Configuration")), &QAction::triggered, this, &mdiMain::OpenConfiguration);
    file->addSeparator();
    const FormCommand capture[] = {
        {"mnuScan", "&Scan Test Report", "frmScan"},
        {"mnuBatch", "Add/Scan in &Batch", "frmBatch"},
        {"mnuBarcode", "Scan Ba&rcoded MTR's", "frmBarcode"},
    };
    const FormCommand output[] = {
        {"mnuFind", "&Find Test Report", "frmFind"},
        {"mnuPrint", "&Print Test Report", "frmPrint"},
        {"mnuList", "&List Test Reports", "frmList"},
        {"mnuFax", "Fax &Control", "frmFaxct"},
        {"mnuAscii", "&Ascii Listing", "frmAscii"},
        {"mnuPack", "Certificate Pac&k", "frmPack"},
    };
    const FormCommand upkeep[] = {
        {"mnuImport", "&Import Data", "frmImport"},
        {"mnuImportTif", "Import TIF Files", "frmImportTif"},
        {"mnuUpdate", "Update Info Fields", "frmUpdate"},
    };
    for (const FormCommand& c : capture)
        addFormEntry(file, QLatin1String(c.entry), tr(c.caption), QLatin1String(c.form));
    file->addSeparator();
    for (const FormCommand& c : output) {
        if (qstrcmp(c.entry, "mnuAscii") == 0) {
            // The listing gathers its data as it opens: the busy pointer meanwhile.
            QAction* ascii = addEntry(file, QLatin1String(c.entry), tr(c.caption));
            entryForms_.insert(ascii->objectName(), QLatin1String(c.form));
            connect(ascii, &QAction::triggered, this, [this, form = QString::fromLatin1(c.form)] {
                session_.prompter().setBusy(true);
                ShowForm(form);
                session_.prompter().setBusy(false);
            });
            continue;
        }
        addFormEntry(file, QLatin1String(c.entry), tr(c.caption), QLatin1String(c.form));
    }
    file->addSeparator();
    for (const FormCommand& c : upkeep)
        addFormEntry(file, QLatin1String(c.entry), tr(c.caption), QLatin1String(c.form));
    connect(addEntry(file, QStringLiteral("mnuRepair"), tr("&Repair the Database")), &QAction::triggered, this, &mdiMain::repairDatabase);
    file->addSeparator();
    connect(addEntry(file, QStringLiteral("mnuSrvSetup"), tr("Ser&ver Printer Setup")), &QAction::triggered, this,
            [this] { SetDefaultPrinter(true); });
    connect(addEntry(file, QStringLiteral("mnuSetup"), tr("Printer Set&up")), &QAction::triggered, this, [this] { SetDefaultPrinter(false); });
    file->addSeparator();
    QAction* exit = addEntry(file, QStringLiteral("mnuExit"), tr("E&xit"));
    exit->setMenuRole(QAction::QuitRole);
    connect(exit, &QAction::triggered, this, &QWidget::close);

    QMenu* edit = menu(QStringLiteral("mnuEdit"), tr("&Edit"));
    addFormEntry(edit, QStringLiteral("mnuChange"), tr("&Change System Information"), QStringLiteral("frmInfo"));
    addFormEntry(edit, QStringLiteral("mnuChangeServer"), tr("Change Server Information"), QStringLiteral("frmSecure"));

    QMenu* window = menu(QStringLiteral("mnuWindow"), tr("&Window"));
    connect(addEntry(window, QStringLiteral("mnuWindowCascade"), tr("&Cascade")), &QAction::triggered, this,
            [this] { Arrange(Arrangement::Cascade); });
    connect(addEntry(window, QStringLiteral("mnuWindowHorizontal"), tr("&Tile Horizontal")), &QAction::triggered, this,
            [this] { Arrange(Arrangement::TileHorizontal); });
    connect(addEntry(window, QStringLiteral("mnuWindowVertical"), tr("Tile &Vertical")), &QAction::triggered, this,
            [this] { Arrange(Arrangement::TileVertical); });
    connect(addEntry(window, QStringLiteral("mnuWindowArrange"), tr("&Arrange Icons")), &QAction::triggered, this,
            [this] { Arrange(Arrangement::Icons); });
    connect(addEntry(window, QStringLiteral("mnuWindowExpand"), tr("&Expand")), &QAction::triggered, this, &mdiMain::WindowExpand);

    QMenu* help = menu(QStringLiteral("mnuMainHelp"), tr("&Help"));
    QAction* contents = addEntry(help, QStringLiteral("mnuContents"), tr("&Contents..."));
    contents->setShortcut(QKeySequence::HelpContents);
    connect(contents, &QAction::triggered, this, [this] { ShowHelp(HelpWindow::Entry::Contents); });
    connect(addEntry(help, QStringLiteral("mnuIndex"), tr("&Index...")), &QAction::triggered, this,
            [this] { ShowHelp(HelpWindow::Entry::Index); });
    connect(addEntry(help, QStringLiteral("mnuSearch"), tr("&Search...")), &QAction::triggered, this,
            [this] { ShowHelp(HelpWindow::Entry::Search); });
    help->addSeparator();
    addFormEntry(help, QStringLiteral("mnuAbout"), tr("&About"), QStringLiteral("frmAbout"));
    entries_.value(QStringLiteral("mnuAbout"))->setMenuRole(QAction::AboutRole);
    connect(addEntry(help, QStringLiteral("mnuChgs"), tr("C&hanges")), &QAction::triggered, this,
            [this] { ShowHelpTopic(QStringLiteral("changes.html")); });
}

// The desktop's icon theme where it has one for the command, else our own.
static QIcon ToolbarIcon(const QString& key, const QString& bundled)
{
    static const QHash<QString, QString> themeNames{{QStringLiteral("Scan"), QStringLiteral("scanner")}};
    const QIcon own(QStringLiteral(":/icons/") + bundled);
    const QString themed = themeNames.value(key);
    return themed.isEmpty() ? own : QIcon::fromTheme(themed, own);
}

void mdiMain::addButton(const QString& key, const QString& toolTip, const QString& icon)
{
    QAction* command = new QAction(ToolbarIcon(key, icon), key, this);
    command->setObjectName(key);
    command->setToolTip(toolTip);
    connect(command, &QAction::triggered, this, [this, key] { toolbarClick(key); });
    toolbar_->addAction(command);
    buttons_.insert(key, Button{command, command});
}

void mdiMain::addDrawingButton(const QString& key, const QString& toolTip, const QString& icon, const QString& propertiesCaption,
                               const QString& dialog)
{
    QAction* command = new QAction(QIcon(QStringLiteral(":/icons/") + icon), key, this);
    command->setObjectName(key);
    command->setCheckable(true);
    command->setToolTip(toolTip);
    connect(command, &QAction::triggered, this, [this, key] { toolbarClick(key); });
    drawingDialogs_.insert(key, dialog);
    QAction* properties = new QAction(propertiesCaption, this);
    properties->setObjectName(key + QStringLiteral("Properties"));
    connect(properties, &QAction::triggered, this, [this, key, dialog] { toolbarDropDown(key, dialog); });
    auto* button = new DropDownToolButton(command, properties, toolbar_);
    button->setIconSize(toolbar_->iconSize());
    button->setToolButtonStyle(toolbar_->toolButtonStyle());
    connect(toolbar_, &QToolBar::iconSizeChanged, button, &QToolButton::setIconSize);
    connect(toolbar_, &QToolBar::toolButtonStyleChanged, button, &QToolButton::setToolButtonStyle);
    buttons_.insert(key, Button{command, toolbar_->addWidget(button)});
}

void mdiMain::createToolbar()
{
    toolbar_ = addToolBar(tr("Toolbar"));
    toolbar_->setObjectName(QStringLiteral("tlbMain"));
    toolbar_->setMovable(false);
    toolbar_->setFloatable(false);
    toolbar_->setIconSize(QSize(24, 24));
    toolbar_->setToolButtonStyle(Qt::ToolButtonIconOnly);
    toolbar_->toggleViewAction()->setEnabled(false);

    addButton(QStringLiteral("Scan"), tr("Scan in documents"), QStringLiteral("scan.svg"));
    addButton(QStringLiteral("Batch"), tr("Add documents in batch"), QStringLiteral("batch.svg"));
    addButton(QStringLiteral("Barcode"), tr("Enter barcoded documents"), QStringLiteral("barcode.svg"));
    addButton(QStringLiteral("Find"), tr("Find documents using entered information"), QStringLiteral("find.svg"));
    addButton(QStringLiteral("List"), tr("Print listings of entered information"), QStringLiteral("list.svg"));
    addButton(QStringLiteral("Fax"), tr("Show status of and remove open faxes"), QStringLiteral("fax.svg"));
    QAction* separator = toolbar_->addSeparator();
    separator->setObjectName(QStringLiteral("ViewerSeparator"));
    addDrawingButton(QStringLiteral("Rectangle"), tr("Draw rectange. Click down arrow to select properties."), QStringLiteral("rectangle.svg"),
                     tr("Rectangle Properties..."), QStringLiteral("frmVTRec"));
    addDrawingButton(QStringLiteral("Stamp"), tr("Stamp image or text. Click down arrow to select image or set text."),
                     QStringLiteral("stamp.svg"), tr("Stamp Image or Text..."), QStringLiteral("frmVTStm"));
    addDrawingButton(QStringLiteral("Line"), tr("Draw line. Click down arrow to select properties."), QStringLiteral("line.svg"),
                     tr("Line Properties..."), QStringLiteral("frmVTLin"));
    addButton(QStringLiteral("View"), tr("Magnify picture."), QStringLiteral("view.svg"));
    buttons_[QStringLiteral("View")].command->setCheckable(true);
    buttons_.insert(separator->objectName(), Button{separator, separator});
    addQuickFind();
}

void mdiMain::addQuickFind()
{
    quickFind_ = new QLineEdit(toolbar_);
    quickFind_->setObjectName(QStringLiteral("txtQuickFind"));
    quickFind_->setPlaceholderText(tr("Heat #"));
    quickFind_->setToolTip(tr("Quick find: type or scan a heat number and press Enter (Ctrl+F or F3 comes here)"));
    quickFind_->setClearButtonEnabled(true);
    quickFind_->setFixedWidth(quickFind_->fontMetrics().horizontalAdvance(QStringLiteral("H0000000000")) + 36);
    connect(quickFind_, &QLineEdit::returnPressed, this, [this] { QuickFind(quickFind_->text()); });
    // The shortcuts work from every window of the program, children included.
    QAction* focus = new QAction(tr("Quick Find"), this);
    focus->setObjectName(QStringLiteral("QuickFind"));
    focus->setShortcuts({QKeySequence(QKeySequence::Find), QKeySequence(Qt::Key_F3)});
    focus->setShortcutContext(Qt::ApplicationShortcut);
    connect(focus, &QAction::triggered, this, &mdiMain::FocusQuickFind);
    addAction(focus);
    QAction* placement = toolbar_->addWidget(quickFind_);
    buttons_.insert(focus->objectName(), Button{focus, placement});
}

void mdiMain::FocusQuickFind()
{
    if (!quickFind_->isVisible())
        return;
    activateWindow();
    quickFind_->setFocus(Qt::ShortcutFocusReason);
    quickFind_->selectAll();
}

void mdiMain::QuickFind(const QString& text)
{
    session_.traceCall(QStringLiteral("QuickFind"), {text});
    statusBar()->clearMessage();
    const QuickFindResult found = tarlox::QuickFind(session_, text);
    // The next scan replaces what is in the box.
    quickFind_->selectAll();
    switch (found.outcome) {
    case QuickFindResult::Outcome::One: {
        // As Select's View does: the image in hand, then a viewer on it.
        const auto image = LocateImage(session_, found.imageNumber);
        if (!image)
            return;
        session_.currentImage = image->number;
        session_.imageFilePath = image->filePath;
        ShowInstance(QStringLiteral("frmView"));
        return;
    }
    case QuickFindResult::Outcome::Several:
        if (auto* find = qobject_cast<frmFind*>(ShowForm(QStringLiteral("frmFind"))); find && !find->ShowFound(found.criteria))
            statusBar()->showMessage(tr("Heat # %1: on several reports; finish the change in Find to list them.").arg(found.heat), 15000);
        return;
    case QuickFindResult::Outcome::Nothing:
    case QuickFindResult::Outcome::Failed:
        statusBar()->showMessage(found.statusText(), 15000);
        return;
    }
}

QAction* mdiMain::menuEntry(const QString& name) const
{
    return entries_.value(name);
}

QAction* mdiMain::toolbarButton(const QString& key) const
{
    return buttons_.value(key).placement;
}

void mdiMain::EnableOption(QAction* menuEntry, bool enable)
{
    if (!menuEntry)
        return;
    menuEntry->setEnabled(enable);
    const QString key = menuEntry->objectName().mid(3);
    const auto it = buttons_.constFind(key);
    if (it == buttons_.constEnd())
        return;
    it->command->setEnabled(enable);
    it->placement->setVisible(enable);
    fitToolbar();
}

void mdiMain::MDIForm_Activate()
{
    const auto offered = [this](const QString& entry) { return forms_.has(entryForms_.value(entry)); };
    const auto enableForm = [&](const char* entry, bool machineOffers = true) {
        const QString name = QLatin1String(entry);
        EnableOption(entries_.value(name), machineOffers && offered(name));
    };
    enableForm("mnuScan", scannerPresent());
    enableForm("mnuBatch");
    enableForm("mnuBarcode");
    enableForm("mnuFind");
    // The quick find lists in Find, and goes with it.
    const Button& quick = buttons_[QStringLiteral("QuickFind")];
    quick.command->setEnabled(offered(QStringLiteral("mnuFind")));
    quick.placement->setVisible(quick.command->isEnabled());
    enableForm("mnuPrint");
    enableForm("mnuList");
    enableForm("mnuFax", faxAvailable_);
    enableForm("mnuAscii");
    enableForm("mnuPack");
    enableForm("mnuImport");
    enableForm("mnuImportTif");
    enableForm("mnuUpdate");
    enableForm("mnuChange");
    enableForm("mnuChangeServer");
    enableForm("mnuAbout");
    EnableOption(entries_.value(QStringLiteral("mnuSrvSetup")), true);
    // Rebuilding is a matter of the file database; the server keeps its own.
    EnableOption(entries_.value(QStringLiteral("mnuRepair")), session_.databaseType == QLatin1String("Access"));
    updateViewerButtons();
}

void mdiMain::fitToolbar()
{
    // A toolbar without a button would be an empty bar: it goes until one comes.
    const bool any = std::any_of(buttons_.cbegin(), buttons_.cend(), [](const Button& b) {
        return b.placement->isVisible() && !b.placement->isSeparator();
    });
    if (toolbar_->isVisibleTo(this) == any)
        return;
    toolbar_->setVisible(any);
    if (area_->subWindowList().isEmpty() && !(windowState() & SizeStates))
        resize(stripSize());
}

void mdiMain::mergeChildMenus()
{
    // The frame's own menus stand aside while a child's are shown, but for
    // Window and Help, which belong to the frame.
    auto* child = dynamic_cast<ChildMenus*>(activeForm());
    const QList<QMenu*> wanted = child ? child->framedMenus() : QList<QMenu*>{};
    const bool same = wanted.size() == mergedMenus_.size()
        && std::equal(wanted.cbegin(), wanted.cend(), mergedMenus_.cbegin(), [](QMenu* a, const QPointer<QMenu>& b) { return a == b.data(); });
    if (same)
        return;
    for (QMenu* menu : std::as_const(mergedMenus_))
        if (menu)
            menuBar()->removeAction(menu->menuAction());
    mergedMenus_.clear();
    QAction* windowMenu = nullptr;
    const QList<QAction*> entries = menuBar()->actions();
    for (QAction* entry : entries) {
        const bool frames = entry->objectName() == QLatin1String("mnuWindow") || entry->objectName() == QLatin1String("mnuMainHelp");
        if (entry->objectName() == QLatin1String("mnuWindow"))
            windowMenu = entry;
        if (!frames)
            entry->setVisible(wanted.isEmpty());
    }
    for (QMenu* menu : wanted) {
        menuBar()->insertAction(windowMenu, menu->menuAction());
        mergedMenus_.append(menu);
    }
}

void mdiMain::updateViewerButtons()
{
    mergeChildMenus();
    const bool viewer = dynamic_cast<ViewerCommands*>(activeForm()) != nullptr;
    // The pressed button follows the viewer's tool, however it changes.
    if (QWidget* form = activeForm(); viewer && form->metaObject()->indexOfSignal("activeToolChanged(QString)") >= 0)
        connect(form, ActiveToolChangedSignal, this, SLOT(showActiveTool()), Qt::UniqueConnection);
    for (const QString& key : ViewerKeys) {
        const Button& b = buttons_[key];
        b.command->setEnabled(viewer);
        b.placement->setVisible(viewer);
        // The properties of a drawing tool come from a dialog of its own.
        if (QAction* properties = findChild<QAction*>(key + QStringLiteral("Properties")))
            properties->setEnabled(viewer && forms_.has(drawingDialogs_.value(key)));
    }
    buttons_[QStringLiteral("ViewerSeparator")].placement->setVisible(viewer);
    showActiveTool();
    fitToolbar();
}

// The button of the tool the active viewer draws with stands pressed.
void mdiMain::showActiveTool()
{
    const auto* viewer = dynamic_cast<ViewerCommands*>(activeForm());
    const QString tool = viewer ? viewer->activeTool() : QString();
    for (const QString& key : ViewerKeys)
        buttons_[key].command->setChecked(key == tool);
}

void mdiMain::toolbarClick(const QString& key)
{
    session_.traceCall(QStringLiteral("tlbMain_ButtonClick"), {QStringLiteral("Button = ") + key});
    currentChild_ = activeForm();
    if (ViewerKeys.contains(key)) {
        auto* viewer = dynamic_cast<ViewerCommands*>(currentChild_.data());
        if (!viewer)
            return;
        if (key == QLatin1String("Rectangle"))
            viewer->RectangleCommand();
        else if (key == QLatin1String("Stamp"))
            viewer->StampCommand();
        else if (key == QLatin1String("Line"))
            viewer->LineCommand();
        else
            viewer->ViewCommand();
        // A tool whose properties were cancelled stays as it was.
        showActiveTool();
        return;
    }
    ShowForm(entryForms_.value(QStringLiteral("mnu") + key));
}

void mdiMain::toolbarDropDown(const QString& key, const QString& dialog)
{
    session_.traceCall(QStringLiteral("tlbMain_ButtonDropDown"), {QStringLiteral("Button = ") + key});
    currentChild_ = activeForm();
    ShowForm(dialog);
}

// --- load and the machine's devices

void mdiMain::MDIForm_Load()
{
    session_.traceCall(QStringLiteral("MDIForm_Load"));
    // Fax commands wait for the fax server's answer.
    faxAvailable_ = false;
    CheckFaxDevices();
    ChildUnload(nullptr);
    restoreFramePlace();
    session_.machine.lastLogin = session_.now();
    MDIForm_Activate();
    // Looking for scanners can take seconds; until it answers the command
    // stands as this machine's row last recorded it.
    ProbeSaneDevices(this, [this](const QList<SaneDeviceEntry>& devices) { scannerFound(!devices.isEmpty()); });
}

// The frame comes back where the person left it, with its size and its
// maximized state; a place off the screens of this machine (another screen
// size, another scaling) is moved into view.
void mdiMain::restoreFramePlace()
{
    const QByteArray kept = QByteArray::fromBase64(GetLocal(session_, section::Form, FramePlaceKey).toLatin1());
    if (kept.isEmpty() || !restoreGeometry(kept))
        return;
    if (const QScreen* screen = this->screen(); screen && !(windowState() & SizeStates)) {
        const QRect room = screen->availableVirtualGeometry();
        QRect place = frameGeometry();
        place.setSize(place.size().boundedTo(room.size()));
        place.moveLeft(std::clamp(place.left(), room.left(), room.right() - place.width() + 1));
        place.moveTop(std::clamp(place.top(), room.top(), room.bottom() - place.height() + 1));
        if (place != frameGeometry()) {
            resize(size().boundedTo(room.size()));
            move(place.topLeft());
        }
    }
}

void mdiMain::scannerFound(bool present)
{
    scannerKnown_ = true;
    session_.machine.scanner = present;
    UpdateUser(session_);
    MDIForm_Activate();
    emit scannerChecked(present);
}

void mdiMain::CheckFaxDevices()
{
    // "Check for fax devices". A server that answers takes jobs even without
    // a modem (they wait there); one that does not answer offers no faxing.
    auto server = fax::ServerSettings([this](const QString& key) { return GetLocal(session_, fax::Section, key); });
    if (!server) {
        faxDevicesFound(-1, server.error());
        return;
    }
    RunFaxTask(
        this, [where = *server] { return HylafaxClient(where).devices(); },
        [this](IoResult<QList<FaxDevice>> devices) { faxDevicesFound(devices ? int(devices->size()) : -1, devices.error()); });
}

void mdiMain::faxDevicesFound(int devices, const QString& error)
{
    faxDeviceText_ = devices < 0 ? QStringLiteral("no fax server: ") + error : QString::number(devices) + QStringLiteral(" fax device(s) found");
    session_.traceCall(QStringLiteral("MDIForm_Load"), {QStringLiteral("Check for fax devices"), faxDeviceText_});
    faxAvailable_ = devices >= 0;
    MDIForm_Activate();
    emit faxChecked(faxAvailable_);
}

bool mdiMain::scannerPresent() const
{
    return session_.machine.scanner;
}

void mdiMain::setFaxAvailable(bool available)
{
    faxAvailable_ = available;
    MDIForm_Activate();
}

// --- children

QWidget* mdiMain::activeForm() const
{
    QMdiSubWindow* window = area_->currentSubWindow();
    return window ? window->widget() : nullptr;
}

QWidget* mdiMain::ShowForm(const QString& formName)
{
    session_.traceCall(QStringLiteral("ShowForm"), {QStringLiteral("Form = ") + formName});
    const FormEntry* entry = forms_.find(formName);
    if (!entry)
        return nullptr;
    if (entry->kind == FormKind::Dialog)
        return openDialog(*entry);
    const QList<QMdiSubWindow*> windows = area_->subWindowList();
    for (QMdiSubWindow* window : windows) {
        auto* child = qobject_cast<ChildWindow*>(window);
        if (!child || child->formName() != formName || !child->form())
            continue;
        if (child->isMinimized())
            child->showNormal();
        area_->setActiveSubWindow(child);
        child->raise();
        return child->form();
    }
    return openChild(*entry);
}

QWidget* mdiMain::ShowInstance(const QString& formName)
{
    session_.traceCall(QStringLiteral("ShowInstance"), {formName});
    const FormEntry* entry = forms_.find(formName);
    if (!entry)
        return nullptr;
    return entry->kind == FormKind::Dialog ? openDialog(*entry) : openChild(*entry);
}

QWidget* mdiMain::openChild(const FormEntry& entry)
{
    QWidget* form = entry.create(FormContext{session_, *this});
    if (!form)
        return nullptr;
    if (form->objectName().isEmpty())
        form->setObjectName(entry.name);
    const bool designedSize = form->testAttribute(Qt::WA_Resized);
    const QSize designed = form->size();
    if (auto* menus = dynamic_cast<ChildMenus*>(form))
        menus->showOwnMenuBar(false);
    auto* window = new ChildWindow(form, entry.name);
    connect(window, &ChildWindow::unloading, this, &mdiMain::childUnloading);
    area_->addSubWindow(window);
    window->adjustSize();
    if (designedSize)
        window->resize(window->size() - window->contentsRect().size() + designed);
    window->show();
    GetFormSize(session_, window, section::Form, entry.name);
    ChildLoad(window);
    area_->setActiveSubWindow(window);
    return form;
}

QWidget* mdiMain::openDialog(const FormEntry& entry)
{
    if (QWidget* open = dialogs_.value(entry.name)) {
        open->raise();
        open->activateWindow();
        return open;
    }
    QWidget* dialog = entry.create(FormContext{session_, *this});
    if (!dialog)
        return nullptr;
    if (dialog->objectName().isEmpty())
        dialog->setObjectName(entry.name);
    if (dialog->parentWidget() != this)
        dialog->setParent(this, dialog->windowFlags() | Qt::Dialog);
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    dialog->setWindowModality(Qt::ApplicationModal);
    dialogs_.insert(entry.name, dialog);
    dialog->show();
    return dialog;
}

void mdiMain::childUnloading(ChildWindow* window)
{
    SaveFormSize(session_, window, section::Form, window->formName());
    ChildUnload(window);
    if (currentChild_ == window->form())
        currentChild_ = nullptr;
}

QSize mdiMain::chrome() const
{
    // Measured from the bars, not from the area: in the strip the area has
    // no room at all and keeps whatever size it last had.
    layout()->activate();
    int top = 0;
    if (menuBar()->isVisibleTo(this))
        top = std::max(top, menuBar()->geometry().bottom() + 1);
    if (toolbar_->isVisibleTo(this))
        top = std::max(top, toolbar_->geometry().bottom() + 1);
    const int frame = 2 * area_->frameWidth();
    const int bottom = statusBar()->isVisibleTo(this) ? statusBar()->sizeHint().height() : 0;
    return QSize(frame, top + frame + bottom);
}

QSize mdiMain::stripSize() const
{
    const QSize least = minimumSizeHint();
    // Wide enough for every button and the quick find box, none in the toolbar's overflow.
    const int toolbar = toolbar_->isVisibleTo(this) ? toolbar_->sizeHint().width() : 0;
    return QSize(std::max({TwipsToPixels(StripWidthTwips), least.width(), toolbar}), least.height());
}

void mdiMain::ChildLoad(QMdiSubWindow* child)
{
    session_.traceCall(QStringLiteral("ChildLoad"), {child ? child->objectName() : QString()});
    if (!(windowState() & SizeStates) && stateSaved_) {
        stateSaved_ = false;
        if (savedState_ & SizeStates)
            setWindowState((windowState() & ~SizeStates) | savedState_);
    }
    if ((windowState() & SizeStates) || !child)
        return;
    QRect place = child->geometry();
    if (place.top() < 0)
        place.moveTop(0);
    if (place.left() < 0)
        place.moveLeft(0);
    if (place.topLeft() != child->pos())
        child->move(place.topLeft());
    const QSize extra = chrome();
    if (const QScreen* screen = this->screen()) {
        // A place remembered on a larger screen or at another scaling is
        // moved into the room the frame can have here: the frame does not
        // grow off the screen to reach it.
        const QSize limit = screen->availableSize().expandedTo(size()) - extra;
        const QSize room = size() - extra;
        place.setSize(place.size().boundedTo(limit).expandedTo(child->minimumSize()));
        if (place.right() >= limit.width())
            place.moveLeft(std::max(0, room.width() - place.width()));
        if (place.bottom() >= limit.height())
            place.moveTop(std::max(0, room.height() - place.height()));
        if (place != child->geometry())
            child->setGeometry(place);
    }
    QSize wanted = size().expandedTo(QSize(place.left() + place.width() + extra.width(), place.top() + place.height() + extra.height()));
    if (const QScreen* screen = this->screen())
        wanted = wanted.boundedTo(screen->availableSize().expandedTo(size()));
    if (wanted != size())
        resize(wanted);
    // On a small screen the frame stops at the screen's edge: the child
    // shrinks to the room there is, so none of it lies out of reach.
    const QSize room = wanted - extra;
    const QSize fitted = place.size().boundedTo(QSize(room.width() - place.left(), room.height() - place.top())).expandedTo(child->minimumSize());
    if (fitted != place.size())
        child->resize(fitted);
}

void mdiMain::ChildUnload(QMdiSubWindow* child)
{
    session_.traceCall(QStringLiteral("ChildUnload"), {child ? child->objectName() : objectName()});
    if (closing_)
        return;
    const QList<QMdiSubWindow*> windows = area_->subWindowList();
    for (QMdiSubWindow* window : windows)
        if (window != child)
            return;
    savedState_ = windowState() & SizeStates;
    stateSaved_ = true;
    if (windowState() & SizeStates)
        setWindowState(windowState() & ~SizeStates);
    resize(stripSize());
    const QPoint at = pos();
    if (at.x() < 0 || at.y() < 0)
        move(std::max(0, at.x()), std::max(0, at.y()));
}

void mdiMain::WindowExpand()
{
    session_.traceCall(QStringLiteral("WindowExpand"));
    const QRect room(QPoint(0, 0), area_->contentsRect().size());
    const QList<QMdiSubWindow*> windows = area_->subWindowList();
    for (QMdiSubWindow* window : windows) {
        const bool sizable = window->minimumSize() != window->maximumSize();
        if (!sizable || (window->windowState() & SizeStates) || !window->isVisible())
            continue;
        window->setGeometry(room);
    }
}

void mdiMain::Arrange(Arrangement arrangement)
{
    if (arrangement == Arrangement::Cascade) {
        area_->cascadeSubWindows();
        return;
    }
    const QSize room = area_->contentsRect().size();
    QList<QMdiSubWindow*> open;
    QList<QMdiSubWindow*> icons;
    const QList<QMdiSubWindow*> windows = area_->subWindowList(QMdiArea::CreationOrder);
    for (QMdiSubWindow* window : windows) {
        if (!window->isVisible())
            continue;
        (window->isMinimized() ? icons : open).append(window);
    }
    if (arrangement == Arrangement::Icons) {
        int x = 0;
        int y = room.height();
        int rowHeight = 0;
        for (QMdiSubWindow* icon : icons) {
            if (x > 0 && x + icon->width() > room.width()) {
                x = 0;
                y -= rowHeight;
                rowHeight = 0;
            }
            rowHeight = std::max(rowHeight, icon->height());
            icon->move(x, y - icon->height());
            x += icon->width();
        }
        return;
    }
    if (open.isEmpty())
        return;
    const int count = static_cast<int>(open.size());
    for (int i = 0; i < count; ++i) {
        QMdiSubWindow* window = open[i];
        if (window->isMaximized())
            window->showNormal();
        if (arrangement == Arrangement::TileHorizontal) {
            const int top = room.height() * i / count;
            window->setGeometry(0, top, room.width(), room.height() * (i + 1) / count - top);
        } else {
            const int left = room.width() * i / count;
            window->setGeometry(left, 0, room.width() * (i + 1) / count - left, room.height());
        }
    }
}

// --- commands of the frame

void mdiMain::repairDatabase()
{
    CompactData(session_);
}

void mdiMain::SetDefaultPrinter(bool server)
{
    session_.traceCall(QStringLiteral("SetDefaultPrinter"), {server ? QStringLiteral("True") : QStringLiteral("False")});
    const PrinterRole role = PrinterRoleOf(session_, server);
    // The dialog works on a printer of its own: the machine's default stays as it is.
    QPrinter printer;
    if (!role.name.isEmpty())
        printer.setPrinterName(role.name);
    printer.setPaperSource(static_cast<QPrinter::PaperSource>(role.bin));
    QPrintDialog dialog(&printer, this);
    dialog.setWindowTitle(server ? tr("Server Printer Setup") : tr("Printer Setup"));
    dialog.setOption(QAbstractPrintDialog::PrintToFile, false);
    if (dialog.exec() != QDialog::Accepted)
        return;
    KeepPrinterChoice(session_, server, printer.printerName(), static_cast<int>(printer.paperSource()));
}

void mdiMain::OpenConfiguration()
{
    session_.traceCall(QStringLiteral("mnuOpen_Click"));
    const QString start = QFileInfo::exists(session_.localIni) ? session_.localIni : QString();
    // Cancelling leaves the name empty: the program directory's own file is read again.
    session_.localIni = session_.prompter().chooseOpenFile(tr("Open new Configuration"), start, tr("Configuration Files (*.ini *.INI)"));
    if (!StartSession(session_).ok()) {
        // The boxes of the start said 'Cancel' ends Tarlox; so it does here.
        close();
        return;
    }
    MDIForm_Activate();
}

void mdiMain::ShowHelp(HelpWindow::Entry entry)
{
    if (!help_)
        help_ = new HelpWindow(this);
    help_->show();
    help_->raise();
    help_->activateWindow();
    help_->showEntry(entry);
}

void mdiMain::ShowHelpTopic(const QString& topic)
{
    ShowHelp(HelpWindow::Entry::Contents);
    help_->showTopic(topic);
}

// --- events

void mdiMain::changeEvent(QEvent* event)
{
    if (event->type() == QEvent::ActivationChange && isActiveWindow())
        MDIForm_Activate();
    QMainWindow::changeEvent(event);
}

void mdiMain::closeEvent(QCloseEvent* event)
{
    closing_ = true;
    area_->closeAllSubWindows();
    const QList<QMdiSubWindow*> windows = area_->subWindowList();
    const bool refused = std::any_of(windows.begin(), windows.end(), [](QMdiSubWindow* w) { return w->isVisible(); });
    if (refused) {
        closing_ = false;
        event->ignore();
        return;
    }
    for (const QPointer<QWidget>& dialog : std::as_const(dialogs_))
        if (dialog)
            dialog->close();
    PutLocal(session_, section::Form, FramePlaceKey, QString::fromLatin1(saveGeometry().toBase64()));
    if (help_)
        help_->close();
    event->accept();
}

}  // namespace tarlox
