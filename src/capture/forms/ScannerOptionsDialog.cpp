#include "capture/forms/ScannerOptionsDialog.h"

#include "store/SaneDevice.h"

#include <QCheckBox>
#include <QComboBox>
#include <QDialogButtonBox>
#include <QDoubleSpinBox>
#include <QFormLayout>
#include <QGroupBox>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QScrollArea>
#include <QSpinBox>
#include <QTimer>
#include <QVBoxLayout>

namespace tarlox {

namespace {

QString unitSuffix(SaneOption::Unit unit)
{
    switch (unit) {
    case SaneOption::Pixel: return QStringLiteral(" px");
    case SaneOption::Bit: return QStringLiteral(" bit");
    case SaneOption::Millimetre: return QStringLiteral(" mm");
    case SaneOption::Dpi: return QStringLiteral(" dpi");
    case SaneOption::Percent: return QStringLiteral(" %");
    case SaneOption::Microsecond: return QStringLiteral(" µs");
    case SaneOption::NoUnit: break;
    }
    return {};
}

}  // namespace

ScannerOptionsDialog::ScannerOptionsDialog(SaneDevice& device, QWidget* parent)
    : QDialog(parent)
    , device_(device)
{
    setObjectName(QStringLiteral("frmScannerOptions"));
    setWindowTitle(QStringLiteral("Scanner Settings - ") + device.description());
    setWindowFlag(Qt::WindowContextHelpButtonHint, false);
    auto* layout = new QVBoxLayout(this);
    area_ = new QScrollArea(this);
    area_->setWidgetResizable(true);
    layout->addWidget(area_, 1);
    status_ = new QLabel(this);
    status_->setObjectName(QStringLiteral("lblStatus"));
    status_->setWordWrap(true);
    layout->addWidget(status_);
    auto* buttons = new QDialogButtonBox(this);
    QPushButton* scan = buttons->addButton(QStringLiteral("&Scan"), QDialogButtonBox::AcceptRole);
    scan->setObjectName(QStringLiteral("cmdScan"));
    QPushButton* cancel = buttons->addButton(QStringLiteral("&Cancel"), QDialogButtonBox::RejectRole);
    cancel->setObjectName(QStringLiteral("cmdCancel"));
    connect(buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    layout->addWidget(buttons);
    resize(520, 600);
    reload();
}

void ScannerOptionsDialog::reload()
{
    auto* page = new QWidget;
    auto* pageLayout = new QVBoxLayout(page);
    QFormLayout* form = nullptr;
    const auto newGroup = [&](const QString& title) {
        auto* group = new QGroupBox(title.isEmpty() ? QStringLiteral("Settings") : title, page);
        form = new QFormLayout(group);
        pageLayout->addWidget(group);
    };
    for (const SaneOption& option : device_.options()) {
        if (option.type == SaneOption::Group) {
            newGroup(option.title);
            continue;
        }
        if (option.name.isEmpty() || option.valueCount > 1)
            continue;  // vectors such as gamma tables are left to the device
        if (!form)
            newGroup({});
        QWidget* editor = editorFor(option);
        editor->setObjectName(option.name);
        editor->setToolTip(option.description);
        editor->setEnabled(option.active && option.settable);
        if (option.type == SaneOption::Bool || option.type == SaneOption::Button)
            form->addRow(editor);
        else
            form->addRow(option.title + QLatin1Char(':'), editor);
    }
    pageLayout->addStretch(1);
    QWidget* old = area_->takeWidget();
    area_->setWidget(page);
    if (old)
        old->deleteLater();
}

QWidget* ScannerOptionsDialog::editorFor(const SaneOption& option)
{
    const QVariant value = device_.value(option);
    switch (option.type) {
    case SaneOption::Bool: {
        auto* box = new QCheckBox(option.title);
        box->setChecked(value.toBool());
        connect(box, &QCheckBox::toggled, this, [this, option](bool on) { apply(option, on); });
        return box;
    }
    case SaneOption::Button: {
        auto* button = new QPushButton(option.title);
        connect(button, &QPushButton::clicked, this, [this, option] {
            const SaneResult r = device_.press(option);
            status_->setText(r.ok() ? QString() : r.text);
            QTimer::singleShot(0, this, &ScannerOptionsDialog::reload);
        });
        return button;
    }
    case SaneOption::String: {
        if (option.constraint == SaneOption::StringList) {
            auto* combo = new QComboBox;
            combo->addItems(option.strings);
            combo->setCurrentText(value.toString());
            connect(combo, &QComboBox::textActivated, this, [this, option](const QString& text) { apply(option, text); });
            return combo;
        }
        auto* line = new QLineEdit(value.toString());
        connect(line, &QLineEdit::editingFinished, this, [this, option, line] { apply(option, line->text()); });
        return line;
    }
    case SaneOption::Int:
    case SaneOption::Fixed:
        break;
    case SaneOption::Group:
        return new QWidget;
    }
    if (option.constraint == SaneOption::WordList) {
        auto* combo = new QComboBox;
        for (double w : option.words)
            combo->addItem(QString::number(w) + unitSuffix(option.unit), w);
        combo->setCurrentIndex(std::max(0, int(option.words.indexOf(value.toDouble()))));
        connect(combo, &QComboBox::activated, this, [this, option, combo](int index) { apply(option, combo->itemData(index)); });
        return combo;
    }
    const bool ranged = option.constraint == SaneOption::Range;
    if (option.type == SaneOption::Int) {
        auto* spin = new QSpinBox;
        spin->setRange(ranged ? int(option.minimum) : -1000000, ranged ? int(option.maximum) : 1000000);
        if (ranged && option.quant > 0)
            spin->setSingleStep(int(option.quant));
        spin->setSuffix(unitSuffix(option.unit));
        spin->setValue(value.toInt());
        spin->setKeyboardTracking(false);
        connect(spin, &QSpinBox::valueChanged, this, [this, option](int v) { apply(option, v); });
        return spin;
    }
    auto* spin = new QDoubleSpinBox;
    spin->setDecimals(2);
    spin->setRange(ranged ? option.minimum : -1e6, ranged ? option.maximum : 1e6);
    if (ranged && option.quant > 0)
        spin->setSingleStep(option.quant);
    spin->setSuffix(unitSuffix(option.unit));
    spin->setValue(value.toDouble());
    spin->setKeyboardTracking(false);
    connect(spin, &QDoubleSpinBox::valueChanged, this, [this, option](double v) { apply(option, v); });
    return spin;
}

void ScannerOptionsDialog::apply(const SaneOption& option, const QVariant& value)
{
    const SaneResult result = device_.setValue(option, value);
    status_->setText(result.ok() ? QString() : result.text);
    // The device may have changed this and other options: show them as they are now.
    QTimer::singleShot(0, this, &ScannerOptionsDialog::reload);
}

}  // namespace tarlox
