#pragma once

#include <QMainWindow>

class QMdiArea;

namespace tarlox {

class Session;

// The program's one top-level window: menus, toolbar and the child forms.
class mdiMain : public QMainWindow {
    Q_OBJECT
public:
    explicit mdiMain(Session& session, QWidget* parent = nullptr);
    QMdiArea* mdiArea() const { return area_; }

private:
    Session& session_;
    QMdiArea* area_;
};

}  // namespace tarlox
