#include "cli/Command.h"

#include "base/FileTools.h"
#include "capture/BatchFiles.h"
#include "capture/BatchPages.h"
#include "data/Session.h"
#include "base/ReadField.h"
#include "exchange/ExportFile.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>

namespace tarlox::cli {

namespace {

// One line of the index: the data and the action of one page.
struct IndexLine {
    int line = 0;
    BatchItem item;
    QString action;
};

// Reads the index: heat, part, P/O, vendor, manufacturer, action; a first
// line starting with "heat" is a header; blank lines don't count.
IoResult<QList<IndexLine>> readIndex(const QString& path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return tarlox::Failure(QStringLiteral("can't read the index \"%1\": %2").arg(path, file.errorString()));
    const QStringList lines = DecodeExchangeText(file.readAll()).split(QLatin1Char('\n'));
    QList<IndexLine> result;
    for (int n = 0; n < lines.size(); ++n) {
        QString text = lines[n];
        if (text.endsWith(QLatin1Char('\r')))
            text.chop(1);
        if (text.trimmed().isEmpty())
            continue;
        if (n == 0 && text.trimmed().startsWith(QLatin1String("heat"), Qt::CaseInsensitive))
            continue;
        auto fields = ReadFields(text);
        if (!fields)
            return tarlox::Failure(QStringLiteral("%1 line %2: %3").arg(path).arg(n + 1).arg(fields.error()));
        if (fields->size() != 6)
            return tarlox::Failure(QStringLiteral("%1 line %2: needs 6 fields (heat, part, P/O, vendor, manufacturer, action), not %3")
                               .arg(path)
                               .arg(n + 1)
                               .arg(fields->size()));
        IndexLine entry;
        entry.line = n + 1;
        entry.item.heat = fields->at(0).trimmed();
        entry.item.part = fields->at(1).trimmed();
        entry.item.po = fields->at(2).trimmed();
        entry.item.vend = fields->at(3).trimmed();
        entry.item.mfg = fields->at(4).trimmed();
        entry.action = fields->at(5).trimmed().toLower();
        if (entry.action != QLatin1String("new") && entry.action != QLatin1String("append") && entry.action != QLatin1String("skip"))
            return tarlox::Failure(QStringLiteral("%1 line %2: the action is New, Append or Skip, not \"%3\"").arg(path).arg(n + 1).arg(fields->at(5)));
        result.append(entry);
    }
    return result;
}

// Turns the index into the batch's pages under the form's rules: a page
// whose data equal an earlier page's can only be appended or skipped, any
// other only start a report or be skipped.
QString assemble(const QList<IndexLine>& index, const QString& indexPath, BatchPages& pages)
{
    for (int page = 1; page <= pages.pageCount(); ++page) {
        const IndexLine& entry = index[page - 1];
        BatchItem& item = pages.item(page);
        const QString size = item.pageSizeCode;
        item = entry.item;
        item.pageSizeCode = size;
        item.visited = true;
        item.skip = entry.action == QLatin1String("skip");
        item.append = pages.matchesEarlier(page);
        if (item.skip)
            continue;
        if (item.append && entry.action == QLatin1String("new"))
            return QStringLiteral("%1 line %2: page %3 has the Heat, Part and P/O of an earlier page: Append or Skip, not New")
                .arg(indexPath)
                .arg(entry.line)
                .arg(page);
        if (!item.append && entry.action == QLatin1String("append"))
            return QStringLiteral("%1 line %2: page %3 has the Heat, Part and P/O of no earlier page: New or Skip, not Append")
                .arg(indexPath)
                .arg(entry.line)
                .arg(page);
    }
    return {};
}

QString pagesWord(const QList<int>& pages)
{
    return (pages.size() == 1 ? QStringLiteral("page ") : QStringLiteral("pages ")) + PageListText(pages);
}

QString outcomeText(const BatchReportOutcome& r)
{
    switch (r.outcome) {
    case StoreResult::Outcome::Refused: return QStringLiteral("the entry was refused");
    case StoreResult::Outcome::NoNumber: return QStringLiteral("no image number could be taken");
    case StoreResult::Outcome::NotCreated: return r.error.isEmpty() ? QStringLiteral("the image file was not created") : r.error;
    case StoreResult::Outcome::NotIndexed: return QStringLiteral("the references could not be added");
    case StoreResult::Outcome::Stored: break;
    }
    return {};
}

// Reads the pages of files and directories into reports, indexed by a CSV
// file of one line a page.
class Batch : public Command {
public:
    QString name() const override { return QStringLiteral("batch"); }
    QString summary() const override
    {
        return QStringLiteral("store the pages of files as reports, indexed page by page from a CSV file (New, Append or Skip)");
    }
    QString arguments() const override { return QStringLiteral("DIR|FILE..."); }
    QList<QCommandLineOption> options() const override
    {
        return {
            {QStringLiteral("index"),
             QStringLiteral("CSV file, one line a page in reading order: heat, part, P/O, vendor, manufacturer, action"),
             QStringLiteral("INDEX.csv")},
            {QStringLiteral("dry-run"), QStringLiteral("read and check everything, say what would be stored, store nothing")},
        };
    }

    QString read(const QCommandLineParser& p) override
    {
        inputs_ = p.positionalArguments();
        if (inputs_.isEmpty())
            return QStringLiteral("needs at least one DIR or FILE");
        indexPath_ = p.value(QStringLiteral("index"));
        if (indexPath_.isEmpty())
            return QStringLiteral("needs --index INDEX.csv");
        dryRun_ = p.isSet(QStringLiteral("dry-run"));
        return {};
    }

    int run(Session& s) override
    {
        QStringList files;
        for (const QString& input : inputs_) {
            const QFileInfo info(input);
            if (info.isDir()) {
                const QStringList names = ListBatchFiles(input);
                if (names.isEmpty())
                    return fail(QStringLiteral("\"%1\" holds no file a batch reads (%2)").arg(input, BatchExtensions().join(QLatin1Char(' '))));
                for (const QString& name : names)
                    files.append(QDir(input).filePath(name));
            } else if (info.exists()) {
                files.append(input);
            } else {
                return fail(QStringLiteral("\"%1\" does not exist").arg(input));
            }
        }
        auto index = readIndex(indexPath_);
        if (!index)
            return fail(index.error());

        // A work file of its own, so that a batch open on the form is left alone.
        const QString work = JoinPath(s.tempDir, QStringLiteral("batch-%1.tif").arg(QCoreApplication::applicationPid()));
        struct Remove {
            QString path;
            ~Remove() { QFile::remove(path); }
        } removeWork{work};
        const BatchReadResult read = ReadBatchFiles(files, work, BatchWorkDpi(s));
        if (!read.ok())
            return fail(read.error);
        if (read.pages != index->size())
            return fail(QStringLiteral("the files have %1 page(s), the index %2 line(s)").arg(read.pages).arg(index->size()));
        BatchPages pages;
        pages.reset(read.pages, read.pageSizeCodes);
        if (const QString wrong = assemble(*index, indexPath_, pages); !wrong.isEmpty())
            return fail(wrong);

        QList<int> skipped;
        for (int page = 1; page <= pages.pageCount(); ++page) {
            if (pages.item(page).skip)
                skipped.append(page);
        }
        const QList<int> unjoined = pages.unjoined();
        bool complete = unjoined.isEmpty();
        if (dryRun_) {
            for (const BatchPages::Report& report : pages.reports()) {
                const BatchItem& first = pages.item(report.pages.front());
                printLine(QStringLiteral("Would store %1: heat \"%2\", part \"%3\", P/O \"%4\"")
                              .arg(pagesWord(report.pages), first.heat, first.part, first.po));
            }
        } else {
            const BatchAddResult added = AddBatchReports(s, work, pages, BatchAddOptions{Duplicates::AsSettings, {}, {}});
            for (const BatchReportOutcome& r : added.reports) {
                if (r.outcome == StoreResult::Outcome::Stored) {
                    printLine(QStringLiteral("Stored image %1: %2").arg(r.imageNumber).arg(pagesWord(r.pages)));
                } else {
                    complete = false;
                    printLine(QStringLiteral("Not stored, %1: %2").arg(pagesWord(r.pages), outcomeText(r)));
                }
            }
            printLine(QStringLiteral("%1 report(s) stored from %2 page(s).").arg(added.stored()).arg(pages.pageCount()));
        }
        if (!skipped.isEmpty())
            printLine(QStringLiteral("Not stored, %1: skipped").arg(pagesWord(skipped)));
        if (!unjoined.isEmpty())
            printLine(QStringLiteral("Not stored, %1: Append, but no page before starts a report with the same Heat, Part and P/O")
                          .arg(pagesWord(unjoined)));
        return complete ? Success : Failure;
    }

private:
    QStringList inputs_;
    QString indexPath_;
    bool dryRun_ = false;
};

}  // namespace

std::unique_ptr<Command> makeBatchCommand() { return std::make_unique<Batch>(); }

}  // namespace tarlox::cli
