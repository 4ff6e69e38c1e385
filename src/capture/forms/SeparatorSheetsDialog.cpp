#include "capture/forms/SeparatorSheetsDialog.h"

#include "base/Prompter.h"
#include "capture/SeparatorSheet.h"
#include "data/Session.h"

#include <QDialogButtonBox>
#include <QFile>
#include <QLabel>
#include <QPainter>
#include <QPlainTextEdit>
#include <QPrintDialog>
#include <QPrinter>
#include <QPushButton>
#include <QVBoxLayout>

namespace tarlox {

namespace {

QString PoCaption(const Session& session)
{
    return session.poShort.trimmed().isEmpty() ? QStringLiteral("P/O") : session.poShort.trimmed();
}

}  // namespace

SeparatorSheetsDialog::SeparatorSheetsDialog(Session& session, const QList<BarcodeKey>& keys, QWidget* parent)
    : QDialog(parent)
    , session_(session)
{
    setObjectName(QStringLiteral("frmSeparatorSheets"));
    setWindowTitle(QStringLiteral("Separator Sheets"));
    auto* layout = new QVBoxLayout(this);
    auto* help = new QLabel(QStringLiteral("One sheet per line: %1, receipt, line, tag (a missing number is 0).").arg(PoCaption(session)));
    help->setWordWrap(true);
    layout->addWidget(help);
    txtKeys_ = new QPlainTextEdit;
    txtKeys_->setObjectName(QStringLiteral("txtKeys"));
    QStringList lines;
    for (const BarcodeKey& key : keys)
        lines.append(BarcodeValues(key).join(QLatin1Char(',')));
    txtKeys_->setPlainText(lines.join(QLatin1Char('\n')));
    txtKeys_->setMinimumSize(420, 200);
    layout->addWidget(txtKeys_);
    lblStatus_ = new QLabel;
    lblStatus_->setWordWrap(true);
    layout->addWidget(lblStatus_);
    auto* buttons = new QDialogButtonBox;
    const auto add = [&](const char* name, const QString& text, QDialogButtonBox::ButtonRole role, void (SeparatorSheetsDialog::*slot)()) {
        QPushButton* button = buttons->addButton(text, role);
        button->setObjectName(QLatin1String(name));
        connect(button, &QPushButton::clicked, this, slot);
    };
    add("cmdOpen", QStringLiteral("&Open CSV..."), QDialogButtonBox::ActionRole, &SeparatorSheetsDialog::cmdOpen_Click);
    add("cmdSave", QStringLiteral("&Save PDF..."), QDialogButtonBox::ActionRole, &SeparatorSheetsDialog::cmdSave_Click);
    add("cmdPrint", QStringLiteral("&Print..."), QDialogButtonBox::AcceptRole, &SeparatorSheetsDialog::cmdPrint_Click);
    QPushButton* close = buttons->addButton(QDialogButtonBox::Close);
    close->setObjectName(QStringLiteral("cmdClose"));
    connect(close, &QPushButton::clicked, this, &QDialog::reject);
    layout->addWidget(buttons);
}

std::optional<QList<BarcodeKey>> SeparatorSheetsDialog::keys()
{
    IoResult<QList<BarcodeKey>> read = ReadKeyLines(txtKeys_->toPlainText());
    if (read && read->isEmpty())
        read = Failure(QStringLiteral("Type the key of at least one sheet."));
    if (!read) {
        session_.prompter().ask(QStringLiteral("Separator Sheets"), read.error(), Buttons::Ok, Icon::Exclamation);
        return std::nullopt;
    }
    return *read;
}

void SeparatorSheetsDialog::cmdOpen_Click()
{
    const QString file = session_.prompter().chooseOpenFile(QStringLiteral("Keys of the Sheets"), {},
                                                            QStringLiteral("CSV files (*.csv *.txt);;All files (*)"));
    if (file.isEmpty())
        return;
    QFile in(file);
    if (!in.open(QIODevice::ReadOnly | QIODevice::Text)) {
        session_.prompter().ask(QStringLiteral("Separator Sheets"), QStringLiteral("Can't read %1: %2").arg(file, in.errorString()),
                                Buttons::Ok, Icon::Exclamation);
        return;
    }
    txtKeys_->setPlainText(QString::fromUtf8(in.readAll()));
}

bool SeparatorSheetsDialog::saveAs(const QString& file)
{
    const std::optional<QList<BarcodeKey>> sheets = keys();
    if (!sheets)
        return false;
    const IoStatus written = WriteSeparatorSheetsPdf(file, *sheets, PoCaption(session_));
    if (!written) {
        session_.prompter().ask(QStringLiteral("Separator Sheets"), written.error(), Buttons::Ok, Icon::Exclamation);
        return false;
    }
    lblStatus_->setText(QStringLiteral("%1 sheets saved in %2.").arg(sheets->size()).arg(file));
    return true;
}

void SeparatorSheetsDialog::cmdSave_Click()
{
    const QString file = session_.prompter().chooseSaveFile(QStringLiteral("Save the Sheets"), QStringLiteral("sheets.pdf"),
                                                            QStringLiteral("PDF files (*.pdf)"));
    if (!file.isEmpty())
        saveAs(file);
}

void SeparatorSheetsDialog::cmdPrint_Click()
{
    const std::optional<QList<BarcodeKey>> sheets = keys();
    if (!sheets)
        return;
    QPrinter printer(QPrinter::HighResolution);
    printer.setPageSize(QPageSize(QPageSize::Letter));
    printer.setFullPage(true);
    QPrintDialog dialog(&printer, this);
    if (dialog.exec() != QDialog::Accepted)
        return;
    QPainter painter;
    if (!painter.begin(&printer)) {
        session_.prompter().ask(QStringLiteral("Separator Sheets"), QStringLiteral("The printer could not be started."), Buttons::Ok,
                                Icon::Exclamation);
        return;
    }
    for (qsizetype i = 0; i < sheets->size(); ++i) {
        const IoResult<QImage> sheet = SeparatorSheet(sheets->at(i), PoCaption(session_));
        if (!sheet)
            break;
        if (i > 0)
            printer.newPage();
        const QRect page = painter.viewport();
        painter.drawImage(QRect(page.topLeft(), sheet->size().scaled(page.size(), Qt::KeepAspectRatio)), *sheet);
    }
    painter.end();
    lblStatus_->setText(QStringLiteral("%1 sheets sent to %2.").arg(sheets->size()).arg(printer.printerName()));
}

}  // namespace tarlox
