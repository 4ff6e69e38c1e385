#include "cli/Command.h"
#include "cli/Options.h"

#include "capture/FileReport.h"
#include "base/Prompter.h"
#include "data/Session.h"
#include "base/TextTools.h"

namespace tarlox::cli {

namespace {

const QStringList ValueOptions{QStringLiteral("heat"), QStringLiteral("part"), QStringLiteral("po"), QStringLiteral("vendor"),
                               QStringLiteral("mfg"), QStringLiteral("size"), QStringLiteral("dpi")};
const QStringList FlagOptions{QStringLiteral("allow-duplicate")};

QString sizeCode(const QString& size)
{
    if (size.isEmpty() || size == QLatin1String("letter"))
        return QStringLiteral(" ");
    if (size == QLatin1String("legal"))
        return QStringLiteral("G");
    if (size == QLatin1String("a4"))
        return QStringLiteral("A");
    return {};
}

// Stores the pages of files as one new report and prints its image number.
class Add : public Command {
public:
    QString name() const override { return QStringLiteral("add"); }
    QString usage() const override
    {
        return QStringLiteral("add --heat H --part P [--po X] [--vendor V] [--mfg M] [--size letter|legal|a4] [--dpi N] [--allow-duplicate] FILE...");
    }

    QString checkUsage(const QStringList& arguments) const override
    {
        const ParsedOptions o = ParseOptions(arguments, ValueOptions, FlagOptions);
        if (!o.error.isEmpty())
            return o.error;
        if (o.positional.isEmpty())
            return QStringLiteral("add needs at least one FILE");
        if (sizeCode(o.value(QStringLiteral("size"))).isEmpty())
            return QStringLiteral("--size must be letter, legal or a4");
        if (o.has(QStringLiteral("dpi")) && IntVal(o.value(QStringLiteral("dpi"))) <= 0)
            return QStringLiteral("--dpi must be a positive number");
        return {};
    }

    int run(CommandContext& context) override
    {
        const ParsedOptions o = ParseOptions(context.arguments, ValueOptions, FlagOptions);
        Session& s = context.session;

        s.info = InfoRecord{};
        s.info.heat = o.value(QStringLiteral("heat"));
        s.info.part = o.value(QStringLiteral("part"));
        s.info.po = o.value(QStringLiteral("po"));
        s.info.vend = o.value(QStringLiteral("vendor"));
        s.info.mfg = o.value(QStringLiteral("mfg"));
        FileReportRequest request{o.positional, sizeCode(o.value(QStringLiteral("size"))), IntVal(o.value(QStringLiteral("dpi"))),
                                  o.has(QStringLiteral("allow-duplicate")) ? Duplicates::Allow : Duplicates::AsSettings};
        const FileReportResult result = AddReportFromFiles(s, request);
        if (!result.imageNumber)
            return fail(result.error.isEmpty() ? QStringLiteral("the report was not stored") : result.error);
        printLine(QString::number(result.imageNumber));
        return Success;
    }
};

}  // namespace

std::unique_ptr<Command> makeAddCommand() { return std::make_unique<Add>(); }

}  // namespace tarlox::cli
