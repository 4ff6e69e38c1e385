#include "base/LocalTimeZone.h"
#include "shell/forms/MessageBoxPrompter.h"
#include "shell/ServerSetup.h"
#include "shell/forms/frmSecure.h"
#include "shell/forms/mdiMain.h"
#include "data/Session.h"
#include "startup/Startup.h"

#include <QApplication>
#include <QIcon>
#include <QPrinterInfo>

using namespace tarlox;

int main(int argc, char** argv)
{
    ReadLocalTimeZoneOnce();
    QApplication app(argc, argv);
    QApplication::setApplicationName(QStringLiteral("tarlox"));
    // Every window without an icon of its own, message boxes and child windows included.
    QApplication::setWindowIcon(QIcon(QStringLiteral(":/icons/tarlox.svg")));
    QApplication::setApplicationDisplayName(QStringLiteral("Tarlox"));
    QApplication::setDesktopFileName(QStringLiteral("tarlox"));

    MessageBoxPrompter prompter;
    Session session(prompter);
    session.offerRetry = AskRetryCancel(prompter);
    session.installedPrinters = [] { return QPrinterInfo::availablePrinterNames(); };
    session.defaultPrinter = [] { return QPrinterInfo::defaultPrinterName(); };

    StartTrace(session, ParseTraceSwitch(app.arguments().mid(1)));
    // A machine without a row gets the server setup screen before the main window.
    if (!StartSessionWithSetup(session, [&] { RunServerSetupForNewMachine(session, nullptr); }))
        return 1;

    mdiMain window(session);
    prompter.setParent(&window);
    window.MDIForm_Load();
    window.show();
    return app.exec();
}
