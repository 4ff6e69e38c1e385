#include "cli/Command.h"

#include "data/DataOp.h"
#include "data/OptionsData.h"
#include "data/Session.h"

namespace tarlox::cli {

namespace {

// What an installation is: versions, files, database and directories.
class InfoCommand : public Command {
public:
    QString name() const override { return QStringLiteral("info"); }
    QString summary() const override
    {
        return QStringLiteral("versions, settings files, database, directories and the next image number");
    }

    QString read(const QCommandLineParser& parser) override
    {
        return parser.positionalArguments().isEmpty() ? QString() : QStringLiteral("info takes no arguments");
    }

    int run(Session& s) override
    {
        if (!ReadOptions(s))
            return fail(QStringLiteral("the Options row can't be read: ") + s.options.statusText);
        const QList<QPair<QString, QString>> rows{
            {QStringLiteral("Program version"), s.programVersion},
            {QStringLiteral("Data version"), s.options.version},
            {QStringLiteral("Program directory"), s.programDir},
            {QStringLiteral("Local settings"), s.localIni},
            {QStringLiteral("Server settings"), s.serverIni},
            {QStringLiteral("Database type"), s.databaseType},
            {QStringLiteral("Connection"), s.connectionDisplay},
            {QStringLiteral("DataDir"), s.dataDir},
            {QStringLiteral("TempDir"), s.tempDir},
            {QStringLiteral("Next image number"), QString::number(s.options.nextName)},
        };
        for (const auto& [label, value] : rows)
            printLine(label + QStringLiteral(": ") + value);
        return Success;
    }
};

}  // namespace

std::unique_ptr<Command> makeInfoCommand() { return std::make_unique<InfoCommand>(); }

}  // namespace tarlox::cli
