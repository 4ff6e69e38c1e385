#include "view/forms/frmVTRec.h"

#include "data/Session.h"
#include "ui_frmVTRec.h"
#include "view/DrawSettingsIo.h"
#include "view/forms/frmVTLin.h"

namespace tarlox {

frmVTRec::frmVTRec(Session& session, QWidget* parent)
    : QDialog(parent, Qt::Dialog | Qt::WindowStaysOnTopHint), session_(session), ui_(std::make_unique<Ui::frmVTRec>())
{
    ui_->setupUi(this);
    setModal(true);
    ui_->txtRecWidth->setText(QString::number(session_.draw.rectangleWidth));
    ClampWidthBox(ui_->txtRecWidth);
    ui_->chkFill->setChecked(session_.draw.rectangleFill);
    ui_->chkBlack->setChecked(session_.draw.rectangleBlack);
    connect(ui_->txtRecWidth, &QLineEdit::textChanged, this, [this] { ClampWidthBox(ui_->txtRecWidth); });
    connect(ui_->cmdClose, &QPushButton::clicked, this, &QDialog::accept);
}

frmVTRec::~frmVTRec() = default;

void frmVTRec::Form_Unload()
{
    if (unloaded_)
        return;
    unloaded_ = true;
    session_.draw.rectangleWidth = ClampPenWidth(ui_->txtRecWidth->text());
    session_.draw.rectangleFill = ui_->chkFill->isChecked();
    session_.draw.rectangleBlack = ui_->chkBlack->isChecked();
    SaveRectangleSettings(session_);
}

void frmVTRec::done(int result)
{
    Form_Unload();
    QDialog::done(result);
}

void frmVTRec::Show(Session& session, QWidget* owner)
{
    frmVTRec form(session, owner);
    form.exec();
}

}  // namespace tarlox
