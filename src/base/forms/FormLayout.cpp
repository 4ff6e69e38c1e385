#include "base/forms/FormLayout.h"

#include "data/FormGeometry.h"
#include "data/Session.h"

#include <QEvent>
#include <QEventLoop>
#include <QFrame>
#include <QGroupBox>
#include <QMdiSubWindow>
#include <QVariant>
#include <QWidget>

namespace tarlox {

namespace {

QRect toTwips(const QRect& pixels)
{
    return QRect(PixelsToTwips(pixels.x()), PixelsToTwips(pixels.y()), PixelsToTwips(pixels.width()), PixelsToTwips(pixels.height()));
}

QRect toPixels(const QRect& twips)
{
    return QRect(TwipsToPixels(twips.x()), TwipsToPixels(twips.y()), TwipsToPixels(twips.width()), TwipsToPixels(twips.height()));
}

// Runs FormReSize after each resize of the form it watches.
class TagLayoutFilter : public QObject {
public:
    using QObject::QObject;

protected:
    bool eventFilter(QObject* watched, QEvent* event) override
    {
        if (event->type() == QEvent::Resize)
            FormReSize(static_cast<QWidget*>(watched));
        return QObject::eventFilter(watched, event);
    }
};

// A container of controls: a group box, or a plain frame or widget.
bool isFrame(const QWidget* widget)
{
    const QMetaObject* type = widget->metaObject();
    return qobject_cast<const QGroupBox*>(widget) || type == &QFrame::staticMetaObject || type == &QWidget::staticMetaObject;
}

}  // namespace

QString TagOf(const QObject* object)
{
    return object ? object->property("tag").toString() : QString();
}

void ApplyMinimumSize(QWidget* form)
{
    const QSize minimum = MinimumSizeOfTag(TagOf(form));
    form->setMinimumSize(std::max(form->minimumWidth(), TwipsToPixels(minimum.width())),
                         std::max(form->minimumHeight(), TwipsToPixels(minimum.height())));
}

void FormReSize(QWidget* form)
{
    const QSize minimum = MinimumSizeOfTag(TagOf(form));
    const QSize minPixels(TwipsToPixels(minimum.width()), TwipsToPixels(minimum.height()));
    if (minPixels.width() > form->width() || minPixels.height() > form->height()) {
        QWidget* place = FormWindowOf(form);
        const QSize grow(std::max(0, minPixels.width() - form->width()), std::max(0, minPixels.height() - form->height()));
        // Growing the window brings another resize, which places the controls again.
        place->resize(place->size() + grow);
    }
    const QSize formTwips(PixelsToTwips(form->width()), PixelsToTwips(form->height()));
    const QList<QWidget*> controls = form->findChildren<QWidget*>();
    for (QWidget* control : controls) {
        if (!control->isVisibleTo(form))
            continue;
        const LayoutTag layout = ReadLayoutTag(TagOf(control));
        if (layout.isEmpty())
            continue;
        // The keys are measured on the form; a control inside a frame keeps its own origin.
        const QPoint offset = control->parentWidget() == form ? QPoint() : control->parentWidget()->mapTo(form, QPoint());
        const QRect onForm = toTwips(control->geometry().translated(offset));
        control->setGeometry(toPixels(PlaceByLayoutTag(layout, formTwips, onForm)).translated(-offset));
    }
}

void KeepLayoutByTag(QWidget* form)
{
    ApplyMinimumSize(form);
    form->installEventFilter(new TagLayoutFilter(form));
    FormReSize(form);
}

QWidget* FormWindowOf(QWidget* form)
{
    if (qobject_cast<QMdiSubWindow*>(form))
        return form;
    if (auto* child = qobject_cast<QMdiSubWindow*>(form->parentWidget()))
        return child;
    return form->window();
}

void SaveFormSize(Session& session, QWidget* form, const QString& section, const QString& name)
{
    QWidget* place = FormWindowOf(form);
    FormState state = FormState::Normal;
    if (place->isMinimized())
        state = FormState::Minimized;
    else if (place->isMaximized())
        state = FormState::Maximized;
    SaveFormGeometry(session, section, name, state, toTwips(place->geometry()));
}

void GetFormSize(Session& session, QWidget* form, const QString& section, const QString& name)
{
    QWidget* place = FormWindowOf(form);
    const FormGeometry g = ReadFormGeometry(session, section, name);
    if (g.state) {
        switch (*g.state) {
        case FormState::Minimized: place->setWindowState(Qt::WindowMinimized); break;
        case FormState::Maximized: place->setWindowState(Qt::WindowMaximized); break;
        case FormState::Normal: place->setWindowState(Qt::WindowNoState); break;
        }
    }
    if (g.state.value_or(FormState::Normal) != FormState::Normal)
        return;
    const QRect now = toTwips(place->geometry());
    const QRect wanted(qRound(g.left.value_or(now.x())), qRound(g.top.value_or(now.y())), qRound(g.width.value_or(now.width())),
                       qRound(g.height.value_or(now.height())));
    place->setGeometry(toPixels(wanted));
}

void ModalCheck(QPointer<QWidget>& form)
{
    if (form) {
        QEventLoop loop;
        QObject::connect(form.data(), &QObject::destroyed, &loop, &QEventLoop::quit);
        loop.exec();
    }
    form = nullptr;
}

void EnableFrame(QWidget* frame, bool enable)
{
    frame->setEnabled(enable);
    const QList<QWidget*> controls = frame->findChildren<QWidget*>(Qt::FindDirectChildrenOnly);
    for (QWidget* control : controls) {
        control->setEnabled(enable);
        if (!isFrame(control))
            continue;
        const QList<QWidget*> inner = control->findChildren<QWidget*>(Qt::FindDirectChildrenOnly);
        for (QWidget* c : inner)
            c->setEnabled(enable);
    }
}

}  // namespace tarlox
