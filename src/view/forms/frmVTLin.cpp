#include "view/forms/frmVTLin.h"

#include "data/Session.h"
#include "ui_frmVTLin.h"
#include "view/DrawSettingsIo.h"

#include <QLineEdit>

namespace tarlox {

void ClampWidthBox(QLineEdit* box)
{
    const QString clamped = QString::number(ClampPenWidth(box->text()));
    if (box->text() != clamped)
        box->setText(clamped);
}

frmVTLin::frmVTLin(Session& session, QWidget* parent)
    : QDialog(parent, Qt::Dialog | Qt::WindowStaysOnTopHint), session_(session), ui_(std::make_unique<Ui::frmVTLin>())
{
    ui_->setupUi(this);
    setModal(true);
    ui_->txtLineWidth->setText(QString::number(session_.draw.lineWidth));
    txtLineWidth_Change();
    connect(ui_->txtLineWidth, &QLineEdit::textChanged, this, &frmVTLin::txtLineWidth_Change);
    connect(ui_->cmdClose, &QPushButton::clicked, this, &QDialog::accept);
}

frmVTLin::~frmVTLin() = default;

void frmVTLin::txtLineWidth_Change()
{
    ClampWidthBox(ui_->txtLineWidth);
}

void frmVTLin::Form_Unload()
{
    if (unloaded_)
        return;
    unloaded_ = true;
    session_.draw.lineWidth = ClampPenWidth(ui_->txtLineWidth->text());
    SaveLineSettings(session_);
}

void frmVTLin::done(int result)
{
    Form_Unload();
    QDialog::done(result);
}

void frmVTLin::Show(Session& session, QWidget* owner)
{
    frmVTLin form(session, owner);
    form.exec();
}

}  // namespace tarlox
