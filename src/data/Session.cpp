#include "data/Session.h"

namespace tarlox {

Session::Session(Prompter& prompter)
    : programVersion(ProgramVersion())
    , prompter_(&prompter)
{
}

void Session::traceCall(const QString& procedure, const QStringList& arguments)
{
    if (trace_.enabled())
        trace_.write(procedure, arguments);
}

QString ProgramVersion()
{
    return QStringLiteral("%1.%2.%3")
        .arg(TARLOX_VERSION_MAJOR)
        .arg(TARLOX_VERSION_MINOR, 2, 10, QLatin1Char('0'))
        .arg(TARLOX_VERSION_PATCH, 4, 10, QLatin1Char('0'));
}

}  // namespace tarlox
