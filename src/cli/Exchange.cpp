#include "cli/Command.h"
#include "cli/Criteria.h"
#include "cli/Values.h"

#include "data/Session.h"
#include "exchange/Exchange.h"
#include "exchange/ExportFile.h"
#include "search/FindQuery.h"

#include <QDir>
#include <QFileInfo>

#include <functional>

namespace tarlox::cli {

namespace {

// The images of the found set, or the exit code of a failure.
std::variant<QList<qint32>, int> foundSet(Session& s, FindCriteria& criteria)
{
    FindProblem problem;
    const auto where = FindCondition(s, criteria, problem);
    if (!where)
        return fail(FindProblemText(problem) + QStringLiteral(": ") + problem.value);
    return FoundImages(s, *where);
}

int finish(const ExchangeSummary& summary, const QString& verb)
{
    for (const QString& line : summary.report(verb))
        printLine(line);
    return summary.complete() ? Success : Failure;
}

// The shape of the five commands: a name, a summary, the arguments, the
// options, how the line is read and what runs.
class ExchangeCommand : public Command {
public:
    using Reader = std::function<QString(const QCommandLineParser&)>;
    using Runner = std::function<int(Session&)>;
    ExchangeCommand(QString name, QString summary, QString arguments, QList<QCommandLineOption> options, Reader reader, Runner runner)
        : name_(std::move(name))
        , summary_(std::move(summary))
        , arguments_(std::move(arguments))
        , options_(std::move(options))
        , reader_(std::move(reader))
        , runner_(std::move(runner))
    {
    }
    QString name() const override { return name_; }
    QString summary() const override { return summary_; }
    QString arguments() const override { return arguments_; }
    QList<QCommandLineOption> options() const override { return options_; }
    QString read(const QCommandLineParser& parser) override { return reader_(parser); }
    int run(Session& session) override { return runner_(session); }

private:
    QString name_, summary_, arguments_;
    QList<QCommandLineOption> options_;
    Reader reader_;
    Runner runner_;
};

// The one directory argument, which must exist.
QString oneDirectory(const QCommandLineParser& p, QString& directory)
{
    if (p.positionalArguments().size() != 1)
        return QStringLiteral("give one directory");
    directory = p.positionalArguments().first();
    return QFileInfo(directory).isDir() ? QString() : directory + QStringLiteral(" is not a directory");
}

std::unique_ptr<Command> exportCommand()
{
    struct State {
        FindCriteria criteria;
        ExportOptions options;
        bool overwrite = false;
    };
    auto st = std::make_shared<State>();
    return std::make_unique<ExchangeCommand>(
        QStringLiteral("export"), QStringLiteral("copy the images of a find and their rows to an export directory (TARLOX.EXP)"),
        QStringLiteral("DIR"),
        FindCriteriaOptions()
            + QList<QCommandLineOption>{{QStringLiteral("exclude-originals"), QStringLiteral("leave the Originals (OR files) out")},
                                        {QStringLiteral("append"), QStringLiteral("add to a TARLOX.EXP that is there")},
                                        {QStringLiteral("overwrite"), QStringLiteral("empty a TARLOX.EXP that is there")}},
        [st](const QCommandLineParser& p) -> QString {
            if (QString error = oneDirectory(p, st->options.directory); !error.isEmpty())
                return error;
            st->options.excludeOriginals = p.isSet(QStringLiteral("exclude-originals"));
            st->options.append = p.isSet(QStringLiteral("append"));
            st->overwrite = p.isSet(QStringLiteral("overwrite"));
            if (st->options.append && st->overwrite)
                return QStringLiteral("--append and --overwrite exclude each other");
            if (!st->options.append && !st->overwrite
                && QFileInfo::exists(QDir(st->options.directory).filePath(QString::fromUtf16(kExportFileName))))
                return QStringLiteral("the export file already exists: give --append or --overwrite");
            return ReadFindCriteria(p, st->criteria);
        },
        [st](Session& s) {
            const auto images = foundSet(s, st->criteria);
            if (const int* code = std::get_if<int>(&images))
                return *code;
            return finish(ExportImages(s, std::get<0>(images), st->options), QStringLiteral("exported"));
        });
}

std::unique_ptr<Command> importCommand()
{
    auto options = std::make_shared<ImportOptions>();
    return std::make_unique<ExchangeCommand>(
        QStringLiteral("import"), QStringLiteral("take an export directory in; a number taken here is skipped, or renumbered"),
        QStringLiteral("DIR"),
        QList<QCommandLineOption>{
            {QStringLiteral("file"), QStringLiteral("the export file (default: DIR/TARLOX.EXP)"), QStringLiteral("FILE")},
            {QStringLiteral("increment"), QStringLiteral("add N (0-999999) to every image number"), QStringLiteral("N")},
            {QStringLiteral("renumber"), QStringLiteral("give each image the next free number")},
            {QStringLiteral("data-dir"), QStringLiteral("where the files go (default: the data directory)"), QStringLiteral("D")}},
        [options](const QCommandLineParser& p) -> QString {
            if (QString error = oneDirectory(p, options->importDir); !error.isEmpty())
                return error;
            options->exportFile = p.value(QStringLiteral("file"));
            options->dataDir = p.value(QStringLiteral("data-dir"));
            options->renumber = p.isSet(QStringLiteral("renumber"));
            if (p.isSet(QStringLiteral("increment"))) {
                if (options->renumber)
                    return QStringLiteral("--increment and --renumber exclude each other");
                const Parsed<int> n = IntegerValue(QStringLiteral("--increment"), p.value(QStringLiteral("increment")), 0, 999999);
                if (!n)
                    return n.error;
                options->increment = n.value;
            }
            if (!options->dataDir.isEmpty() && !QFileInfo(options->dataDir).isDir())
                return options->dataDir + QStringLiteral(" is not a directory");
            return QString();
        },
        [options](Session& s) { return finish(ImportImages(s, *options), QStringLiteral("imported")); });
}

std::unique_ptr<Command> importTifCommand()
{
    auto options = std::make_shared<TifImportOptions>();
    return std::make_unique<ExchangeCommand>(
        QStringLiteral("import-tif"), QStringLiteral("index the report files of a directory from their own tags"), QStringLiteral("DIR"),
        QList<QCommandLineOption>{
            {QStringLiteral("data-dir"), QStringLiteral("where the files go (default: the data directory)"), QStringLiteral("D")}},
        [options](const QCommandLineParser& p) -> QString {
            if (QString error = oneDirectory(p, options->importDir); !error.isEmpty())
                return error;
            options->dataDir = p.value(QStringLiteral("data-dir"));
            return QString();
        },
        [options](Session& s) { return finish(ImportTifImages(s, *options), QStringLiteral("imported")); });
}

std::unique_ptr<Command> moveCommand()
{
    struct State {
        FindCriteria criteria;
        MoveOptions options;
    };
    auto st = std::make_shared<State>();
    return std::make_unique<ExchangeCommand>(
        QStringLiteral("move"), QStringLiteral("move the images of a find to another directory, or relink their rows"), QStringLiteral("DIR"),
        FindCriteriaOptions()
            + QList<QCommandLineOption>{{QStringLiteral("relink"), QStringLiteral("rewrite the rows only, for files already in DIR")}},
        [st](const QCommandLineParser& p) -> QString {
            if (QString error = oneDirectory(p, st->options.target); !error.isEmpty())
                return error;
            st->options.target = QFileInfo(st->options.target).absoluteFilePath();
            st->options.relink = p.isSet(QStringLiteral("relink"));
            return ReadFindCriteria(p, st->criteria);
        },
        [st](Session& s) {
            const auto images = foundSet(s, st->criteria);
            if (const int* code = std::get_if<int>(&images))
                return *code;
            return finish(MoveImages(s, std::get<0>(images), st->options), st->options.relink ? QStringLiteral("relinked")
                                                                                               : QStringLiteral("moved"));
        });
}

std::unique_ptr<Command> deleteCommand()
{
    auto criteria = std::make_shared<FindCriteria>();
    return std::make_unique<ExchangeCommand>(
        QStringLiteral("delete"), QStringLiteral("delete the images of a find: files, Originals and all their rows"), QString(),
        FindCriteriaOptions() + QList<QCommandLineOption>{{QStringLiteral("yes"), QStringLiteral("confirm the delete (required)")}},
        [criteria](const QCommandLineParser& p) -> QString {
            if (!p.positionalArguments().isEmpty())
                return QStringLiteral("unexpected argument ") + p.positionalArguments().first();
            if (QString error = ReadFindCriteria(p, *criteria); !error.isEmpty())
                return error;
            if (criteria->isEmpty())
                return QStringLiteral("give at least one criterion; delete never takes every image");
            return p.isSet(QStringLiteral("yes")) ? QString() : QStringLiteral("delete removes images for good: confirm with --yes");
        },
        [criteria](Session& s) {
            const auto images = foundSet(s, *criteria);
            if (const int* code = std::get_if<int>(&images))
                return *code;
            return finish(DeleteImages(s, std::get<0>(images)), QStringLiteral("deleted"));
        });
}

}  // namespace

std::unique_ptr<Command> makeExportCommand() { return exportCommand(); }
std::unique_ptr<Command> makeImportCommand() { return importCommand(); }
std::unique_ptr<Command> makeImportTifCommand() { return importTifCommand(); }
std::unique_ptr<Command> makeMoveCommand() { return moveCommand(); }
std::unique_ptr<Command> makeDeleteCommand() { return deleteCommand(); }

}  // namespace tarlox::cli
