#pragma once

// The two routes of an e-mail: the server (SMTP, with the log-on of section
// "Email") and the desktop's mail client. Both take the message as the forms
// and the command line gather it; the settings are read on the caller's
// thread, so the send itself may run on any thread.

#include "output/SmtpSender.h"

#include <QDateTime>
#include <QString>
#include <QStringList>

namespace tarlox {

class Session;

// The server settings of section "Email" of the local settings file.
SmtpSettings EmailServerSettings(Session& session);

// True when key EmailClient says the desktop's mail client sends.
bool EmailThroughClient(Session& session);

// UseServer: sends through the server. onStatus receives each line of the
// conversation as it happens, on the thread that runs the send; the result
// holds the status text (each line after a line break, the final line last)
// and the explanation of a failure.
MailSendResult UseServer(const SmtpSettings& settings, const MailMessage& message,
                         const SmtpSender::StatusLine& onStatus = {});

// UseClient: opens the desktop's composer with the message ready. silent
// is in and out: without a recipient it turns false (the person picks one in
// the composer). The composer is always shown on this platform. Returns ""
// or why the composer could not be started.
QString UseClient(const MailMessage& message, bool& silent);

// The message frmEtest and "tarlox-cli mail --test" send: the four Test...
// keys, the subject with the date and time of now, the body of the route.
MailMessage TestMessage(Session& session, bool throughClient, const QDateTime& now);

// "There is 1 file queued to email" / "There are n files queued to email"
// for a queue of that many path;pages entries; "" for none.
QString QueueLine(const QString& queueFiles);

// A recipient check before anything is prepared: "" when the address can be
// sent to, else a message for the person. Server mode refuses an empty
// address; the client route lets the person pick one in the composer.
QString RecipientProblem(const QString& address, bool throughClient);

}  // namespace tarlox
