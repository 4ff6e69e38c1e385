#include "capture/forms/FormWindow.h"

#include "startup/FormGeometry.h"

#include <QMdiSubWindow>
#include <QWidget>

namespace tarlox {

namespace {

// The window that carries the form: its sub-window inside the main window, or itself.
QWidget* frameOf(QWidget* form)
{
    auto* sub = qobject_cast<QMdiSubWindow*>(form->parentWidget());
    return sub ? static_cast<QWidget*>(sub) : form;
}

}  // namespace

void RestoreFormSize(Session& session, QWidget* widget, const QString& name)
{
    QWidget* form = frameOf(widget);
    const FormGeometry g = GetFormSize(session, {}, name);
    if (g.state) {
        if (*g.state == FormGeometry::Maximized) {
            form->setWindowState(Qt::WindowMaximized);
            return;
        }
        if (*g.state == FormGeometry::Minimized) {
            form->setWindowState(Qt::WindowMinimized);
            return;
        }
    }
    QRect r = form->geometry();
    if (g.left)
        r.moveLeft(TwipsToPixels(*g.left));
    if (g.top)
        r.moveTop(TwipsToPixels(*g.top));
    if (g.width)
        r.setWidth(std::max(form->minimumWidth(), TwipsToPixels(*g.width)));
    if (g.height)
        r.setHeight(std::max(form->minimumHeight(), TwipsToPixels(*g.height)));
    form->setGeometry(r);
}

void StoreFormSize(Session& session, const QWidget* widget, const QString& name)
{
    const QWidget* form = frameOf(const_cast<QWidget*>(widget));
    FormGeometry g;
    g.state = form->isMaximized() ? FormGeometry::Maximized : form->isMinimized() ? FormGeometry::Minimized : FormGeometry::Normal;
    if (*g.state == FormGeometry::Normal) {
        const QRect r = form->geometry();
        g.height = PixelsToTwips(r.height());
        g.width = PixelsToTwips(r.width());
        g.top = PixelsToTwips(r.top());
        g.left = PixelsToTwips(r.left());
    }
    SaveFormSize(session, {}, name, g);
}

}  // namespace tarlox
