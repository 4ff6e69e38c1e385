#include "cli/Command.h"

#include "capture/ScanChoices.h"
#include "capture/ScanEntry.h"
#include "data/Session.h"

#include <QHash>

namespace tarlox::cli {

namespace {

// Scans one report and indexes it, as the Scan button of the scan form
// does, with the prompter's default answers in place of a person.
class ScanCommand : public Command {
public:
    QString name() const override { return QStringLiteral("scan"); }
    QString usage() const override
    {
        return QStringLiteral("scan --heat H --part P [--po P] [--vendor V] [--mfg M] [--device NAME] [--dpi N] "
                              "[--size letter|legal|a4] [--adf]");
    }

    QString checkUsage(const QStringList& arguments) const override
    {
        QString problem;
        parse(arguments, &problem);
        return problem;
    }

    int run(CommandContext& context) override
    {
        QString problem;
        ScanEntryFields fields = parse(context.arguments, &problem);
        fields.duplicates = Duplicates::AsSettings;
        if (!problem.isEmpty())
            return badUsage(problem);
        ScanEntry entry(context.session);
        const ScanEntry::Result result = entry.cmdScan_Click(fields);
        switch (result.outcome) {
        case ScanEntry::Outcome::Stored:
            printLine(QString::number(result.imageNumber));
            return Success;
        case ScanEntry::Outcome::Cancelled:
            return fail(QStringLiteral("the scan was cancelled"));
        case ScanEntry::Outcome::Refused:
            return fail(QStringLiteral("the entry was refused (see the message above)"));
        case ScanEntry::Outcome::NoNumber:
            return fail(QStringLiteral("no image number could be taken"));
        case ScanEntry::Outcome::NotCreated:
            return fail(QStringLiteral("the scanner produced no page; nothing was stored"));
        case ScanEntry::Outcome::NotIndexed:
            return fail(QStringLiteral("the references could not be added; nothing was stored"));
        }
        return Failure;
    }

private:
    static ScanEntryFields parse(const QStringList& a, QString* problem)
    {
        ScanEntryFields fields;
        const QHash<QString, QString*> texts{{QStringLiteral("--heat"), &fields.heat}, {QStringLiteral("--part"), &fields.part},
                                             {QStringLiteral("--po"), &fields.po},     {QStringLiteral("--vendor"), &fields.vend},
                                             {QStringLiteral("--mfg"), &fields.mfg}};
        for (int i = 0; i < a.size(); ++i) {
            QString option = a[i];
            QString value;
            bool inlineValue = false;
            if (const qsizetype eq = option.indexOf(QLatin1Char('=')); option.startsWith(QLatin1String("--")) && eq > 0) {
                value = option.mid(eq + 1);
                option = option.left(eq);
                inlineValue = true;
            }
            if (option == QLatin1String("--adf")) {
                fields.useAdf = true;
                continue;
            }
            const bool known = texts.contains(option) || option == QLatin1String("--device") || option == QLatin1String("--dpi")
                               || option == QLatin1String("--size");
            if (!known) {
                *problem = QStringLiteral("scan: unknown argument ") + a[i];
                return fields;
            }
            if (!inlineValue) {
                if (i + 1 >= a.size()) {
                    *problem = QStringLiteral("scan: ") + option + QStringLiteral(" needs a value");
                    return fields;
                }
                value = a[++i];
            }
            if (texts.contains(option)) {
                *texts.value(option) = value;
            } else if (option == QLatin1String("--device")) {
                fields.device = value;
            } else if (option == QLatin1String("--dpi")) {
                bool ok = false;
                const int dpi = value.toInt(&ok);
                if (!ok || dpi < 50 || dpi > 1200) {
                    *problem = QStringLiteral("scan: --dpi takes a resolution from 50 to 1200");
                    return fields;
                }
                fields.dpi = dpi;
            } else {
                const QString size = value.toLower();
                if (size != QLatin1String("letter") && size != QLatin1String("legal") && size != QLatin1String("a4")) {
                    *problem = QStringLiteral("scan: --size takes letter, legal or a4");
                    return fields;
                }
                fields.pageSizeCode = PageSizeCodeFor(size == QLatin1String("legal"), size == QLatin1String("a4"));
            }
        }
        if (fields.heat.trimmed().isEmpty() || fields.part.trimmed().isEmpty())
            *problem = QStringLiteral("scan: --heat and --part are required");
        return fields;
    }
};

}  // namespace

std::unique_ptr<Command> makeScanCommand() { return std::make_unique<ScanCommand>(); }

}  // namespace tarlox::cli
