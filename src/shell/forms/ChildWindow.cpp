#include "shell/forms/ChildWindow.h"

#include <QCloseEvent>

namespace tarlox {

ChildWindow::ChildWindow(QWidget* form, const QString& formName, QWidget* parent)
    : QMdiSubWindow(parent)
    , formName_(formName)
{
    setAttribute(Qt::WA_DeleteOnClose);
    setObjectName(formName + QStringLiteral("Window"));
    form->setAttribute(Qt::WA_DeleteOnClose);
    setWidget(form);
    setWindowTitle(form->windowTitle());
    setWindowIcon(form->windowIcon());
    form->installEventFilter(this);
    connect(form, &QObject::destroyed, this, &ChildWindow::closeEmptied, Qt::QueuedConnection);
}

void ChildWindow::announceUnload()
{
    if (unloaded_)
        return;
    unloaded_ = true;
    emit unloading(this);
}

void ChildWindow::closeEvent(QCloseEvent* event)
{
    // The base class asks the form first; a form that refuses keeps the window open.
    closing_ = true;
    QMdiSubWindow::closeEvent(event);
    closing_ = false;
    if (event->isAccepted())
        announceUnload();
}

void ChildWindow::closeEmptied()
{
    QWidget* content = widget();
    if (!unloaded_ && (!content || !content->isVisible()))
        close();
}

bool ChildWindow::eventFilter(QObject* watched, QEvent* event)
{
    if (watched == widget()) {
        if (event->type() == QEvent::Close && !closing_) {
            // The form closes itself: once it has accepted, the window goes too.
            QMetaObject::invokeMethod(this, &ChildWindow::closeEmptied, Qt::QueuedConnection);
        } else if (event->type() == QEvent::WindowTitleChange) {
            setWindowTitle(widget()->windowTitle());
        }
    }
    return QMdiSubWindow::eventFilter(watched, event);
}

}  // namespace tarlox
