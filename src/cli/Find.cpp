#include "cli/Command.h"

#include "data/ImageData.h"
#include "search/FindQuery.h"
#include "data/Session.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <algorithm>

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
    QString usage() const override
    {
        return QStringLiteral("find [--heat --part --po --vendor --mfg --image --path VALUE] [--from DATE] [--to DATE] [--limit N] "
                              "[--format text|csv|json]");
    }

    int run(CommandContext& context) override
    {
        Session& s = context.session;
        FindCriteria criteria;
        const QList<QPair<QString, QString*>> boxes{
            {QStringLiteral("heat"), &criteria.heat},   {QStringLiteral("part"), &criteria.part},
            {QStringLiteral("po"), &criteria.po},       {QStringLiteral("vendor"), &criteria.vend},
            {QStringLiteral("mfg"), &criteria.mfg},     {QStringLiteral("image"), &criteria.imageNumber},
            {QStringLiteral("path"), &criteria.path},   {QStringLiteral("from"), &criteria.from},
            {QStringLiteral("to"), &criteria.to},
        };
        QString format = QStringLiteral("text");
        QString limitText;
        QStringList args = context.arguments;
        while (!args.isEmpty()) {
            QString option = args.takeFirst();
            if (!option.startsWith(QLatin1String("--")))
                return badUsage(QStringLiteral("unexpected argument ") + option + QStringLiteral("\nusage: tarlox-cli ") + usage());
            QString value;
            const qsizetype equals = option.indexOf(QLatin1Char('='));
            if (equals > 0) {
                value = option.mid(equals + 1);
                option.truncate(equals);
            } else {
                if (args.isEmpty())
                    return badUsage(option + QStringLiteral(" needs a value"));
                value = args.takeFirst();
            }
            const QString key = option.mid(2);
            if (key == QLatin1String("format")) {
                format = value;
                continue;
            }
            if (key == QLatin1String("limit")) {
                limitText = value;
                continue;
            }
            const auto box = std::find_if(boxes.begin(), boxes.end(), [&](const auto& b) { return b.first == key; });
            if (box == boxes.end())
                return badUsage(QStringLiteral("unknown option ") + option + QStringLiteral("\nusage: tarlox-cli ") + usage());
            *box->second = value;
        }
        if (format != QLatin1String("text") && format != QLatin1String("csv") && format != QLatin1String("json"))
            return badUsage(QStringLiteral("--format must be text, csv or json"));
        int limit = ReadFindRecords(s);
        if (!limitText.isEmpty()) {
            bool ok = false;
            limit = limitText.toInt(&ok);
            if (!ok || limit < 1)
                return badUsage(QStringLiteral("--limit must be a whole number above 0"));
        }

        FindResult result = FindReferences(s, criteria, limit);
        if (result.problem)
            return fail(FindProblemText(result.problem) + (result.problem.kind == FindProblem::Kind::InvalidDate
                                                               ? QStringLiteral(": ") + result.problem.value
                                                               : QString()));
        if (result.failed)
            return fail(QStringLiteral("the references could not be read"));

        if (format == QLatin1String("json")) {
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
            return Success;
        }

        const auto label = [](const QString& shortName, const char* builtIn) {
            return shortName.isEmpty() ? QString(QLatin1String(builtIn)) : shortName;
        };
        const QStringList head{QStringLiteral("Heat #"),        QStringLiteral("Part #"), label(s.poShort, "P/O #"),
                               label(s.vendShort, "Vendor"),   label(s.mfgShort, "Mfg"), QStringLiteral("Entry Date"),
                               QStringLiteral("Image #"),      QStringLiteral("Path")};
        QList<QStringList> lines;
        for (const InfoRow& r : std::as_const(result.rows))
            lines << QStringList{r.heat, r.part, r.po, r.vend, r.mfg,
                                 format == QLatin1String("csv") ? isoDate(r.entryDate) : ListDateText(r.entryDate),
                                 QString::number(r.imageNumber), r.path};

        if (format == QLatin1String("csv")) {
            // The count line goes to stderr so that stdout is the table alone.
            std::fprintf(stderr, "%s\n", qUtf8Printable(result.countLine()));
            QStringList fields;
            for (const QString& h : head)
                fields << csvField(h);
            printLine(fields.join(QLatin1Char(',')));
            for (const QStringList& line : std::as_const(lines)) {
                fields.clear();
                for (const QString& f : line)
                    fields << csvField(f);
                printLine(fields.join(QLatin1Char(',')));
            }
            return Success;
        }

        printLine(result.countLine());
        if (lines.isEmpty())
            return Success;
        QList<qsizetype> widths;
        for (const QString& h : head)
            widths << h.size();
        for (const QStringList& line : std::as_const(lines))
            for (qsizetype i = 0; i < line.size(); ++i)
                widths[i] = std::max(widths[i], line[i].size());
        const auto print = [&](const QStringList& line) {
            QString text;
            for (qsizetype i = 0; i < line.size(); ++i)
                text += i + 1 < line.size() ? line[i].leftJustified(widths[i] + 2) : line[i];
            printLine(text);
        };
        print(head);
        for (const QStringList& line : std::as_const(lines))
            print(line);
        return Success;
    }
};

}  // namespace

std::unique_ptr<Command> makeFindCommand() { return std::make_unique<FindCommand>(); }

}  // namespace tarlox::cli
