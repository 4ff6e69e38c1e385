#include "capture/forms/frmScan.h"

#include "capture/ScanChoices.h"
#include "capture/forms/BrightnessControls.h"
#include "base/forms/FormLayout.h"
#include "capture/forms/ScanDialogs.h"
#include "data/FormGeometry.h"
#include "data/Session.h"
#include "store/ScannerSession.h"
#include "ui_frmScan.h"

#include <QCloseEvent>
#include <QKeyEvent>
#include <QTimer>

namespace tarlox {

frmScan::frmScan(Session& session, QWidget* parent)
    : QWidget(parent)
    , session_(session)
    , ui_(std::make_unique<Ui::frmScan>())
    , entry_(session)
{
    ui_->setupUi(this);
    // At least 9,555 by 5,535 twips; the page fills the room beside the fields.
    setMinimumSize(TwipsToPixels(9555), TwipsToPixels(5535));
    brightness_ = new BrightnessControls(ui_->txtBright, ui_->hsbBright, this);
    ui_->txtPart->installEventFilter(this);
    for (QWidget* field : {ui_->txtPO, ui_->txtVend, ui_->txtMfg})
        field->installEventFilter(this);
    connect(ui_->cmdScan, &QPushButton::clicked, this, &frmScan::cmdScan_Click);
    connect(ui_->cmdCancel, &QPushButton::clicked, this, &frmScan::cmdCancel_Click);
    connect(&entry_, &ScanEntry::stepChanged, this, [this](const QString& step) {
        if (scanning_ && step == QLatin1String("Copy from Temp"))
            ui_->lblStatus->setText(QStringLiteral("Storing the report..."));
    });
    entry_.prepareScanner = [this](ScannerSession& scanner) {
        AttachScanDialogs(scanner, this, ui_->imcMain);
        connect(&scanner, &ScannerSession::pageReady, this, [this](const QImage&, int number) {
            ui_->lblStatus->setText(QStringLiteral("Page %1 scanned.").arg(number));
            Q_EMIT pageShown(number);
        });
    };
    Form_Load();
}

frmScan::~frmScan() = default;

void frmScan::Form_Load()
{
    session_.traceCall(QStringLiteral("frmScan.Form_Load"));
    ui_->optLetter->setChecked(true);
    const ResolutionChoice resolution = ReadResolutionChoice(session_);
    ui_->opt200->setText(resolution.lowCaption());
    ui_->opt300->setText(resolution.highCaption());
    ui_->opt200->setChecked(true);
    if (HighResolutionByDefault(session_))
        ui_->opt300->setChecked(true);
    brightness_->setValue(DefaultBrightness(session_));
    applySiteNames();
    GetFormSize(session_, this, {}, QStringLiteral("frmScan"));
}

void frmScan::applySiteNames()
{
    const auto apply = [](QLabel* label, QLineEdit* field, const FieldTexts& texts) {
        label->setText(texts.label);
        field->setToolTip(texts.hint);
    };
    apply(ui_->lblPO, ui_->txtPO, PurchaseOrderTexts(session_.poShort, FieldTexts{ui_->lblPO->text(), ui_->txtPO->toolTip()}));
    apply(ui_->lblVend, ui_->txtVend, VendorTexts(session_.vendShort, FieldTexts{ui_->lblVend->text(), ui_->txtVend->toolTip()}));
    apply(ui_->lblMfg, ui_->txtMfg, ManufacturerTexts(session_.mfgShort, FieldTexts{ui_->lblMfg->text(), ui_->txtMfg->toolTip()}));
}

ScanEntryFields frmScan::fields() const
{
    ScanEntryFields f;
    f.heat = ui_->txtHeat->text();
    f.part = ui_->txtPart->text();
    f.po = ui_->txtPO->text();
    f.vend = ui_->txtVend->text();
    f.mfg = ui_->txtMfg->text();
    f.pageSizeCode = PageSizeCodeFor(ui_->optLegal->isChecked(), ui_->optA4->isChecked());
    f.highResolution = ui_->opt300->isChecked();
    f.brightness = brightness_->value();
    return f;
}

void frmScan::setScanning(bool scanning)
{
    scanning_ = scanning;
    // The focus waits on Stop, so it doesn't pass through the fields as they are disabled.
    if (scanning)
        ui_->cmdCancel->setFocus();
    for (QWidget* w : {static_cast<QWidget*>(ui_->cmdScan), static_cast<QWidget*>(ui_->txtHeat), static_cast<QWidget*>(ui_->txtPart),
                       static_cast<QWidget*>(ui_->txtPO), static_cast<QWidget*>(ui_->txtVend), static_cast<QWidget*>(ui_->txtMfg),
                       static_cast<QWidget*>(ui_->frmSize), static_cast<QWidget*>(ui_->frmResolution), static_cast<QWidget*>(ui_->frmBright)})
        w->setEnabled(!scanning);
    // While pages come in, End stops the feeder after the sheet in hand.
    ui_->cmdCancel->setText(scanning ? QStringLiteral("&Stop") : QStringLiteral("&End"));
    ui_->cmdCancel->setToolTip(scanning ? QStringLiteral("Stop the scanner after the page in hand") : QStringLiteral("End without scanning"));
}

void frmScan::cmdScan_Click()
{
    if (scanning_)
        return;
    // The brightness box counts as left when Scan is pressed.
    brightness_->txtBright_LostFocus();
    setScanning(true);
    ui_->imcMain->clear();
    ui_->lblStatus->setText(QStringLiteral("Scanning..."));
    lastResult_ = entry_.cmdScan_Click(fields());
    setScanning(false);
    if (lastResult_.stored()) {
        ui_->txtHeat->clear();
        ui_->txtPart->clear();
        ui_->lblStatus->setText(QStringLiteral("Stored as image %1.").arg(lastResult_.imageNumber));
    } else {
        ui_->lblStatus->clear();
    }
    ui_->txtHeat->setFocus();
    Q_EMIT scanFinished(lastResult_);
}

void frmScan::cmdCancel_Click()
{
    if (scanning_) {
        if (ScannerSession* scanner = entry_.scanner()) {
            scanner->requestStop();
            ui_->lblStatus->setText(QStringLiteral("Stopping after the page in hand..."));
        }
        return;
    }
    close();
}

bool frmScan::eventFilter(QObject* watched, QEvent* event)
{
    if (watched == ui_->txtPart && event->type() == QEvent::KeyPress) {
        const auto* key = static_cast<QKeyEvent*>(event);
        if (key->text() == QLatin1String("\"")) {
            ui_->txtPart->setText(DittoLastPart(ui_->txtPart->text()));
            ui_->txtPart->end(false);
            return true;
        }
    }
    if (event->type() == QEvent::FocusIn && (watched == ui_->txtPO || watched == ui_->txtVend || watched == ui_->txtMfg)) {
        auto* field = static_cast<QLineEdit*>(watched);
        // After the focus has settled, or a mouse click would undo the selection.
        QTimer::singleShot(0, field, [field] { field->selectAll(); });
    }
    return QWidget::eventFilter(watched, event);
}

void frmScan::closeEvent(QCloseEvent* event)
{
    // The form can't go while a scan runs on its behalf.
    if (scanning_) {
        event->ignore();
        return;
    }
    SaveFormSize(session_, this, {}, QStringLiteral("frmScan"));
    QWidget::closeEvent(event);
    Q_EMIT formClosed();
}

}  // namespace tarlox
