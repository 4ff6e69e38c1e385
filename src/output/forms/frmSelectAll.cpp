#include "output/forms/frmSelectAll.h"

#include "base/Prompter.h"
#include "base/TextTools.h"
#include "data/ImageData.h"
#include "data/Session.h"
#include "data/Settings.h"
#include "output/MessageQueue.h"
#include "output/OutputPreparation.h"
#include "output/forms/PrintDoc.h"
#include "store/ImageStore.h"
#include "ui_frmSelectAll.h"

#include <QCloseEvent>
#include <QHeaderView>
#include <QMetaMethod>
#include <QSet>

namespace tarlox {

namespace {
const QString kGridSizes = QStringLiteral("frmSelectAll_GridSizes");
}

frmSelectAll::frmSelectAll(Session& s, const SqlCondition& found, QWidget* parent)
    : QDialog(parent), session_(s), ui_(std::make_unique<Ui::frmSelectAll>()), run_(new PrintRun(s, this))
{
    s.traceCall(QStringLiteral("frmSelectAll.Form_Load"));
    ui_->setupUi(this);
    setAttribute(Qt::WA_DeleteOnClose);
    ui_->prgRun->hide();
    ui_->layMain->setStretch(0, 1);  // the grid takes the room
    ui_->txtPages->setText(GetLocal(s, section::Info, QStringLiteral("DefaultPages")));
    const bool message = GetLocalBool(s, section::Interface, QStringLiteral("AddMessage"));
    ui_->chkPrintHeat->setChecked(GetLocalBool(s, section::Info, QStringLiteral("SelectAllPrintHeat")));
    ui_->chkPrintPart->setChecked(GetLocalBool(s, section::Info, QStringLiteral("SelectAllPrintPart")));
    for (QWidget* w : {static_cast<QWidget*>(ui_->txtHeat), static_cast<QWidget*>(ui_->txtPartDesc), static_cast<QWidget*>(ui_->txtOrder),
                       static_cast<QWidget*>(ui_->txtCustPO), static_cast<QWidget*>(ui_->txtInvoice), static_cast<QWidget*>(ui_->txtLineNum),
                       static_cast<QWidget*>(ui_->txtQuantity), static_cast<QWidget*>(ui_->txtComp), static_cast<QWidget*>(ui_->txtTag),
                       static_cast<QWidget*>(ui_->chkPrintHeat), static_cast<QWidget*>(ui_->chkPrintPart)})
        ui_->layRows->setRowVisible(w, message);
    ui_->layRows->setRowVisible(ui_->txtPages, !ui_->txtPages->text().isEmpty());
    ui_->layRows->setRowVisible(ui_->txtCopies, GetLocalBool(s, section::Info, QStringLiteral("AskForCopies")));
    const bool annotate = GetLocalBool(s, section::Info, QStringLiteral("Annotate"));
    ui_->chkAnnotate->setChecked(annotate);
    ui_->layRows->setRowVisible(ui_->chkAnnotate, annotate);
    setSendForms(false, false);

    GridData grid;
    LoadImageGrid(s, grid, found);
    ui_->grdImages->setColumnCount(int(grid.headers.size()));
    ui_->grdImages->setHorizontalHeaderLabels(grid.headers);
    ui_->grdImages->setRowCount(int(grid.rows.size()));
    for (int r = 0; r < grid.rows.size(); ++r)
        for (int c = 0; c < grid.rows[r].size(); ++c)
            ui_->grdImages->setItem(r, c, new QTableWidgetItem(grid.rows[r][c]));
    const QStringList widths = GetLocal(s, section::Form, kGridSizes).split(QLatin1Char(','), Qt::SkipEmptyParts);
    for (int c = 0; c < widths.size() && c < ui_->grdImages->columnCount(); ++c)
        if (IntVal(widths[c]) > 0)
            ui_->grdImages->setColumnWidth(c, IntVal(widths[c]));
    SelectAll();

    connect(ui_->grdImages, &QTableWidget::cellClicked, this, [this](int row, int) { grdImages_Click(row); });
    connect(ui_->cmdSelectAll, &QPushButton::clicked, this, &frmSelectAll::SelectAll);
    connect(ui_->cmdUnselectAll, &QPushButton::clicked, this, &frmSelectAll::UnselectAll);
    connect(ui_->cmdPrint, &QPushButton::clicked, this, &frmSelectAll::cmdPrint_Click);
    connect(ui_->cmdEmail, &QPushButton::clicked, this, &frmSelectAll::cmdEmail_Click);
    connect(ui_->cmdFax, &QPushButton::clicked, this, &frmSelectAll::cmdFax_Click);
    run_->attach(this, ui_->cmdPrint, ui_->cmdCancel, ui_->txtPrintMsg, ui_->prgRun);
    connect(run_, &PrintRun::annotateRequested, this, &frmSelectAll::annotateRequested);
    connect(ui_->txtPages, &QLineEdit::editingFinished, this, [this] { ValidatePagesBox(session_, ui_->txtPages); });
    resize(760, 560);
}

frmSelectAll::~frmSelectAll() = default;

void frmSelectAll::setSendForms(bool email, bool fax)
{
    ui_->cmdEmail->setVisible(email);
    ui_->cmdFax->setVisible(fax);
}

void frmSelectAll::usePrinter(QPrinter* printer)
{
    run_->usePrinter(printer);
}

bool frmSelectAll::printing() const
{
    return run_->running();
}

void frmSelectAll::annotationDone()
{
    run_->annotationDone();
}

void frmSelectAll::closeEvent(QCloseEvent* event)
{
    if (run_->running()) {
        run_->cancel();
        event->ignore();
        return;
    }
    QStringList widths;
    for (int c = 0; c < ui_->grdImages->columnCount(); ++c)
        widths << QString::number(ui_->grdImages->columnWidth(c));
    PutLocal(session_, section::Form, kGridSizes, widths.join(QLatin1Char(',')));
    PutLocal(session_, section::Info, QStringLiteral("SelectAllPrintHeat"), BoolToIni(ui_->chkPrintHeat->isChecked()));
    PutLocal(session_, section::Info, QStringLiteral("SelectAllPrintPart"), BoolToIni(ui_->chkPrintPart->isChecked()));
    QDialog::closeEvent(event);
}

bool frmSelectAll::isSelected(int row) const
{
    const QTableWidgetItem* item = ui_->grdImages->item(row, 0);
    return item && item->data(Qt::UserRole).toBool();
}

void frmSelectAll::markRow(int row, bool selected)
{
    const QPalette palette = ui_->grdImages->palette();
    for (int c = 0; c < ui_->grdImages->columnCount(); ++c) {
        QTableWidgetItem* item = ui_->grdImages->item(row, c);
        if (!item)
            continue;
        item->setData(Qt::UserRole, selected);
        item->setBackground(palette.color(selected ? QPalette::Highlight : QPalette::Base));
        item->setForeground(palette.color(selected ? QPalette::HighlightedText : QPalette::Text));
    }
}

void frmSelectAll::grdImages_Click(int row)
{
    if (row < 0)
        return;
    markRow(row, !isSelected(row));
    ui_->cmdSelectAll->setEnabled(true);
    ui_->cmdUnselectAll->setEnabled(true);
}

void frmSelectAll::SelectAll()
{
    for (int r = 0; r < ui_->grdImages->rowCount(); ++r)
        markRow(r, true);
    ui_->cmdSelectAll->setEnabled(false);
    ui_->cmdUnselectAll->setEnabled(true);
}

void frmSelectAll::UnselectAll()
{
    for (int r = 0; r < ui_->grdImages->rowCount(); ++r)
        markRow(r, false);
    ui_->cmdSelectAll->setEnabled(true);
    ui_->cmdUnselectAll->setEnabled(false);
}

void frmSelectAll::GetImages()
{
    session_.traceCall(QStringLiteral("frmSelectAll.GetImages"));
    paths_ = QStringList(ui_->grdImages->rowCount());
    const int imageColumn = 5;
    for (int r = 0; r < ui_->grdImages->rowCount(); ++r) {
        const QTableWidgetItem* item = ui_->grdImages->item(r, imageColumn);
        const qint32 number = item ? IntVal(item->text().mid(2)) : 0;
        if (number > 0 && GetImage(session_, number))
            paths_[r] = session_.imageFilePath;
    }
}

void frmSelectAll::cmdPrint_Click()
{
    session_.traceCall(QStringLiteral("frmSelectAll.cmdPrint_Click"));
    if (!ValidatePagesBox(session_, ui_->txtPages))
        return;
    const MessageFields typed = SetMessageFields(this);
    if (const QString problem = CheckMessageFields(typed); !problem.isEmpty()) {
        session_.prompter().tell(QStringLiteral("Select All"), problem, Icon::Exclamation);
        return;
    }
    if (run_->running())
        return;
    GetImages();
    // One print per image per copy, whatever the number of rows that name it.
    QList<int> rows;
    QSet<QString> seen;
    for (int r = 0; r < paths_.size(); ++r)
        if (isSelected(r) && !paths_[r].isEmpty() && !seen.contains(paths_[r])) {
            seen.insert(paths_[r]);
            rows << r;
        }
    QList<PrintItem> items;
    for (int copy = 1; copy <= ui_->txtCopies->value(); ++copy)
        for (int r : std::as_const(rows)) {
            MessageFields fields = typed;
            const auto cell = [&](int c) { return ui_->grdImages->item(r, c) ? ui_->grdImages->item(r, c)->text() : QString(); };
            fields.heat = ui_->chkPrintHeat->isChecked() ? cell(0) : QString();
            fields.part = ui_->chkPrintPart->isChecked() ? cell(1) : QString();
            items << PrintItem{paths_[r], ui_->txtPages->text(), fields, PrintFrame::Standard, 1};
        }
    session_.imageFilePath.clear();
    // Without a viewer to annotate in, the files print at once.
    run_->start(items, ui_->chkAnnotate->isChecked() && isSignalConnected(QMetaMethod::fromSignal(&frmSelectAll::annotateRequested)));
}

void frmSelectAll::queueFor(bool email)
{
    const MessageFields typed = SetMessageFields(this);
    if (const QString problem = CheckMessageFields(typed); !problem.isEmpty()) {
        session_.prompter().tell(QStringLiteral("Select All"), problem, Icon::Exclamation);
        return;
    }
    GetImages();
    QList<QueueItem> items;
    for (int r = 0; r < paths_.size(); ++r) {
        if (!isSelected(r))
            continue;
        MessageFields fields = typed;
        const auto cell = [&](int c) { return ui_->grdImages->item(r, c) ? ui_->grdImages->item(r, c)->text() : QString(); };
        fields.heat = ui_->chkPrintHeat->isChecked() ? cell(0) : QString();
        fields.part = ui_->chkPrintPart->isChecked() ? cell(1) : QString();
        items << QueueItem{paths_[r], fields};
    }
    const bool proceed = BuildQueue(session_, email ? QueueMode::Email : QueueMode::Fax, items).has_value();
    session_.imageFilePath.clear();
    close();
    if (proceed)
        emit(email ? emailRequested() : faxRequested());
}

void frmSelectAll::cmdEmail_Click() { queueFor(true); }
void frmSelectAll::cmdFax_Click() { queueFor(false); }

}  // namespace tarlox
