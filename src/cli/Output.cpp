#include "cli/Command.h"
#include "cli/Values.h"

#include "base/FileTools.h"
#include "data/ImageData.h"
#include "data/Session.h"
#include "output/OutputPreparation.h"
#include "store/DriveMap.h"
#include "store/ImageFiles.h"

#include <QFileInfo>
#include <QProcess>

namespace tarlox::cli {

namespace {

const QCommandLineOption PagesOption(QStringLiteral("pages"), QStringLiteral("the pages: All (default) or n,m,l"), QStringLiteral("P"));

// An image number's file through its row and the drive map, or a file named directly.
IoResult<QString> ImageFile(Session& s, const QString& argument)
{
    bool number = false;
    const int n = argument.toInt(&number);
    if (!number)
        return QFileInfo::exists(argument) ? IoResult<QString>(argument)
                                           : IoResult<QString>(tarlox::Failure(QStringLiteral("no file \"%1\"").arg(argument)));
    if (!ReadImage(s, n))
        return tarlox::Failure(QStringLiteral("image %1 is not on file").arg(n));
    const QString directory = ApplyDriveMap(s.drvMap, s.image.path.trimmed(), MapDirection::ToLocal).path;
    return JoinPath(directory, ImageFileNameFor(n));
}

// The message keys as the options name them.
QString* MessageField(MessageFields& m, const QString& key)
{
    const std::pair<const char*, QString*> keys[] = {
        {"from", &m.from},   {"to", &m.to},     {"order", &m.order},     {"invoice", &m.invoice},   {"line", &m.lineNum},
        {"po", &m.custPO},   {"part", &m.part}, {"desc", &m.partDesc},   {"qty", &m.quantity},      {"heat", &m.heat},
        {"tag", &m.tag},     {"text", &m.text},
    };
    for (const auto& [name, field] : keys)
        if (key.compare(QLatin1String(name), Qt::CaseInsensitive) == 0)
            return field;
    return nullptr;
}

// Writes the prepared pages of one or more reports as one file.
class Output : public Command {
public:
    QString name() const override { return QStringLiteral("output"); }
    QString summary() const override { return QStringLiteral("reports prepared for sending: chosen pages, stamp, message block; TIFF or PDF"); }
    QString arguments() const override { return QStringLiteral("IMAGE... (image numbers or TIFF files)"); }
    QList<QCommandLineOption> options() const override
    {
        return {PagesOption,
                {QStringLiteral("stamp"), QStringLiteral("the authorization stamp image of the settings on each page")},
                {QStringLiteral("stamp-text"), QStringLiteral("the authorization text of the settings on each page")},
                {QStringLiteral("message"),
                 QStringLiteral("a message field, KEY one of from to order invoice line po part desc qty heat tag text; "
                                "any --message adds the message block"),
                 QStringLiteral("KEY=VALUE")},
                {QStringLiteral("pdf"), QStringLiteral("write a PDF (the Group 4 data copied as it is)")},
                {QStringLiteral("pdfa"), QStringLiteral("with --pdf: PDF/A-1b, for archives")},
                {{QStringLiteral("o"), QStringLiteral("output")}, QStringLiteral("the file to write"), QStringLiteral("FILE")}};
    }

    QString read(const QCommandLineParser& parser) override
    {
        images_ = parser.positionalArguments();
        if (images_.isEmpty())
            return QStringLiteral("takes one or more images");
        target_ = parser.value(QStringLiteral("output"));
        if (target_.isEmpty())
            return QStringLiteral("-o FILE is required");
        const Parsed<QString> pages = PagesValue(QStringLiteral("--pages"), parser.value(PagesOption));
        if (!pages)
            return pages.error;
        pages_ = pages.value;
        if (parser.isSet(QStringLiteral("stamp")) && parser.isSet(QStringLiteral("stamp-text")))
            return QStringLiteral("--stamp and --stamp-text exclude each other");
        authorization_ = parser.isSet(QStringLiteral("stamp")) ? QStringLiteral("S")
                                                               : parser.isSet(QStringLiteral("stamp-text")) ? QStringLiteral("T") : QString();
        pdf_ = parser.isSet(QStringLiteral("pdf"));
        pdfa_ = parser.isSet(QStringLiteral("pdfa"));
        if (pdfa_ && !pdf_)
            return QStringLiteral("--pdfa goes with --pdf");
        const QStringList messages = parser.values(QStringLiteral("message"));
        message_ = !messages.isEmpty();
        for (const QString& item : messages) {
            const qsizetype eq = item.indexOf(QLatin1Char('='));
            QString* field = eq > 0 ? MessageField(fields_, item.left(eq)) : nullptr;
            if (!field)
                return QStringLiteral("--message takes KEY=VALUE with a known KEY, not \"%1\"").arg(item);
            *field = item.mid(eq + 1);
        }
        return CheckMessageFields(fields_);
    }

    int run(Session& s) override
    {
        OutputSettings settings = ReadOutputSettings(s);
        settings.authorization = authorization_;
        settings.addMessage = message_;
        if (fields_.from.isEmpty())
            fields_.from = settings.from;
        QList<PdfPage> pages;
        for (const QString& image : images_) {
            IoResult<QString> file = ImageFile(s, image);
            if (!file)
                return fail(file.error());
            IoResult<QList<PdfPage>> prepared = PreparePages(*file, pages_, settings, fields_, s.now().date());
            if (!prepared)
                return fail(prepared.error());
            pages += *prepared;
        }
        PdfOptions options;
        options.pdfa = pdfa_;
        if (IoStatus written = WritePrepared(target_, pages, pdf_, options); !written)
            return fail(written.error());
        printLine(QStringLiteral("%1: %2 pages").arg(target_).arg(pages.size()));
        return Success;
    }

private:
    QStringList images_;
    QString target_, pages_, authorization_;
    bool pdf_ = false, pdfa_ = false, message_ = false;
    MessageFields fields_;
};

// Prints reports through the system's print service (CUPS): each report
// prepared as the settings say (stamp, chosen pages), handed to lp.
class Print : public Command {
public:
    QString name() const override { return QStringLiteral("print"); }
    QString summary() const override { return QStringLiteral("reports to a printer, prepared as the settings say"); }
    QString arguments() const override { return QStringLiteral("IMAGE... (image numbers or TIFF files)"); }
    QList<QCommandLineOption> options() const override
    {
        return {PagesOption,
                {QStringLiteral("printer"), QStringLiteral("the printer (default: key Printer, else the system's default)"),
                 QStringLiteral("NAME")},
                {QStringLiteral("copies"), QStringLiteral("copies of each report (1 to 999)"), QStringLiteral("N")}};
    }

    QString read(const QCommandLineParser& parser) override
    {
        images_ = parser.positionalArguments();
        if (images_.isEmpty())
            return QStringLiteral("takes one or more images");
        const Parsed<QString> pages = PagesValue(QStringLiteral("--pages"), parser.value(PagesOption));
        if (!pages)
            return pages.error;
        pages_ = pages.value;
        printer_ = parser.value(QStringLiteral("printer"));
        if (parser.isSet(QStringLiteral("copies"))) {
            const Parsed<int> copies = IntegerValue(QStringLiteral("--copies"), parser.value(QStringLiteral("copies")), 1, 999);
            copies_ = copies.value;
            return copies.error;
        }
        return {};
    }

    int run(Session& s) override
    {
        OutputSettings settings = ReadOutputSettings(s);
        const QString printer = printer_.isEmpty() ? s.printer : printer_;
        int sequence = 0;
        for (const QString& image : images_) {
            IoResult<QString> file = ImageFile(s, image);
            if (!file)
                return fail(file.error());
            IoResult<QList<PdfPage>> prepared = PreparePages(*file, pages_, settings, {settings.from}, s.now().date());
            if (!prepared)
                return fail(prepared.error());
            const QString pdf = TempFileName(settings.tempDir, *file, ++sequence, true);
            if (IoStatus written = WritePrepared(pdf, *prepared, true); !written)
                return fail(written.error());
            QStringList arguments;
            if (!printer.isEmpty())
                arguments << QStringLiteral("-d") << printer;
            arguments << QStringLiteral("-n") << QString::number(copies_) << QStringLiteral("-o") << QStringLiteral("fit-to-page")
                      << QStringLiteral("-t") << QFileInfo(*file).fileName() << pdf;
            QProcess lp;
            lp.start(QStringLiteral("lp"), arguments);
            const bool ended = lp.waitForFinished(60000);
            const QString said = QString::fromLocal8Bit(lp.readAllStandardError() + lp.readAllStandardOutput()).trimmed();
            QFile::remove(pdf);
            if (!ended || lp.exitStatus() != QProcess::NormalExit || lp.exitCode() != 0)
                return fail(QStringLiteral("%1 could not be printed: %2").arg(*file, said.isEmpty() ? lp.errorString() : said));
            printLine(QStringLiteral("%1: %2 pages, %3").arg(*file).arg(prepared->size()).arg(said));
        }
        return Success;
    }

private:
    QStringList images_;
    QString pages_, printer_;
    int copies_ = 1;
};

}  // namespace

std::unique_ptr<Command> makeOutputCommand() { return std::make_unique<Output>(); }
std::unique_ptr<Command> makePrintCommand() { return std::make_unique<Print>(); }

}  // namespace tarlox::cli
