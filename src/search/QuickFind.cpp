#include "search/QuickFind.h"

#include "data/Session.h"
#include "data/Settings.h"
#include "search/FindQuery.h"

#include <QRegularExpression>
#include <QSet>

namespace tarlox {

namespace {

const QString PatternKey = QStringLiteral("QuickFindPattern");

}  // namespace

QString ReadQuickFindPattern(Session& session)
{
    return GetLocal(session, section::Info, PatternKey).trimmed();
}

QString QuickFindPatternProblem(const QString& pattern)
{
    if (pattern.trimmed().isEmpty())
        return {};
    const QRegularExpression expression(pattern.trimmed());
    if (!expression.isValid())
        return expression.errorString();
    if (expression.captureCount() < 1)
        return QStringLiteral("the heat must stand in a group in parentheses");
    return {};
}

QString HeatFromScan(const QString& text, const QString& pattern)
{
    const QString typed = text.trimmed();
    if (pattern.trimmed().isEmpty() || !QuickFindPatternProblem(pattern).isEmpty())
        return typed;
    const QRegularExpressionMatch match = QRegularExpression(pattern.trimmed()).match(typed);
    const QString heat = match.hasMatch() ? match.captured(1).trimmed() : QString();
    return heat.isEmpty() ? typed : heat;
}

QString QuickFindResult::statusText() const
{
    if (outcome == Outcome::Failed)
        return QStringLiteral("Heat # %1: the search failed.").arg(heat);
    if (outcome == Outcome::Nothing)
        return heat.isEmpty() ? QStringLiteral("Type or scan a heat number.") : QStringLiteral("Heat # %1: None found!").arg(heat);
    return {};
}

QuickFindResult QuickFind(Session& session, const QString& text)
{
    QuickFindResult result;
    result.heat = HeatFromScan(text, ReadQuickFindPattern(session));
    // A heat typed or scanned is the whole heat; wild cards say otherwise.
    result.criteria.heat = result.heat;
    result.criteria.assumeWild = false;
    if (result.heat.isEmpty())
        return result;
    FindCriteria searched = result.criteria;
    const FindResult found = FindReferences(session, searched, ReadFindRecords(session));
    result.found = found.found;
    if (found.failed) {
        result.outcome = QuickFindResult::Outcome::Failed;
        return result;
    }
    if (found.problem || found.rows.isEmpty())
        return result;
    QSet<qint32> images;
    for (const InfoRow& row : found.rows)
        images.insert(row.imageNumber);
    // References beyond the rows read may belong to other reports.
    const bool one = images.size() == 1 && found.found == found.rows.size();
    result.outcome = one ? QuickFindResult::Outcome::One : QuickFindResult::Outcome::Several;
    result.imageNumber = found.rows.front().imageNumber;
    return result;
}

}  // namespace tarlox
