#include "cli/Command.h"

#include "base/IniFile.h"
#include "data/Session.h"

#include <QFileInfo>

namespace tarlox::cli {

namespace {

// Reads or writes one key of the local settings file.
class SettingsCommand : public Command {
public:
    QString name() const override { return QStringLiteral("settings"); }
    QString summary() const override { return QStringLiteral("read or write one key of the local settings file"); }
    QString arguments() const override { return QStringLiteral("get SECTION KEY | set SECTION KEY VALUE"); }
    bool optionsOnlyBeforeArguments() const override { return true; }
    bool needsSession() const override { return false; }

    QString read(const QCommandLineParser& parser) override
    {
        a_ = parser.positionalArguments();
        const bool get = a_.size() == 3 && a_[0] == QLatin1String("get");
        const bool set = a_.size() == 4 && a_[0] == QLatin1String("set");
        return get || set ? QString() : QStringLiteral("takes get SECTION KEY or set SECTION KEY VALUE");
    }

    int run(Session& session) override
    {
        const QString& file = session.localIni;
        if (!QFileInfo::exists(file))
            return fail(QStringLiteral("no settings file at ") + file + QStringLiteral(" (run tarlox-cli init)"));
        if (a_[0] == QLatin1String("get")) {
            const IniResult r = ReadIniValue(file, a_[1], a_[2]);
            if (!r.ok)
                return fail(r.error);
            printLine(r.value);
            return Success;
        }
        const IniResult r = WriteIniValue(file, a_[1], a_[2], a_[3]);
        return r.ok ? Success : fail(r.error);
    }

private:
    QStringList a_;
};

}  // namespace

std::unique_ptr<Command> makeSettingsCommand() { return std::make_unique<SettingsCommand>(); }

}  // namespace tarlox::cli
