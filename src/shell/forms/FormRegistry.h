#pragma once

#include <QString>

#include <functional>
#include <map>

class QWidget;

namespace tarlox {

class Session;
class mdiMain;

// What a form needs to be built: the session and the frame it lives in.
struct FormContext {
    Session& session;
    mdiMain& frame;
};

// How the frame shows a form.
enum class FormKind {
    Child,   // a child window of the frame; ShowForm keeps one of each
    Dialog,  // a window of its own, modal to the program
};

struct FormEntry {
    QString name;
    FormKind kind = FormKind::Child;
    std::function<QWidget*(const FormContext&)> create;
};

// The forms the frame can open, by class name ("frmScan"). A menu command
// or toolbar button whose form is not registered is not offered. The
// program's own list is StandardForms(); tests build lists of their own.
class FormRegistry {
public:
    void add(const QString& name, FormKind kind, std::function<QWidget*(const FormContext&)> create);

    // A form class with the constructor Form(Session&, mdiMain&).
    template <class Form> void child(const QString& name)
    {
        add(name, FormKind::Child, [](const FormContext& c) { return new Form(c.session, c.frame); });
    }
    template <class Form> void dialog(const QString& name)
    {
        add(name, FormKind::Dialog, [](const FormContext& c) { return new Form(c.session, c.frame); });
    }

    bool has(const QString& name) const { return forms_.count(name) > 0; }
    const FormEntry* find(const QString& name) const;

private:
    std::map<QString, FormEntry> forms_;
};

// Every form of the program. A new form is added here, one line.
FormRegistry StandardForms();

}  // namespace tarlox
