#include "exchange/forms/frmImportTif.h"

#include "ui_frmImportTif.h"

#include "base/Prompter.h"
#include "data/Session.h"
#include "data/Settings.h"

#include <QFileInfo>

namespace tarlox {

frmImportTif::frmImportTif(Session& session, QWidget* parent)
    : ExchangeForm(session, parent), ui_(std::make_unique<Ui::frmImportTif>())
{
    session_.traceCall(QStringLiteral("frmImportTif.Form_Load"));
    ui_->setupUi(this);
    setRunControls(ui_->barProgress, ui_->lblProgress, ui_->cmdCancel);
    ui_->txtStatus->setReadOnly(true);
    const auto browse = [this](QPushButton* button, QLineEdit* box, const QString& title) {
        connect(button, &QPushButton::clicked, this, [this, box, title] {
            const QString chosen = browseDirectory(title, box->text());
            if (!chosen.isEmpty())
                box->setText(chosen);
        });
    };
    browse(ui_->cmdImportDir, ui_->txtImportDir, QStringLiteral("Current Import Directory"));
    browse(ui_->cmdDataDir, ui_->txtDataDir, QStringLiteral("Current Data Directory"));
    rememberedDir_ = GetLocal(session_, section::Info, QStringLiteral("ImportTifDir"));
    ui_->txtImportDir->setText(rememberedDir_);
    ui_->txtDataDir->setText(session_.dataDir);
    connect(ui_->txtImportDir, &QLineEdit::textChanged, this, [this](const QString& text) {
        if (text != rememberedDir_ && QFileInfo(text).isDir())
            rememberedDir_ = text;
    });
    connect(ui_->cmdImport, &QPushButton::clicked, this, &frmImportTif::cmdImport_Click);
}

frmImportTif::~frmImportTif() = default;

void frmImportTif::cmdImport_Click()
{
    session_.traceCall(QStringLiteral("frmImportTif.cmdImport_Click"));
    const QString dataDir = ui_->txtDataDir->text().trimmed();
    if (!QFileInfo(dataDir).isDir()) {
        session_.prompter().ask(QStringLiteral("No Data Directory"),
                                dataDir + QStringLiteral("does not exist!\r\nSelect a new directory or end."), Buttons::Ok, Icon::Critical);
        return;
    }
    PutLocal(session_, section::Info, QStringLiteral("ImportTifDir"), ui_->txtImportDir->text());
    const TifImportOptions options{ui_->txtImportDir->text().trimmed(), dataDir, Missing::Ask};
    const ExchangeSummary summary = runImages(
        {ui_->cmdImport}, [&](const ExchangeProgressFn& p) { return ImportTifImages(session_, options, p); },
        [this](const ExchangeProgress& p) { ui_->txtStatus->setText(QStringLiteral("Now importing ") + p.file); });
    ui_->txtStatus->setText(summary.report(QStringLiteral("imported")).first());
    tellSummary(summary, windowTitle(), QStringLiteral("imported"));
}

}  // namespace tarlox
