#include "cli/Command.h"

#include "startup/Prompter.h"
#include "startup/Session.h"
#include "startup/Startup.h"

#include <QFileInfo>

namespace tarlox::cli {

namespace {

// Creates the settings and the file database of a new installation.
class Init : public Command {
public:
    QString name() const override { return QStringLiteral("init"); }
    QString summary() const override { return QStringLiteral("create the settings and the database of a new installation"); }
    bool needsSession() const override { return false; }

    QString read(const QCommandLineParser& parser) override
    {
        return parser.positionalArguments().isEmpty() ? QString() : QStringLiteral("init takes no arguments");
    }

    int run(Session& s) override
    {
        NonInteractivePrompter prompter;
        prompter.answerTitle(QStringLiteral("Initialize Tarlox Settings"), Answer::Ok);
        Prompter& previous = s.prompter();
        s.setPrompter(prompter);
        const bool existed = !s.localIni.isEmpty() && QFileInfo::exists(s.localIni);
        const bool ok = StartSession(s);
        s.setPrompter(previous);
        if (!ok)
            return fail(QStringLiteral("could not initialize ") + s.localIni);
        printLine((existed ? QStringLiteral("Already initialized: ") : QStringLiteral("Initialized: ")) + s.localIni);
        return Success;
    }
};

}  // namespace

std::unique_ptr<Command> makeInitCommand() { return std::make_unique<Init>(); }

}  // namespace tarlox::cli
