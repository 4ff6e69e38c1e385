#pragma once

#include "data/Records.h"
#include "data/SqlCondition.h"

#include <QList>
#include <QString>

#include <deque>
#include <functional>
#include <memory>
#include <optional>
#include <vector>

class QPagedPaintDevice;
class QPainter;
class QSqlQuery;

namespace tarlox {

class DataOp;
class Dialect;
class Session;

// The entry listing: references grouped by one field, page after page.

enum class ListingSort { Heat, Part, PO, Vend, Mfg, Date };

// A case-free text range; either end may be empty.
struct ListingRange {
    QString from;
    QString to;
};

// What a listing selects: the five ranges and the entry dates (text as
// typed: month/day/year or yyyy-mm-dd; empty for no limit).
struct ListingRequest {
    ListingSort sort = ListingSort::Date;
    ListingRange heat, part, po, vend, mfg;
    QString fromDate, toDate;
};

// The site's words for three columns: POLong, VendLong and MfgLong of the
// "Custom" section, else "P/O", "Vendor" and "Manufacturer".
struct ListingTitles {
    QString po = QStringLiteral("P/O");
    QString vend = QStringLiteral("Vendor");
    QString mfg = QStringLiteral("Manufacturer");
};
ListingTitles ReadListingTitles(Session& session);

// "Entry Listing by " and the field: the site's word for P/O, vendor and
// manufacturer, "Part", "Heat" or "Date" for the others.
QString ListingTitle(ListingSort sort, const ListingTitles& titles);

// The selection: each range compared on upper-cased text from its From
// value and up to its To value, the entry date from the first moment of the
// From day through the whole To day. nullopt, with badDate set to the text,
// when a date can't be read.
std::optional<SqlCondition> ListingCondition(const Dialect& dialect, const ListingRequest& request, QString* badDate = nullptr);

// One line of a listing page.
struct ListingLine {
    enum class Kind { GroupHead, Detail, GroupFoot, Total };
    Kind kind = Kind::Detail;
    InfoRow row;     // Detail
    QString value;   // GroupHead, GroupFoot: the group's value, "Others" for empty ones
    qint64 count = 0;  // GroupFoot, Total
};

struct ListingPage {
    int number = 0;
    QList<ListingLine> lines;
};

// Reads the listing's references in listing order: the references with a
// value in the sort field by that value (then entry date and image number),
// then those without one. Reads as it goes, so a listing of any length
// holds one row at a time.
class ListingRows {
public:
    // Where the reading stands: the part (0 with a value, 1 without) and
    // the rows of that part read so far.
    struct Position {
        int segment;
        qint64 offset;
    };

    // With limit, at most that many rows of the starting part are read;
    // exhausted() then tells that the part ended before the limit.
    ListingRows(Session& session, const ListingRequest& request, Position start = Position{}, qint64 limit = -1);
    ~ListingRows();
    ListingRows(const ListingRows&) = delete;
    ListingRows& operator=(const ListingRows&) = delete;

    // The next row; false at the end or on a failure.
    bool next(InfoRow& row);
    bool failed() const { return !error_.isEmpty(); }
    const QString& error() const { return error_; }
    Position position() const { return position_; }
    bool exhausted() const { return exhausted_; }

private:
    bool openSegment();

    Session& session_;
    ListingRequest request_;
    std::unique_ptr<DataOp> op_;
    std::unique_ptr<QSqlQuery> query_;
    SqlCondition where_;
    Position position_;
    qint64 limit_ = -1;
    bool exhausted_ = false;
    QString error_;
};

// Lays the rows out on pages of linesPerPage lines: one group per value of
// the sort field, each opened by its value and closed by "Items entered for
// -", its value and its count; the count of all at the end. Pages come one
// at a time, each from a query started where the page starts, so going
// back and forth holds no more than one page.
class ListingPager {
public:
    ListingPager(Session& session, ListingRequest request, int linesPerPage);
    ~ListingPager();

    // Page number (from 1); nullopt past the last page or when the
    // references could not be read (error() then says why).
    std::optional<ListingPage> page(int number);
    // Pages in order from the first: for printing, PDF and text.
    std::optional<ListingPage> nextPage();

    // The last page, once a page call has reached it; 0 until then.
    int lastPage() const { return lastPage_; }
    const QString& error() const { return error_; }
    const ListingRequest& request() const { return request_; }

private:
    struct State {
        ListingRows::Position position{0, 0};
        std::deque<ListingLine> pending;
        QString groupValue;
        QDate groupDay;
        bool inGroup = false;
        bool othersGroup = false;
        qint64 groupCount = 0;
        qint64 total = 0;
        bool ended = false;
    };
    void openRows(qint64 limit);
    bool fill(ListingPage& page);
    bool pull();
    bool sameGroup(const InfoRow& row) const;
    QString valueOf(const InfoRow& row) const;

    Session& session_;
    ListingRequest request_;
    int linesPerPage_;
    std::vector<State> starts_;  // the state at the start of each page reached
    State state_;
    int nextNumber_ = 1;  // the page the state is at the start of
    bool streaming_ = false;
    std::unique_ptr<ListingRows> rows_;
    int lastPage_ = 0;
    QString error_;
};

// Page layout in points (1/72 inch), the same for the screen, the printer
// and PDF: Letter or A4 portrait.
struct ListingLayout {
    qreal width = 612;
    qreal height = 792;
    int linesPerPage() const;
    // The device's page, portrait or landscape as it is set.
    static ListingLayout of(const QPagedPaintDevice& device);
};

// Paints one page; the painter's window is set to the page in points, so
// any device shows the same page.
void PaintListingPage(QPainter& painter, const ListingLayout& layout, const QString& title, const ListingTitles& titles,
                      const ListingPage& page);

// One page as plain text: title and page number, headings, lines.
QString ListingPageText(const QString& title, const ListingTitles& titles, const ListingPage& page);

// The whole listing painted on device, page after page, read as it goes.
// progress gets each page's number after it is painted (false cancels) and
// at the end minus the count of pages. Empty on success, else why not.
QString PaintListing(Session& session, const ListingRequest& request, QPagedPaintDevice& device,
                     const std::function<bool(int)>& progress = {});

// The listing written as PDF, streamed page by page into a work file beside
// path and put in place at the end; progress as for PaintListing (a cancel
// leaves no file). Empty on success, else why not.
QString WriteListingPdf(Session& session, const ListingRequest& request, const QString& path, qint64* pages = nullptr,
                        const std::function<bool(int)>& progress = {});

// The references of a selection as CSV (RFC 4180, UTF-8, a header row), in
// listing order; written beside path and put in place. Empty on success.
QString WriteListingCsv(Session& session, const ListingRequest& request, const QString& path, qint64* rows = nullptr);

// The header row and one line of the CSV, with their CRLF.
QString CsvHeader();
QString CsvLine(const InfoRow& row);

}  // namespace tarlox
