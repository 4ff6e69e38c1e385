#include "capture/forms/BrightnessControls.h"

#include "capture/ScanChoices.h"

#include <QEvent>
#include <QLineEdit>
#include <QScrollBar>

namespace tarlox {

BrightnessControls::BrightnessControls(QLineEdit* box, QScrollBar* bar, QObject* parent)
    : QObject(parent)
    , box_(box)
    , bar_(bar)
{
    bar_->setRange(-1000, 1000);
    bar_->setSingleStep(10);
    bar_->setPageStep(100);
    connect(bar_, &QScrollBar::valueChanged, this, [this](int value) {
        value_ = value;
        box_->setText(QString::number(value));
        Q_EMIT valueChanged(value);
    });
    connect(box_, &QLineEdit::returnPressed, this, &BrightnessControls::txtBright_LostFocus);
    box_->installEventFilter(this);
}

void BrightnessControls::setValue(int value)
{
    value_ = value;
    box_->setText(QString::number(value));
    bar_->setValue(value);
}

void BrightnessControls::txtBright_LostFocus()
{
    const int value = BrightnessFromText(box_->text());
    setValue(value);
    Q_EMIT valueChanged(value);
}

bool BrightnessControls::eventFilter(QObject* watched, QEvent* event)
{
    if (watched == box_ && event->type() == QEvent::FocusOut)
        txtBright_LostFocus();
    return QObject::eventFilter(watched, event);
}

}  // namespace tarlox
