#pragma once

#include <QDateTime>
#include <QString>
#include <QVariant>

namespace tarlox {

// "Access" is the embedded SQLite file; "SQL" is the PostgreSQL server.
enum class DatabaseKind { Access, Sql };

QString DatabaseTypeName(DatabaseKind kind);

// The few places where the two engines differ.
class Dialect {
public:
    explicit Dialect(DatabaseKind kind) : kind_(kind) {}
    DatabaseKind kind() const { return kind_; }
    bool isSqlite() const { return kind_ == DatabaseKind::Access; }

    // "Heat #" -> "\"Heat #\"" on both engines.
    static QString quote(const QString& identifier);
    // Case-insensitive text column of a limit.
    QString textType(int limit) const;
    QString dateType() const;
    QString boolType() const;
    QString intType() const { return QStringLiteral("INTEGER"); }

    QVariant dateValue(const QDateTime& value) const;
    QDateTime readDate(const QVariant& value) const;
    QVariant boolValue(bool value) const;
    static bool readBool(const QVariant& value);

    // A value as a SQL literal, for the rare statement that can't bind.
    QString literal(const QString& text) const;

private:
    DatabaseKind kind_;
};

// The boolean as the engine writes it: "-1" for the file database, "1" for the server.
QString SqlBool(DatabaseKind kind, bool value);

// Cuts the caller's value to maxLength (0: no limit), then doubles each "'".
QString FixField(QString& value, int maxLength);
// The cut alone, for values that are bound.
QString CutToLimit(QString& value, int maxLength);

// Table and column names as statements write them, quoted for both engines:
// q("Image #"), col("Info", "Image #").
inline QString q(const QString& identifier) { return Dialect::quote(identifier); }
inline QString q(const char* identifier) { return Dialect::quote(QLatin1String(identifier)); }
inline QString col(const char* table, const char* column) { return q(table) + QLatin1Char('.') + q(column); }

}  // namespace tarlox
