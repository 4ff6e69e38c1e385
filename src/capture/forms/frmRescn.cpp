#include "capture/forms/frmRescn.h"

#include "capture/ScanChoices.h"
#include "capture/forms/BrightnessControls.h"
#include "capture/forms/ScanDialogs.h"
#include "data/FormGeometry.h"
#include "data/Session.h"
#include "store/ScannerSession.h"
#include "ui_frmRescn.h"

#include <QCloseEvent>

namespace tarlox {

frmRescn::frmRescn(Session& session, QWidget* parent)
    : QWidget(parent)
    , session_(session)
    , ui_(std::make_unique<Ui::frmRescn>())
    , rescan_(session)
{
    ui_->setupUi(this);
    setMinimumSize(TwipsToPixels(7200), TwipsToPixels(5535));
    brightness_ = new BrightnessControls(ui_->txtBright, ui_->hsbBright, this);
    connect(ui_->cmdScan, &QPushButton::clicked, this, &frmRescn::cmdScan_Click);
    connect(ui_->cmdScanCancel, &QPushButton::clicked, this, &frmRescn::cmdScanCancel_Click);
    rescan_.prepareScanner = [this](ScannerSession& scanner) {
        AttachScanDialogs(scanner, this, ui_->imcMain);
        connect(&scanner, &ScannerSession::pageReady, this, [this](const QImage&, int number) {
            ui_->lblStatus->setText(QStringLiteral("Page %1 scanned.").arg(number));
        });
    };
    Form_Load();
}

frmRescn::~frmRescn() = default;

void frmRescn::Form_Load()
{
    const ResolutionChoice resolution = ReadResolutionChoice(session_);
    ui_->opt200->setText(resolution.lowCaption());
    ui_->opt300->setText(resolution.highCaption());
    RescanChoices loaded;
    loaded.brightness = DefaultBrightness(session_);
    if (rescan_.Load(loaded)) {
        ui_->optLetter->setChecked(loaded.pageSizeCode == QLatin1String(" "));
        ui_->optLegal->setChecked(loaded.pageSizeCode == QLatin1String("G"));
        ui_->optA4->setChecked(loaded.pageSizeCode == QLatin1String("A"));
        ui_->opt200->setChecked(true);
    }
    brightness_->setValue(loaded.brightness);
}

RescanChoices frmRescn::choices() const
{
    RescanChoices c;
    c.pageSizeCode = PageSizeCodeFor(ui_->optLegal->isChecked(), ui_->optA4->isChecked());
    c.highResolution = ui_->opt300->isChecked();
    c.brightness = brightness_->value();
    return c;
}

void frmRescn::cmdScan_Click()
{
    if (scanning_)
        return;
    brightness_->txtBright_LostFocus();
    scanning_ = true;
    for (QWidget* w : {static_cast<QWidget*>(ui_->cmdScan), static_cast<QWidget*>(ui_->cmdScanCancel), static_cast<QWidget*>(ui_->frmSize),
                       static_cast<QWidget*>(ui_->frmResolution), static_cast<QWidget*>(ui_->frmBright)})
        w->setEnabled(false);
    ui_->lblStatus->setText(QStringLiteral("Scanning..."));
    replaced_ = rescan_.cmdScan_Click(choices());
    scanning_ = false;
    // The form closes whatever the outcome.
    close();
}

void frmRescn::cmdScanCancel_Click()
{
    close();
}

void frmRescn::closeEvent(QCloseEvent* event)
{
    if (scanning_) {
        event->ignore();
        return;
    }
    QWidget::closeEvent(event);
    Q_EMIT formClosed();
}

}  // namespace tarlox
