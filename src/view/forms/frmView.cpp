#include "view/forms/frmView.h"

#include "base/Prompter.h"
#include "data/Session.h"
#include "view/forms/PageView.h"
#include "view/forms/ViewerPrinter.h"
#include "view/forms/frmVTLin.h"
#include "view/forms/frmVTRec.h"
#include "view/forms/frmVTStm.h"

#include <QCloseEvent>
#include <QCoreApplication>
#include <QLabel>
#include <QMenuBar>
#include <QPrinter>
#include <QKeyEvent>
#include <QSpinBox>
#include <QStatusBar>
#include <QTimer>
#include <QVBoxLayout>

namespace tarlox {

namespace {

void applyItem(QAction* action, const MenuItem& item)
{
    if (!action)
        return;
    action->setEnabled(item.enabled);
    action->setVisible(item.visible);
    if (action->isCheckable())
        action->setChecked(item.checked);
    if (!item.caption.isEmpty())
        action->setText(item.caption);
}

}  // namespace

frmView::frmView(Session& session, QWidget* parent, bool annotateMode, const QString& annotateFile)
    : QWidget(parent)
    , session_(session)
    , document_(session, this)
    , menuBar_(new QMenuBar(this))
    , view_(new PageView(this))
    , lblPrintMsg_(new QLabel(this))
    , statusBar_(new QStatusBar(this))
    , pageBox_(new QSpinBox(this))
    , pageOf_(new QLabel(this))
{
    setObjectName(QStringLiteral("frmView"));
    setAttribute(Qt::WA_DeleteOnClose);
    setWindowTitle(QStringLiteral("Screen Viewer"));
    // The smallest the viewer gets: 5850 by 6420 twips.
    setMinimumSize(390, 428);
    resize(760, 900);
    printDialog = GetPrinter;

    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    layout->setMenuBar(menuBar_);
    layout->addWidget(view_, 1);
    layout->addWidget(statusBar_);
    buildMenus();

    pageBox_->setObjectName(QStringLiteral("txtPage"));
    pageBox_->setToolTip(QStringLiteral("Page shown (Page Up and Page Down change it)"));
    pageBox_->setKeyboardTracking(false);
    pageOf_->setObjectName(QStringLiteral("lblPageCount"));
    statusBar_->setSizeGripEnabled(false);
    statusBar_->addPermanentWidget(new QLabel(QStringLiteral("Page"), this));
    statusBar_->addPermanentWidget(pageBox_);
    statusBar_->addPermanentWidget(pageOf_);
    connect(pageBox_, &QSpinBox::valueChanged, this, [this](int page) {
        if (!applying_)
            document_.goToPage(page);
    });
    view_->setFocusPolicy(Qt::StrongFocus);
    setFocusProxy(view_);

    lblPrintMsg_->setObjectName(QStringLiteral("lblPrintMsg"));
    lblPrintMsg_->setAlignment(Qt::AlignCenter);
    lblPrintMsg_->setFrameShape(QFrame::Box);
    lblPrintMsg_->setAutoFillBackground(true);
    lblPrintMsg_->resize(201, 50);
    lblPrintMsg_->hide();

    connect(view_, &PageView::mouseDown, this, [this](int button, QPointF at) { document_.mouseDown(button, at); });
    connect(view_, &PageView::mouseMoved, this, [this](QPointF at) { document_.mouseMove(at); });
    connect(view_, &PageView::mouseUp, this, [this](int button, QPointF at) { document_.mouseUp(button, at); });
    connect(view_, &PageView::selected, this, [this](double l, double t, double r, double b) { document_.select(l, t, r, b); });
    connect(view_, &PageView::scrolled, this, [this](double x, double y) { document_.scroll(x, y); });
    // The file is opened once the window is on the screen, never before.
    connect(view_, &PageView::painted, this, [this] {
        if (firstPaint_)
            QTimer::singleShot(0, this, &frmView::Form_Paint);
    });

    view_->setDocument(&document_);
    document_.load(annotateMode, annotateFile);
    refresh();
}

frmView::~frmView() = default;

frmView* frmView::Annotate(Session& session, const QString& fileName, QWidget* parent)
{
    return new frmView(session, parent, true, fileName);
}

QAction* frmView::addAction(QMenu* menu, const QString& name, const QString& caption)
{
    QAction* action = menu->addAction(caption);
    action->setObjectName(name);
    actions_.insert(name, action);
    return action;
}

QList<QMenu*> frmView::framedMenus() const
{
    QList<QMenu*> menus;
    const QList<QAction*> entries = menuBar_->actions();
    for (QAction* entry : entries)
        if (entry->menu() && entry->objectName() != QLatin1String("mnuWindow"))
            menus.append(entry->menu());
    return menus;
}

void frmView::showOwnMenuBar(bool shown)
{
    menuBar_->setVisible(shown);
}

void frmView::buildMenus()
{
    const auto addMenu = [this](const QString& name, const QString& caption) {
        QMenu* menu = menuBar_->addMenu(caption);
        menu->setObjectName(name);
        menu->menuAction()->setObjectName(name);
        menus_.insert(name, menu);
        return menu;
    };
    QMenu* file = addMenu(QStringLiteral("mnuFile"), QStringLiteral("&File"));
    connect(addAction(file, QStringLiteral("mnuPrint"), QStringLiteral("&Print...")), &QAction::triggered, this, &frmView::PrintImage);
    connect(addAction(file, QStringLiteral("mnuSave"), QStringLiteral("&Save Changes")), &QAction::triggered, this,
            [this] { showSaveFailure(document_.mnuSave_Click()); });
    connect(addAction(file, QStringLiteral("mnuAbort"), QStringLiteral("&Abort Changes")), &QAction::triggered, this,
            [this] { document_.mnuAbort_Click(); });
    connect(addAction(file, QStringLiteral("mnuViewOrig"), QStringLiteral("View &Original")), &QAction::triggered, this,
            [this] { document_.mnuViewOrig_Click(); });
    connect(addAction(file, QStringLiteral("mnuRestOrig"), QStringLiteral("&Restore Original")), &QAction::triggered, this,
            [this] { document_.mnuRestOrig_Click(); });
    connect(addAction(file, QStringLiteral("mnuSaveExit"), QStringLiteral("Save and E&xit")), &QAction::triggered, this, [this] {
        if (showSaveFailure(document_.mnuSave_Click()))
            close();
    });
    file->addSeparator();
    connect(addAction(file, QStringLiteral("mnuEnd"), QStringLiteral("E&xit")), &QAction::triggered, this, &QWidget::close);

    QMenu* turn = addMenu(QStringLiteral("mnuTurn"), QStringLiteral("&Rotate"));
    const QStringList turns{QStringLiteral("90\u00B0 &Clockwise"), QStringLiteral("90\u00B0 Cou&nterclockwise"), QStringLiteral("&Flip")};
    for (int i = 1; i <= 3; ++i) {
        connect(addAction(turn, QStringLiteral("mnuRotate_%1").arg(i), turns[i - 1]), &QAction::triggered, this,
                [this, i] { document_.mnuRotate_Click(i); });
    }

    QMenu* page = addMenu(QStringLiteral("mnuPage"), QStringLiteral("&Page"));
    for (int i = 1; i <= 20; ++i) {
        QAction* item = addAction(page, QStringLiteral("mnuPageNum_%1").arg(i), document_.menus().mnuPageNum[size_t(i - 1)].caption);
        item->setCheckable(true);
        connect(item, &QAction::triggered, this, [this, i] { document_.mnuPageNum_Click(i); });
    }

    QMenu* scan = addMenu(QStringLiteral("mnuScanOpt"), QStringLiteral("&Scan"));
    const QStringList scans{QStringLiteral("&Rescan..."), QStringLiteral("&Insert..."), QStringLiteral("&Append...")};
    for (int i = 1; i <= 3; ++i) {
        connect(addAction(scan, QStringLiteral("mnuScan_%1").arg(i), scans[i - 1]), &QAction::triggered, this,
                [this, i] { document_.mnuScan_Click(i, pageSource_); });
    }
    connect(addAction(scan, QStringLiteral("mnuDelete"), QStringLiteral("&Delete...")), &QAction::triggered, this,
            [this] { document_.mnuDelete_Click(); });

    QMenu* window = addMenu(QStringLiteral("mnuWindow"), QStringLiteral("&Window"));
    const QList<QPair<QString, QString>> windowItems{{QStringLiteral("Cascade"), QStringLiteral("&Cascade")},
                                                     {QStringLiteral("Horizontal"), QStringLiteral("&Tile Horizontal")},
                                                     {QStringLiteral("Vertical"), QStringLiteral("Tile &Vertical")},
                                                     {QStringLiteral("Arrange"), QStringLiteral("&Arrange Icons")},
                                                     {QStringLiteral("Expand"), QStringLiteral("&Expand")}};
    for (const auto& [name, caption] : windowItems) {
        connect(addAction(window, QStringLiteral("mnuWindow") + name, caption), &QAction::triggered, this,
                [this, name] { emit windowCommand(name); });
    }
}

void frmView::applyMenus()
{
    const ViewerMenus& m = document_.menus();
    const auto applyMenu = [this](const QString& name, const MenuItem& item) {
        if (QMenu* menu = menus_.value(name)) {
            menu->menuAction()->setEnabled(item.enabled);
            menu->menuAction()->setVisible(item.visible);
        }
    };
    applyMenu(QStringLiteral("mnuFile"), m.mnuFile);
    applyMenu(QStringLiteral("mnuTurn"), m.mnuTurn);
    applyMenu(QStringLiteral("mnuPage"), m.mnuPage);
    applyMenu(QStringLiteral("mnuScanOpt"), m.mnuScanOpt);
    applyItem(action(QStringLiteral("mnuPrint")), m.mnuPrint);
    applyItem(action(QStringLiteral("mnuSave")), m.mnuSave);
    applyItem(action(QStringLiteral("mnuAbort")), m.mnuAbort);
    applyItem(action(QStringLiteral("mnuViewOrig")), m.mnuViewOrig);
    applyItem(action(QStringLiteral("mnuRestOrig")), m.mnuRestOrig);
    applyItem(action(QStringLiteral("mnuSaveExit")), m.mnuSaveExit);
    applyItem(action(QStringLiteral("mnuEnd")), m.mnuEnd);
    applyItem(action(QStringLiteral("mnuDelete")), m.mnuDelete);
    for (int i = 1; i <= 20; ++i)
        applyItem(action(QStringLiteral("mnuPageNum_%1").arg(i)), m.mnuPageNum[size_t(i - 1)]);
}

void frmView::refresh()
{
    applying_ = true;
    applyMenus();
    setWindowTitle(document_.caption());
    view_->setToolTip(document_.toolTip());
    view_->setSelectEnabled(document_.selectEnabled());
    const int pages = document_.pageCount();
    pageBox_->setRange(pages > 0 ? 1 : 0, std::max(pages, 0));
    pageBox_->setValue(document_.currentPage());
    pageBox_->setEnabled(document_.menus().mnuPage.enabled);
    pageOf_->setText(QStringLiteral("of %1").arg(pages));
    applying_ = false;
    view_->Refresh();
    // Every change of the drawing mode ends in a refresh.
    if (const QString tool = activeTool(); tool != shownTool_) {
        shownTool_ = tool;
        emit activeToolChanged(tool);
    }
}

void frmView::processEvents()
{
    QCoreApplication::processEvents(QEventLoop::ExcludeUserInputEvents);
}

QWidget* frmView::propertyOwner()
{
    return window();
}

void frmView::ShowLineProperties(Session& session, QWidget* owner)
{
    frmVTLin::Show(session, owner);
}

void frmView::ShowRectangleProperties(Session& session, QWidget* owner)
{
    frmVTRec::Show(session, owner);
}

void frmView::ShowStampProperties(Session& session, QWidget* owner)
{
    frmVTStm::Show(session, owner);
}

void frmView::showLineProperties()
{
    ShowLineProperties(session_, propertyOwner());
}

void frmView::showRectangleProperties()
{
    ShowRectangleProperties(session_, propertyOwner());
}

void frmView::showStampProperties()
{
    ShowStampProperties(session_, propertyOwner());
}

void frmView::printProgress(const QString& text)
{
    lblPrintMsg_->setText(text);
    lblPrintMsg_->setVisible(!text.isEmpty());
    lblPrintMsg_->raise();
}

void frmView::ViewCommand()
{
    document_.ViewCommand();
}

void frmView::LineCommand()
{
    document_.LineCommand();
}

void frmView::RectangleCommand()
{
    document_.RectangleCommand();
}

void frmView::StampCommand()
{
    document_.StampCommand();
}

QString frmView::activeTool() const
{
    const QString mode = document_.drawMode();
    if (mode.isEmpty())
        return QStringLiteral("View");
    return mode == QLatin1String("Rect") ? QStringLiteral("Rectangle") : mode;
}

void frmView::PrintImage()
{
    lblPrintMsg_->clear();
    lblPrintMsg_->show();
    lblPrintMsg_->raise();
    QPrinter printer(QPrinter::HighResolution);
    SetPrinter(session_, printer);
    int copies = 1;
    int from = 1;
    int to = document_.pageCount();
    if (!printDialog || !printDialog(this, printer, document_.pageCount(), copies, from, to)) {
        lblPrintMsg_->hide();
        return;
    }
    PrinterPageSink sink(printer);
    document_.printPages(sink, from, to, copies);
    sink.finish();
    lblPrintMsg_->hide();
    session_.prompter().setBusy(false);
}

void frmView::Form_Paint()
{
    if (!firstPaint_)
        return;
    firstPaint_ = false;
    document_.FirstImage();
    session_.prompter().setBusy(false);
}

void frmView::keyPressEvent(QKeyEvent* event)
{
    if (event->key() == Qt::Key_PageDown && event->modifiers() == Qt::NoModifier) {
        document_.goToPage(document_.currentPage() + 1);
        return;
    }
    if (event->key() == Qt::Key_PageUp && event->modifiers() == Qt::NoModifier) {
        document_.goToPage(document_.currentPage() - 1);
        return;
    }
    QWidget::keyPressEvent(event);
}

void frmView::resizeEvent(QResizeEvent* event)
{
    QWidget::resizeEvent(event);
    lblPrintMsg_->move((width() - lblPrintMsg_->width()) / 2, (height() - lblPrintMsg_->height()) / 2);
}

bool frmView::showSaveFailure(const IoStatus& saved)
{
    if (!saved)
        document_.reportSaveFailure(saved.failure());
    return saved.ok();
}

void frmView::closeEvent(QCloseEvent* event)
{
    if (!unloaded_) {
        // A save on the close question that fails keeps the viewer open with
        // its changes, for the person to save again or to close without.
        const auto unloaded = document_.unload();
        if (!unloaded)
            document_.reportSaveFailure(unloaded.failure());
        if (!unloaded || *unloaded == PageDocument::Unload::KeptOpen) {
            event->ignore();
            return;
        }
        unloaded_ = true;
        emit closed();
    }
    event->accept();
}

}  // namespace tarlox
