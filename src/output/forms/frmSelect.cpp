#include "output/forms/frmSelect.h"

#include "data/Session.h"
#include "ui_frmSelect.h"

namespace tarlox {

frmSelect::frmSelect(Session& session, QWidget* parent)
    : QDialog(parent), session_(session), ui_(std::make_unique<Ui::frmSelect>())
{
    ui_->setupUi(this);
    setAttribute(Qt::WA_DeleteOnClose);
    // Printing, faxing and mailing a single image come with their own forms.
    ui_->cmdPrint->hide();
    ui_->cmdFax->hide();
    ui_->cmdEmail->hide();
    ui_->txtPrintMsg->hide();
    ui_->cmdView->setDefault(true);
    setMinimumWidth(440);
    connect(ui_->cmdView, &QPushButton::clicked, this, &frmSelect::cmdView_Click);
    connect(ui_->cmdReScan, &QPushButton::clicked, this, &frmSelect::cmdReScan_Click);
    connect(ui_->cmdFax, &QPushButton::clicked, this, &frmSelect::cmdFax_Click);
    connect(ui_->cmdCancel, &QPushButton::clicked, this, &QDialog::close);
}

frmSelect::~frmSelect() = default;

bool frmSelect::Form_Activate()
{
    selected_ = LocateImage(session_, session_.currentImage);
    if (!selected_)
        return false;
    ui_->txtImg->setText(selected_->fileName);
    ui_->txtPath->setText(selected_->path);
    ui_->txtVol->setText(selected_->volume);
    ui_->txtDate->setText(selected_->date);
    ui_->txtSize->setText(selected_->size);
    ui_->txtType->setText(selected_->type);
    ui_->txtPages->setText(QString::number(selected_->pages));
    return true;
}

void frmSelect::cmdView_Click()
{
    if (!selected_)
        return;
    // The viewer takes the image in hand as it stands now.
    session_.currentImage = selected_->number;
    session_.imageFilePath = selected_->filePath;
    emit viewRequested(selected_->number);
    close();
}

void frmSelect::cmdReScan_Click()
{
    if (selected_) {
        session_.currentImage = selected_->number;
        session_.imageFilePath = selected_->filePath;
        emit rescanRequested(selected_->number);
    }
    close();
}

void frmSelect::cmdFax_Click()
{
    if (selected_) {
        session_.currentImage = selected_->number;
        session_.imageFilePath = selected_->filePath;
        emit faxRequested(selected_->number);
    }
    close();
}

void frmSelect::setFaxAvailable(bool available)
{
    ui_->cmdFax->setVisible(available);
}

frmSelect* frmSelect::Open(Session& session, qint32 number, QWidget* parent)
{
    session.currentImage = number;
    auto* form = new frmSelect(session, parent);
    if (!form->Form_Activate()) {
        delete form;
        return nullptr;
    }
    form->show();
    return form;
}

}  // namespace tarlox
