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
    QString usage() const override { return QStringLiteral("settings get SECTION KEY | settings set SECTION KEY VALUE"); }
    bool needsSession() const override { return false; }

    int run(CommandContext& context) override
    {
        const QStringList& a = context.arguments;
        const QString& file = context.session.localIni;
        if (a.size() == 3 && a[0] == QLatin1String("get")) {
            if (!QFileInfo::exists(file))
                return fail(QStringLiteral("no settings file at ") + file + QStringLiteral(" (run tarlox-cli init)"));
            const IniResult r = ReadIniValue(file, a[1], a[2]);
            if (!r.ok)
                return fail(r.error);
            printLine(r.value);
            return Success;
        }
        if (a.size() == 4 && a[0] == QLatin1String("set")) {
            if (!QFileInfo::exists(file))
                return fail(QStringLiteral("no settings file at ") + file + QStringLiteral(" (run tarlox-cli init)"));
            const IniResult r = WriteIniValue(file, a[1], a[2], a[3]);
            return r.ok ? Success : fail(r.error);
        }
        return badUsage(QStringLiteral("usage: tarlox-cli ") + usage());
    }
};

}  // namespace

std::unique_ptr<Command> makeSettingsCommand() { return std::make_unique<SettingsCommand>(); }

}  // namespace tarlox::cli
