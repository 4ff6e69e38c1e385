#include "exchange/forms/frmMove.h"

#include "ui_frmMove.h"

#include "data/Session.h"

namespace tarlox {

frmMove::frmMove(Session& session, const SqlCondition& foundSet, QWidget* parent)
    : ExchangeForm(session, parent), ui_(std::make_unique<Ui::frmMove>())
{
    session_.traceCall(QStringLiteral("frmMove.Form_Load"));
    ui_->setupUi(this);
    setRunControls(ui_->barProgress, ui_->lblProgress, ui_->cmdCancel, ui_->lstImages);
    ui_->txtTargetDir->setText(session_.dataDir);
    images_ = loadList(foundSet);
    connect(ui_->cmdTargetDir, &QPushButton::clicked, this, [this] {
        const QString chosen = browseDirectory(QStringLiteral("Current Target Directory"), ui_->txtTargetDir->text());
        if (!chosen.isEmpty())
            ui_->txtTargetDir->setText(chosen);
    });
    connect(ui_->cmdMove, &QPushButton::clicked, this, [this] { MoveImages(false); });
    connect(ui_->cmdRelink, &QPushButton::clicked, this, [this] { MoveImages(true); });
}

frmMove::~frmMove() = default;

void frmMove::MoveImages(bool relink)
{
    session_.traceCall(QStringLiteral("frmMove.MoveImages"), {relink ? QStringLiteral("True") : QStringLiteral("False")});
    const MoveOptions options{ui_->txtTargetDir->text().trimmed(), relink, Missing::Ask};
    const ExchangeSummary summary = runImages({ui_->cmdMove, ui_->cmdRelink, ui_->cmdTargetDir}, [&](const ExchangeProgressFn& p) {
        return tarlox::MoveImages(session_, images_, options, p);
    });
    tellSummary(summary, windowTitle(), relink ? QStringLiteral("relinked") : QStringLiteral("moved"));
    // After a failed copy the screen stays, with what is left in its list.
    if (summary.stopped.isEmpty())
        close();
    else
        images_ = images_.mid(summary.done + int(summary.skipped.size()));
}

}  // namespace tarlox
