#include "output/forms/SendWithStatus.h"

#include "output/EmailSend.h"
#include "store/OffThread.h"

#include <QCoreApplication>
#include <QPlainTextEdit>
#include <QPointer>

namespace tarlox {

MailSendResult SendWithStatus(const SmtpSettings& settings, const MailMessage& message, QPlainTextEdit* status)
{
    QPointer<QPlainTextEdit> box(status);
    MailSendResult result;
    RunOffThread([&] {
        result = UseServer(settings, message, [box](const QString& line) {
            // Lines travel to the interface thread as events.
            QMetaObject::invokeMethod(box, [box, line] {
                if (box)
                    box->appendPlainText(line);
            }, Qt::QueuedConnection);
        });
    });
    if (box)
        QCoreApplication::sendPostedEvents(box, QEvent::MetaCall);
    return result;
}

}  // namespace tarlox
