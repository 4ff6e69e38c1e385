#include "cli/Command.h"

#include "base/Prompter.h"
#include "data/Session.h"
#include "startup/Startup.h"

#include <QCoreApplication>
#include <QFileInfo>

#include <vector>

using namespace tarlox;
using namespace tarlox::cli;

namespace {

std::vector<std::unique_ptr<Command>> allCommands()
{
    std::vector<std::unique_ptr<Command>> commands;
    commands.push_back(makeInitCommand());
    commands.push_back(makeInfoCommand());
    commands.push_back(makeSettingsCommand());
    commands.push_back(makeAddCommand());
    commands.push_back(makeShowCommand());
    commands.push_back(makeFindCommand());
    commands.push_back(makeScanCommand());
    return commands;
}

int usage(const std::vector<std::unique_ptr<Command>>& commands)
{
    QString text = QStringLiteral("usage: tarlox-cli [--ini FILE] [--trace=FILE] COMMAND ...\ncommands:");
    for (const auto& command : commands)
        text += QStringLiteral("\n  ") + command->usage();
    return badUsage(text);
}

}  // namespace

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("tarlox"));
    QStringList args = app.arguments().mid(1);
    const auto commands = allCommands();

    NonInteractivePrompter prompter;
    Session session(prompter);
    const TraceSwitch traceSwitch = ParseTraceSwitch(args);
    args.erase(std::remove_if(args.begin(), args.end(),
                              [](const QString& a) { return a.startsWith(QLatin1String("--trace=")) || a.startsWith(QLatin1String("/d=")); }),
               args.end());
    while (!args.isEmpty() && args.first().startsWith(QLatin1String("--ini"))) {
        QString file;
        if (args.first().startsWith(QLatin1String("--ini="))) {
            file = args.takeFirst().mid(6);
        } else {
            args.takeFirst();
            if (args.isEmpty())
                return badUsage(QStringLiteral("--ini needs a file name"));
            file = args.takeFirst();
        }
        session.localIni = QFileInfo(file).absoluteFilePath();
        session.programDir = QFileInfo(session.localIni).absolutePath() + QLatin1Char('/');
    }
    if (args.isEmpty())
        return usage(commands);
    const QString name = args.takeFirst();
    for (const auto& command : commands) {
        if (command->name() != name)
            continue;
        if (const QString problem = command->checkUsage(args); !problem.isEmpty())
            return badUsage(problem);
        if (traceSwitch.requested && session.trace().open(traceSwitch.path))
            session.trace().write(QStringLiteral("Main"));
        if (session.localIni.isEmpty()) {
            session.programDir = DefaultProgramDirectory();
            session.localIni = session.programDir + QStringLiteral("TARLOX.INI");
        }
        if (command->needsSession()) {
            if (const Status failure = StartSession(session, FirstStart::Refuse); !failure.ok())
                return failStart(failure);
        }
        CommandContext context{session, args};
        return command->run(context);
    }
    return usage(commands);
}
