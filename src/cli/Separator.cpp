#include "cli/Command.h"
#include "cli/Values.h"

#include "capture/BarcodeKey.h"
#include "capture/SeparatorSheet.h"

#include <QFile>

namespace tarlox::cli {

namespace {

// Separator sheets for a barcoded stack, as a PDF to print or a TIFF to
// put in a stack file. Needs no settings and no database.
class SeparatorCommand : public Command {
public:
    QString name() const override { return QStringLiteral("separator"); }
    QString summary() const override { return QStringLiteral("make barcode separator sheets (PDF to print, or TIFF)"); }

    QList<QCommandLineOption> options() const override
    {
        return {
            {QStringLiteral("po"), QStringLiteral("P/O of a sheet; repeat the four options for more sheets"), QStringLiteral("PO")},
            {QStringLiteral("receipt"), QStringLiteral("receipt number (default 0)"), QStringLiteral("N")},
            {QStringLiteral("line"), QStringLiteral("line number (default 0)"), QStringLiteral("N")},
            {QStringLiteral("tag"), QStringLiteral("tag number (default 0)"), QStringLiteral("N")},
            {QStringLiteral("csv"), QStringLiteral("a file of keys, one sheet per line: P/O,receipt,line,tag"), QStringLiteral("FILE")},
            {QStringLiteral("caption"), QStringLiteral("the name printed for the P/O (default P/O)"), QStringLiteral("TEXT")},
            {{QStringLiteral("o"), QStringLiteral("output")}, QStringLiteral("the file to write: .pdf, or .tif for a TIFF"), QStringLiteral("FILE")},
        };
    }

    bool needsSession() const override { return false; }

    QString read(const QCommandLineParser& p) override
    {
        if (!p.positionalArguments().isEmpty())
            return QStringLiteral("unexpected argument ") + p.positionalArguments().first();
        output_ = p.value(QStringLiteral("output"));
        if (output_.isEmpty())
            return QStringLiteral("-o FILE is required");
        if (p.isSet(QStringLiteral("caption")))
            caption_ = p.value(QStringLiteral("caption"));
        const QStringList pos = p.values(QStringLiteral("po"));
        const QStringList numbers[] = {p.values(QStringLiteral("receipt")), p.values(QStringLiteral("line")), p.values(QStringLiteral("tag"))};
        for (const QStringList& values : numbers)
            if (values.size() > pos.size())
                return QStringLiteral("--receipt, --line and --tag each belong to a --po before them");
        QStringList lines;
        for (qsizetype i = 0; i < pos.size(); ++i)
            lines.append(QStringList{pos[i], numbers[0].value(i), numbers[1].value(i), numbers[2].value(i)}.join(QLatin1Char('\t')));
        if (p.isSet(QStringLiteral("csv"))) {
            QFile csv(p.value(QStringLiteral("csv")));
            if (!csv.open(QIODevice::ReadOnly | QIODevice::Text))
                return QStringLiteral("--csv: can't read ") + csv.fileName() + QStringLiteral(": ") + csv.errorString();
            lines.append(QString::fromUtf8(csv.readAll()));
        }
        const IoResult<QList<BarcodeKey>> keys = ReadKeyLines(lines.join(QLatin1Char('\n')));
        if (!keys)
            return keys.error();
        if (keys->isEmpty())
            return QStringLiteral("needs --po or --csv");
        keys_ = *keys;
        return {};
    }

    int run(Session&) override
    {
        const bool tiff = output_.endsWith(QLatin1String(".tif"), Qt::CaseInsensitive) || output_.endsWith(QLatin1String(".tiff"), Qt::CaseInsensitive);
        const IoStatus written = tiff ? WriteSeparatorSheetsTiff(output_, keys_, caption_) : WriteSeparatorSheetsPdf(output_, keys_, caption_);
        if (!written)
            return fail(written.error());
        printLine(QStringLiteral("%1 sheets written to %2").arg(keys_.size()).arg(output_));
        return Success;
    }

private:
    QString output_;
    QString caption_ = QStringLiteral("P/O");
    QList<BarcodeKey> keys_;
};

}  // namespace

std::unique_ptr<Command> makeSeparatorCommand() { return std::make_unique<SeparatorCommand>(); }

}  // namespace tarlox::cli
