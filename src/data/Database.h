#pragma once

#include "data/Dialect.h"

#include <QHash>
#include <QSqlDatabase>
#include <QSqlQuery>
#include <QString>

#include <memory>

namespace tarlox {

// The one connection of a session. Opened on demand by each data operation
// and closed again at its end, unless a ConnectionScope holds it open.
class Database {
public:
    Database();
    ~Database();
    Database(const Database&) = delete;
    Database& operator=(const Database&) = delete;

    // Takes the settings that SetConnection built. Closes any open connection.
    void configure(DatabaseKind kind, const QString& connectionString, const QString& display, int timeoutSeconds);
    // Allows the next open of the file database to create a missing file.
    void allowCreate(bool allow) { allowCreate_ = allow; }

    // Opens the connection when it is not open. On failure the error text is kept.
    bool open();
    void close();
    bool isOpen() const;
    // Whether a ConnectionScope keeps the connection open across operations.
    bool held() const { return holds_ > 0; }

    DatabaseKind kind() const { return dialect_.kind(); }
    const Dialect& dialect() const { return dialect_; }
    QSqlDatabase connection() const;
    const QString& connectionString() const { return connectionString_; }
    const QString& connectionDisplay() const { return display_; }
    const QString& lastOpenError() const { return openError_; }
    int opensSoFar() const { return opens_; }
    // The SQLite file, or empty for the server.
    QString fileName() const;

    // A statement prepared once on the open connection and kept until the
    // connection closes, for statements a session runs again and again.
    // Null when it can't be prepared; error then tells why.
    QSqlQuery* preparedQuery(const QString& sql, QSqlError* error);
    void forgetPrepared(const QString& sql) { prepared_.remove(sql); }

private:
    bool openSqlite(QSqlDatabase& db);
    bool openPostgres(QSqlDatabase& db);
    static void useLocalTimeZone(QSqlDatabase& db);

    QString name_;
    Dialect dialect_{DatabaseKind::Access};
    QString connectionString_;
    QString display_;
    int timeoutSeconds_ = 0;
    bool allowCreate_ = false;
    QString openError_;
    int opens_ = 0;
    int holds_ = 0;
    friend class ConnectionScope;
    QHash<QString, std::shared_ptr<QSqlQuery>> prepared_;
};

// Keeps the connection open from the first data operation inside the scope
// to the end of the scope, for a sequence of operations that belong
// together; the connection closes when the outermost scope ends.
class ConnectionScope {
public:
    explicit ConnectionScope(Database& db) : db_(db) { ++db_.holds_; }
    ~ConnectionScope()
    {
        if (--db_.holds_ == 0)
            db_.close();
    }
    ConnectionScope(const ConnectionScope&) = delete;
    ConnectionScope& operator=(const ConnectionScope&) = delete;

private:
    Database& db_;
};

// libpq's "key=value key='quoted value'" form, also accepting ";" between pairs.
QList<QPair<QString, QString>> ParseConnInfo(const QString& conninfo);

}  // namespace tarlox
