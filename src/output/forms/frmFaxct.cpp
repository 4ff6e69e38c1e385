#include "output/forms/frmFaxct.h"

#include "base/Prompter.h"
#include "base/forms/FormLayout.h"
#include "data/Session.h"
#include "data/Settings.h"
#include "output/FaxSend.h"
#include "output/FaxTask.h"
#include "output/HylafaxClient.h"
#include "ui_frmFaxct.h"

#include <QCloseEvent>
#include <QHeaderView>
#include <QInputDialog>
#include <QMenuBar>
#include <QPrinter>
#include <QTimer>
#include <QVBoxLayout>

namespace tarlox {

namespace {

// How often the list is read again while the form is open.
constexpr int RefreshMs = 5000;
// The form stays this long after a resend.
constexpr int HoldMs = 3000;

const char* const ViewCaptions[FaxViewCount] = {"&Pending", "&Sending", "Sen&t", "&Failed"};

}  // namespace

frmFaxct::frmFaxct(Session& session, QWidget* parent)
    : QWidget(parent), session_(session), ui_(std::make_unique<Ui::frmFaxct>()), menuBar_(new QMenuBar(this)),
      refreshTimer_(new QTimer(this))
{
    ui_->setupUi(this);
    setAttribute(Qt::WA_DeleteOnClose);
    layout()->setMenuBar(menuBar_);
    createMenus();
    inputBox = [this](const QString& title, const QString& prompt, const QString& value) -> std::optional<QString> {
        bool ok = false;
        const QString answer = QInputDialog::getText(this, title, prompt, QLineEdit::Normal, value, &ok);
        return ok ? std::optional<QString>(answer) : std::nullopt;
    };
    preparePrinter = [this](QPrinter& printer) {
        if (!session_.printer.isEmpty())
            printer.setPrinterName(session_.printer);
        return true;
    };
    connect(ui_->FaxMan1, &QTreeWidget::itemDoubleClicked, this, [this] { resend(); });
    connect(refreshTimer_, &QTimer::timeout, this, &frmFaxct::Refresh);
    Form_Load();
}

frmFaxct::~frmFaxct() = default;

QAction* frmFaxct::action(const QString& name) const
{
    return actions_.value(name);
}

QList<QMenu*> frmFaxct::framedMenus() const
{
    QList<QMenu*> menus;
    for (QAction* entry : menuBar_->actions()) {
        if (entry->menu() && entry->menu()->objectName() != QLatin1String("mnuWindow"))
            menus.append(entry->menu());
    }
    return menus;
}

void frmFaxct::showOwnMenuBar(bool shown)
{
    menuBar_->setVisible(shown);
}

void frmFaxct::createMenus()
{
    const auto add = [this](QMenu* menu, const QString& name, const QString& caption) {
        QAction* a = menu->addAction(caption);
        a->setObjectName(name);
        actions_.insert(name, a);
        return a;
    };
    QMenu* file = menuBar_->addMenu(QStringLiteral("&File"));
    file->setObjectName(QStringLiteral("mnuFile"));
    connect(add(file, QStringLiteral("mnuDelete"), QStringLiteral("&Delete Selected Fax")), &QAction::triggered, this, &frmFaxct::mnuDelete_Click);
    connect(add(file, QStringLiteral("mnuDeleteAll"), QStringLiteral("Delete &All")), &QAction::triggered, this, &frmFaxct::mnuDeleteAll_Click);
    connect(add(file, QStringLiteral("mnuResend"), QStringLiteral("&Resend Selected Fax")), &QAction::triggered, this, &frmFaxct::mnuResend_Click);
    connect(add(file, QStringLiteral("mnuPrint"), QStringLiteral("&Print Current Log")), &QAction::triggered, this, &frmFaxct::mnuPrint_Click);
    file->addSeparator();
    connect(add(file, QStringLiteral("mnuExit"), QStringLiteral("&Exit")), &QAction::triggered, this, [this] { FormWindowOf(this)->close(); });

    QMenu* views = menuBar_->addMenu(QStringLiteral("&View"));
    views->setObjectName(QStringLiteral("mnuViewOpt"));
    for (int i = 0; i < FaxViewCount; ++i) {
        QAction* a = add(views, QStringLiteral("mnuView_%1").arg(i), QLatin1String(ViewCaptions[i]));
        a->setCheckable(true);
        connect(a, &QAction::triggered, this, [this, i] { mnuView_Click(i); });
    }
    views->addSeparator();
    QAction* refresh = add(views, QStringLiteral("mnuRefresh"), QStringLiteral("&Refresh"));
    refresh->setShortcut(QKeySequence::Refresh);
    connect(refresh, &QAction::triggered, this, &frmFaxct::Refresh);

    QMenu* window = menuBar_->addMenu(QStringLiteral("&Window"));
    window->setObjectName(QStringLiteral("mnuWindow"));
    const std::pair<const char*, const char*> commands[] = {
        {"Cascade", "&Cascade"}, {"Horizontal", "Tile &Horizontal"}, {"Vertical", "Tile &Vertical"},
        {"Arrange", "&Arrange Icons"}, {"Expand", "&Expand"}};
    for (const auto& [name, caption] : commands) {
        connect(add(window, QStringLiteral("mnuWindow") + QLatin1String(name), QLatin1String(caption)), &QAction::triggered, this,
                [this, n = QString::fromLatin1(name)] { emit windowCommand(n); });
    }
}

IoResult<HylafaxServer> frmFaxct::server()
{
    return fax::ServerSettings([this](const QString& key) { return GetLocal(session_, fax::Section, key); });
}

void frmFaxct::Form_Load()
{
    session_.traceCall(QStringLiteral("frmFaxct.Form_Load"));
    columns_ = ReadControlColumns(GetLocal(session_, fax::Section, fax::ControlColumns));
    applyColumns();
    sender_ = fax::SenderSettings([this](const QString& key) { return GetLocal(session_, fax::Section, key); }, session_.programDir);
    setWindowTitle(FaxViewTitle(FaxState::Failed));
    auto where = server();
    if (!where) {
        ui_->lblState->setText(where.error());
        return;
    }
    // The failed jobs first; when there are none the sent ones, then the pending.
    working(true);
    RunFaxTask(
        this,
        [server = *where] {
            HylafaxClient engine(server);
            for (FaxState view : {FaxState::Failed, FaxState::Sent}) {
                auto jobs = engine.listJobs(view);
                if (!jobs || !jobs->isEmpty())
                    return std::make_pair(view, jobs);
            }
            return std::make_pair(FaxState::Pending, engine.listJobs(FaxState::Pending));
        },
        [this](std::pair<FaxState, IoResult<QList<FaxJobInfo>>> answer) {
            working(false);
            setView(answer.first);
            if (answer.second)
                showRows(*answer.second);
            ui_->lblState->setText(answer.second.error());
            emit refreshed(answer.second.error());
            refreshTimer_->start(RefreshMs);
        });
}

void frmFaxct::setView(FaxState view)
{
    view_ = view;
    for (int i = 0; i < FaxViewCount; ++i)
        actions_.value(QStringLiteral("mnuView_%1").arg(i))->setChecked(i == int(view));
    setWindowTitle(FaxViewTitle(view));
    actions_.value(QStringLiteral("mnuResend"))->setEnabled(int(view) > 1);
}

void frmFaxct::mnuView_Click(int index)
{
    if (index < 0 || index >= FaxViewCount)
        return;
    setView(FaxState(index));
    rows_.clear();
    ui_->FaxMan1->clear();
    Refresh();
}

void frmFaxct::Refresh()
{
    // One reading at a time; the timer comes round again.
    if (pending_ > 0)
        return;
    auto where = server();
    if (!where) {
        ui_->lblState->setText(where.error());
        emit refreshed(where.error());
        return;
    }
    working(true);
    const FaxState view = view_;
    RunFaxTask(
        this, [server = *where, view] { return HylafaxClient(server).listJobs(view); },
        [this, view](IoResult<QList<FaxJobInfo>> jobs) {
            working(false);
            if (view != view_)
                return;  // the view changed meanwhile; its own reading follows
            if (jobs)
                showRows(*jobs);
            ui_->lblState->setText(jobs.error());
            emit refreshed(jobs.error());
        });
}

void frmFaxct::showRows(QList<FaxJobInfo> rows)
{
    // The selection stays on its job while the list is read again.
    const int selected = selectedRow();
    const QString selectedId = selected >= 0 ? rows_[selected].id : QString();
    rows_ = std::move(rows);
    QTreeWidget* list = ui_->FaxMan1;
    list->clear();
    for (const FaxJobInfo& job : rows_) {
        QStringList values;
        for (const FaxColumn& column : columns_)
            values << FaxColumnValue(job, column.name);
        auto* item = new QTreeWidgetItem(list, values);
        if (job.id == selectedId)
            list->setCurrentItem(item);
    }
    if (selectedId.isEmpty())
        setSelectedRow(-1);
}

void frmFaxct::applyColumns()
{
    QTreeWidget* list = ui_->FaxMan1;
    list->setColumnCount(columns_.size());
    QStringList names;
    for (const FaxColumn& column : columns_)
        names << column.name;
    list->setHeaderLabels(names);
    const int unit = list->fontMetrics().horizontalAdvance(QLatin1Char('0'));
    for (int i = 0; i < columns_.size(); ++i) {
        list->setColumnHidden(i, columns_[i].width == 0);
        if (columns_[i].width > 0)
            list->setColumnWidth(i, columns_[i].width * unit);
    }
}

QList<FaxColumn> frmFaxct::currentColumns() const
{
    // The operator may have dragged the widths.
    QList<FaxColumn> columns = columns_;
    const QTreeWidget* list = ui_->FaxMan1;
    const int unit = std::max(1, list->fontMetrics().horizontalAdvance(QLatin1Char('0')));
    for (int i = 0; i < columns.size(); ++i)
        columns[i].width = list->isColumnHidden(i) ? 0 : std::max(1, (list->columnWidth(i) + unit / 2) / unit);
    return columns;
}

int frmFaxct::selectedRow() const
{
    QTreeWidgetItem* item = ui_->FaxMan1->currentItem();
    return item && item->isSelected() ? ui_->FaxMan1->indexOfTopLevelItem(item) : -1;
}

void frmFaxct::setSelectedRow(int row)
{
    QTreeWidget* list = ui_->FaxMan1;
    if (row < 0 || row >= list->topLevelItemCount()) {
        list->clearSelection();
        list->setCurrentItem(nullptr);
        return;
    }
    list->setCurrentItem(list->topLevelItem(row));
    list->topLevelItem(row)->setSelected(true);
}

void frmFaxct::working(bool start)
{
    pending_ += start ? 1 : -1;
    const bool busy = pending_ > 0;
    for (const char* name : {"mnuDelete", "mnuDeleteAll", "mnuPrint"})
        actions_.value(QLatin1String(name))->setEnabled(!busy);
    actions_.value(QStringLiteral("mnuResend"))->setEnabled(!busy && int(view_) > 1);
    if (busy)
        setCursor(Qt::BusyCursor);
    else
        unsetCursor();
}

void frmFaxct::mnuDelete_Click()
{
    const int row = selectedRow();
    if (row >= 0)
        removeJobs({rows_[row].id});
}

void frmFaxct::mnuDeleteAll_Click()
{
    QStringList ids;
    for (qsizetype i = rows_.size() - 1; i >= 0; --i)
        ids << rows_[i].id;
    if (!ids.isEmpty())
        removeJobs(ids);
}

void frmFaxct::removeJobs(const QStringList& ids)
{
    session_.traceCall(QStringLiteral("frmFaxct.mnuDelete_Click"), ids);
    auto where = server();
    if (!where)
        return;
    working(true);
    RunFaxTask(
        this,
        [server = *where, ids] {
            HylafaxClient engine(server);
            QStringList errors;
            for (const QString& id : ids) {
                if (auto removed = engine.remove(id); !removed)
                    errors << removed.error();
            }
            return errors;
        },
        [this](const QStringList& errors) {
            working(false);
            if (!errors.isEmpty())
                session_.prompter().tell(QStringLiteral("Delete Fax"), errors.join(QLatin1Char('\n')), Icon::Exclamation);
            Refresh();
        });
}

void frmFaxct::mnuResend_Click()
{
    resend();
}

void frmFaxct::resend()
{
    if (pending_ > 0)
        return;
    if (selectedRow() < 0 && !rows_.isEmpty())
        setSelectedRow(0);
    const int row = selectedRow();
    if (row < 0)
        return;
    const FaxJobInfo job = rows_[row];
    const auto number = inputBox(QStringLiteral("Re-Fax"), QStringLiteral("Enter new fax number if necessary"), job.number);
    if (!number || number->trimmed().isEmpty())
        return;
    session_.traceCall(QStringLiteral("frmFaxct.ReFax"), {job.id, *number});
    auto where = server();
    if (!where) {
        session_.prompter().tell(ReFaxErrorTitle, where.error(), Icon::Exclamation);
        return;
    }
    working(true);
    RunFaxTask(
        this,
        [server = *where, job, number = number->trimmed(), sender = sender_, tempDir = session_.tempDir, today = session_.now().date()] {
            HylafaxClient engine(server);
            // The message and subject are kept with the job, not in the list.
            auto details = engine.job(job.id);
            return ReFax(engine, details ? *details : job, number, sender, tempDir, today);
        },
        [this](IoResult<SentFax> sent) {
            working(false);
            if (!sent) {
                session_.prompter().tell(ReFaxErrorTitle, sent.error(), Icon::Exclamation);
                emit resent({}, sent.error());
                return;
            }
            sentAt_.emplace();
            sentAt_->start();
            emit resent(sent->jobId, {});
            Refresh();
        });
}

void frmFaxct::mnuPrint_Click()
{
    session_.traceCall(QStringLiteral("frmFaxct.mnuPrint_Click"));
    QPrinter printer(QPrinter::HighResolution);
    printer.setPageOrientation(QPageLayout::Landscape);
    printer.setDocName(windowTitle());
    if (!preparePrinter || !preparePrinter(printer))
        return;
    if (PrintFaxLog(printer, rows_) == 0)
        session_.prompter().tell(QStringLiteral("Print Current Log"), QStringLiteral("The printer can't be used: ") + printer.printerName(),
                                 Icon::Exclamation);
}

void frmFaxct::showEvent(QShowEvent* event)
{
    QWidget::showEvent(event);
    if (!geometryRead_) {
        geometryRead_ = true;
        GetFormSize(session_, this, QStringLiteral("Form"), QStringLiteral("frmFaxct"));
    }
}

void frmFaxct::closeEvent(QCloseEvent* event)
{
    // Held while the server is still being asked, and three seconds after
    // a resend; the window stays alive and closes by itself then.
    const qint64 since = sentAt_ ? sentAt_->elapsed() : HoldMs;
    if (pending_ > 0 || since < HoldMs) {
        event->ignore();
        QTimer::singleShot(pending_ > 0 ? 200 : int(HoldMs - since), this, [this] { FormWindowOf(this)->close(); });
        return;
    }
    session_.traceCall(QStringLiteral("frmFaxct.Form_Unload"));
    refreshTimer_->stop();
    PutLocal(session_, fax::Section, fax::ControlColumns, WriteControlColumns(currentColumns()));
    SaveFormSize(session_, this, QStringLiteral("Form"), QStringLiteral("frmFaxct"));
    QWidget::closeEvent(event);
}

}  // namespace tarlox
