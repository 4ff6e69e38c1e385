#include "cli/Command.h"
#include "cli/Values.h"

#include "capture/BarcodeCapture.h"
#include "capture/BarcodeReader.h"
#include "capture/RbqClient.h"
#include "data/Session.h"
#include "data/Settings.h"

namespace tarlox::cli {

namespace {

// Reads a scanned stack of barcode sheets and reports, as the Read button
// of the barcode screen does, stores one report per sheet and prints the
// grid it used, with the image number of each row.
class BarcodeCommand : public Command {
public:
    QString name() const override { return QStringLiteral("barcode"); }
    QString summary() const override { return QStringLiteral("store a scanned stack of barcode sheets and reports; prints the grid"); }
    QString arguments() const override { return QStringLiteral("FILE.tif"); }

    QList<QCommandLineOption> options() const override
    {
        return {
            {QStringLiteral("provider"), QStringLiteral("the business system: csv:FILE, cmd:PROGRAM or none (default: RBQClient of the settings)"),
             QStringLiteral("CLIENT")},
            {QStringLiteral("dry-run"), QStringLiteral("read and look up only; store nothing")},
            {QStringLiteral("size"), PageSizeHelp, QStringLiteral("SIZE")},
            {QStringLiteral("dpi"), QStringLiteral("resolution recorded as the last scan's, 50 to 1200 (default 200)"), QStringLiteral("N")},
        };
    }

    QString read(const QCommandLineParser& p) override
    {
        if (p.positionalArguments().size() != 1)
            return QStringLiteral("needs exactly one FILE.tif");
        file_ = p.positionalArguments().first();
        if (p.isSet(QStringLiteral("provider")))
            provider_ = p.value(QStringLiteral("provider"));
        dryRun_ = p.isSet(QStringLiteral("dry-run"));
        const Parsed<QString> size = PageSizeValue(QStringLiteral("--size"), p.value(QStringLiteral("size")));
        if (!size)
            return size.error;
        pageSizeCode_ = size.value;
        if (p.isSet(QStringLiteral("dpi"))) {
            const Parsed<int> dpi = DpiValue(QStringLiteral("--dpi"), p.value(QStringLiteral("dpi")));
            if (!dpi)
                return dpi.error;
            dpi_ = dpi.value;
        }
        return {};
    }

    int run(Session& s) override
    {
        QString note;
        const std::unique_ptr<RbqClient> client =
            MakeRbqClient(provider_ ? *provider_ : GetLocal(s, section::Data, QStringLiteral("RBQClient")), &note);
        if (!note.isEmpty())
            printError(note);
        BarcodeReader reader;
        const BarcodeGrid grid = ReadBarcodeStack(file_, reader, *client, {}, AssumedStackDpi(s));
        for (const QString& line : grid.notes)
            printError(line);
        if (!grid.error.isEmpty())
            return fail(file_ + QStringLiteral(": ") + grid.error);

        BarcodeUpdate update;
        update.images.fill(0, grid.rows.size());
        if (!dryRun_ && grid.canUpdate()) {
            s.pageSizeCode = pageSizeCode_;
            update = StoreBarcodeGrid(s, file_, grid.rows, dpi_, *client, Duplicates::AsSettings);
            for (const QString& line : update.notes)
                printError(line);
        }
        printLine((BarcodeGridHeadings(s.poShort, s.vendShort, s.mfgShort) << QStringLiteral("Image")).join(QLatin1Char('\t')));
        for (qsizetype i = 0; i < grid.rows.size(); ++i)
            printLine((BarcodeRowCells(grid.rows[i]) << (update.images[i] ? QString::number(update.images[i]) : QStringLiteral("-")))
                          .join(QLatin1Char('\t')));
        if (!grid.canUpdate())
            return fail(QStringLiteral("the first barcode sheet has no pages behind it; nothing was stored"));
        if (update.stopped)
            return fail(QStringLiteral("a report could not be stored; the rows after it were not stored (see above)"));
        return Success;
    }

private:
    QString file_;
    std::optional<QString> provider_;
    bool dryRun_ = false;
    QString pageSizeCode_ = QStringLiteral(" ");
    int dpi_ = 200;
};

}  // namespace

std::unique_ptr<Command> makeBarcodeCommand() { return std::make_unique<BarcodeCommand>(); }

}  // namespace tarlox::cli
