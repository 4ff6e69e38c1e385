#include "output/MailClient.h"

#include "output/SmtpSender.h"

#include <QProcess>
#include <QRegularExpression>

namespace tarlox {

namespace {

// The recipient in RFC 822 form. Nothing of it may begin with "-", which
// xdg-email would take for an option: such a name is quoted, such a bare
// address put in angle brackets.
QString Recipient(const QString& address, const QString& name)
{
    const QString plainName = name.simplified();
    if (plainName.isEmpty())
        return address.startsWith(QLatin1Char('-')) ? QLatin1Char('<') + address + QLatin1Char('>') : address;
    static const QRegularExpression specials(QStringLiteral("[()<>\\[\\]:;@\\\\,.\"]|^-"));
    if (!plainName.contains(specials))
        return plainName + QStringLiteral(" <") + address + QLatin1Char('>');
    QString quoted = plainName;
    quoted.replace(QLatin1Char('\\'), QStringLiteral("\\\\")).replace(QLatin1Char('"'), QStringLiteral("\\\""));
    return QLatin1Char('"') + quoted + QStringLiteral("\" <") + address + QLatin1Char('>');
}

}  // namespace

ProgramCall XdgEmailCommand(const QString& toAddress, const QString& toName, const QString& subject,
                            const QString& body, const QStringList& files)
{
    ProgramCall call{QStringLiteral("xdg-email"), {QStringLiteral("--utf8")}};
    if (!subject.isEmpty())
        call.arguments << QStringLiteral("--subject") << subject;
    if (!body.isEmpty())
        call.arguments << QStringLiteral("--body") << body;
    for (const QString& file : files)
        call.arguments << QStringLiteral("--attach") << file;
    const QString address = toAddress.trimmed();
    if (IsPlausibleMailAddress(address))
        call.arguments << Recipient(address, toName);
    return call;
}

IoStatus StartMailClient(const ProgramCall& call)
{
    if (!QProcess::startDetached(call.program, call.arguments))
        return Failure(QStringLiteral("The mail program %1 can't be started. Is xdg-utils installed?").arg(call.program));
    return {};
}

}  // namespace tarlox
