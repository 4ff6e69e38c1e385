#include "cli/Command.h"
#include "cli/Values.h"

#include "capture/FileReport.h"
#include "base/Prompter.h"
#include "data/Session.h"

namespace tarlox::cli {

namespace {

// Stores the pages of files as one new report and prints its image number.
class Add : public Command {
public:
    QString name() const override { return QStringLiteral("add"); }
    QString summary() const override
    {
        return QStringLiteral("store files (TIFF, PNG, JPEG, BMP, GIF, PDF) as one new report; prints its image number");
    }
    QString arguments() const override { return QStringLiteral("FILE..."); }

    QList<QCommandLineOption> options() const override
    {
        return IndexFieldOptions() + QList<QCommandLineOption>{
            {QStringLiteral("size"), PageSizeHelp, QStringLiteral("SIZE")},
            {QStringLiteral("dpi"), QStringLiteral("resolution of PDF pages and of pictures that record none, 50 to 1200 (default 200)"),
             QStringLiteral("N")},
            {QStringLiteral("allow-duplicate"), QStringLiteral("store the report even when its references are already on file")},
        };
    }

    QString read(const QCommandLineParser& p) override
    {
        request_.files = p.positionalArguments();
        if (request_.files.isEmpty())
            return QStringLiteral("needs at least one FILE");
        const Parsed<QString> size = PageSizeValue(QStringLiteral("--size"), p.value(QStringLiteral("size")));
        if (!size)
            return size.error;
        request_.pageSizeCode = size.value;
        if (p.isSet(QStringLiteral("dpi"))) {
            const Parsed<int> dpi = DpiValue(QStringLiteral("--dpi"), p.value(QStringLiteral("dpi")));
            if (!dpi)
                return dpi.error;
            request_.dpi = dpi.value;
        }
        info_.heat = p.value(QStringLiteral("heat"));
        info_.part = p.value(QStringLiteral("part"));
        info_.po = p.value(QStringLiteral("po"));
        info_.vend = p.value(QStringLiteral("vendor"));
        info_.mfg = p.value(QStringLiteral("mfg"));
        allowDuplicate_ = p.isSet(QStringLiteral("allow-duplicate"));
        return {};
    }

    int run(Session& s) override
    {
        s.info = info_;
        // Nobody is asked about an entry on file already: --allow-duplicate,
        // or the site's "DupeOK", decides.
        request_.duplicates = allowDuplicate_ ? Duplicates::Allow : Duplicates::AsSettings;
        const FileReportResult result = AddReportFromFiles(s, request_);
        if (!result.imageNumber)
            return fail(result.error.isEmpty() ? QStringLiteral("the report was not stored") : result.error);
        printLine(QString::number(result.imageNumber));
        return Success;
    }

private:
    FileReportRequest request_;
    InfoRecord info_;
    bool allowDuplicate_ = false;
};

}  // namespace

std::unique_ptr<Command> makeAddCommand() { return std::make_unique<Add>(); }

}  // namespace tarlox::cli
