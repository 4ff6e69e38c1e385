#include "capture/BatchPages.h"

#include "base/TextTools.h"
#include "data/Database.h"
#include "data/Session.h"
#include "store/ReportTags.h"
#include "store/TiffReader.h"
#include "store/TiffWriter.h"

#include <QHash>

#include <algorithm>
#include <optional>

namespace tarlox {

namespace {

bool sameData(const BatchItem& a, const BatchItem& b)
{
    return a.heat == b.heat && a.part == b.part && a.po == b.po;
}

bool takesPart(const BatchItem& item)
{
    return !item.skip && item.storedAs == 0;
}

}  // namespace

void BatchPages::reset(int pageCount, const QStringList& pageSizeCodes)
{
    items_ = QVector<BatchItem>(qMax(0, pageCount));
    for (int i = 0; i < items_.size() && i < pageSizeCodes.size(); ++i)
        items_[i].pageSizeCode = pageSizeCodes[i];
}

void BatchPages::visit(int page)
{
    BatchItem& it = item(page);
    if (it.visited)
        return;
    for (int earlier = page - 1; earlier >= 1; --earlier) {
        const BatchItem& e = item(earlier);
        if (e.skip)
            continue;
        it.heat = e.heat;
        it.part = e.part;
        it.po = e.po;
        it.vend = e.vend;
        it.mfg = e.mfg;
        break;
    }
    it.skip = false;
    it.append = page > 1;
    it.visited = true;
}

bool BatchPages::matchesEarlier(int page) const
{
    for (int earlier = 1; earlier < page; ++earlier) {
        if (sameData(item(earlier), item(page)))
            return true;
    }
    return false;
}

BatchAction BatchPages::action(int page) const
{
    const BatchItem& it = item(page);
    if (it.skip)
        return BatchAction::Skip;
    return it.append ? BatchAction::Append : BatchAction::New;
}

QString BatchPages::rowText(int page) const
{
    const BatchItem& it = item(page);
    if (it.skip || !it.visited)
        return QStringLiteral("Skip");
    return QStringList{it.heat, it.part, it.po, it.vend, it.mfg, it.append ? QStringLiteral("**Appended**") : QString()}.join(QLatin1Char('\t'));
}

BatchPages::RowColour BatchPages::rowColour(int page) const
{
    const BatchItem& it = item(page);
    if (it.skip)
        return RowColour::Skipped;
    return it.append && it.visited ? RowColour::Appended : RowColour::Plain;
}

int BatchPages::joinedTo(int page) const
{
    for (int earlier = page - 1; earlier >= 1; --earlier) {
        const BatchItem& e = item(earlier);
        if (!e.append && takesPart(e) && sameData(e, item(page)))
            return earlier;
    }
    return 0;
}

QList<BatchPages::Report> BatchPages::reports() const
{
    QList<Report> result;
    QHash<int, int> byFirstPage;
    for (int page = 1; page <= pageCount(); ++page) {
        const BatchItem& it = item(page);
        if (!takesPart(it))
            continue;
        if (!it.append) {
            byFirstPage.insert(page, int(result.size()));
            result.append(Report{{page}});
        } else if (const int first = joinedTo(page)) {
            result[byFirstPage.value(first)].pages.append(page);
        }
    }
    return result;
}

QList<int> BatchPages::unjoined() const
{
    QList<int> pages;
    for (int page = 1; page <= pageCount(); ++page) {
        const BatchItem& it = item(page);
        if (takesPart(it) && it.append && !joinedTo(page))
            pages.append(page);
    }
    return pages;
}

int BatchAddResult::stored() const
{
    return int(std::count_if(reports.begin(), reports.end(), [](const BatchReportOutcome& r) { return r.outcome == StoreResult::Outcome::Stored; }));
}

QList<int> BatchAddResult::notStored(const BatchPages& pages) const
{
    QList<int> result;
    for (const BatchPages::Report& report : pages.reports())
        result += report.pages;
    std::sort(result.begin(), result.end());
    return result;
}

BatchAddResult AddBatchReports(Session& s, const QString& workFile, BatchPages& pages, const BatchAddOptions& options)
{
    s.traceCall(QStringLiteral("AddFiles"), {workFile});
    BatchAddResult result;
    const QList<BatchPages::Report> reports = pages.reports();
    if (reports.isEmpty())
        return result;
    auto reader = TiffReader::open(workFile);
    if (!reader) {
        BatchReportOutcome failed;
        failed.pages = reports.front().pages;
        failed.outcome = StoreResult::Outcome::NotCreated;
        failed.error = reader.error();
        result.reports.append(failed);
        return result;
    }
    ConnectionScope connection(s.db());
    for (int r = 0; r < reports.size(); ++r) {
        if (options.progress && !options.progress(r, int(reports.size()))) {
            result.cancelled = true;
            break;
        }
        const BatchPages::Report& report = reports[r];
        const BatchItem& first = pages.item(report.pages.front());
        BatchReportOutcome outcome;
        outcome.pages = report.pages;

        InfoRecord& info = s.info;
        info = InfoRecord{};
        info.heat = first.heat;
        info.part = first.part;
        info.po = first.po;
        info.vend = SpaceIfEmpty(first.vend);
        info.mfg = SpaceIfEmpty(first.mfg);
        s.pageSizeCode = first.pageSizeCode;
        const ReportTags tags = ReportTags::forReport(first.heat, first.part, first.po, first.vend, first.mfg);
        int dpi = int(kDefaultDpi);
        if (auto pageInfo = reader->pageInfo(report.pages.front() - 1))
            dpi = int(pageInfo->dpi.x + 0.5);

        const PageWriter copyPages = [&](const QString& path) {
            bool written = false;
            const auto copy = [&] {
                auto writer = TiffWriter::create(path, tags);
                if (!writer) {
                    outcome.error = writer.error();
                    return;
                }
                for (int page : report.pages) {
                    if (const IoStatus added = writer->addPageFrom(*reader, page - 1); !added) {
                        outcome.error = added.error();
                        return;
                    }
                }
                const IoStatus committed = writer->commit();
                outcome.error = committed ? QString() : committed.error();
                written = bool(committed);
            };
            if (options.runPageCopy)
                options.runPageCopy(copy);
            else
                copy();
            return written;
        };
        StoreOptions store;
        store.duplicates = options.duplicates;
        const StoreResult stored = SaveMTR(s, dpi, copyPages, store);
        outcome.outcome = stored.outcome;
        outcome.imageNumber = stored.imageNumber;
        if (stored.stored()) {
            for (int page : report.pages)
                pages.item(page).storedAs = stored.imageNumber;
        }
        result.reports.append(outcome);
    }
    if (options.progress && !result.cancelled)
        options.progress(int(reports.size()), int(reports.size()));
    return result;
}

QString PageListText(const QList<int>& pages)
{
    QStringList parts;
    for (int i = 0; i < pages.size();) {
        int j = i;
        while (j + 1 < pages.size() && pages[j + 1] == pages[j] + 1)
            ++j;
        parts.append(j - i >= 2 ? QStringLiteral("%1-%2").arg(pages[i]).arg(pages[j])
                                : QString::number(pages[i]) + (j > i ? QStringLiteral(", ") + QString::number(pages[j]) : QString()));
        i = j + 1;
    }
    return parts.join(QStringLiteral(", "));
}

}  // namespace tarlox
