#pragma once

#include "data/Database.h"

#include <QSqlQuery>
#include <QString>
#include <QStringList>
#include <QVariantList>

#include <functional>
#include <limits>
#include <optional>

namespace tarlox {

class Session;
class Dialect;

struct SqlFailure {
    qint32 number = 0;
    QString text;
    bool locked = false;
    bool duplicateKey = false;
    bool connectionLost = false;
};

// The one shape of a data operation: open the connection if needed, run
// statements with bound values, report unexpected errors through the shared
// error report (with the connection and the statement), and close the
// connection at the end unless an enclosing ConnectionScope (or operation)
// holds it.
//
// A locking error (another workstation holds the rows) is offered for
// another try (Session::retry); a retry runs the statement again, or inside
// a transaction the whole transaction. Without one the operation fails with
// failure().locked set.
class DataOp {
public:
    enum class OnError { Report, Quiet };

    DataOp(Session& session, const QString& procedure, const QStringList& traceArguments = {});
    ~DataOp();
    DataOp(const DataOp&) = delete;
    DataOp& operator=(const DataOp&) = delete;

    // The step under way, shown as "Extra Info" when something fails.
    void step(const QString& text) { step_ = text; }
    const QString& currentStep() const { return step_; }

    // Opens the connection; a failure is reported and kept as the failure.
    bool connect();

    // Runs one statement. Reads are forward-only. nullopt on failure.
    std::optional<QSqlQuery> exec(const QString& sql, const QVariantList& binds = {}, OnError onError = OnError::Report);
    // Runs a statement that a session repeats many times: prepared once per
    // connection and kept. Gives the first row's values (none when there is
    // no row) with the statement already finished, so it holds no lock.
    std::optional<QVariantList> firstRow(const QString& sql, const QVariantList& binds = {}, OnError onError = OnError::Report);
    // Every row of a reading statement that a session repeats many times,
    // prepared once per connection and kept, finished before it returns.
    std::optional<QList<QVariantList>> allRows(const QString& sql, const QVariantList& binds = {}, OnError onError = OnError::Report,
                                               qsizetype maxRows = std::numeric_limits<qsizetype>::max());
    // Runs a writing statement that a session repeats many times (a row of
    // an import), prepared once per connection and kept. False on failure.
    bool repeat(const QString& sql, const QVariantList& binds, OnError onError = OnError::Report);
    // First column of the first row, or an invalid variant.
    std::optional<QVariant> scalar(const QString& sql, const QVariantList& binds = {}, OnError onError = OnError::Report);

    // Runs body in one transaction (SQLite: BEGIN IMMEDIATE). The body
    // returns false to roll back; the result is true only after a commit.
    bool transaction(const std::function<bool()>& body);
    bool inTransaction() const { return inTransaction_; }

    // Reports a failure that did not come from a statement.
    void report(qint64 number, const QString& description);

    const SqlFailure& failure() const { return failure_; }
    template <class Record> void storeStatus(Record& record) const
    {
        record.errorNumber = failure_.number;
        record.errorText = failure_.text;
    }
    template <class Record> static void clearStatus(Record& record)
    {
        record.errorNumber = 0;
        record.errorText.clear();
    }

    Session& session() { return session_; }
    const Dialect& dialect() const;
    const QString& lastStatement() const { return lastSql_; }

private:
    struct LockedInTransaction {};
    std::optional<QSqlQuery> run(const QString& sql, const QVariantList& binds, OnError onError, bool reuse);
    bool offerLockRetry();
    void reportFailure();
    void fillFailure(const class QSqlError& error);

    Session& session_;
    // An operation holds the connection while it runs, so that operations
    // it calls don't close it under it (and under its transaction).
    ConnectionScope connection_;
    QString procedure_;
    QString step_;
    bool inTransaction_ = false;
    bool connectFailed_ = false;
    QString lastSql_;
    SqlFailure failure_;
};

}  // namespace tarlox
