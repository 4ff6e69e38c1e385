#include "exchange/forms/frmImport.h"

#include "ui_frmImport.h"

#include "base/Prompter.h"
#include "data/Session.h"
#include "data/Settings.h"
#include "exchange/ExportFile.h"

#include <QDir>
#include <QFileInfo>

namespace tarlox {

namespace {

// The export file of a directory, whatever the case of its name.
QString exportFileIn(const QString& directory)
{
    const QStringList found = QDir(directory).entryList({QString::fromUtf16(kExportFileName)}, QDir::Files);
    return QDir(directory).filePath(found.isEmpty() ? QString::fromUtf16(kExportFileName) : found.first());
}

}  // namespace

frmImport::frmImport(Session& session, QWidget* parent) : ExchangeForm(session, parent), ui_(std::make_unique<Ui::frmImport>())
{
    session_.traceCall(QStringLiteral("frmImport.Form_Load"));
    ui_->setupUi(this);
    setRunControls(ui_->barProgress, ui_->lblProgress, ui_->cmdCancel);
    ui_->txtStatus->setReadOnly(true);
    connect(ui_->txtImportDir, &QLineEdit::textChanged, this, &frmImport::txtImportDir_Change);
    connect(ui_->txtImportFile, &QLineEdit::textChanged, this, &frmImport::txtImportFile_Change);
    connect(ui_->txtIncrement, &QLineEdit::textChanged, this, &frmImport::txtIncrement_Change);
    connect(ui_->chkChgImg, &QCheckBox::toggled, this, &frmImport::chkChgImg_Click);
    connect(ui_->cmdImport, &QPushButton::clicked, this, &frmImport::cmdImport_Click);
    const auto browse = [this](QPushButton* button, QLineEdit* box, const QString& title) {
        connect(button, &QPushButton::clicked, this, [this, box, title] {
            const QString chosen = browseDirectory(title, box->text());
            if (!chosen.isEmpty())
                box->setText(chosen);
        });
    };
    browse(ui_->cmdDataDir, ui_->txtDataDir, QStringLiteral("Current Data Directory"));
    browse(ui_->cmdImportDir, ui_->txtImportDir, QStringLiteral("Current Import Directory"));
    connect(ui_->cmdImportFile, &QPushButton::clicked, this, [this] {
        const QString chosen = session_.prompter().chooseOpenFile(QStringLiteral("Import File"), ui_->txtImportFile->text(),
                                                                  QStringLiteral("Tarlox Export Files (*.exp)|*.exp"));
        if (!chosen.isEmpty())
            ui_->txtImportFile->setText(chosen);
    });

    const QString importDir = GetLocal(session_, section::Info, QStringLiteral("ImportDir"));
    rememberedDir_ = importDir;
    ui_->txtImportDir->setText(importDir);
    ui_->txtDataDir->setText(session_.dataDir);
    // Older settings files have the file under "InportFile".
    QString file = GetLocal(session_, section::Info, QStringLiteral("ImportFile"));
    if (file.isEmpty())
        file = GetLocal(session_, section::Info, QStringLiteral("InportFile"));
    ui_->txtImportFile->setText(!file.isEmpty() || importDir.isEmpty() ? file : exportFileIn(importDir));
    txtImportFile_Change();
}

frmImport::~frmImport() = default;

void frmImport::txtImportDir_Change()
{
    const QString text = ui_->txtImportDir->text();
    if (text == rememberedDir_ || !QFileInfo(text).isDir())
        return;
    rememberedDir_ = text;
    if (QFileInfo::exists(exportFileIn(text)))
        ui_->txtImportFile->setText(exportFileIn(text));
}

// Import is offered for an existing file whose name ends in its first ".EXP".
void frmImport::txtImportFile_Change()
{
    const QString text = ui_->txtImportFile->text();
    const qsizetype at = text.indexOf(QLatin1String(".EXP"), 0, Qt::CaseInsensitive);
    ui_->cmdImport->setEnabled(!running() && text.size() > 3 && at >= 0 && at == text.size() - 4 && QFileInfo(text).isFile());
}

// An increment and renumbering exclude each other.
void frmImport::txtIncrement_Change()
{
    const QString text = ui_->txtIncrement->text();
    qsizetype digits = 0;
    while (digits < text.size() && text[digits].isDigit())
        ++digits;
    const qint64 increment = digits ? text.left(std::min<qsizetype>(digits, 9)).toLongLong() : 0;
    if (increment < 0 || increment > 999999) {
        ui_->txtIncrement->clear();
        return;
    }
    if (increment < 1) {
        ui_->chkChgImg->setEnabled(true);
    } else {
        ui_->chkChgImg->setChecked(false);
        ui_->chkChgImg->setEnabled(false);
    }
}

void frmImport::chkChgImg_Click()
{
    const bool renumber = ui_->chkChgImg->isChecked();
    if (renumber)
        ui_->txtIncrement->clear();
    ui_->txtIncrement->setEnabled(!renumber);
}

void frmImport::cmdImport_Click()
{
    session_.traceCall(QStringLiteral("frmImport.cmdImport_Click"));
    const QString file = ui_->txtImportFile->text();
    const QString dataDir = ui_->txtDataDir->text().trimmed();
    const auto missing = [this](const QString& text, const QString& title) {
        session_.prompter().ask(title, text + QStringLiteral("does not exist!\r\nSelect a new directory or end."), Buttons::Ok, Icon::Critical);
    };
    if (!QFileInfo(file).isFile())
        return missing(file, QStringLiteral("No Export File"));
    if (!QFileInfo(dataDir).isDir())
        return missing(dataDir, QStringLiteral("No Data Directory"));
    PutLocal(session_, section::Info, QStringLiteral("ImportDir"), ui_->txtImportDir->text());
    PutLocal(session_, section::Info, QStringLiteral("ImportFile"), file);
    const ImportOptions options{QFileInfo(file).absolutePath(), file, dataDir, ui_->txtIncrement->text().toInt(),
                                ui_->chkChgImg->isChecked(), Missing::Ask};
    const ExchangeSummary summary = runImages(
        {ui_->cmdImport}, [&](const ExchangeProgressFn& p) { return ImportImages(session_, options, p); },
        [this](const ExchangeProgress& p) { ui_->txtStatus->setText(QStringLiteral("Importing ") + QFileInfo(p.file).fileName()); });
    ui_->txtStatus->setText(summary.report(QStringLiteral("imported")).first());
    tellSummary(summary, windowTitle(), QStringLiteral("imported"));
    txtImportFile_Change();
}

}  // namespace tarlox
