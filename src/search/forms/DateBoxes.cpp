#include "search/forms/DateBoxes.h"

#include "base/ErrorReport.h"
#include "base/Prompter.h"
#include "base/TextTools.h"
#include "data/Session.h"

#include <QFocusEvent>
#include <QLineEdit>
#include <QTimer>

namespace tarlox {

DateBoxes::DateBoxes(Session& session, const QList<QLineEdit*>& boxes, const QList<QLineEdit*>& dateBoxes, QObject* parent)
    : QObject(parent), session_(session), dates_(dateBoxes)
{
    for (QLineEdit* box : boxes)
        box->installEventFilter(this);
}

int DateBoxes::CheckDate(QLineEdit* box)
{
    const QString text = box->text().trimmed();
    if (text.isEmpty() || ParseDate(text))
        return 0;
    checking_ = true;
    session_.prompter().ask(ProgramTitle(), QStringLiteral("Invalid Date"), Buttons::Ok, Icon::None);
    checking_ = false;
    box->setFocus();
    return 1;
}

bool DateBoxes::eventFilter(QObject* watched, QEvent* event)
{
    auto* box = qobject_cast<QLineEdit*>(watched);
    if (box && event->type() == QEvent::FocusIn) {
        QTimer::singleShot(0, box, [box] { box->selectAll(); });
    } else if (box && event->type() == QEvent::FocusOut && dates_.contains(box) && !checking_) {
        // Leaving for another window or a menu is not leaving the box.
        const Qt::FocusReason reason = static_cast<QFocusEvent*>(event)->reason();
        if (reason != Qt::ActiveWindowFocusReason && reason != Qt::PopupFocusReason) {
            QString text = box->text();
            if (VerifyDate(text) != box->text())
                box->setText(text);
            CheckDate(box);
        }
    }
    return QObject::eventFilter(watched, event);
}

}  // namespace tarlox
