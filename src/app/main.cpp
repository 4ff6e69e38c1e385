#include "shell/forms/MessageBoxPrompter.h"
#include "shell/forms/mdiMain.h"
#include "startup/Session.h"
#include "startup/Startup.h"

#include <QApplication>
#include <QPrinterInfo>

using namespace tarlox;

int main(int argc, char** argv)
{
    QApplication app(argc, argv);
    QApplication::setApplicationName(QStringLiteral("tarlox"));
    QApplication::setApplicationDisplayName(QStringLiteral("Tarlox"));
    QApplication::setDesktopFileName(QStringLiteral("tarlox"));

    MessageBoxPrompter prompter;
    Session session(prompter);
    session.installedPrinters = [] { return QPrinterInfo::availablePrinterNames(); };
    session.defaultPrinter = [] { return QPrinterInfo::defaultPrinterName(); };

    StartTrace(session, ParseTraceSwitch(app.arguments().mid(1)));
    if (!StartSession(session))
        return 1;

    mdiMain window(session);
    prompter.setParent(&window);
    window.MDIForm_Load();
    window.show();
    return app.exec();
}
