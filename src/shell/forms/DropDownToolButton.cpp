#include "shell/forms/DropDownToolButton.h"

#include <QMenu>
#include <QMouseEvent>
#include <QStyle>
#include <QStyleOptionToolButton>

namespace tarlox {

DropDownToolButton::DropDownToolButton(QAction* command, QAction* properties, QWidget* parent)
    : QToolButton(parent)
{
    setDefaultAction(command);
    setObjectName(command->objectName());
    setAutoRaise(true);
    setFocusPolicy(Qt::NoFocus);
    // The menu draws the arrow and lets the keyboard reach the properties.
    auto* menu = new QMenu(this);
    menu->addAction(properties);
    setMenu(menu);
    setPopupMode(QToolButton::MenuButtonPopup);
    connect(this, &DropDownToolButton::dropDown, properties, &QAction::trigger);
}

void DropDownToolButton::mousePressEvent(QMouseEvent* event)
{
    if (event->button() == Qt::LeftButton && isEnabled()) {
        QStyleOptionToolButton option;
        initStyleOption(&option);
        const QStyle::SubControl hit = style()->hitTestComplexControl(QStyle::CC_ToolButton, &option, event->position().toPoint(), this);
        if (hit == QStyle::SC_ToolButtonMenu) {
            event->accept();
            emit dropDown();
            return;
        }
    }
    QToolButton::mousePressEvent(event);
}

}  // namespace tarlox
