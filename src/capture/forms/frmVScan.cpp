#include "capture/forms/frmVScan.h"

#include "capture/ScanChoices.h"
#include "capture/forms/BrightnessControls.h"
#include "data/Session.h"
#include "ui_frmVScan.h"

namespace tarlox {

frmVScan::frmVScan(Session& session, QWidget* parent)
    : QDialog(parent)
    , session_(session)
    , ui_(std::make_unique<Ui::frmVScan>())
{
    ui_->setupUi(this);
    setWindowFlag(Qt::WindowContextHelpButtonHint, false);
    brightness_ = new BrightnessControls(ui_->txtBright, ui_->hsbBright, this);
    connect(ui_->cmdScan, &QPushButton::clicked, this, &frmVScan::cmdScan_Click);
    connect(ui_->cmdScanCancel, &QPushButton::clicked, this, &frmVScan::cmdScanCancel_Click);
    ui_->cmdScan->setDefault(true);

    brightness_->setValue(session_.brightness ? *session_.brightness : DefaultBrightness(session_));
    const ResolutionChoice resolution = ReadResolutionChoice(session_);
    ui_->opt200->setText(resolution.lowCaption());
    ui_->opt300->setText(resolution.highCaption());
    ui_->opt200->setChecked(true);
    if (session_.dpi == QLatin1String("300"))
        ui_->opt300->setChecked(true);
}

frmVScan::~frmVScan() = default;

void frmVScan::cmdScan_Click()
{
    brightness_->txtBright_LostFocus();
    scanWanted_ = true;
    session_.dpi = ReadResolutionChoice(session_).dpiFor(ui_->opt300->isChecked());
    session_.brightness = brightness_->value();
    accept();
}

void frmVScan::cmdScanCancel_Click()
{
    reject();
}

}  // namespace tarlox
