#include "shell/PrinterChoice.h"

#include "base/ErrorReport.h"
#include "base/Prompter.h"
#include "data/Session.h"
#include "data/Settings.h"

namespace tarlox {

PrinterRole PrinterRoleOf(const Session& s, bool server)
{
    if (server)
        return PrinterRole{QStringLiteral("ServerPrinter"), QStringLiteral("server printer"), s.serverPrinter, s.serverPrinterBin};
    return PrinterRole{QStringLiteral("Printer"), QStringLiteral("printer"), s.printer, s.printerBin};
}

bool KeepPrinterChoice(Session& s, bool server, const QString& device, int bin)
{
    s.traceCall(QStringLiteral("SetDefaultPrinter"), {device, QString::number(bin)});
    const PrinterRole role = PrinterRoleOf(s, server);
    if (device == role.name && bin == role.bin)
        return false;
    const QString text = QStringLiteral("You changed the printer to: \r\n\r\n\t") + device + QStringLiteral("\r\n\r\nDo you want to make this ")
        + QStringLiteral("the default ") + role.word + QStringLiteral(" for Tarlox?");
    if (s.prompter().ask(ProgramTitle(), text, Buttons::OkCancel, Icon::Question) != Answer::Ok)
        return false;
    PutLocal(s, QStringLiteral("Info"), role.key, device);
    PutLocal(s, QStringLiteral("Info"), role.key + QStringLiteral("Bin"), QString::number(bin));
    if (server) {
        s.serverPrinter = device;
        s.serverPrinterBin = bin;
    } else {
        s.printer = device;
        s.printerBin = bin;
    }
    return true;
}

}  // namespace tarlox
