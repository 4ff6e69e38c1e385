#include "view/forms/frmVTStm.h"

#include "base/Prompter.h"
#include "data/Session.h"
#include "ui_frmVTStm.h"
#include "view/DrawSettingsIo.h"

#include <QFontDialog>

namespace tarlox {

frmVTStm::frmVTStm(Session& session, QWidget* parent)
    : QDialog(parent, Qt::Dialog | Qt::WindowStaysOnTopHint), session_(session), ui_(std::make_unique<Ui::frmVTStm>())
{
    ui_->setupUi(this);
    setModal(true);
    chooseFont = [](const QFont& start, QWidget* owner) -> std::optional<QFont> {
        bool ok = false;
        const QFont font = QFontDialog::getFont(&ok, start, owner, QStringLiteral("Font"), QFontDialog::ScalableFonts);
        return ok ? std::optional<QFont>(font) : std::nullopt;
    };
    const DrawSettings& d = session_.draw;
    ui_->txtStampText->setPlainText(StampTextToBox(d.stampText));
    boxFont_ = ui_->txtStampText->font();
    fontSize_ = d.fontSize;
    if (!d.stampText.isEmpty()) {
        boxFont_ = QFont(d.fontName, 12);
        boxFont_.setBold(d.fontBold);
        boxFont_.setItalic(d.fontItalic);
        ui_->txtStampText->setFont(boxFont_);
    }
    showFont();
    ui_->cbStampCenter->setChecked(d.stampCenter);
    ui_->cbStampOvl->setChecked(d.stampOvl);
    ui_->txtImageName->setText(d.stampImage);
    (d.stampType == QLatin1String("Image") ? ui_->optImage : ui_->optText)->setChecked(true);
    optType_Click();
    connect(ui_->optImage, &QRadioButton::toggled, this, &frmVTStm::optType_Click);
    connect(ui_->cmdFont, &QPushButton::clicked, this, &frmVTStm::cmdFont_Click);
    connect(ui_->cmdImageName, &QPushButton::clicked, this, &frmVTStm::cmdImageName_Click);
    connect(ui_->cmdClose, &QPushButton::clicked, this, &QDialog::accept);
}

frmVTStm::~frmVTStm() = default;

void frmVTStm::showFont()
{
    DrawSettings shown;
    shown.fontName = boxFont_.family();
    shown.fontSize = fontSize_;
    shown.fontBold = boxFont_.bold();
    shown.fontItalic = boxFont_.italic();
    ui_->txtFont->setText(FontDescription(shown));
}

void frmVTStm::optType_Click()
{
    const bool text = ui_->optText->isChecked();
    for (QWidget* w : {static_cast<QWidget*>(ui_->frmText), static_cast<QWidget*>(ui_->lblText), static_cast<QWidget*>(ui_->txtStampText),
                       static_cast<QWidget*>(ui_->lblFont), static_cast<QWidget*>(ui_->txtFont), static_cast<QWidget*>(ui_->cmdFont)})
        w->setEnabled(text);
    for (QWidget* w : {static_cast<QWidget*>(ui_->frmImage), static_cast<QWidget*>(ui_->txtImageName),
                       static_cast<QWidget*>(ui_->lblImageName), static_cast<QWidget*>(ui_->cmdImageName)})
        w->setEnabled(!text);
}

void frmVTStm::cmdFont_Click()
{
    QFont start = boxFont_;
    if (fontSize_ > 0)
        start.setPointSize(fontSize_);
    const std::optional<QFont> chosen = chooseFont ? chooseFont(start, this) : std::nullopt;
    if (!chosen)
        return;
    fontSize_ = int(chosen->pointSizeF());
    boxFont_ = QFont(chosen->family(), 12);
    boxFont_.setBold(chosen->bold());
    boxFont_.setItalic(chosen->italic());
    ui_->txtStampText->setFont(boxFont_);
    showFont();
}

void frmVTStm::cmdImageName_Click()
{
    const QString file = session_.prompter().chooseOpenFile(QStringLiteral("Stamp Image"), ui_->txtImageName->text(),
                                                            QStringLiteral("Images (*.tif *.tiff *.png *.bmp *.jpg *.jpeg *.gif);;All Files (*)"));
    if (!file.isEmpty())
        ui_->txtImageName->setText(file);
}

void frmVTStm::Form_Unload()
{
    if (unloaded_)
        return;
    unloaded_ = true;
    DrawSettings& d = session_.draw;
    d.fontName = boxFont_.family();
    d.fontBold = boxFont_.bold();
    d.fontItalic = boxFont_.italic();
    d.fontSize = fontSize_;
    d.stampText = StampTextFromBox(ui_->txtStampText->toPlainText());
    d.stampImage = ui_->txtImageName->text();
    d.stampType = ui_->optImage->isChecked() ? QStringLiteral("Image") : QStringLiteral("Text");
    d.stampOvl = ui_->cbStampOvl->isChecked();
    d.stampCenter = ui_->cbStampCenter->isChecked();
    SaveStampSettings(session_);
}

void frmVTStm::done(int result)
{
    Form_Unload();
    QDialog::done(result);
}

void frmVTStm::Show(Session& session, QWidget* owner)
{
    frmVTStm form(session, owner);
    form.exec();
}

}  // namespace tarlox
