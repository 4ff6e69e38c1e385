#include "exchange/forms/frmDelete.h"

#include "ui_frmDelete.h"

#include "data/Session.h"

namespace tarlox {

frmDelete::frmDelete(Session& session, const SqlCondition& foundSet, QWidget* parent)
    : ExchangeForm(session, parent), ui_(std::make_unique<Ui::frmDelete>())
{
    session_.traceCall(QStringLiteral("frmDelete.Form_Load"));
    ui_->setupUi(this);
    setRunControls(ui_->barProgress, ui_->lblProgress, ui_->cmdCancel, ui_->lstImages);
    images_ = loadList(foundSet);
    connect(ui_->cmdDelete, &QPushButton::clicked, this, &frmDelete::cmdDelete_Click);
}

frmDelete::~frmDelete() = default;

// The screen with its warning is the confirmation.
void frmDelete::cmdDelete_Click()
{
    session_.traceCall(QStringLiteral("frmDelete.cmdDelete_Click"));
    const ExchangeSummary summary =
        runImages({ui_->cmdDelete}, [&](const ExchangeProgressFn& p) { return DeleteImages(session_, images_, p); });
    tellSummary(summary, windowTitle(), QStringLiteral("deleted"));
    close();
}

}  // namespace tarlox
