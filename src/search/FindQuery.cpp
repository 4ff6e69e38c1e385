#include "search/FindQuery.h"

#include "data/Dialect.h"
#include "data/InfoData.h"
#include "data/Schema.h"
#include "data/Session.h"
#include "data/Settings.h"
#include "base/TextTools.h"

#include <QRegularExpression>

#include <limits>

namespace tarlox {

namespace {

struct FieldColumn {
    const char* table;
    const char* column;
    const char* term;  // its name among the search terms; null for the number
};

const FieldColumn& columnOf(FindField field)
{
    static const FieldColumn columns[] = {
        {"Info", "Heat #", "Heat"},      {"Info", "Part #", "Part"}, {"Info", "P/O #", "PO"},        {"Info", "Vend Name", "Vend"},
        {"Info", "Mfg Name", "Mfg"},     {"Info", "Image #", nullptr}, {"Images", "Path", "Path"},
    };
    return columns[static_cast<int>(field)];
}


QString columnRef(const FieldColumn& c)
{
    return q(QLatin1String(c.table)) + QLatin1Char('.') + q(QLatin1String(c.column));
}

// The column as the comparisons see it: the file database compares through
// the column's NOCASE collation, the server through lower() of the text.
QString textExpression(const Dialect& d, const FieldColumn& c)
{
    return d.isSqlite() ? columnRef(c) : QStringLiteral("lower(%1::text)").arg(columnRef(c));
}

QString boundText(const Dialect& d) { return d.isSqlite() ? QStringLiteral("?") : QStringLiteral("lower(CAST(? AS text))"); }

// A LIKE pattern as the engine reads it: the server takes "\" as its escape
// character, the file database has none; both must see a plain "\".
QString likePattern(const Dialect& d, const QString& pattern)
{
    if (d.isSqlite())
        return pattern;
    QString escaped = pattern;
    return escaped.replace(QLatin1Char('\\'), QStringLiteral("\\\\"));
}

bool isWildCard(QChar c) { return c == QLatin1Char('%') || c == QLatin1Char('_'); }

// The pieces of a pattern between its wild cards.
QStringList literalRuns(const QString& pattern)
{
    QStringList runs;
    QString run;
    for (const QChar c : pattern) {
        if (isWildCard(c)) {
            if (!run.isEmpty())
                runs << run;
            run.clear();
        } else {
            run += c;
        }
    }
    if (!run.isEmpty())
        runs << run;
    return runs;
}

qsizetype characters(const QString& text) { return text.toUcs4().size(); }

// The trigram query for a pattern's pieces of three characters or more, in
// the column of the field: {Heat} : ("abc" AND "defg").
QString trigramQuery(const FieldColumn& c, const QStringList& runs)
{
    QStringList phrases;
    for (QString run : runs) {
        if (characters(run) >= 3)
            phrases << QLatin1Char('"') + run.replace(QLatin1Char('"'), QStringLiteral("\"\"")) + QLatin1Char('"');
    }
    return QStringLiteral("{%1} : (%2)").arg(QLatin1String(c.term), phrases.join(QStringLiteral(" AND ")));
}

// A text column against a pattern. On the server one expression serves all
// shapes: its B-tree index (text_pattern_ops) takes a fixed beginning, its
// trigram index any piece. The file database needs the shape picked: a
// beginning goes to the column's index through LIKE, a piece of three
// characters or more to the trigrams of the search terms; a pattern with
// neither can only be read row by row.
void textPattern(const Dialect& d, const FieldColumn& c, const QString& pattern, SqlCondition& term)
{
    if (!d.isSqlite()) {
        term.text = textExpression(d, c) + QStringLiteral(" LIKE ") + boundText(d);
        term.binds << likePattern(d, pattern);
        return;
    }
    const QStringList runs = literalRuns(pattern);
    const qsizetype lead = isWildCard(pattern.front()) ? 0 : characters(runs.front());
    qsizetype longest = 0;
    for (const QString& run : runs)
        longest = std::max(longest, characters(run));
    if (longest >= 3 && lead < 3) {
        term.text = QStringLiteral("%1 IN (SELECT t.\"Term\" FROM %2 CROSS JOIN %3 t ON t.\"ID\" = %2.rowid WHERE %2 MATCH ? AND t.\"Term\" LIKE ?)")
                        .arg(columnRef(c), q(SearchTable::Trigrams), q(SearchTable::Terms));
        term.binds << trigramQuery(c, runs) << pattern;
        return;
    }
    term.text = columnRef(c) + QStringLiteral(" LIKE ?");
    term.binds << pattern;
}

constexpr qint64 MaxNumber = std::numeric_limits<qint32>::max();

// The image number against a pattern, as its decimal text. Both engines
// index that text; the file database reaches its index through the range of
// the pattern's fixed beginning ("12%": from "12" up to "13"), the server
// finds the beginning in the LIKE itself.
void numberPattern(const Dialect& d, const FieldColumn& c, const QString& pattern, SqlCondition& term)
{
    if (!d.isSqlite()) {
        term.text = columnRef(c) + QStringLiteral("::text LIKE ?");
        term.binds << likePattern(d, pattern);
        return;
    }
    const QString text = QStringLiteral("CAST(%1 AS TEXT)").arg(columnRef(c));
    const QString lead = literalRuns(pattern).value(0);
    if (isWildCard(pattern.front()) || lead.isEmpty()) {
        term.text = text + QStringLiteral(" LIKE ?");
        term.binds << pattern;
        return;
    }
    QString above = lead;
    above.back() = QChar(above.back().unicode() + 1);
    term.text = QStringLiteral("(%1 >= ? AND %1 < ? AND %1 LIKE ?)").arg(text);
    term.binds << lead << above << pattern;
}

// One value of a box, trimmed and with AssumeWild applied.
bool valueTerm(const Dialect& d, FindField field, const QString& value, SqlCondition& term, FindProblem* problem)
{
    const FieldColumn& c = columnOf(field);
    const bool numeric = field == FindField::ImageNumber;
    if (value.contains(QLatin1Char('*')) || value.contains(QLatin1Char('?'))) {
        QString pattern = value;
        pattern.replace(QLatin1Char('*'), QLatin1Char('%')).replace(QLatin1Char('?'), QLatin1Char('_'));
        static const QRegularExpression runOfAny(QStringLiteral("%%+"));
        pattern.replace(runOfAny, QStringLiteral("%"));
        if (pattern == QLatin1String("%")) {
            term.text = columnRef(c) + QStringLiteral(" IS NOT NULL");
            return true;
        }
        numeric ? numberPattern(d, c, pattern, term) : textPattern(d, c, pattern, term);
        return true;
    }
    if (numeric) {
        static const QRegularExpression number(QStringLiteral("^[+-]?[0-9]+$"));
        if (!number.match(value).hasMatch()) {
            if (problem)
                *problem = FindProblem{FindProblem::Kind::NotANumber, QStringLiteral("txtImgNum"), value};
            return false;
        }
        bool fits = false;
        const qint64 n = value.toLongLong(&fits);
        if (!fits || n < std::numeric_limits<qint32>::min() || n > MaxNumber) {
            term.text = QStringLiteral("1 = 0");  // no image carries such a number
            return true;
        }
        term.text = columnRef(c) + QStringLiteral(" = ?");
        term.binds << static_cast<qint32>(n);
        return true;
    }
    if (value.isEmpty()) {
        // What was left empty is stored as one blank.
        term.text = textExpression(d, c) + QStringLiteral(" IN (?, ?)");
        term.binds << QStringLiteral("") << QStringLiteral(" ");
        return true;
    }
    term.text = textExpression(d, c) + QStringLiteral(" = ") + boundText(d);
    term.binds << value;
    return true;
}

void andCondition(SqlCondition& query, const SqlCondition& term)
{
    if (!query.isEmpty())
        query.text += QStringLiteral(" AND ");
    query.text += term.text;
    query.binds += term.binds;
}

}  // namespace

QString FindProblemText(const FindProblem& problem)
{
    switch (problem.kind) {
    case FindProblem::Kind::InvalidDate:
        return QStringLiteral("Invalid Date");
    case FindProblem::Kind::NotANumber:
        return QStringLiteral("The Image # must be a number, or part of one with an * wild card: ") + problem.value;
    case FindProblem::Kind::None:
        break;
    }
    return {};
}

int ReadFindRecords(Session& session)
{
    const int value = IntVal(GetLocal(session, QStringLiteral("Info"), QStringLiteral("FindRecords")));
    if (value <= 0)
        return 100;
    return std::min(value, static_cast<int>(std::numeric_limits<qint16>::max()));
}

bool AddToQry(const Dialect& dialect, SqlCondition& query, FindField field, const QString& value, bool assumeWild, FindProblem* problem)
{
    if (value.isEmpty())
        return true;
    QList<SqlCondition> terms;
    for (const QString& item : value.split(QLatin1Char(','))) {
        if (item.isEmpty())
            continue;
        QString v = item.trimmed();
        if (assumeWild)
            v += QLatin1Char('*');
        if (v == QLatin1String("*"))
            v = QStringLiteral("**");
        SqlCondition term;
        if (!valueTerm(dialect, field, v, term, problem))
            return false;
        terms << term;
    }
    if (terms.isEmpty())
        return true;
    SqlCondition group;
    QStringList texts;
    for (const SqlCondition& term : terms) {
        texts << term.text;
        group.binds += term.binds;
    }
    group.text = terms.size() == 1 ? texts.front() : QLatin1Char('(') + texts.join(QStringLiteral(" OR ")) + QLatin1Char(')');
    andCondition(query, group);
    return true;
}

std::optional<SqlCondition> FindCondition(Session& session, FindCriteria& criteria, FindProblem& problem)
{
    problem = {};
    if (!criteria.assumeWild)
        criteria.assumeWild = GetLocalBool(session, QStringLiteral("Info"), QStringLiteral("AssumeWild"));
    const Dialect& d = session.db().dialect();
    const std::pair<FindField, const QString*> boxes[] = {
        {FindField::Heat, &criteria.heat}, {FindField::Part, &criteria.part},
        {FindField::PO, &criteria.po},     {FindField::Vend, &criteria.vend},
        {FindField::Mfg, &criteria.mfg},   {FindField::ImageNumber, &criteria.imageNumber},
        {FindField::Path, &criteria.path},
    };
    SqlCondition where;
    for (const auto& [field, text] : boxes) {
        session.traceCall(QStringLiteral("AddToQry"));
        if (!AddToQry(d, where, field, *text, *criteria.assumeWild, &problem))
            return std::nullopt;
    }
    const QString date = Dialect::quote(QStringLiteral("Info")) + QLatin1Char('.') + Dialect::quote(QStringLiteral("Entry Date"));
    const auto dateTerm = [&](const QString& text, const char* box, bool through) {
        if (text.trimmed().isEmpty())
            return true;
        const auto day = ParseDate(text);
        if (!day) {
            problem = FindProblem{FindProblem::Kind::InvalidDate, QLatin1String(box), text};
            return false;
        }
        // The To date takes in its whole day: up to the first moment of the next.
        andCondition(where, SqlCondition{date + (through ? QStringLiteral(" < ?") : QStringLiteral(" >= ?")),
                                         {d.dateValue(QDateTime(through ? day->addDays(1) : *day, QTime(0, 0)))}});
        return true;
    };
    if (!dateTerm(criteria.from, "txtFrom", false) || !dateTerm(criteria.to, "txtTo", true))
        return std::nullopt;
    return where;
}

QString FindResult::countLine() const
{
    if (lastIndex < 0)
        return QStringLiteral("None found!");
    return QStringLiteral("%1 found %2 shown").arg(found).arg(lastIndex + 1);
}

FindResult FindReferences(Session& session, FindCriteria& criteria, int maxRows)
{
    FindResult result;
    const auto where = FindCondition(session, criteria, result.problem);
    if (!where)
        return result;
    const int read = LoadInfo(session, *where, result.rows, maxRows, result.found);
    if (read < 0) {
        result.failed = true;
        result.rows.clear();
        result.found = 0;
        return result;
    }
    result.lastIndex = read - 1;
    return result;
}

}  // namespace tarlox
