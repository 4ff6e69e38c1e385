#include "shell/forms/TagBinder.h"

#include <QCheckBox>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QRadioButton>
#include <QTextEdit>
#include <QWidget>

namespace tarlox {

namespace {

QString textOf(QWidget* w)
{
    if (auto* line = qobject_cast<QLineEdit*>(w))
        return line->text();
    if (auto* edit = qobject_cast<QTextEdit*>(w))
        return edit->toPlainText();
    if (auto* plain = qobject_cast<QPlainTextEdit*>(w))
        return plain->toPlainText();
    return {};
}

void setTextOf(QWidget* w, const QString& text)
{
    if (auto* line = qobject_cast<QLineEdit*>(w))
        line->setText(text);
    else if (auto* edit = qobject_cast<QTextEdit*>(w))
        edit->setPlainText(text);
    else if (auto* plain = qobject_cast<QPlainTextEdit*>(w))
        plain->setPlainText(text);
}

bool isText(QWidget* w)
{
    return qobject_cast<QLineEdit*>(w) || qobject_cast<QTextEdit*>(w) || qobject_cast<QPlainTextEdit*>(w);
}

}  // namespace

TagBinder::TagBinder(Session& session, QWidget* form)
    : QObject(form)
    , binding_(session)
    , form_(form)
{
    for (QWidget* w : boundControls()) {
        if (auto* line = qobject_cast<QLineEdit*>(w))
            connect(line, &QLineEdit::textChanged, this, &TagBinder::fieldChanged);
        else if (auto* edit = qobject_cast<QTextEdit*>(w))
            connect(edit, &QTextEdit::textChanged, this, &TagBinder::fieldChanged);
        else if (auto* plain = qobject_cast<QPlainTextEdit*>(w))
            connect(plain, &QPlainTextEdit::textChanged, this, &TagBinder::fieldChanged);
        else if (auto* check = qobject_cast<QCheckBox*>(w))
            connect(check, &QCheckBox::toggled, this, &TagBinder::fieldChanged);
        else if (auto* option = qobject_cast<QRadioButton*>(w))
            connect(option, &QRadioButton::toggled, this, &TagBinder::fieldChanged);
    }
}

QList<QWidget*> TagBinder::boundControls() const
{
    QList<QWidget*> controls;
    const auto children = form_->findChildren<QWidget*>();
    for (QWidget* w : children) {
        if (!GetTags(w->property("tag").toString()).bound())
            continue;
        if (isText(w) || qobject_cast<QCheckBox*>(w) || qobject_cast<QRadioButton*>(w))
            controls.append(w);
    }
    return controls;
}

template <class Visit> void TagBinder::forEachBound(Visit visit) const
{
    for (QWidget* w : boundControls())
        visit(w, GetTags(w->property("tag").toString()));
}

void TagBinder::LoadFields()
{
    forEachBound([&](QWidget* w, const SettingsTag& tag) {
        if (isText(w))
            setTextOf(w, binding_.storedText(tag));
        else if (auto* check = qobject_cast<QCheckBox*>(w))
            check->setChecked(binding_.storedCheck(tag));
        else if (auto* option = qobject_cast<QRadioButton*>(w)) {
            // An exclusive group can't be switched off from inside; lift
            // that for a moment so that no stored value shows none on.
            const bool exclusive = option->autoExclusive();
            option->setAutoExclusive(false);
            option->setChecked(binding_.storedOption(tag));
            option->setAutoExclusive(exclusive);
        }
    });
}

void TagBinder::CheckFields(bool& changed)
{
    forEachBound([&](QWidget* w, const SettingsTag& tag) {
        if (isText(w))
            changed = changed || binding_.textDiffers(tag, textOf(w));
        else if (auto* check = qobject_cast<QCheckBox*>(w))
            changed = changed || binding_.checkDiffers(tag, check->isChecked());
        else if (auto* option = qobject_cast<QRadioButton*>(w))
            changed = changed || binding_.optionDiffers(tag, option->isChecked());
    });
}

bool TagBinder::SaveFields()
{
    binding_.beginSave();
    forEachBound([&](QWidget* w, const SettingsTag& tag) {
        if (isText(w))
            binding_.saveText(tag, textOf(w));
        else if (auto* check = qobject_cast<QCheckBox*>(w))
            binding_.saveCheck(tag, check->isChecked());
        else if (auto* option = qobject_cast<QRadioButton*>(w))
            binding_.saveOption(tag, option->isChecked());
    });
    return binding_.finishSave();
}

}  // namespace tarlox
