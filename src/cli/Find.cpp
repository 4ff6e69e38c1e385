#include "cli/Command.h"
#include "cli/Criteria.h"
#include "cli/Values.h"

#include "data/ImageData.h"
#include "search/FindQuery.h"
#include "data/Session.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <algorithm>
#include <cstdio>

namespace tarlox::cli {

namespace {

QString csvField(const QString& value)
{
    if (!value.contains(QLatin1Char(',')) && !value.contains(QLatin1Char('"')) && !value.contains(QLatin1Char('\n'))
        && !value.contains(QLatin1Char('\r')))
        return value;
    QString quoted = value;
    return QLatin1Char('"') + quoted.replace(QLatin1Char('"'), QStringLiteral("\"\"")) + QLatin1Char('"');
}

QString isoDate(const QDateTime& value) { return value.isValid() ? value.toString(QStringLiteral("yyyy-MM-ddTHH:mm:ss")) : QString(); }

// Finds references with the criteria of the find screen.
class FindCommand : public Command {
public:
    QString name() const override { return QStringLiteral("find"); }
    QString summary() const override { return QStringLiteral("find references as the Find screen does; prints the count line and the rows"); }

    QList<QCommandLineOption> options() const override
    {
        QList<QCommandLineOption> options = FindCriteriaOptions();
        options << QCommandLineOption{QStringLiteral("limit"), QStringLiteral("show at most N rows (default: FindRecords of the settings, else 100)"), QStringLiteral("N")}
                << QCommandLineOption{QStringLiteral("format"), QStringLiteral("text (default), csv or json"), QStringLiteral("FORMAT")};
        return options;
    }

    QString read(const QCommandLineParser& p) override
    {
        if (!p.positionalArguments().isEmpty())
            return QStringLiteral("unexpected argument ") + p.positionalArguments().first();
        if (const QString error = ReadFindCriteria(p, criteria_); !error.isEmpty())
            return error;
        if (p.isSet(QStringLiteral("limit"))) {
            const Parsed<int> limit = IntegerValue(QStringLiteral("--limit"), p.value(QStringLiteral("limit")), 1);
            if (!limit)
                return limit.error;
            limit_ = limit.value;
        }
        format_ = p.isSet(QStringLiteral("format")) ? p.value(QStringLiteral("format")) : QStringLiteral("text");
        if (format_ != QLatin1String("text") && format_ != QLatin1String("csv") && format_ != QLatin1String("json"))
            return QStringLiteral("--format takes text, csv or json, not \"") + format_ + QLatin1Char('"');
        return {};
    }

    int run(Session& s) override
    {
        const int limit = limit_ ? limit_ : ReadFindRecords(s);
        FindResult result = FindReferences(s, criteria_, limit);
        if (result.problem)
            return fail(FindProblemText(result.problem) + (result.problem.kind == FindProblem::Kind::InvalidDate
                                                               ? QStringLiteral(": ") + result.problem.value
                                                               : QString()));
        if (result.failed)
            return fail(QStringLiteral("the references could not be read"));
        if (format_ == QLatin1String("json"))
            printJson(result);
        else
            printTable(s, result, format_ == QLatin1String("csv"));
        return Success;
    }

private:
    static void printJson(const FindResult& result)
    {
        QJsonArray rows;
        for (const InfoRow& r : std::as_const(result.rows))
            rows.append(QJsonObject{{QStringLiteral("heat"), r.heat},
                                    {QStringLiteral("part"), r.part},
                                    {QStringLiteral("po"), r.po},
                                    {QStringLiteral("vendor"), r.vend},
                                    {QStringLiteral("mfg"), r.mfg},
                                    {QStringLiteral("entryDate"), isoDate(r.entryDate)},
                                    {QStringLiteral("imageNumber"), r.imageNumber},
                                    {QStringLiteral("path"), r.path}});
        const QJsonObject out{{QStringLiteral("found"), result.found},
                              {QStringLiteral("shown"), result.lastIndex + 1},
                              {QStringLiteral("countLine"), result.countLine()},
                              {QStringLiteral("rows"), rows}};
        printLine(QString::fromUtf8(QJsonDocument(out).toJson(QJsonDocument::Indented)).trimmed());
    }

    static void printTable(const Session& s, const FindResult& result, bool csv)
    {
        const auto label = [](const QString& shortName, const char* builtIn) {
            return shortName.isEmpty() ? QString(QLatin1String(builtIn)) : shortName;
        };
        const QStringList head{QStringLiteral("Heat #"),        QStringLiteral("Part #"), label(s.poShort, "P/O #"),
                               label(s.vendShort, "Vendor"),   label(s.mfgShort, "Mfg"), QStringLiteral("Entry Date"),
                               QStringLiteral("Image #"),      QStringLiteral("Path")};
        QList<QStringList> lines;
        for (const InfoRow& r : std::as_const(result.rows))
            lines << QStringList{r.heat, r.part, r.po, r.vend, r.mfg, csv ? isoDate(r.entryDate) : ListDateText(r.entryDate),
                                 QString::number(r.imageNumber), r.path};

        if (csv) {
            // The count line goes to stderr so that stdout is the table alone.
            std::fprintf(stderr, "%s\n", qUtf8Printable(result.countLine()));
            for (const QStringList& line : QList<QStringList>{head} + lines) {
                QStringList fields;
                for (const QString& f : line)
                    fields << csvField(f);
                printLine(fields.join(QLatin1Char(',')));
            }
            return;
        }

        printLine(result.countLine());
        if (lines.isEmpty())
            return;
        QList<qsizetype> widths;
        for (const QString& h : head)
            widths << h.size();
        for (const QStringList& line : std::as_const(lines))
            for (qsizetype i = 0; i < line.size(); ++i)
                widths[i] = std::max(widths[i], line[i].size());
        for (const QStringList& line : QList<QStringList>{head} + lines) {
            QString text;
            for (qsizetype i = 0; i < line.size(); ++i)
                text += i + 1 < line.size() ? line[i].leftJustified(widths[i] + 2) : line[i];
            printLine(text);
        }
    }

    FindCriteria criteria_;
    int limit_ = 0;  // 0: the setting
    QString format_;
};
}  // namespace

std::unique_ptr<Command> makeFindCommand() { return std::make_unique<FindCommand>(); }

}  // namespace tarlox::cli
