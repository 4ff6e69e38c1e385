#pragma once

#include <QPointer>
#include <QString>

class QWidget;
class QObject;

namespace tarlox {

class Session;

// Forms lay out with Qt layouts; what the layout tag keys promise (controls
// keep their distance from the right and bottom edges, stretch, and the form
// keeps a minimum size) is what the layouts give. For forms whose controls
// stand at fixed places, the same keys in the "tag" property of the form
// and its controls do the work: FormReSize applies them.

// The "tag" property of a form or control: layout keys or a settings binding.
QString TagOf(const QObject* object);

// Sets the form's minimum size from MinWidth/MinHeight of its tag (twips).
void ApplyMinimumSize(QWidget* form);

// Snaps the form up to its minimum, then places each visible control whose
// tag holds FromRight, FromBottom, FromWidth or FromHeight. Controls without
// those keys, and hidden ones, are not touched.
void FormReSize(QWidget* form);

// ApplyMinimumSize now and FormReSize on every resize of the form.
void KeepLayoutByTag(QWidget* form);

// The window that holds a form: its frame child window, or the form's own window.
QWidget* FormWindowOf(QWidget* form);

// Stores and restores the place of the form's window under section (empty:
// "Form") and the keys name + "State", "Height", "Width", "Top", "Left".
void SaveFormSize(Session& session, QWidget* form, const QString& section, const QString& name);
void GetFormSize(Session& session, QWidget* form, const QString& section, const QString& name);

// Waits, with the program alive, until the form is gone (closed and
// deleted); then clears the caller's reference. Returns at once for a form
// that is already gone.
void ModalCheck(QPointer<QWidget>& form);

// Enables or disables a frame and each control in it, frames inside it one level deep.
void EnableFrame(QWidget* frame, bool enable);

}  // namespace tarlox
