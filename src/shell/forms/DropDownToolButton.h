#pragma once

#include <QToolButton>

namespace tarlox {

// A toolbar button with a drop-down arrow that does one thing: a click on
// the arrow emits dropDown() (the tool's properties) instead of opening a
// menu; a click on the face runs the button's action.
class DropDownToolButton : public QToolButton {
    Q_OBJECT
public:
    DropDownToolButton(QAction* command, QAction* properties, QWidget* parent = nullptr);

signals:
    void dropDown();

protected:
    void mousePressEvent(QMouseEvent* event) override;
};

}  // namespace tarlox
