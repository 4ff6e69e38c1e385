#include "cli/Command.h"

#include "base/Prompter.h"
#include "data/Session.h"
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
        const bool existed = !s.localIni.isEmpty() && QFileInfo::exists(s.localIni);
        if (const Status failure = StartSession(s, FirstStart::Initialize); !failure.ok())
            return fail(QStringLiteral("could not initialize ") + s.localIni + QStringLiteral(": ") + OneLine(failure));
        printLine((existed ? QStringLiteral("Already initialized: ") : QStringLiteral("Initialized: ")) + s.localIni);
        return Success;
    }
};

}  // namespace

std::unique_ptr<Command> makeInitCommand() { return std::make_unique<Init>(); }

}  // namespace tarlox::cli
