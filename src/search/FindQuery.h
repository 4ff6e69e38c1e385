#pragma once

#include "data/Records.h"
#include "data/SqlCondition.h"
#include "data/FindCriteria.h"

#include <QList>
#include <QString>

#include <optional>

namespace tarlox {

class Dialect;
class Session;

// The boxes of a find that name a column, in the order the search reads them.
enum class FindField { Heat, Part, PO, Vend, Mfg, ImageNumber, Path };

// Criteria that can't be searched for, and the box that holds them.
struct FindProblem {
    enum class Kind { None, InvalidDate, NotANumber };
    Kind kind = Kind::None;
    QString box;  // "txtFrom", "txtTo" or "txtImgNum"
    QString value;

    explicit operator bool() const { return kind != Kind::None; }
};

// The message for a problem: "Invalid Date" for a date box.
QString FindProblemText(const FindProblem& problem);

// The most rows one find reads: "FindRecords" in section "Info" of the local
// settings file; 0, a missing key or a negative number give 100.
int ReadFindRecords(Session& session);

// Appends the condition of one box to query, AND-ed with what query holds:
// the box's comma-separated values, each trimmed, OR-ed together; empty
// items are skipped. With assumeWild each value gets a trailing "*"; a lone
// "*" matches every value that is set. A value with "*" (any run of
// characters) or "?" (one character) is a pattern, matched without case;
// "%" and "_" in it work as wild cards too. Other values must equal, without
// case; a blank value matches what was left empty. The image number without
// a wild card must be a number: false, with problem filled, otherwise.
// Values are always bound; the dialect decides how a pattern meets its index.
bool AddToQry(const Dialect& dialect, SqlCondition& query, FindField field, const QString& value, bool assumeWild,
              FindProblem* problem = nullptr);

// The condition of all criteria: the seven boxes through AddToQry, the From
// date (from its first moment) and the To date (through its whole day).
// Dates are month/day/year or yyyy-mm-dd. Reads "AssumeWild" when the
// criteria don't carry it yet and keeps it in them. nullopt, with problem
// filled, when the criteria can't be searched for.
std::optional<SqlCondition> FindCondition(Session& session, FindCriteria& criteria, FindProblem& problem);

// What a find brought: the newest references first.
struct FindResult {
    QList<InfoRow> rows;
    qint64 found = 0;    // all references that match
    int lastIndex = -1;  // index of the last row read; -1 when none
    bool failed = false;  // the database refused; the error report was shown
    FindProblem problem;  // criteria that can't be searched for; nothing was read

    // "N found M shown", or "None found!".
    QString countLine() const;
};

// Runs a find: the newest maxRows references matching criteria, and the
// count of all. The criteria keep the AssumeWild they were searched with.
FindResult FindReferences(Session& session, FindCriteria& criteria, int maxRows);

}  // namespace tarlox
