#include "cli/Command.h"
#include "cli/Values.h"

#include "capture/ScanEntry.h"
#include "data/Session.h"

namespace tarlox::cli {

namespace {

// Scans one report and indexes it, as the Scan button of the scan form
// does, with the prompter's default answers in place of a person.
class ScanCommand : public Command {
public:
    QString name() const override { return QStringLiteral("scan"); }
    QString summary() const override { return QStringLiteral("scan one report and index it; prints its image number"); }

    QList<QCommandLineOption> options() const override
    {
        return IndexFieldOptions() + QList<QCommandLineOption>{
            {QStringLiteral("device"), QStringLiteral("SANE device name (default: the scanner of the settings)"), QStringLiteral("NAME")},
            {QStringLiteral("dpi"), QStringLiteral("resolution, 50 to 1200 (default: the settings')"), QStringLiteral("N")},
            {QStringLiteral("size"), PageSizeHelp, QStringLiteral("SIZE")},
            {QStringLiteral("adf"), QStringLiteral("scan from the document feeder until it is empty")},
        };
    }

    QString read(const QCommandLineParser& p) override
    {
        if (!p.positionalArguments().isEmpty())
            return QStringLiteral("unexpected argument ") + p.positionalArguments().first();
        fields_.heat = p.value(QStringLiteral("heat"));
        fields_.part = p.value(QStringLiteral("part"));
        fields_.po = p.value(QStringLiteral("po"));
        fields_.vend = p.value(QStringLiteral("vendor"));
        fields_.mfg = p.value(QStringLiteral("mfg"));
        if (fields_.heat.trimmed().isEmpty() || fields_.part.trimmed().isEmpty())
            return QStringLiteral("--heat and --part are required");
        if (p.isSet(QStringLiteral("device")))
            fields_.device = p.value(QStringLiteral("device"));
        if (p.isSet(QStringLiteral("dpi"))) {
            const Parsed<int> dpi = DpiValue(QStringLiteral("--dpi"), p.value(QStringLiteral("dpi")));
            if (!dpi)
                return dpi.error;
            fields_.dpi = dpi.value;
        }
        const Parsed<QString> size = PageSizeValue(QStringLiteral("--size"), p.value(QStringLiteral("size")));
        if (!size)
            return size.error;
        fields_.pageSizeCode = size.value;
        if (p.isSet(QStringLiteral("adf")))
            fields_.useAdf = true;
        return {};
    }

    int run(Session& session) override
    {
        ScanEntry entry(session);
        fields_.duplicates = Duplicates::AsSettings;
        const ScanEntry::Result result = entry.cmdScan_Click(fields_);
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
    ScanEntryFields fields_;
};

}  // namespace

std::unique_ptr<Command> makeScanCommand() { return std::make_unique<ScanCommand>(); }

}  // namespace tarlox::cli
