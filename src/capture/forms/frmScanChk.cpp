#include "capture/forms/frmScanChk.h"

#include "data/FormGeometry.h"
#include "store/PageProcessing.h"
#include "ui_frmScanChk.h"

#include <algorithm>


namespace tarlox {

frmScanChk::frmScanChk(QImage* page, std::function<void(const QImage&)> refresh, QWidget* parent)
    : QDialog(parent)
    , ui_(std::make_unique<Ui::frmScanChk>())
    , page_(page)
    , refresh_(std::move(refresh))
{
    ui_->setupUi(this);
    setWindowFlag(Qt::WindowContextHelpButtonHint, false);
    connect(ui_->cmdYes, &QPushButton::clicked, this, [this] { answer(Answer::Yes); });
    connect(ui_->cmdNo, &QPushButton::clicked, this, [this] { answer(Answer::No); });
    connect(ui_->cmdCancel, &QPushButton::clicked, this, [this] { answer(Answer::Cancel); });
    connect(ui_->chkInvert, &QCheckBox::toggled, this, &frmScanChk::chkInvert_Click);
    if (!page_) {
        // Without the invert question the dialog is the question and its buttons.
        ui_->chkInvert->setVisible(false);
        ui_->chkInvert->setEnabled(false);
        adjustSize();
        setFixedHeight(std::max(minimumSizeHint().height(), TwipsToPixels(930)));
    }
}

frmScanChk::~frmScanChk() = default;

void frmScanChk::showEvent(QShowEvent* event)
{
    QDialog::showEvent(event);
    ui_->cmdNo->setDefault(true);
    ui_->cmdNo->setFocus();
}

Answer frmScanChk::ask()
{
    exec();
    return result_;
}

void frmScanChk::reject()
{
    answer(Answer::No);
}

void frmScanChk::answer(Answer a)
{
    result_ = a;
    done(int(a));
}

void frmScanChk::chkInvert_Click()
{
    if (!page_)
        return;
    *page_ = InvertPage(*page_);
    if (refresh_)
        refresh_(*page_);
}

}  // namespace tarlox
