#pragma once

// References written straight into a test site, exactly as given (no blank
// for an empty value), each with its image row.

#include "data/DataOp.h"
#include "search/FindQuery.h"
#include "data/Session.h"

#include <QDateTime>
#include <QList>
#include <QStringList>

#include <algorithm>

namespace tarlox::test {

struct Ref { QString heat, part, po, vend, mfg; qint32 image = 0; QDateTime date; QString path = QStringLiteral("/srv/data/one"); };

inline bool addRefs(Session& s, const QList<Ref>& refs, bool withImageRows = true)
{
    DataOp op(s, QStringLiteral("addRefs"));
    const Dialect& d = op.dialect();
    return op.transaction([&] {
        for (const Ref& r : refs) {
            if (withImageRows) {
                auto there = op.scalar(QStringLiteral("SELECT count(*) FROM \"Images\" WHERE \"Image #\" = ?"), {r.image});
                if (!there || (there->toInt() == 0
                        && !op.exec(QStringLiteral("INSERT INTO \"Images\" (\"Image #\", \"Path\", \"Volume ID\", \"Entry Date\", \"Size\", \"Type\") "
                                               "VALUES (?, ?, 'VOL', ?, ' ', '4')"),
                                    {r.image, r.path, d.dateValue(r.date)})))
                    return false;
            }
            if (!op.exec(QStringLiteral("INSERT INTO \"Info\" (\"Heat #\", \"Part #\", \"P/O #\", \"Vend Name\", \"Mfg Name\", \"Entry Date\", \"Image #\") "
                                        "VALUES (?, ?, ?, ?, ?, ?, ?)"),
                         {r.heat, r.part, r.po, r.vend, r.mfg, d.dateValue(r.date), r.image}))
                return false;
        }
        return true;
    });
}

inline qint64 scalarOf(Session& s, const QString& sql, const QVariantList& binds = {})
{
    DataOp op(s, QStringLiteral("scalarOf"));
    auto value = op.scalar(sql, binds);
    return value ? value->toLongLong() : -1;
}

// The heats a find brings, sorted; "!" + the problem's box when the criteria
// can't be searched for, "!failed" when the database refused.
inline QStringList heatsFound(Session& s, FindCriteria criteria, bool assumeWild, int maxRows = 1000)
{
    criteria.assumeWild = assumeWild;
    const FindResult r = FindReferences(s, criteria, maxRows);
    if (r.problem) return {QLatin1Char('!') + r.problem.box};
    if (r.failed) return {QStringLiteral("!failed")};
    QStringList heats;
    for (const InfoRow& row : r.rows) heats << row.heat;
    std::sort(heats.begin(), heats.end());
    return heats;
}

}  // namespace tarlox::test
