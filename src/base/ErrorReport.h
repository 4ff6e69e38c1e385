#pragma once

#include <QString>

namespace tarlox {

class Prompter;

// What the shared error report shows for an unexpected failure.
struct ErrorDetails {
    QString procedure;
    QString extraInfo;
    qint64 number = 0;
    QString description;
    bool fromDataLayer = false;  // adds the connection and the statement
    QString connection;
    QString sqlCommand;
};

QString ProgramTitle();
QString ErrorReportText(const ErrorDetails& details);
// "An error has occured." with its lines, in a critical box titled with the program's title.
void ReportError(Prompter& prompter, const ErrorDetails& details);

}  // namespace tarlox
