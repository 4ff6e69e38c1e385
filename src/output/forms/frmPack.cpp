#include "output/forms/frmPack.h"

#include "ui_frmPack.h"

#include "base/FileTools.h"
#include "base/Prompter.h"
#include "base/forms/PrinterSetup.h"
#include "data/ContactData.h"
#include "data/Session.h"
#include "output/EmailSend.h"
#include "output/forms/PrintDoc.h"
#include "output/forms/SendWithStatus.h"
#include "store/OffThread.h"
#include "store/TiffReader.h"

#include <QCloseEvent>
#include <QComboBox>
#include <QFile>
#include <QHeaderView>
#include <QPainter>
#include <QPointer>
#include <QPrintDialog>
#include <QPrinter>
#include <QRegularExpression>
#include <QStandardPaths>

namespace tarlox {

namespace {

const QString kTitle = QStringLiteral("Certificate Pack");

enum GridColumn { ColLine, ColOrder, ColPO, ColHeat, ColImage, ColPages, ColStatus, ColCount };

const QColor kNoneColour(255, 205, 205);     // no certificate
const QColor kSeveralColour(255, 236, 160);  // several: pick one
const QColor kDroppedColour(225, 225, 225);

QString CandidateText(const PackReport& report)
{
    if (report.pages <= 0)
        return QStringLiteral("%1 (file missing)").arg(report.image);
    return QStringLiteral("%1 (%2 page%3)").arg(report.image).arg(report.pages).arg(report.pages == 1 ? "" : "s");
}

// "Pack 1001.pdf": the orders of the lines, made safe for a file name.
QString PackFileName(const PackPlan& plan)
{
    QString orders = plan.orders();
    orders.replace(QRegularExpression(QStringLiteral("[^A-Za-z0-9_.-]+")), QStringLiteral("-"));
    return orders.isEmpty() ? QStringLiteral("Pack.pdf") : QStringLiteral("Pack ") + orders.left(60) + QStringLiteral(".pdf");
}

}  // namespace

frmPack::frmPack(Session& session, HeatLookup lookup, QWidget* parent)
    : QWidget(parent)
    , session_(session)
    , lookup_(std::move(lookup))
    , ui_(std::make_unique<Ui::frmPack>())
{
    ui_->setupUi(this);
    setAttribute(Qt::WA_DeleteOnClose);
    ui_->grdLines->setColumnCount(ColCount);
    ui_->grdLines->setHorizontalHeaderLabels({QStringLiteral("Ln#"), QStringLiteral("SO#"), QStringLiteral("Customer PO#"),
                                              QStringLiteral("Heat"), QStringLiteral("Image #"), QStringLiteral("Pages"),
                                              QStringLiteral("Status")});
    ui_->grdLines->horizontalHeader()->setStretchLastSection(true);
    ui_->grdLines->verticalHeader()->setVisible(false);
    ui_->grdColumns->verticalHeader()->setVisible(false);
    ui_->grdColumns->setRowCount(1);

    // The companies of the address book; the first contact's address follows the choice.
    QStringList contacts;
    QStringList companies;
    if (LoadContacts(session_, contacts, true))
        for (const QString& line : std::as_const(contacts))
            if (const QString company = line.section(QLatin1Char('\t'), 2).trimmed(); !company.isEmpty() && !companies.contains(company))
                companies << company;
    ui_->cboCustomer->addItems(companies);
    ui_->cboCustomer->setCurrentText(QString());
    connect(ui_->cboCustomer, &QComboBox::currentTextChanged, this, [this](const QString& customer) {
        if (const QString address = CustomerAddress(session_, customer); !address.isEmpty())
            ui_->txtEmail->setText(address);
    });
    const auto makeTo = [this](int index) { ui_->txtEmail->setVisible(index == 2); };
    connect(ui_->cboMakeTo, &QComboBox::currentIndexChanged, this, makeTo);
    makeTo(ui_->cboMakeTo->currentIndex());

    connect(ui_->cmdRead, &QPushButton::clicked, this, &frmPack::cmdRead_Click);
    connect(ui_->cmdOpen, &QPushButton::clicked, this, &frmPack::cmdOpen_Click);
    connect(ui_->cmdView, &QPushButton::clicked, this, &frmPack::cmdView_Click);
    connect(ui_->grdLines, &QTableWidget::cellDoubleClicked, this, &frmPack::cmdView_Click);
    connect(ui_->cmdDrop, &QPushButton::clicked, this, &frmPack::cmdDrop_Click);
    connect(ui_->grdLines, &QTableWidget::currentCellChanged, this, [this](int row) {
        const bool dropped = row >= 0 && row < plan_.entries.size() && plan_.entries[row].dropped;
        ui_->cmdDrop->setText(dropped ? QStringLiteral("Put &Back") : QStringLiteral("&Drop Line"));
    });
    connect(ui_->cmdMake, &QPushButton::clicked, this, &frmPack::cmdMake_Click);
    connect(ui_->cmdCancel, &QPushButton::clicked, this, [this] {
        if (running_)
            stop_ = true;
        else
            close();
    });
    running(false);
    resize(860, 640);
}

frmPack::~frmPack() = default;

void frmPack::closeEvent(QCloseEvent* event)
{
    if (running_) {
        stop_ = true;
        event->ignore();
        return;
    }
    QWidget::closeEvent(event);
}

void frmPack::status(const QString& text)
{
    ui_->txtStatus->appendPlainText(text);
}

void frmPack::running(bool on)
{
    running_ = on;
    for (QWidget* control : {static_cast<QWidget*>(ui_->cmdRead), static_cast<QWidget*>(ui_->cmdOpen), static_cast<QWidget*>(ui_->cmdMake),
                             static_cast<QWidget*>(ui_->cmdDrop), static_cast<QWidget*>(ui_->grdLines), static_cast<QWidget*>(ui_->grdColumns)})
        control->setEnabled(!on);
    ui_->cmdMake->setEnabled(!on && !plan_.entries.isEmpty());
    ui_->cmdCancel->setText(on ? QStringLiteral("&Cancel") : QStringLiteral("C&lose"));
}

// --- the lines

void frmPack::cmdOpen_Click()
{
    const QString path = session_.prompter().chooseOpenFile(QStringLiteral("Open Shipment Lines"), session_.dataDir,
                                                            QStringLiteral("CSV files (*.csv *.txt);;All files (*)"));
    if (path.isEmpty())
        return;
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        session_.prompter().tell(kTitle, QStringLiteral("Can't read \"%1\": %2").arg(path, file.errorString()), Icon::Exclamation);
        return;
    }
    ui_->txtLines->setPlainText(QString::fromUtf8(file.readAll()));
    cmdRead_Click();
}

void frmPack::showColumns(const QStringList& header)
{
    const QList<PackColumn> recognised = RecogniseColumns(header);
    QTableWidget* grid = ui_->grdColumns;
    grid->clear();
    grid->setColumnCount(int(header.size()));
    grid->setHorizontalHeaderLabels(header);
    for (int c = 0; c < header.size(); ++c) {
        auto* box = new QComboBox(grid);
        box->addItem(QStringLiteral("(not used)"), int(PackColumn::None));
        for (const PackColumn column : PackColumns())
            box->addItem(PackColumnName(column), int(column));
        box->setCurrentIndex(box->findData(int(recognised[c])));
        connect(box, &QComboBox::currentIndexChanged, this, &frmPack::cmdRead_Click);
        grid->setCellWidget(0, c, box);
    }
    grid->resizeColumnsToContents();
}

QList<PackColumn> frmPack::chosenColumns() const
{
    QList<PackColumn> columns;
    for (int c = 0; c < ui_->grdColumns->columnCount(); ++c) {
        const auto* box = qobject_cast<QComboBox*>(ui_->grdColumns->cellWidget(0, c));
        columns << (box ? PackColumn(box->currentData().toInt()) : PackColumn::None);
    }
    return columns;
}

void frmPack::cmdRead_Click()
{
    session_.traceCall(QStringLiteral("frmPack.cmdRead_Click"));
    ui_->txtStatus->clear();
    const PackTable table = SplitPackText(ui_->txtLines->toPlainText());
    const QString header = table.header.join(QLatin1Char('\t'));
    if (header != headerText_) {
        headerText_ = header;
        showColumns(table.header);
    }
    plan_ = PackPlan{};
    const QList<PackColumn> columns = chosenColumns();
    if (table.rows.isEmpty() || !columns.contains(PackColumn::Heat)) {
        showPlan();
        status(table.rows.isEmpty() ? QStringLiteral("Paste the lines with their header row first.")
                                    : QStringLiteral("Choose the heat column under the header row."));
        return;
    }
    session_.prompter().setBusy(true);
    IoResult<PackPlan> plan = PlanPack(session_, ReadPackLines(table, columns), lookup_);
    session_.prompter().setBusy(false);
    if (!plan) {
        status(plan.error());
        showPlan();
        return;
    }
    plan_ = *plan;
    showPlan();
}

void frmPack::showPlan()
{
    QTableWidget* grid = ui_->grdLines;
    grid->clearContents();
    grid->setRowCount(int(plan_.entries.size()));
    for (int row = 0; row < plan_.entries.size(); ++row) {
        const PackEntry& e = plan_.entries[row];
        const QStringList cells = {e.label(row), e.line.order, e.line.custPO, e.line.heat};
        for (int c = 0; c < cells.size(); ++c)
            grid->setItem(row, c, new QTableWidgetItem(cells[c]));
        if (e.candidates.size() > 1) {
            auto* pick = new QComboBox(grid);
            for (const PackReport& report : e.candidates)
                pick->addItem(CandidateText(report));
            pick->setCurrentIndex(std::max(0, e.chosen));
            connect(pick, &QComboBox::currentIndexChanged, this, [this, row](int index) { choose(row, index); });
            grid->setCellWidget(row, ColImage, pick);
        } else {
            grid->setItem(row, ColImage, new QTableWidgetItem(e.candidates.isEmpty() ? QString() : CandidateText(e.candidates.first())));
        }
    }
    showPages();
    grid->resizeColumnsToContents();
    running(false);
}

// The pages of each line in the pack, its status and its colour.
void frmPack::showPages()
{
    const PackLayout layout = LayOutPack(plan_);
    QTableWidget* grid = ui_->grdLines;
    int none = 0;
    int open = 0;
    int dropped = 0;
    for (int row = 0; row < plan_.entries.size(); ++row) {
        const PackEntry& e = plan_.entries[row];
        QString pages;
        if (layout.first[row] > 0)
            pages = layout.first[row] == layout.last[row] ? QString::number(layout.first[row])
                                                          : QStringLiteral("%1-%2").arg(layout.first[row]).arg(layout.last[row]);
        QString state;
        QColor colour;
        switch (e.state()) {
        case PackEntry::State::One: state = QStringLiteral("Found"); break;
        case PackEntry::State::Several:
            if (e.picked) {
                state = QStringLiteral("Image %1 picked of %2 reports").arg(e.report()->image).arg(e.candidates.size());
                break;
            }
            state = QStringLiteral("%1 reports of this heat: pick one").arg(e.candidates.size());
            colour = kSeveralColour;
            break;
        case PackEntry::State::None:
            state = QStringLiteral("No certificate: ") + e.why;
            colour = kNoneColour;
            break;
        case PackEntry::State::Dropped: state = QStringLiteral("Dropped"); colour = kDroppedColour; break;
        }
        none += e.state() == PackEntry::State::None ? 1 : 0;
        open += e.state() == PackEntry::State::Several && !e.picked ? 1 : 0;
        dropped += e.dropped ? 1 : 0;
        grid->setItem(row, ColPages, new QTableWidgetItem(pages));
        grid->setItem(row, ColStatus, new QTableWidgetItem(state));
        for (int c = 0; c < ColCount; ++c)
            if (QTableWidgetItem* item = grid->item(row, c))
                item->setBackground(colour.isValid() ? QBrush(colour) : QBrush());
    }
    ui_->lblSummary->setText(plan_.entries.isEmpty() ? QString()
                                                     : QStringLiteral("%1 lines, %2 pages: %3 without a certificate, %4 to pick, %5 dropped")
                                                           .arg(plan_.entries.size())
                                                           .arg(layout.pageCount)
                                                           .arg(none)
                                                           .arg(open)
                                                           .arg(dropped));
}

void frmPack::choose(int row, int candidate)
{
    if (row < 0 || row >= plan_.entries.size() || candidate < 0 || candidate >= plan_.entries[row].candidates.size())
        return;
    PackEntry& e = plan_.entries[row];
    e.chosen = candidate;
    e.picked = true;
    e.why = e.report() ? QString() : QStringLiteral("The report's file can't be read");
    showPages();
}

void frmPack::cmdView_Click()
{
    const int row = ui_->grdLines->currentRow();
    if (row < 0 || row >= plan_.entries.size())
        return;
    const PackEntry& e = plan_.entries[row];
    const PackReport* report = e.chosen >= 0 && e.chosen < e.candidates.size() ? &e.candidates[e.chosen] : nullptr;
    if (!report) {
        status(QStringLiteral("Ln# %1 has no certificate to view.").arg(e.label(row)));
        return;
    }
    emit viewRequested(report->image);
}

void frmPack::cmdDrop_Click()
{
    const int row = ui_->grdLines->currentRow();
    if (row < 0 || row >= plan_.entries.size())
        return;
    plan_.entries[row].dropped = !plan_.entries[row].dropped;
    ui_->cmdDrop->setText(plan_.entries[row].dropped ? QStringLiteral("Put &Back") : QStringLiteral("&Drop Line"));
    showPages();
}

// --- making the pack

PackProgress frmPack::progress()
{
    QPointer<QProgressBar> bar(ui_->prgMake);
    return [this, bar](int done, int total) {
        QMetaObject::invokeMethod(bar, [bar, done, total] {
            if (bar) {
                bar->setMaximum(total);
                bar->setValue(done);
            }
        }, Qt::QueuedConnection);
        return !stop_;
    };
}

bool frmPack::MakeFile(const QString& target)
{
    session_.traceCall(QStringLiteral("frmPack.MakeFile"), {target});
    plan_.customer = ui_->cboCustomer->currentText().trimmed();
    const OutputSettings settings = ReadOutputSettings(session_);
    const QDate today = session_.now().date();
    PdfOptions options;
    options.pdfa = ui_->chkPdfA->isChecked();
    const PackPlan plan = plan_;
    const PackProgress step = progress();
    IoStatus made;
    stop_ = false;
    running(true);
    RunOffThread([&] { made = MakePack(plan, settings, today, target, options, step); });
    running(false);
    if (!made) {
        status(made.error() == kOutputCancelled ? QStringLiteral("Cancelled: no file was written.") : made.error());
        return false;
    }
    status(QStringLiteral("The pack was written to \"%1\".").arg(target));
    return true;
}

void frmPack::cmdMake_Click()
{
    if (plan_.entries.isEmpty())
        return;
    switch (ui_->cboMakeTo->currentIndex()) {
    case 1: printPack(); return;
    case 2: mailPack(); return;
    default: break;
    }
    const QString suggested = JoinPath(QStandardPaths::writableLocation(QStandardPaths::DocumentsLocation), PackFileName(plan_));
    const QString target =
        session_.prompter().chooseSaveFile(QStringLiteral("Save Certificate Pack"), suggested, QStringLiteral("PDF files (*.pdf)"));
    if (!target.isEmpty())
        MakeFile(target);
}

void frmPack::printPack()
{
    plan_.customer = ui_->cboCustomer->currentText().trimmed();
    QPrinter printer(QPrinter::HighResolution);
    SetPrinter(session_, printer);
    QPrintDialog dialog(&printer, this);
    if (dialog.exec() != QDialog::Accepted)
        return;
    const OutputSettings settings = ReadOutputSettings(session_);
    const QDate today = session_.now().date();
    const PackPlan plan = plan_;
    const PackProgress step = progress();
    IoResult<PackDocument> document = Failure(QString());
    stop_ = false;
    running(true);
    RunOffThread([&] { document = AssemblePack(plan, settings, today, step); });
    if (document) {
        // Each page stretched into the printable area, upright, as it is.
        QPainter painter(&printer);
        std::unique_ptr<TiffReader> reader;
        for (qsizetype i = 0; i < document->pages.size() && !stop_; ++i) {
            const PdfPage& page = document->pages[i];
            QImage image = page.image;
            if (!page.tiff.isEmpty()) {
                if (!reader || reader->path() != page.tiff)
                    if (auto opened = TiffReader::open(page.tiff))
                        reader = std::make_unique<TiffReader>(std::move(*opened));
                if (reader)
                    if (auto read = reader->readPage(page.page))
                        image = *read;
            }
            if (i > 0)
                printer.newPage();
            const QRect area = painter.viewport();
            const QSize size = image.size().scaled(area.size(), Qt::KeepAspectRatio);
            painter.setViewport(area.x(), area.y(), size.width(), size.height());
            painter.setWindow(image.rect());
            painter.drawImage(0, 0, image);
            painter.setViewport(area);
            ui_->prgMake->setValue(int(i + 1) * ui_->prgMake->maximum() / int(document->pages.size()));
            QCoreApplication::processEvents();
        }
        painter.end();
    }
    running(false);
    if (!document)
        status(document.error() == kOutputCancelled ? QStringLiteral("Cancelled: nothing was printed.") : document.error());
    else
        status(stop_ ? QStringLiteral("Printing stopped.") : QStringLiteral("The pack went to %1.").arg(printer.printerName()));
}

void frmPack::mailPack()
{
    const bool throughClient = EmailThroughClient(session_);
    const QString address = ui_->txtEmail->text().trimmed();
    if (const QString problem = RecipientProblem(address, throughClient); !problem.isEmpty()) {
        session_.prompter().tell(kTitle, problem, Icon::Exclamation);
        return;
    }
    const QString target = JoinPath(session_.tempDir, PackFileName(plan_));
    if (!MakeFile(target))
        return;
    MailMessage message = PackMessage(session_, plan_, address, plan_.customer, target);
    if (throughClient) {
        bool silent = !address.isEmpty();
        if (const QString problem = UseClient(message, silent); !problem.isEmpty())
            status(problem);
        else
            status(QStringLiteral("The pack is in a new message of the mail program."));
        return;
    }
    running(true);
    const MailSendResult sent = SendWithStatus(EmailServerSettings(session_), message, ui_->txtStatus);
    running(false);
    QFile::remove(target);
    status(sent.ok() ? QStringLiteral("The pack was sent to %1.").arg(address) : kSendFailed + sent.error);
}

}  // namespace tarlox
