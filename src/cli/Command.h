#pragma once

#include <QCommandLineOption>
#include <QCommandLineParser>
#include <QList>
#include <QString>
#include <QStringList>

#include <memory>
#include <optional>

namespace tarlox {
class Session;
}

namespace tarlox::cli {

// Exit codes of tarlox-cli, also listed by "tarlox-cli help". Scripts may
// rely on them:
//   0 the command did what it was asked;
//   1 it failed, with one line on the error output saying why;
//   2 the command line is wrong (unknown command or option, bad value);
//   3 the database can't be reached: nothing was done, try again later.
enum ExitCode { Success = 0, Failure = 1, BadUsage = 2, DatabaseUnreachable = 3 };

// One subcommand of tarlox-cli. A command declares its options once; the
// base parses them, answers --help from them and hands the parsed line to
// read() before any session starts, so a usage error touches no file.
class Command {
public:
    virtual ~Command() = default;
    virtual QString name() const = 0;
    // One line for the list of commands.
    virtual QString summary() const = 0;
    // The positional arguments as the usage line shows them ("FILE...").
    virtual QString arguments() const { return {}; }
    virtual QList<QCommandLineOption> options() const { return {}; }
    // True when everything after the first positional argument is taken as
    // it stands, so that values such as "-200" need no "--".
    virtual bool optionsOnlyBeforeArguments() const { return false; }
    // Whether run() needs a started session (settings and database).
    virtual bool needsSession() const { return true; }
    // Takes the values from the parsed line: empty when the command can run,
    // else one line naming the option or argument at fault.
    virtual QString read(const QCommandLineParser& parser) = 0;
    virtual int run(Session& session) = 0;

    // The usage line, the summary and every option described.
    QString help() const;
    // Parses the arguments after the command's name. nullopt when the
    // command is ready to run; otherwise the exit code (after the help or
    // a usage error was printed).
    std::optional<int> parse(const QStringList& arguments);
};

std::unique_ptr<Command> makeInitCommand();
std::unique_ptr<Command> makeInfoCommand();
std::unique_ptr<Command> makeSettingsCommand();
std::unique_ptr<Command> makeAddCommand();
std::unique_ptr<Command> makeShowCommand();
std::unique_ptr<Command> makeFindCommand();
std::unique_ptr<Command> makeScanCommand();
std::unique_ptr<Command> makeOutputCommand();
std::unique_ptr<Command> makePrintCommand();
std::unique_ptr<Command> makeExportCommand();
std::unique_ptr<Command> makeImportCommand();
std::unique_ptr<Command> makeImportTifCommand();
std::unique_ptr<Command> makeMoveCommand();
std::unique_ptr<Command> makeDeleteCommand();
std::unique_ptr<Command> makeBatchCommand();
std::unique_ptr<Command> makeBarcodeCommand();
std::unique_ptr<Command> makeSeparatorCommand();
std::unique_ptr<Command> makeMailCommand();
std::unique_ptr<Command> makeContactsCommand();
std::unique_ptr<Command> makeFaxCommand();
std::unique_ptr<Command> makeFaxStatusCommand();
std::unique_ptr<Command> makeFaxResendCommand();
std::unique_ptr<Command> makeFaxRemoveCommand();
std::unique_ptr<Command> makeListCommand();
std::unique_ptr<Command> makeAsciiCommand();
std::unique_ptr<Command> makeUpdateCommand();
std::unique_ptr<Command> makePackCommand();

// --heat, --part, --po, --vendor and --mfg of a new report.
QList<QCommandLineOption> IndexFieldOptions();
// "-h, --help".
QCommandLineOption HelpOption();
// The options as a help text: names and value name, then the description.
QString OptionsHelp(const QList<QCommandLineOption>& options);

// Output: stdout for results, stderr for one-line failures.
void printLine(const QString& text);
void printError(const QString& message);
int fail(const QString& message);
int badUsage(const QString& message);

}  // namespace tarlox::cli
