#include "search/ReferenceEdit.h"

#include "data/Dialect.h"
#include "data/DataOp.h"
#include "data/ImageData.h"
#include "data/InfoData.h"
#include "data/Session.h"
#include "base/TextTools.h"

namespace tarlox {

namespace {


InfoRecord recordOf(const InfoRow& row)
{
    return InfoRecord{row.heat, row.part, row.po, row.vend, row.mfg, row.entryDate, row.imageNumber};
}

// The values as the insert stores them: cut to the column limits, and a
// blank where P/O, vendor or manufacturer was left empty.
InfoRow storedForm(const Session& s, const InfoRecord& r, const QString& path)
{
    const InfoFieldLengths& l = s.infoLengths;
    QString heat = r.heat;
    QString part = r.part;
    QString po = SpaceIfEmpty(r.po);
    QString vend = SpaceIfEmpty(r.vend);
    QString mfg = SpaceIfEmpty(r.mfg);
    return InfoRow{CutToLimit(heat, l.heat), CutToLimit(part, l.part), CutToLimit(po, l.po), CutToLimit(vend, l.vend),
                   CutToLimit(mfg, l.mfg),   r.entryDate,             r.imageNumber,         path};
}

}  // namespace

ReferenceEntry EntryOf(const InfoRow& row)
{
    return ReferenceEntry{row.heat, row.part, row.po, row.vend, row.mfg, QString::number(row.imageNumber),
                          row.entryDate.isValid() ? FormatShortDate(row.entryDate.date()) : QString()};
}

ChangeResult ChangeReference(Session& s, const InfoRow& stored, const ReferenceEntry& edited)
{
    ChangeResult result;
    DataOp op(s, QStringLiteral("ChangeReference"));
    QDateTime date = stored.entryDate;
    if (edited.date != EntryOf(stored).date) {
        const auto day = ParseDate(edited.date);
        if (!day) {
            result.outcome = ChangeResult::Outcome::InvalidDate;
            return result;
        }
        date = QDateTime(*day, QTime(0, 0));
    }
    if (!GetInfoFieldLengths(s)) {
        result.outcome = ChangeResult::Outcome::DeleteFailed;
        return result;
    }
    const InfoRecord replacement{edited.heat, edited.part, edited.po, edited.vend, edited.mfg, date, IntVal(edited.imageNumber)};
    const bool changed = op.transaction([&] {
        op.step(QStringLiteral("Deleting the stored reference"));
        s.info = recordOf(stored);
        if (!detail::DeleteInfo(op, s)) {
            result.outcome = ChangeResult::Outcome::DeleteFailed;
            return false;
        }
        op.step(QStringLiteral("Adding the changed reference"));
        s.info = replacement;
        if (!detail::InsertInfo(op, s, true)) {
            result.outcome = ChangeResult::Outcome::AddFailed;
            result.errorText = op.failure().text;
            return false;
        }
        return true;
    });
    if (changed) {
        result.outcome = ChangeResult::Outcome::Changed;
        result.stored = storedForm(s, replacement, stored.path);
        DataOp::clearStatus(s.info);
        return result;
    }
    if (result.outcome == ChangeResult::Outcome::Changed) {
        // The commit itself failed; the transaction is gone as a whole.
        result.outcome = ChangeResult::Outcome::AddFailed;
        result.errorText = op.failure().text;
    }
    s.info = recordOf(stored);
    op.storeStatus(s.info);
    return result;
}

AddResult AddReference(Session& s, const ReferenceEntry& entry)
{
    AddResult result;
    s.traceCall(QStringLiteral("AddReference"));
    const qint32 number = IntVal(entry.imageNumber);
    if (!ReadImage(s, number)) {
        result.outcome = AddResult::Outcome::ImageNotOnFile;
        return result;
    }
    const auto day = ParseDate(entry.date);
    if (!day) {
        result.outcome = AddResult::Outcome::InvalidDate;
        return result;
    }
    s.info = InfoRecord{entry.heat, entry.part, entry.po, entry.vend, entry.mfg, QDateTime(*day, QTime(0, 0)), number};
    if (!AddInfo(s, true)) {
        result.outcome = AddResult::Outcome::NotAdded;
        result.errorText = s.info.errorText;
    }
    return result;
}

RemoveResult RemoveReference(Session& s, const InfoRow& stored)
{
    RemoveResult result;
    DataOp op(s, QStringLiteral("RemoveReference"));
    const bool done = op.transaction([&] {
        if (!op.dialect().isSqlite()) {
            // One removal per image at a time; the file database's write
            // transaction is exclusive already.
            op.step(QStringLiteral("Holding the image row"));
            if (!op.exec(QStringLiteral("SELECT 1 FROM %1 WHERE %2 = ? FOR UPDATE").arg(q("Images"), q("Image #")), {stored.imageNumber}))
                return false;
        }
        op.step(QStringLiteral("Counting the image's references"));
        const auto count = op.scalar(QStringLiteral("SELECT count(*) FROM %1, %2 WHERE %2.%3 = %1.%3 AND %1.%3 = ?").arg(q("Info"), q("Images"), q("Image #")),
                                     {stored.imageNumber});
        if (!count)
            return false;
        result.references = count->toLongLong();
        if (result.references < 2) {
            result.outcome = RemoveResult::Outcome::OnlyReference;
            return false;
        }
        op.step(QStringLiteral("Deleting the reference"));
        s.info = recordOf(stored);
        return detail::DeleteInfo(op, s);
    });
    if (!done && result.outcome != RemoveResult::Outcome::OnlyReference)
        result.outcome = RemoveResult::Outcome::Failed;
    return result;
}

}  // namespace tarlox
