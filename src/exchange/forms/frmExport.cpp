#include "exchange/forms/frmExport.h"

#include "ui_frmExport.h"

#include "base/Prompter.h"
#include "data/Session.h"
#include "data/Settings.h"
#include "exchange/ExportFile.h"

#include <QDir>
#include <QFileInfo>

namespace tarlox {

frmExport::frmExport(Session& session, const SqlCondition& foundSet, QWidget* parent)
    : ExchangeForm(session, parent), ui_(std::make_unique<Ui::frmExport>())
{
    session_.traceCall(QStringLiteral("frmExport.Form_Load"));
    ui_->setupUi(this);
    setRunControls(ui_->barProgress, ui_->lblProgress, ui_->cmdCancel, ui_->lstImages);
    ui_->txtExportDir->setText(GetLocal(session_, section::Info, QStringLiteral("ExportDir")));
    images_ = loadList(foundSet);
    connect(ui_->cmdExportDir, &QPushButton::clicked, this, [this] {
        const QString chosen = browseDirectory(QStringLiteral("Current Export Directory"), ui_->txtExportDir->text());
        if (!chosen.isEmpty())
            ui_->txtExportDir->setText(chosen);
    });
    connect(ui_->cmdExport, &QPushButton::clicked, this, &frmExport::cmdExport_Click);
}

frmExport::~frmExport() = default;

void frmExport::cmdExport_Click()
{
    session_.traceCall(QStringLiteral("frmExport.cmdExport_Click"));
    ExportOptions options{WithoutTrailingSeparator(ui_->txtExportDir->text().trimmed()), ui_->cboExclude->isChecked(), false,
                          Missing::Ask};
    if (options.directory.isEmpty() || !QFileInfo(options.directory).isDir()) {
        session_.prompter().ask(QStringLiteral("Export Images"), options.directory + QStringLiteral(" is not a directory."), Buttons::Ok,
                                Icon::Critical);
        return;
    }
    if (QFileInfo::exists(QDir(options.directory).filePath(QString::fromUtf16(kExportFileName)))) {
        const Answer answer = session_.prompter().ask(
            QStringLiteral("Export File Exists"),
            QStringLiteral("Warning: The export file already exist!\r\n'Yes' to append to this file.\r\n'No' to overwrite this file.\r\n"
                           "'Cancel' to end without exporting."),
            Buttons::YesNoCancel, Icon::Critical);
        if (answer != Answer::Yes && answer != Answer::No) {
            close();
            return;
        }
        options.append = answer == Answer::Yes;
    }
    const ExchangeSummary summary = runImages({ui_->cmdExport, ui_->cmdExportDir},
                                              [&](const ExchangeProgressFn& p) { return ExportImages(session_, images_, options, p); });
    if (summary.stopped.isEmpty())
        PutLocal(session_, section::Info, QStringLiteral("ExportDir"), options.directory);
    tellSummary(summary, windowTitle(), QStringLiteral("exported"));
    close();
}

}  // namespace tarlox
