#pragma once

#include "shell/SettingsBinding.h"

#include <QObject>

class QWidget;

namespace tarlox {

class Session;

// Binds the controls of any form to settings by the dynamic property "tag"
// each carries ("Section=Info,Item=Device"). Text boxes (QLineEdit,
// QTextEdit, QPlainTextEdit), check boxes and option buttons take part; a
// control without a section in its tag does not. A new setting is a new
// control with a tag, and no code.
class TagBinder : public QObject {
    Q_OBJECT
public:
    TagBinder(Session& session, QWidget* form);

    void LoadFields();
    void CheckFields(bool& changed);
    bool SaveFields();

    // Emitted when any bound control is edited.
    Q_SIGNAL void fieldChanged();

    // The bound controls, in the form's order.
    QList<QWidget*> boundControls() const;

private:
    template <class Visit> void forEachBound(Visit visit) const;

    SettingsBinding binding_;
    QWidget* form_;
};

}  // namespace tarlox
