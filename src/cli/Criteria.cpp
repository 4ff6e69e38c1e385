#include "cli/Criteria.h"

#include "cli/Values.h"

namespace tarlox::cli {

QList<QCommandLineOption> FindCriteriaOptions()
{
    const QString value = QStringLiteral("VALUE");
    const QString lists = QStringLiteral(", with * and ? wild cards and comma lists");
    return {
        {QStringLiteral("heat"), QStringLiteral("heat number") + lists, value},
        {QStringLiteral("part"), QStringLiteral("part number") + lists, value},
        {QStringLiteral("po"), QStringLiteral("purchase order") + lists, value},
        {QStringLiteral("vendor"), QStringLiteral("vendor") + lists, value},
        {QStringLiteral("mfg"), QStringLiteral("manufacturer") + lists, value},
        {QStringLiteral("image"), QStringLiteral("image number") + lists, value},
        {QStringLiteral("path"), QStringLiteral("stored path") + lists, value},
        {QStringLiteral("from"), QStringLiteral("entered on or after DATE (month/day/year or yyyy-mm-dd)"), QStringLiteral("DATE")},
        {QStringLiteral("to"), QStringLiteral("entered on or before DATE, through its whole day"), QStringLiteral("DATE")},
    };
}

QString ReadFindCriteria(const QCommandLineParser& p, FindCriteria& c)
{
    c.heat = p.value(QStringLiteral("heat"));
    c.part = p.value(QStringLiteral("part"));
    c.po = p.value(QStringLiteral("po"));
    c.vend = p.value(QStringLiteral("vendor"));
    c.mfg = p.value(QStringLiteral("mfg"));
    c.imageNumber = p.value(QStringLiteral("image"));
    c.path = p.value(QStringLiteral("path"));
    return ReadDateRange(p, c.from, c.to);
}

QString ReadDateRange(const QCommandLineParser& p, QString& from, QString& to)
{
    for (const auto& [option, date] : {std::pair{QStringLiteral("from"), &from}, std::pair{QStringLiteral("to"), &to}}) {
        const QString text = p.value(option);
        if (text.trimmed().isEmpty())
            continue;
        const Parsed<QDate> day = DateValue(QStringLiteral("--") + option, text);
        if (!day)
            return day.error;
        *date = day.value.toString(Qt::ISODate);
    }
    return {};
}

}  // namespace tarlox::cli
