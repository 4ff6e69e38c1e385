#pragma once

#include <QString>

namespace tarlox {

class Session;

// The printer that this program uses, or, with server true, the printer of
// its server role: "Printer"/"PrinterBin" or "ServerPrinter"/"ServerPrinterBin"
// of the local file. The bin is the printer's paper source.
struct PrinterRole {
    QString key;
    QString word;
    QString name;
    int bin = 0;
};
PrinterRole PrinterRoleOf(const Session& session, bool server);

// After the printer dialog: when the chosen device or bin differs from the
// role's, asks whether it becomes the program's default and on OK writes
// both keys and keeps them in the session. True when the choice was kept.
bool KeepPrinterChoice(Session& session, bool server, const QString& device, int bin);

}  // namespace tarlox
