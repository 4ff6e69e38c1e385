#include "search/MassUpdate.h"

#include "base/ReadField.h"
#include "base/TextTools.h"
#include "data/DataOp.h"
#include "data/Dialect.h"
#include "data/InfoData.h"
#include "data/Session.h"
#include "data/Settings.h"
#include "base/FileTools.h"
#include "data/Database.h"
#include "data/ImageData.h"
#include "store/ImageFiles.h"
#include "store/OffThread.h"
#include "store/TagText.h"
#include "store/TiffWriter.h"

#include <QFile>
#include <QFileInfo>

#include <algorithm>

namespace tarlox {

namespace {

int limitOf(const InfoFieldLengths& l, UpdateField field)
{
    switch (field) {
    case UpdateField::Heat: return l.heat;
    case UpdateField::Part: return l.part;
    case UpdateField::PO: return l.po;
    case UpdateField::Vend: return l.vend;
    case UpdateField::Mfg: return l.mfg;
    }
    return 0;
}

// The two key columns that may not be empty keep a blank.
QString storedValue(UpdateField field, const QString& value)
{
    return field == UpdateField::PO || field == UpdateField::Mfg ? SpaceIfEmpty(value) : value;
}

QString infoWhere(UpdateField field) { return QStringLiteral("FROM %1 WHERE %2 = ?").arg(q("Info"), q(UpdateColumn(field))); }

}  // namespace

QString UpdateColumn(UpdateField field)
{
    switch (field) {
    case UpdateField::Heat: return QStringLiteral("Heat #");
    case UpdateField::Part: return QStringLiteral("Part #");
    case UpdateField::PO: return QStringLiteral("P/O #");
    case UpdateField::Vend: return QStringLiteral("Vend Name");
    case UpdateField::Mfg: break;
    }
    return QStringLiteral("Mfg Name");
}

QList<QString> UpdateFieldNames(Session& session)
{
    const auto word = [&](const char* key, const char* fallback) {
        const QString text = GetLocal(session, section::Custom, QLatin1String(key)).trimmed();
        return text.isEmpty() ? QString::fromLatin1(fallback) : text;
    };
    return {QStringLiteral("Heat Number"), QStringLiteral("Part Number"), word("POLong", "P/O Number"), word("VendLong", "Vendor"),
            word("MfgLong", "Manufacturer")};
}

std::optional<QList<PairCounts>> CountPairs(Session& session, UpdateField field, const QList<UpdatePair>& pairs)
{
    DataOp op(session, QStringLiteral("CheckCount"), {UpdateColumn(field)});
    const QString where = infoWhere(field);
    QList<PairCounts> counts;
    for (const UpdatePair& pair : pairs) {
        op.step(QStringLiteral("Counting ") + pair.oldValue);
        auto old = op.exec(QStringLiteral("SELECT count(*), count(DISTINCT %1) ").arg(q("Image #")) + where, {pair.oldValue});
        auto now = op.scalar(QStringLiteral("SELECT count(*) ") + where, {storedValue(field, pair.newValue)});
        if (!old || !old->next() || !now)
            return std::nullopt;
        counts << PairCounts{old->value(0).toLongLong(), old->value(1).toLongLong(), now->toLongLong()};
    }
    return counts;
}

UpdateOutcome UpdatePairs(Session& session, UpdateField field, const QList<UpdatePair>& pairs,
                          const std::function<bool(qsizetype pair)>& going)
{
    UpdateOutcome outcome;
    if (!GetInfoFieldLengths(session)) {
        outcome.refusal = QStringLiteral("The column sizes of the references could not be read; nothing was changed.");
        return outcome;
    }
    const int limit = limitOf(session.infoLengths, field);
    for (qsizetype i = 0; i < pairs.size(); ++i) {
        const qsizetype length = pairs[i].newValue.toUcs4().size();
        if (limit > 0 && length > limit) {
            outcome.refusal = QStringLiteral("Pair %1 (\"%2\" to \"%3\"): the new value has %4 characters, %5 holds at most %6. Nothing was changed.")
                                  .arg(i + 1)
                                  .arg(pairs[i].oldValue, pairs[i].newValue)
                                  .arg(length)
                                  .arg(UpdateColumn(field))
                                  .arg(limit);
            return outcome;
        }
    }
    DataOp op(session, QStringLiteral("CheckCount"), {UpdateColumn(field)});
    const QString sql = QStringLiteral("UPDATE %1 SET %2 = ? WHERE %2 = ?").arg(q("Info"), q(UpdateColumn(field)));
    qsizetype failedPair = -1;
    bool cancelled = false;
    const bool committed = op.transaction([&] {
        outcome.changed.clear();
        for (qsizetype i = 0; i < pairs.size(); ++i) {
            if (going && !going(i)) {
                cancelled = true;
                return false;
            }
            op.step(QStringLiteral("Pair %1: %2 to %3").arg(i + 1).arg(pairs[i].oldValue, pairs[i].newValue));
            auto done = op.exec(sql, {storedValue(field, pairs[i].newValue), pairs[i].oldValue});
            if (!done) {
                failedPair = i;
                return false;
            }
            outcome.changed << done->numRowsAffected();
        }
        return true;
    });
    if (!committed) {
        outcome.changed.clear();
        outcome.refusal = cancelled       ? QStringLiteral("Cancelled. Nothing was changed.")
                          : failedPair >= 0 ? QStringLiteral("Pair %1 (\"%2\" to \"%3\") failed: %4. Nothing was changed.")
                                                .arg(failedPair + 1)
                                                .arg(pairs[failedPair].oldValue, pairs[failedPair].newValue, op.failure().text)
                                          : QStringLiteral("The update failed: %1. Nothing was changed.").arg(op.failure().text);
    }
    return outcome;
}

QList<qint32> ImagesOfPairs(Session& session, UpdateField field, const QList<UpdatePair>& pairs)
{
    DataOp op(session, QStringLiteral("ImagesOfPairs"), {UpdateColumn(field)});
    QStringList marks;
    QVariantList values;
    for (const UpdatePair& pair : pairs) {
        marks << QStringLiteral("?");
        values << pair.oldValue;
    }
    QList<qint32> images;
    if (pairs.isEmpty())
        return images;
    auto rows = op.exec(QStringLiteral("SELECT DISTINCT %1 FROM %2 WHERE %3 IN (%4) ORDER BY %1")
                            .arg(q("Image #"), q("Info"), q(UpdateColumn(field)), marks.join(QLatin1Char(','))),
                        values);
    while (rows && rows->next())
        images << rows->value(0).toInt();
    return images;
}

TagRewriteSummary RewriteImageTags(Session& s, const QList<qint32>& images, const TagRewriteProgress& progress)
{
    s.traceCall(QStringLiteral("RewriteImageTags"));
    TagRewriteSummary summary;
    summary.total = int(images.size());
    ConnectionScope connection(s.db());
    for (const qint32 number : images) {
        const QString name = ImageFileNameFor(number);
        if (progress && !progress(summary.done + int(summary.skipped.size()), summary.total, name)) {
            summary.cancelled = true;
            break;
        }
        QList<InfoRow> rows;
        if (!ReadImage(s, number) || !LoadReferencesOf(s, number, rows) || rows.isEmpty()) {
            summary.skipped << name + QStringLiteral(": no rows");
            continue;
        }
        QString file = JoinPath(s.image.path, name);
        if (!QFileInfo::exists(file) && QFileInfo::exists(JoinPath(s.dataDir, name)))
            file = JoinPath(s.dataDir, name);  // a stale path
        // Oldest reference first; those entered together as they came.
        std::stable_sort(rows.begin(), rows.end(), [](const InfoRow& x, const InfoRow& y) { return x.entryDate < y.entryDate; });
        QStringList heats, parts;
        for (const InfoRow& row : std::as_const(rows)) {
            heats << row.heat.trimmed();
            parts << row.part.trimmed();
        }
        const InfoRow& first = rows.front();
        const ReportTags tags = ReportTags::forReport(heats.join(QLatin1Char(' ')), parts.join(QLatin1Char(' ')), first.po.trimmed(),
                                                      first.vend.trimmed(), first.mfg.trimmed());
        IoStatus written;
        RunOffThread([&] { written = QFileInfo::exists(file) ? RewriteReportTags(file, tags) : IoStatus(Failure(file + QStringLiteral(" does not exist"))); });
        if (!written) {
            summary.skipped << name + QStringLiteral(": ") + written.error();
            continue;
        }
        ++summary.done;
    }
    return summary;
}

IoResult<QList<UpdatePair>> ReadUpdatePairs(const QString& path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return Failure(QStringLiteral("Can't read %1: %2").arg(path, file.errorString()));
    QString text = DecodeTagText(file.readAll());
    if (text.startsWith(QChar(0xFEFF)))
        text.remove(0, 1);
    QList<UpdatePair> pairs;
    qsizetype position = 0;
    while (position < text.size()) {
        IoResult<QString> oldValue = ReadField(text, position);
        IoResult<QString> newValue = oldValue ? ReadField(text, position) : oldValue;
        if (!oldValue || !newValue)
            return Failure(QStringLiteral("%1: pair %2 has no new value; the file ends inside it.").arg(path).arg(pairs.size() + 1));
        pairs << UpdatePair{std::move(oldValue).value(), std::move(newValue).value()};
    }
    return pairs;
}

}  // namespace tarlox
