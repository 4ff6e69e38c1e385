#include "search/Listing.h"

#include "base/TextTools.h"
#include "data/DataOp.h"
#include "data/Dialect.h"
#include "data/Session.h"
#include "data/Settings.h"

#include <QFontMetricsF>
#include <QPainter>
#include <QPagedPaintDevice>
#include <QPdfWriter>
#include <QSaveFile>
#include <QSqlQuery>

namespace tarlox {

namespace {

const char* sortColumn(ListingSort sort)
{
    switch (sort) {
    case ListingSort::Heat: return "Heat #";
    case ListingSort::Part: return "Part #";
    case ListingSort::PO: return "P/O #";
    case ListingSort::Vend: return "Vend Name";
    case ListingSort::Mfg: return "Mfg Name";
    case ListingSort::Date: break;
    }
    return "Entry Date";
}

QString infoColumn(const char* column) { return col("Info", column); }

const QString DateFormat = QStringLiteral("M/d/yyyy");

// The select of a part of the listing, with its offset and limit.
QString segmentSql(const Dialect& d, const ListingRequest& r, const SqlCondition& where, int segment, qint64 limit)
{
    const bool byDate = r.sort == ListingSort::Date;
    const QString key = infoColumn(sortColumn(r.sort));
    QString has = byDate ? key + QStringLiteral(" IS NOT NULL") : QStringLiteral("%1 IS NOT NULL AND trim(%1) <> ''").arg(key);
    QString lacks = byDate ? key + QStringLiteral(" IS NULL") : QStringLiteral("(%1 IS NULL OR trim(%1) = '')").arg(key);
    QString condition = segment == 0 ? has : lacks;
    if (!where.isEmpty())
        condition = QLatin1Char('(') + where.text + QStringLiteral(") AND ") + condition;
    const QString dateImage = infoColumn("Entry Date") + QStringLiteral(", ") + infoColumn("Image #");
    const QString order = segment == 0 && !byDate ? key + QStringLiteral(", ") + dateImage : dateImage;
    QString sql = QStringLiteral("SELECT %1, %2, %3, %4, %5, %6, %7 FROM %8 WHERE %9 ORDER BY %10")
                      .arg(infoColumn("Heat #"), infoColumn("Part #"), infoColumn("P/O #"), infoColumn("Vend Name"), infoColumn("Mfg Name"),
                           infoColumn("Entry Date"), infoColumn("Image #"), q("Info"), condition, order);
    if (limit >= 0)
        sql += QStringLiteral(" LIMIT %1").arg(limit);
    else if (d.isSqlite())
        sql += QStringLiteral(" LIMIT -1");
    return sql + QStringLiteral(" OFFSET ?");
}

}  // namespace

ListingTitles ReadListingTitles(Session& session)
{
    ListingTitles titles;
    const auto word = [&](const char* key, QString& title) {
        const QString text = GetLocal(session, section::Custom, QLatin1String(key)).trimmed();
        if (!text.isEmpty())
            title = text;
    };
    word("POLong", titles.po);
    word("VendLong", titles.vend);
    word("MfgLong", titles.mfg);
    return titles;
}

QString ListingTitle(ListingSort sort, const ListingTitles& titles)
{
    const QString by = QStringLiteral("Entry Listing by ");
    switch (sort) {
    case ListingSort::Heat: return by + QStringLiteral("Heat");
    case ListingSort::Part: return by + QStringLiteral("Part");
    case ListingSort::PO: return by + titles.po;
    case ListingSort::Vend: return by + titles.vend;
    case ListingSort::Mfg: return by + titles.mfg;
    case ListingSort::Date: break;
    }
    return by + QStringLiteral("Date");
}

std::optional<SqlCondition> ListingCondition(const Dialect& d, const ListingRequest& r, QString* badDate)
{
    SqlCondition where;
    const auto add = [&](const QString& text, const QVariant& value) {
        if (!where.text.isEmpty())
            where.text += QStringLiteral(" AND ");
        where.text += text;
        where.binds << value;
    };
    const QString date = infoColumn("Entry Date");
    for (const auto& [text, through] : {std::pair{&r.fromDate, false}, std::pair{&r.toDate, true}}) {
        if (text->trimmed().isEmpty())
            continue;
        const auto day = ParseDate(text->trimmed());
        if (!day) {
            if (badDate)
                *badDate = *text;
            return std::nullopt;
        }
        // The To date takes in its whole day: up to the first moment of the next.
        add(date + (through ? QStringLiteral(" < ?") : QStringLiteral(" >= ?")),
            d.dateValue(QDateTime(through ? day->addDays(1) : *day, QTime(0, 0))));
    }
    const std::pair<const char*, const ListingRange*> ranges[] = {
        {"Heat #", &r.heat}, {"Part #", &r.part}, {"P/O #", &r.po}, {"Vend Name", &r.vend}, {"Mfg Name", &r.mfg}};
    for (const auto& [column, range] : ranges) {
        const QString upper = (d.isSqlite() ? QStringLiteral("upper(%1)") : QStringLiteral("upper(%1::text)")).arg(infoColumn(column));
        if (!range->from.isEmpty())
            add(upper + QStringLiteral(" >= ?"), range->from.toUpper());
        if (!range->to.isEmpty())
            add(upper + QStringLiteral(" <= ?"), range->to.toUpper());
    }
    return where;
}

// ---------------------------------------------------------------- rows

ListingRows::ListingRows(Session& session, const ListingRequest& request, Position start, qint64 limit)
    : session_(session), request_(request), position_(start), limit_(limit)
{
    QString badDate;
    const auto where = ListingCondition(session.db().dialect(), request, &badDate);
    if (!where) {
        error_ = QStringLiteral("Invalid Date: ") + badDate;
        return;
    }
    where_ = *where;
    op_ = std::make_unique<DataOp>(session, QStringLiteral("ListingRows"));
    openSegment();
}

ListingRows::~ListingRows() = default;

bool ListingRows::openSegment()
{
    query_.reset();
    QVariantList binds = where_.binds;
    binds << position_.offset;
    auto query = op_->exec(segmentSql(session_.db().dialect(), request_, where_, position_.segment, limit_), binds);
    if (!query) {
        error_ = QStringLiteral("The references could not be read: ") + op_->failure().text;
        return false;
    }
    query_ = std::make_unique<QSqlQuery>(std::move(*query));
    return true;
}

bool ListingRows::next(InfoRow& row)
{
    while (query_) {
        if (query_->next()) {
            const Dialect& d = session_.db().dialect();
            row.heat = query_->value(0).toString();
            row.part = query_->value(1).toString();
            row.po = query_->value(2).toString();
            row.vend = query_->value(3).toString();
            row.mfg = query_->value(4).toString();
            row.entryDate = d.readDate(query_->value(5));
            row.imageNumber = query_->value(6).toInt();
            ++position_.offset;
            return true;
        }
        if (position_.segment == 1 || limit_ >= 0) {
            // A limited read stops with its part; the next read starts the next one.
            if (position_.segment == 0 && limit_ >= 0)
                exhausted_ = true;
            query_.reset();
            break;
        }
        position_ = {1, 0};
        if (!openSegment())
            return false;
    }
    return false;
}

// ---------------------------------------------------------------- pages

ListingPager::ListingPager(Session& session, ListingRequest request, int linesPerPage)
    : session_(session), request_(std::move(request)), linesPerPage_(std::max(linesPerPage, 4))
{
    starts_.push_back(state_);
}

ListingPager::~ListingPager() = default;

void ListingPager::openRows(qint64 limit)
{
    // The server keeps one read open at a time: the old one goes first.
    rows_.reset();
    rows_ = std::make_unique<ListingRows>(session_, request_, state_.position, limit);
}

QString ListingPager::valueOf(const InfoRow& row) const
{
    switch (request_.sort) {
    case ListingSort::Heat: return row.heat;
    case ListingSort::Part: return row.part;
    case ListingSort::PO: return row.po;
    case ListingSort::Vend: return row.vend;
    case ListingSort::Mfg: return row.mfg;
    case ListingSort::Date: break;
    }
    return row.entryDate.isValid() ? row.entryDate.date().toString(DateFormat) : QString();
}

bool ListingPager::sameGroup(const InfoRow& row) const
{
    const QString value = valueOf(row).trimmed();
    if (value.isEmpty())
        return state_.othersGroup;
    return !state_.othersGroup && value.compare(state_.groupValue, Qt::CaseInsensitive) == 0;
}

// Moves the next row (or the end) into the pending lines.
bool ListingPager::pull()
{
    auto foot = [this] {
        ListingLine line{ListingLine::Kind::GroupFoot, {}, state_.othersGroup ? QStringLiteral("Others") : state_.groupValue,
                         state_.groupCount};
        state_.pending.push_back(line);
    };
    InfoRow row;
    if (!rows_->next(row)) {
        if (rows_->failed()) {
            error_ = rows_->error();
            return false;
        }
        if (rows_->exhausted() && state_.position.segment == 0) {
            // A page's limited read ended with the rows that have a value: on with the others.
            state_.position = {1, 0};
            openRows(linesPerPage_ + 1);
            return pull();
        }
        if (state_.inGroup)
            foot();
        state_.pending.push_back(ListingLine{ListingLine::Kind::Total, {}, {}, state_.total});
        state_.inGroup = false;
        state_.ended = true;
        return true;
    }
    state_.position = rows_->position();
    if (!state_.inGroup || !sameGroup(row)) {
        if (state_.inGroup)
            foot();
        const QString value = valueOf(row).trimmed();
        state_.inGroup = true;
        state_.othersGroup = value.isEmpty();
        state_.groupValue = value;
        state_.groupCount = 0;
        state_.pending.push_back(ListingLine{ListingLine::Kind::GroupHead, {}, state_.othersGroup ? QStringLiteral("Others") : value, 0});
    }
    ++state_.groupCount;
    ++state_.total;
    state_.pending.push_back(ListingLine{ListingLine::Kind::Detail, row, {}, 0});
    return true;
}

bool ListingPager::fill(ListingPage& page)
{
    int used = 0;
    for (;;) {
        if (state_.pending.empty()) {
            if (state_.ended)
                break;
            if (!pull())
                return false;
            continue;
        }
        const ListingLine& line = state_.pending.front();
        // A group's opening line does not stand alone at the foot of a page.
        const int room = linesPerPage_ - used;
        if (room <= 0 || (line.kind == ListingLine::Kind::GroupHead && room < 2))
            break;
        page.lines << line;
        state_.pending.pop_front();
        ++used;
    }
    return true;
}

std::optional<ListingPage> ListingPager::page(int number)
{
    if (number < 1 || (lastPage_ > 0 && number > lastPage_))
        return std::nullopt;
    // From the nearest page start known.
    const int from = std::min<int>(number, static_cast<int>(starts_.size()));
    state_ = starts_[from - 1];
    nextNumber_ = from;
    streaming_ = false;
    // One page: a read of at most a page of rows, which the server starts
    // at once; several: one read through all of them.
    openRows(number > from ? -1 : linesPerPage_ + 1);
    if (rows_->failed()) {
        error_ = rows_->error();
        return std::nullopt;
    }
    std::optional<ListingPage> result;
    while (nextNumber_ <= number) {
        ListingPage p;
        p.number = nextNumber_;
        if (!fill(p))
            return std::nullopt;
        if (p.lines.isEmpty()) {
            lastPage_ = nextNumber_ - 1;
            return std::nullopt;
        }
        ++nextNumber_;
        if (static_cast<int>(starts_.size()) < nextNumber_)
            starts_.push_back(state_);
        if (state_.ended && state_.pending.empty())
            lastPage_ = p.number;
        if (p.number == number)
            result = std::move(p);
    }
    return result;
}

std::optional<ListingPage> ListingPager::nextPage()
{
    if (!streaming_) {
        // One read from the first row to the last.
        streaming_ = true;
        state_ = starts_.front();
        openRows(-1);
        nextNumber_ = 1;
        if (rows_->failed()) {
            error_ = rows_->error();
            return std::nullopt;
        }
    }
    if (state_.ended && state_.pending.empty())
        return std::nullopt;
    ListingPage p;
    p.number = nextNumber_++;
    if (!fill(p) || p.lines.isEmpty())
        return std::nullopt;
    return p;
}

// ---------------------------------------------------------------- painting

namespace {

constexpr qreal Margin = 36;
constexpr qreal LineHeight = 12;
constexpr qreal BodyTop = Margin + 58;

struct Column {
    qreal x;
    qreal width;
};

// Img #, Heat #, Part #, P/O, Vendor, Manufacturer, Date, over 540 points.
QList<Column> columnsFor(qreal width)
{
    const qreal scale = (width - 2 * Margin) / 540;
    const qreal widths[] = {38, 82, 86, 76, 96, 96, 66};
    QList<Column> columns;
    qreal x = Margin;
    for (qreal w : widths) {
        columns << Column{x, w * scale};
        x += w * scale;
    }
    return columns;
}

QStringList headings(const ListingTitles& t)
{
    return {QStringLiteral("Img #"), QStringLiteral("Heat #"), QStringLiteral("Part #"), t.po, t.vend, t.mfg, QStringLiteral("Date")};
}

QStringList detailTexts(const InfoRow& r)
{
    return {QString::number(r.imageNumber), r.heat.trimmed(), r.part.trimmed(), r.po.trimmed(), r.vend.trimmed(), r.mfg.trimmed(),
            r.entryDate.isValid() ? r.entryDate.date().toString(DateFormat) : QString()};
}

QFont listingFont(int size, bool bold = false)
{
    QFont font(QStringLiteral("DejaVu Sans"));
    font.setStyleHint(QFont::SansSerif);
    font.setPixelSize(size);  // in the painter's units: points
    font.setBold(bold);
    return font;
}

}  // namespace

int ListingLayout::linesPerPage() const { return static_cast<int>((height - BodyTop - Margin) / LineHeight); }

void PaintListingPage(QPainter& p, const ListingLayout& layout, const QString& title, const ListingTitles& titles, const ListingPage& page)
{
    const QRect device = p.viewport();
    p.save();
    p.setWindow(QRect(0, 0, qRound(layout.width), qRound(layout.height)));
    p.setViewport(device);
    p.setPen(Qt::black);
    const qreal right = layout.width - Margin;
    p.setFont(listingFont(14, true));
    p.drawText(QRectF(Margin, Margin, right - Margin, 20), Qt::AlignLeft | Qt::AlignVCenter, title);
    p.setFont(listingFont(9));
    p.drawText(QRectF(Margin, Margin, right - Margin, 20), Qt::AlignRight | Qt::AlignVCenter,
               QStringLiteral("Page: %1").arg(page.number));
    const QList<Column> columns = columnsFor(layout.width);
    // Text by its baseline: far cheaper than laying it out in a box, and
    // pages of a long listing are mostly text.
    const auto baseline = [](qreal y) { return y + LineHeight - 3; };
    const auto row = [&](qreal y, const QStringList& texts) {
        const QFontMetricsF metrics(p.font());
        const qreal widest = metrics.maxWidth();
        for (int i = 0; i < columns.size() && i < texts.size(); ++i) {
            const Column& c = columns[i];
            const qreal room = c.width - 4;
            const QString& text = texts[i];
            p.drawText(QPointF(c.x, baseline(y)), text.size() * widest <= room ? text : metrics.elidedText(text, Qt::ElideRight, room));
        }
    };
    p.setFont(listingFont(9, true));
    row(BodyTop - 22, headings(titles));
    p.drawLine(QPointF(Margin, BodyTop - 6), QPointF(right, BodyTop - 6));
    qreal y = BodyTop;
    for (const ListingLine& line : page.lines) {
        switch (line.kind) {
        case ListingLine::Kind::Detail:
            p.setFont(listingFont(9));
            row(y, detailTexts(line.row));
            break;
        case ListingLine::Kind::GroupHead:
            p.setFont(listingFont(9, true));
            p.drawText(QPointF(Margin, baseline(y)), line.value);
            break;
        case ListingLine::Kind::GroupFoot:
        case ListingLine::Kind::Total: {
            const bool total = line.kind == ListingLine::Kind::Total;
            p.setFont(listingFont(9, true));
            p.drawText(QPointF(Margin + 20, baseline(y)), total ? QStringLiteral("Totals Items Entered :") : QStringLiteral("Items entered for - ") + line.value);
            const QString count = QString::number(line.count);
            p.drawText(QPointF(right - QFontMetricsF(p.font()).horizontalAdvance(count), baseline(y)), count);
            p.drawLine(QPointF(right - 60, y + 1), QPointF(right, y + 1));
            break;
        }
        }
        y += LineHeight;
    }
    p.restore();
}

QString ListingPageText(const QString& title, const ListingTitles& titles, const ListingPage& page)
{
    static const int widths[] = {7, 16, 16, 14, 20, 20, 10};
    const auto row = [](const QStringList& texts) -> QString {
        QString line;
        for (int i = 0; i < texts.size(); ++i) {
            line += texts[i].leftJustified(widths[i]);
            line += QLatin1Char(' ');
        }
        return line.trimmed() + QLatin1Char('\n');
    };
    QString text = title + QStringLiteral("    Page: %1\n\n").arg(page.number);
    text += row(headings(titles));
    for (const ListingLine& line : page.lines) {
        switch (line.kind) {
        case ListingLine::Kind::Detail: text += row(detailTexts(line.row)); break;
        case ListingLine::Kind::GroupHead: text += line.value + QLatin1Char('\n'); break;
        case ListingLine::Kind::GroupFoot: text += QStringLiteral("    Items entered for - %1  %2\n").arg(line.value).arg(line.count); break;
        case ListingLine::Kind::Total: text += QStringLiteral("    Totals Items Entered : %1\n").arg(line.count); break;
        }
    }
    return text;
}

ListingLayout ListingLayout::of(const QPagedPaintDevice& device)
{
    const QRectF page = device.pageLayout().fullRect(QPageLayout::Point);
    return page.isEmpty() ? ListingLayout{} : ListingLayout{page.width(), page.height()};
}

QString PaintListing(Session& session, const ListingRequest& request, QPagedPaintDevice& device, const std::function<bool(int)>& progress)
{
    const ListingLayout layout = ListingLayout::of(device);
    const ListingTitles titles = ReadListingTitles(session);
    const QString title = ListingTitle(request.sort, titles);
    ListingPager pager(session, request, layout.linesPerPage());
    QPainter painter;
    int count = 0;
    while (auto page = pager.nextPage()) {
        if (count == 0 ? !painter.begin(&device) : !device.newPage())
            return QStringLiteral("The pages could not be written.");
        PaintListingPage(painter, layout, title, titles, *page);
        ++count;
        if (progress && !progress(count)) {
            painter.end();
            return QStringLiteral("Cancelled.");
        }
    }
    if (!pager.error().isEmpty())
        return pager.error();
    if (count == 0) {
        // Nothing selected: one page with the headings and the total.
        if (!painter.begin(&device))
            return QStringLiteral("The pages could not be written.");
        PaintListingPage(painter, layout, title, titles, ListingPage{1, {ListingLine{ListingLine::Kind::Total, {}, {}, 0}}});
        count = 1;
    }
    painter.end();
    if (progress)
        progress(-count);
    return {};
}

QString WriteListingPdf(Session& session, const ListingRequest& request, const QString& path, qint64* pages,
                        const std::function<bool(int)>& progress)
{
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly))
        return QStringLiteral("Can't write %1: %2").arg(path, file.errorString());
    QPdfWriter writer(&file);
    writer.setPageSize(QPageSize(QPageSize::Letter));
    writer.setPageMargins(QMarginsF(0, 0, 0, 0));
    writer.setResolution(300);
    writer.setTitle(ListingTitle(request.sort, ReadListingTitles(session)));
    writer.setCreator(QStringLiteral("Tarlox"));
    qint64 count = 0;
    const QString error = PaintListing(session, request, writer, [&](int page) {
        count = std::abs(page);
        return !progress || progress(page);
    });
    if (!error.isEmpty()) {
        file.cancelWriting();
        return error;
    }
    if (!file.commit())
        return QStringLiteral("Can't write %1: %2").arg(path, file.errorString());
    if (pages)
        *pages = count;
    return {};
}

// ---------------------------------------------------------------- CSV

namespace {

QString csvField(const QString& value)
{
    if (!value.contains(QLatin1Char(',')) && !value.contains(QLatin1Char('"')) && !value.contains(QLatin1Char('\n'))
        && !value.contains(QLatin1Char('\r')))
        return value;
    QString quoted = value;
    return QLatin1Char('"') + quoted.replace(QLatin1Char('"'), QStringLiteral("\"\"")) + QLatin1Char('"');
}

}  // namespace

QString CsvHeader() { return QStringLiteral("Image #,Heat #,Part #,P/O #,Vend Name,Mfg Name,Entry Date\r\n"); }

QString CsvLine(const InfoRow& r)
{
    const QStringList fields{QString::number(r.imageNumber), r.heat.trimmed(), r.part.trimmed(), r.po.trimmed(), r.vend.trimmed(),
                             r.mfg.trimmed(), r.entryDate.isValid() ? r.entryDate.toString(QStringLiteral("yyyy-MM-dd HH:mm:ss")) : QString()};
    QStringList quoted;
    for (const QString& f : fields)
        quoted << csvField(f);
    return quoted.join(QLatin1Char(',')) + QStringLiteral("\r\n");
}

QString WriteListingCsv(Session& session, const ListingRequest& request, const QString& path, qint64* rows)
{
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly))
        return QStringLiteral("Can't write %1: %2").arg(path, file.errorString());
    ListingRows reader(session, request);
    file.write(CsvHeader().toUtf8());
    InfoRow row;
    qint64 count = 0;
    while (reader.next(row)) {
        file.write(CsvLine(row).toUtf8());
        ++count;
    }
    if (reader.failed()) {
        file.cancelWriting();
        return reader.error();
    }
    if (!file.commit())
        return QStringLiteral("Can't write %1: %2").arg(path, file.errorString());
    if (rows)
        *rows = count;
    return {};
}

}  // namespace tarlox
