#pragma once

#include <QString>
#include <QStringList>

#include <cstdio>
#include <memory>

#include "base/Status.h"

namespace tarlox {
class Session;
}

namespace tarlox::cli {

// Exit codes of tarlox-cli.
enum ExitCode { Success = 0, Failure = 1, BadUsage = 2, Unreachable = 3 };

struct CommandContext {
    tarlox::Session& session;
    QStringList arguments;  // after the command's name
};

// One subcommand of tarlox-cli.
class Command {
public:
    virtual ~Command() = default;
    virtual QString name() const = 0;
    virtual QString usage() const = 0;
    // Whether the command needs a started session (settings and database).
    virtual bool needsSession() const { return true; }
    // A message when the arguments can't be right, checked before the session starts.
    virtual QString checkUsage(const QStringList& arguments) const { (void)arguments; return {}; }
    virtual int run(CommandContext& context) = 0;
};

std::unique_ptr<Command> makeInitCommand();
std::unique_ptr<Command> makeInfoCommand();
std::unique_ptr<Command> makeSettingsCommand();
std::unique_ptr<Command> makeAddCommand();
std::unique_ptr<Command> makeShowCommand();
std::unique_ptr<Command> makeFindCommand();
std::unique_ptr<Command> makeScanCommand();

// Output helpers: stdout for results, stderr for one-line failures.
void printLine(const QString& text);
int fail(const QString& message);
int badUsage(const QString& message);
// A session that could not start: its one line, and Unreachable when the
// database did not answer (a script may try again later), else Failure.
int failStart(const tarlox::Status& failure);

}  // namespace tarlox::cli
