#include "output/EmailSend.h"

#include "output/MailClient.h"
#include "output/MailSettings.h"

#include "base/TextTools.h"
#include "data/Session.h"
#include "data/Settings.h"

namespace tarlox {

SmtpSettings EmailServerSettings(Session& session)
{
    return email::ServerSettings([&](const QString& key) { return GetLocal(session, email::Section, key); });
}

bool EmailThroughClient(Session& session)
{
    return GetLocalBool(session, email::Section, email::EmailClient);
}

MailSendResult UseServer(const SmtpSettings& settings, const MailMessage& message, const SmtpSender::StatusLine& onStatus)
{
    return SmtpSender(settings).send(message, onStatus);
}

QString UseClient(const MailMessage& message, bool& silent)
{
    if (message.toAddress.trimmed().isEmpty())
        silent = false;
    const IoStatus started = StartMailClient(
        XdgEmailCommand(message.toAddress, message.toName, message.subject, message.body, message.files));
    return started ? QString() : started.error();
}

MailMessage TestMessage(Session& session, bool throughClient, const QDateTime& now)
{
    MailMessage message;
    message.fromName = GetLocal(session, email::Section, email::TestFromName);
    message.fromAddress = GetLocal(session, email::Section, email::TestFromAddress).trimmed();
    message.toName = GetLocal(session, email::Section, email::TestToName);
    message.toAddress = GetLocal(session, email::Section, email::TestToAddress).trimmed();
    message.subject = QStringLiteral("Test Message from Tarlox - ") + FormatShortDate(now.date()) + QLatin1Char(' ')
                      + now.time().toString(QStringLiteral("HH:mm:ss"));
    message.body = throughClient
                       ? QStringLiteral("This is a test message from Tarlox to determine if the default email client works.")
                       : QStringLiteral("This is a test message from Tarlox to determine if the Email settings are correct.");
    return message;
}

QString QueueLine(const QString& queueFiles)
{
    if (queueFiles.isEmpty())
        return {};
    const qsizetype images = (queueFiles.count(QLatin1Char(';')) + 1 + 1) / 2;
    if (images == 1)
        return QStringLiteral("There is 1 file queued to email");
    return QStringLiteral("There are %1 files queued to email").arg(images);
}

QString RecipientProblem(const QString& address, bool throughClient)
{
    const QString trimmed = address.trimmed();
    if (trimmed.isEmpty())
        return throughClient ? QString() : QStringLiteral("Please enter the recipient's e-mail address.");
    if (!IsPlausibleMailAddress(trimmed))
        return QStringLiteral("\"%1\" is not a valid e-mail address. An address has the form name@example.com.").arg(trimmed);
    return {};
}

}  // namespace tarlox
