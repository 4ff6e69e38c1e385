#pragma once

#include "data/InfoData.h"
#include "store/ImageStore.h"

#include <QList>
#include <QString>
#include <QVector>

#include <functional>

namespace tarlox {

class Session;

// One page of a batch and what the operator said about it.
struct BatchItem {
    bool append = false;  // goes behind the report of equal data
    QString heat;
    QString mfg;
    QString part;
    QString po;
    bool visited = false;
    bool skip = false;
    QString vend;
    // " " Letter, "G" Legal, "A" A4: told by the page itself.
    QString pageSizeCode = QStringLiteral(" ");
    // The image the page went into, once stored (0 before).
    qint32 storedAs = 0;
};

enum class BatchAction { New, Append, Skip };

// The pages of a batch, numbered from 1, and the rules that join them into
// reports: a page starts a report, goes behind the report of equal data
// (Heat, Part and P/O by exact text, wherever that report's first page
// lies) or is skipped.
class BatchPages {
public:
    void reset(int pageCount, const QStringList& pageSizeCodes = {});
    int pageCount() const { return int(items_.size()); }
    BatchItem& item(int page) { return items_[page - 1]; }
    const BatchItem& item(int page) const { return items_[page - 1]; }

    // A page shown for the first time takes the data of the last earlier
    // page that is not skipped, and Append from page 2 on.
    void visit(int page);
    // True when the page's Heat, Part and P/O equal those of an earlier
    // page (skipped pages count too): it can then only be appended or
    // skipped, and any other page only start a report or be skipped.
    bool matchesEarlier(int page) const;
    // What a page may be: {Append, Skip} or {New, Skip}.
    BatchAction offeredAction(int page) const { return matchesEarlier(page) ? BatchAction::Append : BatchAction::New; }
    BatchAction action(int page) const;

    // The page's row of the list: its data tab-separated and "**Appended**",
    // or "Skip".
    QString rowText(int page) const;
    enum class RowColour { Plain, Appended, Skipped };
    RowColour rowColour(int page) const;

    // The reports the pages make: each page that starts one, and the later
    // Append pages of equal data (the nearest report before them), in page
    // order. Skipped and stored pages take no part.
    struct Report {
        QList<int> pages;
    };
    QList<Report> reports() const;
    // Append pages that no report carries: no page before them starts one
    // with their data.
    QList<int> unjoined() const;

    // The page that starts the report an Append page goes into; 0 if none.
    int joinedTo(int page) const;

private:
    QVector<BatchItem> items_;
};

// What became of one report of a batch.
struct BatchReportOutcome {
    QList<int> pages;
    StoreResult::Outcome outcome = StoreResult::Outcome::Refused;
    qint32 imageNumber = 0;
    QString error;  // the page copy's failure, when there was one
};

struct BatchAddOptions {
    Duplicates duplicates = Duplicates::Ask;
    // Told before each report (done of total); false stops before it.
    std::function<bool(int done, int total)> progress;
    // Runs the copy of a report's pages; the form runs it off its thread.
    std::function<void(const std::function<void()>&)> runPageCopy;
};

struct BatchAddResult {
    QList<BatchReportOutcome> reports;  // in the order tried
    bool cancelled = false;
    int stored() const;
    // Pages of reports tried and not stored, and of reports not tried.
    QList<int> notStored(const BatchPages& pages) const;
};

// Stores every report of the batch through SaveMTR, one after another: the
// pages are copied from the work file as they are stored there (Group 4),
// the first page carrying the report's tags. A stored page is marked with
// its image number, so that a batch that was cancelled or partly refused
// can be added again without storing a report twice.
BatchAddResult AddBatchReports(Session& session, const QString& workFile, BatchPages& pages, const BatchAddOptions& options = {});

// The list of pages as a person reads it: "1, 3, 5-7".
QString PageListText(const QList<int>& pages);

}  // namespace tarlox
