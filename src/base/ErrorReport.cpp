#include "base/ErrorReport.h"

#include "base/Prompter.h"

namespace tarlox {

QString ProgramTitle() { return QStringLiteral("Tarlox"); }

QString ErrorReportText(const ErrorDetails& d)
{
    const QString nl = QStringLiteral("\r\n\t");
    QString text = QStringLiteral("An error has occured.") + nl + QStringLiteral("Procedure: ") + d.procedure + nl
        + QStringLiteral("Extra Info: ") + d.extraInfo;
    if (d.fromDataLayer)
        text += nl + QStringLiteral("Connection String: ") + d.connection + nl + QStringLiteral("SQL Command: ") + d.sqlCommand;
    text += nl + QStringLiteral("Error Number: ") + QString::number(d.number) + nl + QStringLiteral("Error Description: ")
        + d.description;
    return text;
}

void ReportError(Prompter& prompter, const ErrorDetails& details)
{
    prompter.setBusy(false);
    prompter.tell(ProgramTitle(), ErrorReportText(details), Icon::Critical);
}

}  // namespace tarlox
