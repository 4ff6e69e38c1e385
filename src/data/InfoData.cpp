#include "data/Dialect.h"
#include "data/InfoData.h"

#include "data/DataOp.h"
#include "data/SchemaInspector.h"
#include "base/Prompter.h"
#include "data/Session.h"
#include "data/Settings.h"
#include "base/TextTools.h"

#include <QSqlQuery>

#include <algorithm>

namespace tarlox {

namespace {


const QString ErrorTitle = QStringLiteral("Error");
const QString NewLine = QStringLiteral("\r\n");
// The pairs remembered per P/O item while an entry is checked.
constexpr int MaxPairsPerPo = 1000;

// The items of a blank-separated list, in order.
QStringList itemsOf(const QString& list)
{
    QString rest = list.trimmed();
    QStringList items;
    while (!rest.isEmpty()) {
        const auto item = GetNext(rest);
        if (!item)
            break;
        items << *item;
    }
    return items;
}

// The P/O items of an entry: an empty P/O is one item, the empty one.
QStringList poItemsOf(const QString& po)
{
    QString rest = po.trimmed() + QLatin1Char(' ');
    QStringList items;
    while (!rest.isEmpty()) {
        const auto item = GetNext(rest);
        if (!item)
            break;
        items << *item;
    }
    return items;
}

bool lengthsKnown(const InfoFieldLengths& l) { return l.heat || l.part || l.po || l.vend || l.mfg; }

bool readLengths(DataOp& op, InfoFieldLengths& lengths)
{
    SchemaInspector schema(op);
    const auto limit = [&](const char* column, int& target) {
        const auto value = schema.columnLimit(QStringLiteral("Info"), QLatin1String(column));
        if (value)
            target = *value;
        return value.has_value();
    };
    InfoFieldLengths read;
    op.step(QStringLiteral("Reading the column limits of Info"));
    if (!limit("Heat #", read.heat) || !limit("Part #", read.part) || !limit("P/O #", read.po) || !limit("Vend Name", read.vend)
        || !limit("Mfg Name", read.mfg))
        return false;
    lengths = read;
    return true;
}

const QString& insertStatement()
{
    static const QString insert = QStringLiteral("INSERT INTO %1 (%2, %3, %4, %5, %6, %7, %8) VALUES (?, ?, ?, ?, ?, ?, ?)")
        .arg(q("Info"), q("Heat #"), q("Part #"), q("P/O #"), q("Vend Name"), q("Mfg Name"), q("Entry Date"), q("Image #"));
    return insert;
}

// The bound values of one row: Heat and Part cut to their limits; P/O,
// vendor and manufacturer a blank when empty, then cut.
QVariantList rowValues(Session& s, const Dialect& d, QString heat, QString part, const QString& poItem)
{
    const InfoFieldLengths& l = s.infoLengths;
    QString po = SpaceIfEmpty(poItem);
    QString vend = SpaceIfEmpty(s.info.vend);
    QString mfg = SpaceIfEmpty(s.info.mfg);
    return {CutToLimit(heat, l.heat), CutToLimit(part, l.part), CutToLimit(po, l.po), CutToLimit(vend, l.vend),
            CutToLimit(mfg, l.mfg), d.dateValue(s.info.entryDate), s.info.imageNumber};
}

bool insertRow(DataOp& op, Session& s, const QString& heat, const QString& part, const QString& po, bool retry)
{
    // Callers read the limits before a series of adds; one that did not
    // still gets its values cut rather than refused.
    if (!lengthsKnown(s.infoLengths) && !readLengths(op, s.infoLengths))
        return false;
    return op.repeat(insertStatement(), rowValues(s, op.dialect(), heat, part, po), retry ? DataOp::OnError::Quiet : DataOp::OnError::Report);
}

}  // namespace

bool ValidateInfo(Session& s, Duplicates duplicates)
{
    InfoRecord& info = s.info;
    Prompter& prompter = s.prompter();
    DataOp op(s, QStringLiteral("ValidateInfo"));
    const auto fail = [&](const QString& text) {
        prompter.ask(ErrorTitle, text, Buttons::Ok, Icon::Critical);
        return false;
    };

    op.step(QStringLiteral("Checking the required fields"));
    if (info.heat.trimmed().isEmpty())
        return fail(QStringLiteral("A Heat # must be entered!"));
    if (info.part.trimmed().isEmpty())
        return fail(QStringLiteral("A Part # must be entered!"));

    const QStringList heats = itemsOf(info.heat);
    QStringList parts = itemsOf(info.part);
    if (heats.size() < parts.size())
        return fail(QStringLiteral("# of Heats < # of Parts!"));
    if (parts.size() < heats.size()) {
        const Answer answer = prompter.ask(QStringLiteral("Continue"),
                                           QStringLiteral("There are more Heat #'s than part numbers.") + NewLine
                                               + QStringLiteral("Last Part needs to be duplicated."),
                                           Buttons::OkCancel, Icon::Question);
        if (answer != Answer::Ok)
            return fail(QString());
        const QString last = parts.last();
        QString padded = info.part.trimmed();
        while (parts.size() < heats.size()) {
            padded += QLatin1Char(' ') + last;
            parts << last;
        }
        info.part = padded;
    }

    if (!op.connect())
        return false;
    const QString exists = QStringLiteral("SELECT 1 FROM %1 WHERE %2 = ? AND %3 = ? AND %4 = ? LIMIT 1")
                               .arg(q("Info"), q("Heat #"), q("Part #"), q("P/O #"));
    std::optional<bool> dupeOk;
    for (const QString& poItem : poItemsOf(info.po)) {
        const QString po = SpaceIfEmpty(poItem);
        QList<QPair<QString, QString>> pairs;
        for (qsizetype i = 0; i < heats.size(); ++i) {
            const QString& heat = heats[i];
            const QString& part = parts[i];
            op.step(QStringLiteral("Checking ") + heat + QLatin1Char('/') + part + QLatin1Char('/') + po + QStringLiteral(" on file"));
            auto found = op.scalar(exists, {heat, part, po});
            if (!found)
                return false;
            if (found->isValid()) {
                if (!dupeOk)
                    dupeOk = GetLocalBool(s, QStringLiteral("Info"), QStringLiteral("DupeOK"));
                const QString poLabel = s.poShort.isEmpty() ? QStringLiteral("P/O #:") : s.poShort;
                const bool allow = duplicates == Duplicates::Allow || (duplicates == Duplicates::AsSettings && *dupeOk);
                const Answer answer = duplicates != Duplicates::Ask ? (allow ? Answer::Ok : Answer::Cancel)
                                                                    : prompter.ask(
                    QStringLiteral("Duplicate Key"),
                    QStringLiteral("Heat #: ") + heat + NewLine + QStringLiteral("Part #: ") + part + NewLine + poLabel + NewLine + po
                        + NewLine + NewLine + QStringLiteral("is already on file! Select 'OK' to add anyway") + NewLine
                        + QStringLiteral("or 'Cancel' to end without saving"),
                    Buttons::OkCancel, Icon::Critical, *dupeOk ? Answer::Ok : Answer::Cancel);
                if (answer != Answer::Ok)
                    return fail(QStringLiteral("Heat #: ") + heat + QStringLiteral(" and Part #: ") + part + QStringLiteral(" and ")
                                + (s.poShort.isEmpty() ? QStringLiteral("P/O #") : s.poShort) + QStringLiteral(": ") + po
                                + QStringLiteral(" Already on File!"));
            }
            // The database compares without case, so the entry does too:
            // H1/P1 and h1/p1 would be one key.
            for (const auto& [seenHeat, seenPart] : pairs) {
                if (seenHeat.compare(heat, Qt::CaseInsensitive) == 0 && seenPart.compare(part, Qt::CaseInsensitive) == 0)
                    return fail(QStringLiteral("Heat #: ") + heat + NewLine + QStringLiteral("Part #: ") + part + NewLine
                                + QStringLiteral("were duplicated in the entry") + NewLine
                                + QStringLiteral("You must change this before scanning!"));
            }
            if (pairs.size() >= MaxPairsPerPo) {
                op.step(QStringLiteral("Remembering pair ") + QString::number(pairs.size() + 1));
                op.report(9, QStringLiteral("Subscript out of range"));
                return false;
            }
            pairs.append({heat, part});
        }
    }
    return true;
}

bool AddInfo(Session& s, bool retry)
{
    InfoRecord& info = s.info;
    DataOp op(s, QStringLiteral("AddInfo"));
    const bool ok = detail::InsertInfo(op, s, retry);
    ok ? DataOp::clearStatus(info) : op.storeStatus(info);
    return ok;
}

namespace detail {

bool InsertInfo(DataOp& op, Session& s, bool retry)
{
    const InfoRecord& info = s.info;
    return insertRow(op, s, info.heat, info.part, info.po, retry);
}

bool DeleteInfo(DataOp& op, Session& s)
{
    const InfoRecord& info = s.info;
    return op.exec(QStringLiteral("DELETE FROM %1 WHERE %2 = ? AND %3 = ? AND %4 = ? AND %5 = ? AND %6 = ?")
                       .arg(q("Info"), q("Part #"), q("Heat #"), q("P/O #"), q("Mfg Name"), q("Image #")),
                   {info.part, info.heat, info.po, info.mfg, info.imageNumber})
        .has_value();
}

bool InsertInfoRecords(DataOp& op, Session& s, bool retry)
{
    const InfoRecord& info = s.info;
    const QStringList heats = itemsOf(info.heat);
    const QStringList parts = itemsOf(info.part);
    if (heats.isEmpty() || heats.size() != parts.size()) {
        op.step(QStringLiteral("Pairing Heat # and Part #"));
        op.report(5, QStringLiteral("The entry has %1 Heat #'s and %2 Part #'s; each Heat needs its Part").arg(heats.size()).arg(parts.size()));
        return false;
    }
    for (const QString& po : poItemsOf(info.po)) {
        for (qsizetype i = 0; i < heats.size(); ++i) {
            op.step(QStringLiteral("Adding ") + heats[i] + QLatin1Char('/') + parts[i] + QLatin1Char('/') + po);
            if (!insertRow(op, s, heats[i], parts[i], po, retry))
                return false;
        }
    }
    return true;
}

}  // namespace detail

bool AddInfoRecords(Session& s, bool retry)
{
    DataOp op(s, QStringLiteral("AddInfoRecords"));
    const bool ok = op.transaction([&] { return detail::InsertInfoRecords(op, s, retry); });
    ok ? DataOp::clearStatus(s.info) : op.storeStatus(s.info);
    return ok;
}

bool DeleteInfo(Session& s)
{
    DataOp op(s, QStringLiteral("DeleteInfo"));
    const bool ok = detail::DeleteInfo(op, s);
    if (!ok)
        op.storeStatus(s.info);
    return ok;
}

int LoadInfo(Session& s, const SqlCondition& where, QList<InfoRow>& rows, int maxRows, qint64& total)
{
    DataOp op(s, QStringLiteral("LoadInfo"));
    const Dialect& d = op.dialect();
    rows.clear();
    total = 0;
    const QString condition = QStringLiteral(" WHERE %1 = %2").arg(col("Images", "Image #"), col("Info", "Image #"))
        + (where.isEmpty() ? QString() : QStringLiteral(" AND (") + where.text + QLatin1Char(')'));
    const QString from = QStringLiteral(" FROM %1, %2").arg(q("Info"), q("Images")) + condition;
    // SQLite would otherwise walk Images and sort every reference to find the
    // newest; with Info first it reads the date index backwards and stops.
    const QString newestFrom = d.isSqlite() ? QStringLiteral(" FROM %1 CROSS JOIN %2").arg(q("Info"), q("Images")) + condition : from;
    const int limit = std::max(maxRows, 0);
    if (limit > 0) {
        op.step(QStringLiteral("Reading the newest references"));
        // The limit is a number of ours, written into the statement: the
        // file database sorts for a known limit faster than for a bound one.
        auto query = op.exec(QStringLiteral("SELECT %1, %2, %3, %4, %5, %6, %7, %8")
                                     .arg(col("Info", "Heat #"), col("Info", "Part #"), col("Info", "P/O #"), col("Info", "Vend Name"),
                                          col("Info", "Mfg Name"), col("Info", "Entry Date"), col("Info", "Image #"), col("Images", "Path"))
                                 + newestFrom
                                 + QStringLiteral(" ORDER BY %1 DESC, %2 DESC LIMIT %3").arg(col("Info", "Entry Date"), col("Info", "Image #")).arg(limit),
                             where.binds);
        if (!query)
            return -1;
        while (query->next()) {
            InfoRow row;
            row.heat = NullToEmpty(query->value(0));
            row.part = NullToEmpty(query->value(1));
            row.po = NullToEmpty(query->value(2));
            row.vend = NullToEmpty(query->value(3));
            row.mfg = NullToEmpty(query->value(4));
            row.entryDate = d.readDate(query->value(5));
            row.imageNumber = query->value(6).toInt();
            row.path = NullToEmpty(query->value(7));
            rows.append(row);
        }
        if (rows.size() < limit) {
            // Everything that matches is here; no need to count again.
            total = rows.size();
            return static_cast<int>(rows.size());
        }
    }
    op.step(QStringLiteral("Counting the references"));
    std::optional<QVariant> count;
    if (where.text.contains(q("Images") + QLatin1Char('.'))) {
        count = op.scalar(QStringLiteral("SELECT count(*)") + from, where.binds);
    } else {
        // Every reference whose image row exists, without joining the two
        // tables: all matching references, less those of the few image
        // numbers that have no row (kept in "Missing Images" by triggers).
        const QString also = where.isEmpty() ? QString() : QStringLiteral(" AND (") + where.text + QLatin1Char(')');
        count = op.scalar(QStringLiteral("SELECT (SELECT count(*) FROM %1 WHERE 1 = 1%2) - (SELECT CAST(coalesce(sum("
                                         "(SELECT count(*) FROM %1 WHERE %3 = m.%4%2)), 0) AS BIGINT) FROM %5 m "
                                         "WHERE NOT EXISTS (SELECT 1 FROM %6 WHERE %7 = m.%4))")
                              .arg(q("Info"), also, col("Info", "Image #"), q("Image #"), q("Missing Images"), q("Images"), col("Images", "Image #")),
                          where.binds + where.binds);
    }
    if (!count)
        return -1;
    total = count->toLongLong();
    return static_cast<int>(rows.size());
}

bool LoadReferencesOf(Session& s, qint32 imageNumber, QList<InfoRow>& rows)
{
    DataOp op(s, QStringLiteral("LoadReferencesOf"), {QString::number(imageNumber)});
    static const QString select =
        QStringLiteral("SELECT %1, %2, %3, %4, %5, %6, %7, %8 FROM %9, %10 WHERE %7 = %11 AND %7 = ? ORDER BY %6 DESC")
            .arg(col("Info", "Heat #"), col("Info", "Part #"), col("Info", "P/O #"), col("Info", "Vend Name"), col("Info", "Mfg Name"),
                 col("Info", "Entry Date"), col("Info", "Image #"), col("Images", "Path"), q("Info"), q("Images"), col("Images", "Image #"));
    const auto found = op.allRows(select, {imageNumber});
    rows.clear();
    if (!found)
        return false;
    const Dialect& d = op.dialect();
    for (const QVariantList& v : *found)
        rows.append(InfoRow{NullToEmpty(v[0]), NullToEmpty(v[1]), NullToEmpty(v[2]), NullToEmpty(v[3]), NullToEmpty(v[4]),
                            d.readDate(v[5]), v[6].toInt(), NullToEmpty(v[7])});
    return true;
}

bool GetInfoFieldLengths(Session& s)
{
    DataOp op(s, QStringLiteral("GetInfoFieldLengths"));
    return readLengths(op, s.infoLengths);
}

int CheckCount(Session& s, const QString& field, const QString& value)
{
    DataOp op(s, QStringLiteral("CheckCount"), {field, value});
    auto count = op.scalar(QStringLiteral("SELECT count(*) FROM %1 WHERE %2 = ?").arg(q("Info"), Dialect::quote(field)), {value});
    return count ? count->toInt() : -1;
}

bool CheckCount(Session& s, const QString& field, const QString& value, const QString& newValue)
{
    DataOp op(s, QStringLiteral("CheckCount"), {field, value, newValue});
    // The two key columns that may not be empty keep their blank.
    QString replacement = (field == QLatin1String("P/O #") || field == QLatin1String("Mfg Name")) ? SpaceIfEmpty(newValue) : newValue;
    const InfoFieldLengths& l = s.infoLengths;
    const int limit = field == QLatin1String("Heat #") ? l.heat
        : field == QLatin1String("Part #")             ? l.part
        : field == QLatin1String("P/O #")              ? l.po
        : field == QLatin1String("Vend Name")          ? l.vend
        : field == QLatin1String("Mfg Name")           ? l.mfg
                                                       : 0;
    return op.exec(QStringLiteral("UPDATE %1 SET %2 = ? WHERE %2 = ?").arg(q("Info"), Dialect::quote(field)),
                   {CutToLimit(replacement, limit), value})
        .has_value();
}

}  // namespace tarlox
