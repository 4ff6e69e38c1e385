#pragma once

#include <QString>

class QWidget;

namespace tarlox {

class Session;

// A form's window kept in the local settings file (section "Form", keys
// made of name and "State", "Height", "Width", "Top", "Left", in twips).
void RestoreFormSize(Session& session, QWidget* form, const QString& name);
void StoreFormSize(Session& session, const QWidget* form, const QString& name);

}  // namespace tarlox
