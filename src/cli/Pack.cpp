#include "cli/Command.h"

#include "data/Session.h"
#include "output/EmailSend.h"
#include "output/Pack.h"
#include "search/FindQuery.h"

#include <QFile>
#include <QFileInfo>

namespace tarlox::cli {

namespace {

// The heats of the pack by the rules of Find, exact unless a wild card is given.
HeatLookup FindHeat(Session& s)
{
    return [&s](const QString& heat) -> IoResult<QList<InfoRow>> {
        FindCriteria criteria;
        criteria.heat = heat;
        criteria.assumeWild = false;
        const FindResult found = FindReferences(s, criteria, 1000);
        if (found.problem)
            return tarlox::Failure(FindProblemText(found.problem));
        if (found.failed)
            return tarlox::Failure(QStringLiteral("the search for heat \"%1\" failed").arg(heat));
        return found.rows;
    };
}

// One PDF of the certificates of a shipment's lines, each marked with its line.
class Pack : public Command {
public:
    QString name() const override { return QStringLiteral("pack"); }
    QString summary() const override
    {
        return QStringLiteral("make the certificate pack of a shipment's lines (CSV with a header row); exits 1 when a line has no "
                              "certificate");
    }
    QString arguments() const override { return QStringLiteral("LINES.csv"); }
    QList<QCommandLineOption> options() const override
    {
        return {
            {{QStringLiteral("o"), QStringLiteral("output")}, QStringLiteral("the PDF to write"), QStringLiteral("PACK.pdf")},
            {QStringLiteral("customer"), QStringLiteral("the customer, on the cover list and each message block"), QStringLiteral("NAME")},
            {QStringLiteral("pdfa"), QStringLiteral("write PDF/A-1b")},
            {QStringLiteral("mail"), QStringLiteral("e-mail the pack to this address through the server of the settings"),
             QStringLiteral("ADDRESS")},
        };
    }

    QString read(const QCommandLineParser& p) override
    {
        const QStringList files = p.positionalArguments();
        if (files.size() != 1)
            return QStringLiteral("needs one LINES.csv");
        lines_ = files.first();
        target_ = p.value(QStringLiteral("output")).trimmed();
        if (target_.isEmpty())
            return QStringLiteral("needs -o PACK.pdf");
        customer_ = p.value(QStringLiteral("customer")).trimmed();
        options_.pdfa = p.isSet(QStringLiteral("pdfa"));
        mail_ = p.value(QStringLiteral("mail")).trimmed();
        if (p.isSet(QStringLiteral("mail")))
            if (const QString problem = RecipientProblem(mail_, false); !problem.isEmpty())
                return QStringLiteral("--mail: ") + problem;
        return {};
    }

    int run(Session& s) override
    {
        QFile file(lines_);
        if (!file.open(QIODevice::ReadOnly))
            return fail(QStringLiteral("can't read \"%1\": %2").arg(lines_, file.errorString()));
        const PackTable table = SplitPackText(QString::fromUtf8(file.readAll()));
        const QList<PackColumn> columns = RecogniseColumns(table.header);
        if (!columns.contains(PackColumn::Heat))
            return fail(QStringLiteral("\"%1\" has no heat column; its header row reads: %2").arg(lines_, table.header.join(QStringLiteral(", "))));
        IoResult<PackPlan> plan = PlanPack(s, ReadPackLines(table, columns), FindHeat(s));
        if (!plan)
            return fail(plan.error());
        plan->customer = customer_;
        const OutputSettings settings = ReadOutputSettings(s);
        if (const IoStatus made = MakePack(*plan, settings, s.now().date(), target_, options_); !made)
            return fail(made.error());

        int missing = 0;
        for (qsizetype i = 0; i < plan->entries.size(); ++i) {
            const PackEntry& e = plan->entries[i];
            if (e.state() == PackEntry::State::None) {
                printLine(QStringLiteral("Ln# %1\tSO# %2\tHeat %3\t%4").arg(e.label(int(i)), e.line.order, e.line.heat, e.why));
                ++missing;
            } else if (e.state() == PackEntry::State::Several) {
                printError(QStringLiteral("note: Ln# %1: heat %2 has %3 reports; image %4, the newest, is in the pack")
                               .arg(e.label(int(i)), e.line.heat)
                               .arg(e.candidates.size())
                               .arg(e.report()->image));
            }
        }
        if (!mail_.isEmpty()) {
            const MailSendResult sent = UseServer(EmailServerSettings(s), PackMessage(s, *plan, mail_, customer_, QFileInfo(target_).absoluteFilePath()));
            if (!sent.ok())
                return fail(QStringLiteral("the pack was written to \"%1\" but not sent: %2").arg(target_, sent.error));
        }
        if (missing > 0) {
            printError(QStringLiteral("%1 of %2 lines have no certificate").arg(missing).arg(plan->entries.size()));
            return Failure;
        }
        return Success;
    }

private:
    QString lines_;
    QString target_;
    QString customer_;
    QString mail_;
    PdfOptions options_;
};

}  // namespace

std::unique_ptr<Command> makePackCommand()
{
    return std::make_unique<Pack>();
}

}  // namespace tarlox::cli
