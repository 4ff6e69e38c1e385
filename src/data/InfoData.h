#pragma once

#include "data/Records.h"
#include "data/SqlCondition.h"

#include <QList>
#include <QString>

namespace tarlox {

class DataOp;
class Session;

// The references of Info; the row in work is session.info. Heat, Part and
// P/O may each hold several values separated by blanks while an entry is
// made; one entry becomes a row for every Heat/Part pair and every P/O.

// Checks the entry before it is scanned or saved: required fields, the
// counts of Heats and Parts (offering to repeat the last Part), rows already
// on file and pairs repeated within the entry. May change session.info.part.
// A heat/part/P/O on file already is asked about ("Duplicate Key", its
// default answer from "DupeOK"), or, where no one can be asked, decided by
// the caller: allowed, refused, or as "DupeOK" says.
enum class Duplicates { Ask, Allow, Refuse, AsSettings };
bool ValidateInfo(Session& session, Duplicates duplicates = Duplicates::Ask);

// Inserts session.info as one row.
bool AddInfo(Session& session, bool retry);
// Inserts all rows of the entry, all or none.
bool AddInfoRecords(Session& session, bool retry);
// Deletes the row equal to session.info in its five key columns.
bool DeleteInfo(Session& session);

// Reads references with their image's path, newest entry first (ties: the
// higher image number first). At most maxRows rows are copied into rows;
// total receives the number of all matching rows. Returns the number of rows
// copied, or -1 when the read failed (the failure has been reported).
int LoadInfo(Session& session, const SqlCondition& where, QList<InfoRow>& rows, int maxRows, qint64& total);
// The references of one image the same way, all of them; false when the
// read failed (reported). For runs that go image by image.
bool LoadReferencesOf(Session& session, qint32 imageNumber, QList<InfoRow>& rows);

// Fills session.infoLengths with the column limits of the live schema.
bool GetInfoFieldLengths(Session& session);

// Number of rows holding value in the column field; -1 when the read failed.
int CheckCount(Session& session, const QString& field, const QString& value);
// Replaces value by newValue in the column field for all rows.
bool CheckCount(Session& session, const QString& field, const QString& value, const QString& newValue);

namespace detail {
// The statements of AddInfo and DeleteInfo on an operation that may already
// be inside a transaction.
bool InsertInfo(DataOp& op, Session& session, bool retry);
bool DeleteInfo(DataOp& op, Session& session);
// The inserts of AddInfoRecords on an operation that may already be inside a
// transaction; used where the image row and its references go in together.
bool InsertInfoRecords(DataOp& op, Session& session, bool retry);
}  // namespace detail

}  // namespace tarlox
