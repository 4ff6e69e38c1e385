#include "capture/forms/frmBarcode.h"

#include "base/Prompter.h"
#include "base/TextTools.h"
#include "base/forms/FormLayout.h"
#include "capture/BarcodeReader.h"
#include "capture/RbqClient.h"
#include "capture/ScanChoices.h"
#include "capture/forms/BrightnessControls.h"
#include "capture/forms/ScanDialogs.h"
#include "capture/forms/SeparatorSheetsDialog.h"
#include "data/FormGeometry.h"
#include "data/Session.h"
#include "data/Settings.h"
#include "store/ScannerSession.h"
#include "store/TiffReader.h"
#include "ui_frmBarcode.h"

#include <QApplication>
#include <QCloseEvent>
#include <QHeaderView>
#include <QKeyEvent>
#include <QLineEdit>
#include <QThread>
#include <QTimer>

namespace tarlox {

namespace {

constexpr int kColumns = 9;
constexpr int kFirstEditable = 5;
const QString kWidthKey = QStringLiteral("BarcodeColWidth");

}  // namespace

frmBarcode::frmBarcode(Session& session, QWidget* parent)
    : QWidget(parent)
    , session_(session)
    , ui_(std::make_unique<Ui::frmBarcode>())
{
    ui_->setupUi(this);
    ui_->prgRead->hide();
    brightness_ = new BrightnessControls(ui_->txtBright, ui_->hsbBright, this);
    txtGrid_ = new QLineEdit(ui_->grdMain->viewport());
    txtGrid_->setObjectName(QStringLiteral("txtGrid"));
    txtGrid_->hide();
    txtGrid_->installEventFilter(this);
    connect(txtGrid_, &QLineEdit::returnPressed, ui_->grdMain, [this] { ui_->grdMain->setFocus(); });
    connect(ui_->grdMain, &QTableWidget::cellClicked, this, &frmBarcode::grdMain_Click);
    connect(ui_->hsbImages, &QScrollBar::valueChanged, this, &frmBarcode::showPage);
    connect(ui_->cmdScan, &QPushButton::clicked, this, &frmBarcode::cmdScan_Click);
    connect(ui_->cmdUpdate, &QPushButton::clicked, this, &frmBarcode::cmdUpdate_Click);
    connect(ui_->Command1, &QPushButton::clicked, this, &frmBarcode::Command1_Click);
    connect(ui_->cmdSheets, &QPushButton::clicked, this, &frmBarcode::cmdSheets_Click);
    connect(ui_->cmdCancel, &QPushButton::clicked, this, &frmBarcode::cmdCancel_Click);
    Form_Load();
}

frmBarcode::~frmBarcode()
{
    cancel_ = true;
    if (worker_)
        worker_->wait();
}

void frmBarcode::Form_Load()
{
    session_.traceCall(QStringLiteral("frmBarcode.Form_Load"));
    const ResolutionChoice resolution = ReadResolutionChoice(session_);
    ui_->opt200->setText(resolution.lowCaption());
    ui_->opt300->setText(resolution.highCaption());
    ui_->opt200->setChecked(true);
    if (HighResolutionByDefault(session_))
        ui_->opt300->setChecked(true);
    brightness_->setValue(DefaultBrightness(session_));
    const QString size = GetLocal(session_, section::Form, QStringLiteral("BarcodePageSize")).trimmed();
    ui_->optLetter->setChecked(true);
    if (size == QLatin1String("G"))
        ui_->optLegal->setChecked(true);
    else if (size == QLatin1String("A"))
        ui_->optA4->setChecked(true);

    reader_ = std::make_unique<BarcodeReader>();
    QString note;
    client_ = MakeRbqClient(GetLocal(session_, section::Data, QStringLiteral("RBQClient")), &note);
    ui_->lblStatus->setText(note);
    ClearGrid();
    // A column whose width was never kept fits its contents instead.
    for (int column = 0; column < kColumns; ++column) {
        const QString stored = GetLocal(session_, section::Form, kWidthKey + QString::number(column));
        fitColumns_[column] = stored.trimmed().isEmpty();
        ui_->grdMain->setColumnWidth(column, TwipsToPixels(BarcodeColumnWidth(stored)));
    }
    fitColumns();
    GetFormSize(session_, this, {}, QStringLiteral("frmBarcode"));
}

void frmBarcode::ClearGrid()
{
    QTableWidget* grid = ui_->grdMain;
    txtGrid_->hide();
    rows_.clear();
    grid->setRowCount(0);
    grid->setColumnCount(kColumns);
    grid->setHorizontalHeaderLabels(BarcodeGridHeadings(session_.poShort, session_.vendShort, session_.mfgShort));
    grid->verticalHeader()->setDefaultSectionSize(TwipsToPixels(285));
    grid->verticalHeader()->setSectionResizeMode(QHeaderView::Fixed);
    grid->verticalHeader()->hide();
    for (int column = 0; column < kColumns; ++column)
        grid->horizontalHeaderItem(column)->setTextAlignment(column >= 1 && column <= 4 ? Qt::AlignRight | Qt::AlignVCenter
                                                                                        : Qt::AlignLeft | Qt::AlignVCenter);
}

void frmBarcode::fitColumns()
{
    QTableWidget* grid = ui_->grdMain;
    for (int column = 0; column < kColumns; ++column) {
        if (!fitColumns_[column])
            continue;
        grid->resizeColumnToContents(column);
        grid->setColumnWidth(column, std::max(TwipsToPixels(600), grid->columnWidth(column) + 8));
    }
}

int frmBarcode::formDpi() const
{
    return IntVal(ReadResolutionChoice(session_).dpiFor(ui_->opt300->isChecked()));
}

QString frmBarcode::pageSizeCode() const
{
    return PageSizeCodeFor(ui_->optLegal->isChecked(), ui_->optA4->isChecked());
}

void frmBarcode::setBusy(bool reading, bool updating)
{
    reading_ = reading;
    updating_ = updating;
    const bool busy = reading || updating;
    for (QWidget* w : {static_cast<QWidget*>(ui_->cmdScan), static_cast<QWidget*>(ui_->Command1),
                       static_cast<QWidget*>(ui_->cmdSheets), static_cast<QWidget*>(ui_->frmSize),
                       static_cast<QWidget*>(ui_->frmResolution), static_cast<QWidget*>(ui_->frmBright),
                       static_cast<QWidget*>(ui_->grdMain)})
        w->setEnabled(!busy);
    if (busy)
        ui_->cmdUpdate->setEnabled(false);
    ui_->prgRead->setVisible(busy);
    ui_->cmdCancel->setText(busy ? QStringLiteral("&Cancel") : QStringLiteral("&End"));
    ui_->cmdCancel->setToolTip(busy ? QStringLiteral("Stop after the page or report in hand") : QStringLiteral("Close this screen"));
    if (busy)
        QApplication::setOverrideCursor(Qt::BusyCursor);
    else
        QApplication::restoreOverrideCursor();
}

void frmBarcode::cmdScan_Click()
{
    if (isBusy())
        return;
    brightness_->txtBright_LostFocus();
    BarcodeScanRequest request;
    request.pageSizeCode = pageSizeCode();
    request.dpi = formDpi();
    request.brightness = brightness_->value();
    session_.brightness = request.brightness;
    request.prepareScanner = [this](ScannerSession& scanner) {
        AttachScanDialogs(scanner, this, ui_->imcMain);
        scanner_ = &scanner;
    };
    ui_->cmdScan->setEnabled(false);
    ui_->Command1->setEnabled(false);
    const bool scanned = ScanBarcodeStack(session_, *reader_, request);
    scanner_ = nullptr;
    ui_->cmdScan->setEnabled(true);
    ui_->Command1->setEnabled(true);
    if (scanned)
        LoadGrid(BarcodeBufferPath(session_));
}

void frmBarcode::Command1_Click()
{
    if (isBusy())
        return;
    const QString file = session_.prompter().chooseOpenFile(QStringLiteral("Read a Scanned Stack"), session_.tempDir,
                                                            QStringLiteral("TIFF files (*.tif *.tiff *.TIF *.TIFF);;All files (*)"));
    if (!file.isEmpty())
        LoadGrid(file);
}

void frmBarcode::LoadGrid(const QString& stackFile)
{
    if (isBusy())
        return;
    session_.traceCall(QStringLiteral("LoadGrid"), {stackFile});
    ClearGrid();
    stack_.reset();
    ui_->imcMain->clear();
    ui_->hsbImages->setEnabled(false);
    buffer_ = stackFile;
    stored_ = false;
    cancel_ = false;
    ui_->prgRead->setRange(0, 0);
    ui_->lblStatus->setText(QStringLiteral("Reading the barcodes..."));
    setBusy(true, false);
    // The reader and the client are used on the worker only while it runs;
    // the reader of the form stays on this thread for the scanner's first page.
    RbqClient* client = client_.get();
    const int assumedDpi = AssumedStackDpi(session_);
    worker_ = QThread::create([this, stackFile, client, assumedDpi] {
        BarcodeReader reader;
        const BarcodeGrid grid = ReadBarcodeStack(stackFile, reader, *client, [this](int done, int total) {
            QMetaObject::invokeMethod(this, [this, done, total] {
                ui_->prgRead->setRange(0, total);
                ui_->prgRead->setValue(done);
            }, Qt::QueuedConnection);
            return !cancel_.load();
        }, assumedDpi);
        QMetaObject::invokeMethod(this, [this, grid] { gridRead(grid); }, Qt::QueuedConnection);
    });
    connect(worker_, &QThread::finished, worker_, &QObject::deleteLater);
    worker_->start();
}

void frmBarcode::gridRead(const BarcodeGrid& grid)
{
    if (worker_) {
        worker_->wait();
        worker_ = nullptr;
    }
    setBusy(false, false);
    if (!grid.error.isEmpty()) {
        ui_->lblStatus->clear();
        if (grid.error == QLatin1String("The first page must contain barcodes"))
            session_.prompter().ask(QStringLiteral("No Barcodes"), grid.error, Buttons::Ok, Icon::Critical);
        else
            session_.prompter().ask(QStringLiteral("Error"), grid.error, Buttons::Ok, Icon::Critical);
        Q_EMIT gridLoaded();
        return;
    }
    rows_ = grid.rows;
    QTableWidget* table = ui_->grdMain;
    table->setRowCount(int(rows_.size()));
    for (int row = 0; row < rows_.size(); ++row) {
        const QStringList cells = BarcodeRowCells(rows_[row]);
        for (int column = 0; column < kColumns; ++column) {
            auto* item = new QTableWidgetItem(cells[column]);
            item->setTextAlignment(column >= 1 && column <= 4 ? Qt::AlignRight | Qt::AlignVCenter : Qt::AlignLeft | Qt::AlignVCenter);
            table->setItem(row, column, item);
        }
    }
    fitColumns();
    int pages = 0;
    for (const BarcodeRow& row : rows_)
        pages += row.pages;
    QString status = QStringLiteral("%1 pages read: %2 barcode sheets, %3 report pages.").arg(grid.pageCount).arg(rows_.size()).arg(pages);
    if (grid.cancelled)
        status = QStringLiteral("Reading cancelled: ") + status;
    if (!grid.notes.isEmpty())
        status += QLatin1Char('\n') + grid.notes.mid(0, 3).join(QLatin1Char('\n'))
                + (grid.notes.size() > 3 ? QStringLiteral("\n... and %1 more").arg(grid.notes.size() - 3) : QString());
    ui_->lblStatus->setText(status);
    if (auto opened = TiffReader::open(buffer_))
        stack_ = std::make_unique<TiffReader>(std::move(opened).value());
    if (grid.canUpdate()) {
        ui_->cmdUpdate->setEnabled(true);
        ui_->hsbImages->setRange(0, rows_.first().pages);
        ui_->hsbImages->setValue(0);
        ui_->hsbImages->setEnabled(true);
        showPage(0);
    }
    Q_EMIT gridLoaded();
}

void frmBarcode::showPage(int page)
{
    if (!stack_ || page < 0 || page >= stack_->pageCount())
        return;
    if (auto image = stack_->readPage(page))
        ui_->imcMain->setPage(*image);
}

void frmBarcode::grdMain_Click(int row, int column)
{
    if (row < 0 || row >= rows_.size())
        return;
    if (column < kFirstEditable) {
        const int sheet = rows_[row].sheetPage;
        const QSignalBlocker quiet(ui_->hsbImages);
        ui_->hsbImages->setRange(sheet, sheet + rows_[row].pages);
        ui_->hsbImages->setValue(sheet);
        ui_->hsbImages->setEnabled(true);
        showPage(sheet);
        return;
    }
    QTableWidget* grid = ui_->grdMain;
    const QRect cell = grid->visualRect(grid->model()->index(row, column));
    const int inset = TwipsToPixels(40);
    txtGrid_->setGeometry(cell.left() + inset, cell.top() + inset, grid->columnWidth(column), grid->rowHeight(row) - inset);
    txtGrid_->setText(grid->item(row, column) ? grid->item(row, column)->text() : QString());
    gridRow_ = row;
    gridColumn_ = column;
    txtGrid_->show();
    txtGrid_->raise();
    txtGrid_->setFocus();
    txtGrid_->selectAll();
}

void frmBarcode::txtGrid_LostFocus()
{
    if (gridRow_ < 0 || gridRow_ >= rows_.size())
        return;
    const int row = gridRow_;
    const int column = gridColumn_;
    if (QTableWidgetItem* item = ui_->grdMain->item(row, column))
        item->setText(txtGrid_->text());
    SetBarcodeRowCell(rows_[row], column, txtGrid_->text());
    txtGrid_->hide();
    // Decided once the focus has settled: a click elsewhere in the grid
    // moves the current cell, and then the walk gives way to the click.
    QTimer::singleShot(0, this, [this, row, column] { moveOnFrom(row, column); });
}

void frmBarcode::moveOnFrom(int row, int column)
{
    QTableWidget* grid = ui_->grdMain;
    const QWidget* focus = QApplication::focusWidget();
    if (txtGrid_->isVisible() || !(focus == grid || focus == grid->viewport()))
        return;
    if (grid->currentRow() != row || grid->currentColumn() != column)
        return;
    if (column + 1 < kColumns) {
        ++column;
    } else if (row + 1 < grid->rowCount()) {
        ++row;
        column = 3;
    } else {
        return;
    }
    grid->setCurrentCell(row, column);
    grdMain_Click(row, column);
}

void frmBarcode::cmdUpdate_Click()
{
    if (isBusy() || rows_.isEmpty())
        return;
    if (txtGrid_->isVisible())
        txtGrid_LostFocus();
    if (stored_
        && session_.prompter().ask(QStringLiteral("Update"),
                                   QStringLiteral("These reports were stored already. Store them again as new images?"),
                                   Buttons::YesNo, Icon::Question, Answer::No)
               != Answer::Yes)
        return;
    session_.pageSizeCode = pageSizeCode();
    int reports = 0;
    for (const BarcodeRow& row : rows_)
        reports += row.pages > 0 ? 1 : 0;
    cancel_ = false;
    setBusy(false, true);
    ui_->prgRead->setFormat(QStringLiteral("Report %v of %m"));
    ui_->prgRead->setRange(0, reports);
    ui_->prgRead->setValue(0);
    int done = 0;
    lastUpdate_ = StoreBarcodeGrid(session_, buffer_, rows_, formDpi(), *client_, Duplicates::Ask, [&](int) {
        ui_->prgRead->setValue(done++);
        QApplication::processEvents();
        return !cancel_.load();
    });
    ui_->prgRead->setFormat(QStringLiteral("Page %v of %m"));
    setBusy(false, false);
    ui_->cmdUpdate->setEnabled(true);
    stored_ = stored_ || lastUpdate_.stored() > 0;
    QStringList numbers;
    for (qint32 n : lastUpdate_.images)
        if (n > 0)
            numbers.append(QString::number(n));
    QString status = QStringLiteral("%1 of %2 reports stored").arg(lastUpdate_.stored()).arg(reports);
    status += numbers.isEmpty() ? QStringLiteral(".") : QStringLiteral(" as images ") + numbers.join(QStringLiteral(", ")) + QLatin1Char('.');
    if (lastUpdate_.cancelled)
        status += QStringLiteral(" Cancelled.");
    if (!lastUpdate_.notes.isEmpty())
        status += QLatin1Char('\n') + lastUpdate_.notes.join(QLatin1Char('\n'));
    ui_->lblStatus->setText(status);
    Q_EMIT updateFinished();
}

void frmBarcode::cmdSheets_Click()
{
    QList<BarcodeKey> keys;
    for (const BarcodeRow& row : rows_)
        keys.append(row.key);
    auto* dialog = new SeparatorSheetsDialog(session_, keys, this);
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    dialog->open();
}

void frmBarcode::cmdCancel_Click()
{
    if (scanner_) {
        scanner_->requestStop();
        ui_->lblStatus->setText(QStringLiteral("Stopping the scanner after the page in hand..."));
        return;
    }
    if (isBusy()) {
        cancel_ = true;
        ui_->lblStatus->setText(QStringLiteral("Stopping after the page or report in hand..."));
        return;
    }
    close();
}

bool frmBarcode::eventFilter(QObject* watched, QEvent* event)
{
    if (watched == txtGrid_ && event->type() == QEvent::FocusOut && txtGrid_->isVisible())
        txtGrid_LostFocus();
    if (watched == txtGrid_ && event->type() == QEvent::KeyPress && static_cast<QKeyEvent*>(event)->key() == Qt::Key_Escape) {
        // Escape leaves the cell as it was and stays on it.
        gridRow_ = -1;
        txtGrid_->hide();
        ui_->grdMain->setFocus();
        return true;
    }
    return QWidget::eventFilter(watched, event);
}

void frmBarcode::closeEvent(QCloseEvent* event)
{
    // The form can't go while a scan, a reading or an update runs on its behalf.
    if (isBusy() || !ui_->cmdScan->isEnabled()) {
        event->ignore();
        return;
    }
    session_.traceCall(QStringLiteral("frmBarcode.Form_Unload"));
    const Qt::WindowStates state = FormWindowOf(this)->windowState();
    PutLocal(session_, section::Form, QStringLiteral("BarcodeWindowState"),
             QString::number(state & Qt::WindowMinimized ? 1 : state & Qt::WindowMaximized ? 2 : 0));
    for (int column = 0; column < kColumns; ++column)
        PutLocal(session_, section::Form, kWidthKey + QString::number(column),
                 QString::number(PixelsToTwips(ui_->grdMain->columnWidth(column))));
    PutLocal(session_, section::Form, QStringLiteral("BarcodePageSize"),
             ui_->optLegal->isChecked() ? QStringLiteral("G") : ui_->optA4->isChecked() ? QStringLiteral("A") : QStringLiteral("L"));
    SaveFormSize(session_, this, {}, QStringLiteral("frmBarcode"));
    stack_.reset();
    QWidget::closeEvent(event);
    Q_EMIT formClosed();
}

}  // namespace tarlox
