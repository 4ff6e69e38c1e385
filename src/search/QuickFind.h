#pragma once

#include "data/FindCriteria.h"

#include <QString>

namespace tarlox {

class Session;

// "QuickFindPattern" of section "Info" in the local settings file: how a
// scanned tag code holds the heat, as a regular expression whose first group
// in parentheses is the heat ("^HT(.+)/\d+$"). Blank: the text as typed.
QString ReadQuickFindPattern(Session& session);

// What is wrong with a pattern for the settings screen; empty when it is
// usable (blank, or a valid expression with at least one group).
QString QuickFindPatternProblem(const QString& pattern);

// The heat in a typed or scanned text: the text without surrounding blanks,
// then, when the pattern matches it, its first group. A text the pattern does
// not match, and any text under an unusable pattern, is taken as typed.
QString HeatFromScan(const QString& text, const QString& pattern);

// What the quick find box found for one heat.
struct QuickFindResult {
    enum class Outcome { Nothing, One, Several, Failed };
    Outcome outcome = Outcome::Nothing;
    // The heat searched for, and the criteria that find it with the Find
    // rules (the heat exact unless it holds wild cards): what Find lists.
    QString heat;
    FindCriteria criteria;
    qint32 imageNumber = 0;  // One: the report to open
    qint64 found = 0;        // references that match

    // The status bar's words for Nothing and Failed.
    QString statusText() const;
};

// Looks for the heat in text (trimmed by the site's pattern) through the Find
// rules: one report (however many of its references match) is One, more
// reports Several; an empty text, or criteria Find can't search for, find
// Nothing. The session's findQuery is left as it was.
QuickFindResult QuickFind(Session& session, const QString& text);

}  // namespace tarlox
