#include "data/SchemaInspector.h"

#include "data/DataOp.h"
#include "data/Dialect.h"

#include <QRegularExpression>
#include <QSqlQuery>
#include <QVariant>

namespace tarlox {

std::optional<QString> SchemaInspector::tableName(const QString& table)
{
    const bool sqlite = op_.dialect().isSqlite();
    const QString sql = sqlite
        ? QStringLiteral("SELECT name FROM sqlite_master WHERE type = 'table' AND lower(name) = lower(?)")
        : QStringLiteral("SELECT table_name FROM information_schema.tables "
                         "WHERE table_schema = current_schema() AND lower(table_name) = lower(?)");
    auto value = op_.scalar(sql, {table});
    if (!value)
        return std::nullopt;
    return value->isValid() ? value->toString() : QString();
}

std::optional<QStringList> SchemaInspector::columns(const QString& table)
{
    const bool sqlite = op_.dialect().isSqlite();
    auto query = sqlite ? op_.exec(QStringLiteral("SELECT name FROM pragma_table_info(?)"), {table})
                        : op_.exec(QStringLiteral("SELECT column_name FROM information_schema.columns "
                                                  "WHERE table_schema = current_schema() AND table_name = ? "
                                                  "ORDER BY ordinal_position"),
                                   {table});
    if (!query)
        return std::nullopt;
    QStringList names;
    while (query->next())
        names << query->value(0).toString();
    return names;
}

bool SchemaInspector::hasColumn(const QString& table, const QString& column)
{
    const auto names = columns(table);
    return names && names->contains(column, Qt::CaseInsensitive);
}

std::optional<int> SchemaInspector::indexColumnCount(const QString& index)
{
    const bool sqlite = op_.dialect().isSqlite();
    const QString sql = sqlite ? QStringLiteral("SELECT count(*) FROM pragma_index_info(?)")
                               : QStringLiteral("SELECT coalesce(max(i.indnatts), 0) FROM pg_index i "
                                                "JOIN pg_class c ON c.oid = i.indexrelid "
                                                "WHERE c.relname = ? AND c.relnamespace = current_schema()::regnamespace");
    auto value = op_.scalar(sql, {index});
    if (!value)
        return std::nullopt;
    return value->toInt();
}

std::optional<int> SchemaInspector::columnLimit(const QString& table, const QString& column)
{
    static const QRegularExpression trailingNumber(QStringLiteral("(\\d+)\\D*$"));
    if (op_.dialect().isSqlite()) {
        auto type = op_.scalar(QStringLiteral("SELECT type FROM pragma_table_info(?) WHERE lower(name) = lower(?)"),
                               {table, column});
        if (!type)
            return std::nullopt;
        const auto match = trailingNumber.match(type->toString());
        return match.hasMatch() ? match.captured(1).toInt() : 0;
    }
    auto query = op_.exec(QStringLiteral("SELECT coalesce(domain_name, ''), coalesce(character_maximum_length, 0) "
                                         "FROM information_schema.columns WHERE table_schema = current_schema() "
                                         "AND table_name = ? AND lower(column_name) = lower(?)"),
                          {table, column});
    if (!query)
        return std::nullopt;
    if (!query->next())
        return 0;
    const auto match = trailingNumber.match(query->value(0).toString());
    if (match.hasMatch())
        return match.captured(1).toInt();
    return query->value(1).toInt();
}

}  // namespace tarlox
