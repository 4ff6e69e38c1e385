#include "cli/Command.h"

#include "base/LocalTimeZone.h"
#include "base/Prompter.h"
#include "data/Session.h"
#include "startup/Startup.h"

#include <QCoreApplication>
#include <QGuiApplication>

#include <QFileInfo>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <memory>
#include <vector>

using namespace tarlox;
using namespace tarlox::cli;

namespace {

// The exit code when the session can't be started: a database that did not
// answer may answer later, so a script can tell that case from the others.
ExitCode ExitCodeForStartFailure(const Status& failure)
{
    return failure.kind == FailureKind::DatabaseUnreachable ? DatabaseUnreachable : Failure;
}

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
    commands.push_back(makeOutputCommand());
    commands.push_back(makePrintCommand());
    commands.push_back(makeExportCommand());
    commands.push_back(makeImportCommand());
    commands.push_back(makeImportTifCommand());
    commands.push_back(makeMoveCommand());
    commands.push_back(makeDeleteCommand());
    commands.push_back(makeBatchCommand());
    commands.push_back(makeBarcodeCommand());
    commands.push_back(makeSeparatorCommand());
    commands.push_back(makeMailCommand());
    commands.push_back(makeContactsCommand());
    commands.push_back(makeFaxCommand());
    commands.push_back(makeFaxStatusCommand());
    commands.push_back(makeFaxResendCommand());
    commands.push_back(makeFaxRemoveCommand());
    commands.push_back(makeListCommand());
    commands.push_back(makeAsciiCommand());
    commands.push_back(makeUpdateCommand());
    commands.push_back(makePackCommand());
    return commands;
}

Command* findCommand(const std::vector<std::unique_ptr<Command>>& commands, const QString& name)
{
    for (const auto& command : commands)
        if (command->name() == name)
            return command.get();
    return nullptr;
}

const QCommandLineOption IniOption(QStringLiteral("ini"), QStringLiteral("the local settings file (default: TARLOX.INI in the program directory)"),
                                   QStringLiteral("FILE"));
const QCommandLineOption TraceOption(QStringLiteral("trace"), QStringLiteral("write the trace of procedures to FILE (also /d=FILE)"),
                                     QStringLiteral("FILE"));
const QCommandLineOption VersionOption(QStringLiteral("version"), QStringLiteral("print the program version"));

QString overview(const std::vector<std::unique_ptr<Command>>& commands)
{
    QString text = QStringLiteral(
        "usage: tarlox-cli [--ini FILE] [--trace=FILE] COMMAND [options] [arguments]\n"
        "       tarlox-cli help [COMMAND]   (or COMMAND --help)\n\ncommands:\n");
    for (const auto& command : commands)
        text += QStringLiteral("  ") + command->name().leftJustified(12) + command->summary() + QLatin1Char('\n');
    text += QStringLiteral("  ") + QStringLiteral("help").leftJustified(12) + QStringLiteral("this list, or the options of one command\n");
    text += QStringLiteral("\noptions:\n") + OptionsHelp({IniOption, TraceOption, VersionOption, HelpOption()});
    return text + QStringLiteral(
               "\n\nexit codes:\n"
               "  0  success\n"
               "  1  failure, with one line on the error output\n"
               "  2  bad usage: unknown command or option, or a bad value\n"
               "  3  the database can't be reached; try again later");
}

int unknownCommand(const QString& name)
{
    return badUsage(QStringLiteral("unknown command '") + name + QStringLiteral("'; try 'tarlox-cli help'"));
}

}  // namespace


int main(int argc, char** argv)
{
    ReadLocalTimeZoneOnce();
    // Text is drawn on pages (the message block), which takes a graphics
    // application; the command line needs no screen for it.
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    // Nothing here uses the session's runtime directory; Qt's remark on a
    // missing one is no concern of the user's.
    static const QtMessageHandler qtHandler = qInstallMessageHandler(nullptr);
    qInstallMessageHandler([](QtMsgType type, const QMessageLogContext& context, const QString& message) {
        if (!message.startsWith(QLatin1String("QStandardPaths: XDG_RUNTIME_DIR")))
            qtHandler(type, context, message);
    });
    QGuiApplication app(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("tarlox"));
    const auto commands = allCommands();

    // The old trace switch "/d=FILE" may stand anywhere on the line.
    QStringList args = app.arguments().mid(1);
    QString trace;
    for (qsizetype i = args.size() - 1; i >= 0; --i)
        if (args[i].startsWith(QLatin1String("/d=")))
            trace = args.takeAt(i).mid(3);

    // Global options stand before the command; the rest is the command's.
    QCommandLineParser parser;
    parser.setOptionsAfterPositionalArgumentsMode(QCommandLineParser::ParseAsPositionalArguments);
    parser.addOptions({IniOption, TraceOption, VersionOption, HelpOption()});
    if (!parser.parse(QStringList{QStringLiteral("tarlox-cli")} + args)) {
        QString error = parser.errorText().trimmed();
        if (error.endsWith(QLatin1Char('.')))
            error.chop(1);
        return badUsage(error + QStringLiteral("; try 'tarlox-cli help'"));
    }
    if (parser.isSet(VersionOption)) {
        printLine(QStringLiteral("tarlox-cli ") + ProgramVersion());
        return Success;
    }
    QStringList rest = parser.positionalArguments();
    const bool helpCommand = !rest.isEmpty() && rest.first() == QLatin1String("help");
    if (helpCommand)
        rest.removeFirst();
    if (helpCommand || parser.isSet(QStringLiteral("help"))) {
        if (rest.isEmpty()) {
            printLine(overview(commands));
            return Success;
        }
        const Command* command = findCommand(commands, rest.first());
        if (!command)
            return unknownCommand(rest.first());
        printLine(command->help());
        return Success;
    }
    if (rest.isEmpty()) {
        std::fprintf(stderr, "%s\n", qUtf8Printable(overview(commands)));
        return BadUsage;
    }
    Command* command = findCommand(commands, rest.first());
    if (!command)
        return unknownCommand(rest.first());
    if (const std::optional<int> code = command->parse(rest.mid(1)))
        return *code;

    // Nobody answers questions here: each takes its default and is written to stderr.
    NonInteractivePrompter prompter;
    Session session(prompter);
    if (parser.isSet(TraceOption))
        trace = parser.value(TraceOption);
    if (!trace.isEmpty() && session.trace().open(trace))
        session.trace().write(QStringLiteral("Main"));
    if (parser.isSet(IniOption)) {
        session.localIni = QFileInfo(parser.value(IniOption)).absoluteFilePath();
        session.programDir = QFileInfo(session.localIni).absolutePath() + QLatin1Char('/');
    } else {
        session.programDir = DefaultProgramDirectory();
        session.localIni = session.programDir + QStringLiteral("TARLOX.INI");
    }
    if (command->needsSession()) {
        // Nobody is there to answer "Initialize Tarlox Settings": that is what init is for.
        if (const Status failure = StartSession(session, FirstStart::Refuse); !failure.ok()) {
            printError(OneLine(failure));
            return ExitCodeForStartFailure(failure);
        }
    }
    return command->run(session);
}
