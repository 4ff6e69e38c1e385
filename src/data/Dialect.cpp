#include "data/Dialect.h"

namespace tarlox {

QString DatabaseTypeName(DatabaseKind kind)
{
    return kind == DatabaseKind::Sql ? QStringLiteral("SQL") : QStringLiteral("Access");
}

QString Dialect::quote(const QString& identifier)
{
    QString escaped = identifier;
    escaped.replace(QLatin1Char('"'), QStringLiteral("\"\""));
    return QLatin1Char('"') + escaped + QLatin1Char('"');
}

QString Dialect::textType(int limit) const
{
    if (isSqlite())
        return QStringLiteral("VARCHAR(%1) COLLATE NOCASE").arg(limit);
    return QStringLiteral("tlx_text_%1").arg(limit);
}

QString Dialect::dateType() const
{
    return isSqlite() ? QStringLiteral("TEXT") : QStringLiteral("TIMESTAMP");
}

QString Dialect::boolType() const
{
    return isSqlite() ? QStringLiteral("INTEGER") : QStringLiteral("BOOLEAN");
}

QVariant Dialect::dateValue(const QDateTime& value) const
{
    if (!value.isValid())
        return QVariant(isSqlite() ? QMetaType(QMetaType::QString) : QMetaType(QMetaType::QDateTime));
    const QDateTime local = value.toLocalTime();
    if (isSqlite())
        return local.toString(QStringLiteral("yyyy-MM-ddTHH:mm:ss"));
    return QDateTime(local.date(), local.time());
}

QDateTime Dialect::readDate(const QVariant& value) const
{
    if (value.isNull())
        return {};
    if (value.metaType().id() == QMetaType::QDateTime)
        return value.toDateTime();
    const QString text = value.toString();
    QDateTime parsed = QDateTime::fromString(text, Qt::ISODate);
    if (!parsed.isValid())
        parsed = QDateTime::fromString(text, Qt::ISODateWithMs);
    if (!parsed.isValid())
        parsed = QDateTime(QDate::fromString(text.left(10), Qt::ISODate), QTime(0, 0));
    return parsed;
}

QVariant Dialect::boolValue(bool value) const
{
    if (isSqlite())
        return value ? -1 : 0;
    return value;
}

bool Dialect::readBool(const QVariant& value)
{
    if (value.metaType().id() == QMetaType::Bool)
        return value.toBool();
    return value.toLongLong() != 0;
}

QString Dialect::literal(const QString& text) const
{
    QString copy = text;
    return QLatin1Char('\'') + FixField(copy, 0) + QLatin1Char('\'');
}

QString SqlBool(DatabaseKind kind, bool value)
{
    const int asNumber = value ? -1 : 0;
    return QString::number(kind == DatabaseKind::Access ? asNumber : -asNumber);
}

QString CutToLimit(QString& value, int maxLength)
{
    if (maxLength > 0 && maxLength < value.size())
        value.truncate(maxLength);
    return value;
}

QString FixField(QString& value, int maxLength)
{
    CutToLimit(value, maxLength);
    QString doubled = value;
    doubled.replace(QLatin1Char('\''), QStringLiteral("''"));
    return doubled;
}

}  // namespace tarlox
