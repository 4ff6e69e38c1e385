#include "search/forms/frmUpdate.h"

#include "ui_frmUpdate.h"

#include "base/ErrorReport.h"
#include "base/Prompter.h"
#include "base/TextTools.h"
#include "base/forms/FormLayout.h"
#include "data/FormGeometry.h"
#include "data/Session.h"
#include "data/Settings.h"

#include <QCloseEvent>
#include <QCoreApplication>
#include <QHeaderView>

namespace tarlox {

namespace {

const int DefaultWidths[] = {2677, 600, 2678, 600};  // twips

QTableWidgetItem* cell(const QString& text, Qt::Alignment alignment)
{
    auto* item = new QTableWidgetItem(text);
    item->setFlags(Qt::ItemIsEnabled | Qt::ItemIsSelectable);
    item->setTextAlignment(alignment | Qt::AlignVCenter);
    return item;
}

}  // namespace

frmUpdate::frmUpdate(Session& session, QWidget* parent) : QWidget(parent), session_(session), ui(std::make_unique<Ui::frmUpdate>())
{
    session_.traceCall(QStringLiteral("frmUpdate.Form_Load"));
    ui->setupUi(this);
    ui->cboField->addItem(QString());
    ui->cboField->addItems(UpdateFieldNames(session_));
    ui->grdInput->setColumnCount(4);
    ui->grdInput->verticalHeader()->hide();
    ui->grdInput->setSelectionBehavior(QAbstractItemView::SelectRows);
    ui->grdInput->setEditTriggers(QAbstractItemView::NoEditTriggers);
    for (int c = 0; c < 4; ++c) {
        const int width = IntVal(GetLocal(session_, section::Form, QStringLiteral("UpdateColWidth%1").arg(c)));
        ui->grdInput->setColumnWidth(c, TwipsToPixels(width > 0 ? width : DefaultWidths[c]));
    }
    ui->grdInput->horizontalHeader()->setStretchLastSection(true);
    ui->prgUpdate->hide();  // shown while an update runs
    ClearGrid();

    connect(ui->cmdAdd, &QPushButton::clicked, this, &frmUpdate::cmdAdd_Click);
    connect(ui->cmdInputFile, &QPushButton::clicked, this, &frmUpdate::cmdInputFile_Click);
    connect(ui->cmdRetrieve, &QPushButton::clicked, this, &frmUpdate::cmdRetrieve_Click);
    connect(ui->cmdCheck, &QPushButton::clicked, this, &frmUpdate::cmdCheck_Click);
    connect(ui->cmdUpdate, &QPushButton::clicked, this, &frmUpdate::cmdUpdate_Click);
    connect(ui->cmdCancel, &QPushButton::clicked, this, [this] {
        if (running_)
            cancel_ = true;  // the run stops at its next step
        else
            FormWindowOf(this)->close();
    });
    connect(ui->grdInput, &QTableWidget::cellClicked, this, [this](int row, int) { grdInput_Click(row); });
    connect(ui->cboField, &QComboBox::currentTextChanged, this, &frmUpdate::cboField_Change);
}

frmUpdate::~frmUpdate() = default;

void frmUpdate::ClearGrid()
{
    ui->grdInput->clearContents();
    ui->grdInput->setRowCount(0);
    ui->grdInput->setHorizontalHeaderLabels({QStringLiteral("Old Value"), QStringLiteral("Count"), QStringLiteral("New Value"), QStringLiteral("Count")});
    addRow(QString(), QString());
}

void frmUpdate::addRow(const QString& oldValue, const QString& newValue)
{
    const int row = ui->grdInput->rowCount();
    ui->grdInput->insertRow(row);
    ui->grdInput->setItem(row, 0, cell(oldValue, Qt::AlignLeft));
    ui->grdInput->setItem(row, 1, cell(QString(), Qt::AlignRight));
    ui->grdInput->setItem(row, 2, cell(newValue, Qt::AlignLeft));
    ui->grdInput->setItem(row, 3, cell(QString(), Qt::AlignRight));
}

bool frmUpdate::firstRowBlank() const { return ui->grdInput->rowCount() > 0 && ui->grdInput->item(0, 0)->text().isEmpty(); }

QList<UpdatePair> frmUpdate::pairs() const
{
    QList<UpdatePair> list;
    for (int r = 0; r < ui->grdInput->rowCount(); ++r) {
        if (r == 0 && firstRowBlank() && ui->grdInput->rowCount() == 1)
            break;
        list << UpdatePair{ui->grdInput->item(r, 0)->text(), ui->grdInput->item(r, 2)->text()};
    }
    return list;
}

void frmUpdate::cmdAdd_Click()
{
    const auto need = [this](QLineEdit* box, const char* text) {
        if (!box->text().isEmpty())
            return false;
        session_.prompter().ask(QString(), QLatin1String(text), Buttons::Ok, Icon::None);
        box->setFocus();
        return true;
    };
    if (need(ui->txtOldValue, "Set Old Value") || need(ui->txtNewValue, "Set New Value"))
        return;
    addRow(ui->txtOldValue->text(), ui->txtNewValue->text());
    if (firstRowBlank())
        ui->grdInput->removeRow(0);
    ui->txtOldValue->clear();
    ui->txtNewValue->clear();
    ui->txtOldValue->setFocus();
}

void frmUpdate::cmdInputFile_Click()
{
    const QString path = session_.prompter().chooseOpenFile(QString(), ui->txtInputFile->text(),
                                                            QStringLiteral("Comma Separated Value Files (*.csv)"));
    if (!path.isEmpty())
        ui->txtInputFile->setText(path);
}

void frmUpdate::cmdRetrieve_Click()
{
    ClearGrid();
    const QString path = ui->txtInputFile->text().trimmed();
    if (path.isEmpty())
        return;
    auto read = ReadUpdatePairs(path);
    if (!read) {
        session_.prompter().ask(ProgramTitle(), read.error(), Buttons::Ok, Icon::Exclamation);
        return;
    }
    for (const UpdatePair& pair : *read)
        addRow(pair.oldValue, pair.newValue);
    if (ui->grdInput->rowCount() > 1)
        ui->grdInput->removeRow(0);
}

void frmUpdate::grdInput_Click(int row)
{
    if (row < 0 || row >= ui->grdInput->rowCount())
        return;
    const QString oldValue = ui->grdInput->item(row, 0)->text();
    if (oldValue.isEmpty())
        return;
    const QString newValue = ui->grdInput->item(row, 2)->text();
    const QString text = QStringLiteral("Do you want to remove old value = \"%1\" and new value = \"%2\"?").arg(oldValue, newValue);
    if (session_.prompter().ask(QStringLiteral("Remove Item"), text, Buttons::OkCancel, Icon::None) != Answer::Ok)
        return;
    if (ui->grdInput->rowCount() == 1)
        addRow(QString(), QString());
    ui->grdInput->removeRow(row);
}

void frmUpdate::cboField_Change()
{
    const int index = ui->cboField->findText(ui->cboField->currentText());
    if (index >= 1)
        field_ = static_cast<UpdateField>(index - 1);
}

bool frmUpdate::CheckInput()
{
    if (ui->cboField->currentText().isEmpty()) {
        session_.prompter().ask(QString(), QStringLiteral("Select the Field to Change"), Buttons::Ok, Icon::None);
        ui->cboField->setFocus();
        return false;
    }
    cboField_Change();
    if (ui->grdInput->rowCount() >= 2 || !firstRowBlank())
        return true;
    session_.prompter().ask(QString(), QStringLiteral("You must specify at least one old and new value"), Buttons::Ok, Icon::None);
    ui->txtOldValue->setFocus();
    return false;
}

void frmUpdate::cmdCheck_Click()
{
    session_.traceCall(QStringLiteral("frmUpdate.cmdCheck_Click"));
    if (!CheckInput())
        return;
    const QList<UpdatePair> list = pairs();
    session_.prompter().setBusy(true);
    const auto counts = CountPairs(session_, field_, list);
    session_.prompter().setBusy(false);
    if (!counts)
        return;
    qint64 references = 0, images = 0;
    for (int r = 0; r < counts->size(); ++r) {
        const PairCounts& c = (*counts)[r];
        QTableWidgetItem* old = ui->grdInput->item(r, 1);
        old->setText(QString::number(c.oldRows));
        old->setToolTip(QStringLiteral("%1 references on %2 images will change").arg(c.oldRows).arg(c.oldImages));
        ui->grdInput->item(r, 3)->setText(QString::number(c.newRows));
        references += c.oldRows;
        images += c.oldImages;
    }
    ui->lblTouch->setText(QStringLiteral("The update will change %1 references on %2 images (a chain counts each step).").arg(references).arg(images));
}

void frmUpdate::cmdUpdate_Click()
{
    session_.traceCall(QStringLiteral("frmUpdate.cmdUpdate_Click"));
    if (!CheckInput())
        return;
    if (ui->grdInput->item(0, 1)->text().isEmpty()) {
        const Answer a = session_.prompter().ask(QStringLiteral("Check First?"), QStringLiteral("Do you want to run the Check first?"),
                                                 Buttons::YesNoCancel, Icon::Question);
        if (a == Answer::Yes) {
            cmdCheck_Click();
            return;
        }
        if (a != Answer::No)
            return;
    }
    const QList<UpdatePair> list = pairs();
    const bool rewrite = ui->chkRewriteTags->isChecked();
    running_ = true;
    cancel_ = false;
    for (QWidget* control : {static_cast<QWidget*>(ui->cmdCheck), static_cast<QWidget*>(ui->cmdUpdate), static_cast<QWidget*>(ui->chkRewriteTags)})
        control->setEnabled(false);
    const QList<qint32> touched = rewrite ? ImagesOfPairs(session_, field_, list) : QList<qint32>();
    const UpdateOutcome outcome = UpdatePairs(session_, field_, list, [&](qsizetype pair) {
        return going(int(pair), int(list.size()), QStringLiteral("Pair %1: %2").arg(pair + 1).arg(list[pair].oldValue));
    });
    TagRewriteSummary tags;
    if (outcome && rewrite)
        tags = RewriteImageTags(session_, touched, [this](int done, int total, const QString& file) { return going(done, total, file); });
    for (QWidget* control : {static_cast<QWidget*>(ui->cmdCheck), static_cast<QWidget*>(ui->cmdUpdate), static_cast<QWidget*>(ui->chkRewriteTags)})
        control->setEnabled(true);
    running_ = false;
    ui->prgUpdate->hide();
    if (!outcome) {
        ui->lblTouch->clear();
        session_.prompter().ask(ProgramTitle(), outcome.refusal, Buttons::Ok, Icon::Exclamation);
        return;
    }
    qint64 changed = 0;
    for (qint64 n : outcome.changed)
        changed += n;
    QString text = QStringLiteral("%1 references changed.").arg(changed);
    if (rewrite)
        text += QStringLiteral(" %1 of %2 image files given the new tags%3.")
                    .arg(tags.done)
                    .arg(tags.total)
                    .arg(tags.cancelled ? QStringLiteral(" (cancelled)") : QString());
    ui->lblTouch->setText(text);
    if (!tags.skipped.isEmpty()) {
        QStringList lines = tags.skipped.mid(0, 20);
        if (tags.skipped.size() > 20)
            lines << QStringLiteral("...");
        session_.prompter().ask(QStringLiteral("Tags not rewritten"), lines.join(QStringLiteral("\r\n")), Buttons::Ok, Icon::Exclamation);
    }
}

bool frmUpdate::going(int done, int total, const QString& text)
{
    ui->prgUpdate->show();
    ui->prgUpdate->setTextVisible(true);
    ui->prgUpdate->setFormat(QStringLiteral("%v of %m"));
    ui->prgUpdate->setRange(0, std::max(total, 1));
    ui->prgUpdate->setValue(done);
    ui->lblTouch->setText(text);
    QCoreApplication::processEvents();
    return !cancel_;
}

void frmUpdate::closeEvent(QCloseEvent* event)
{
    // A run in hand stops at its next step; the window closes after it.
    if (running_) {
        cancel_ = true;
        event->ignore();
        return;
    }
    QWidget::closeEvent(event);
}

}  // namespace tarlox
