#include "data/DataOp.h"

#include "base/ErrorReport.h"
#include "base/Prompter.h"
#include "data/Session.h"

#include <QSqlDriver>
#include <QSqlError>
#include <QSqlRecord>

namespace tarlox {

namespace {

bool isLockCode(DatabaseKind kind, const QString& code)
{
    if (kind == DatabaseKind::Access) {
        const int primary = code.toInt() & 0xff;
        return primary == 5 || primary == 6;  // SQLITE_BUSY, SQLITE_LOCKED
    }
    return code == QLatin1String("40001") || code == QLatin1String("40P01") || code == QLatin1String("55P03");
}

bool isDuplicateCode(DatabaseKind kind, const QString& code, const QString& text)
{
    if (kind == DatabaseKind::Access)
        return code == QLatin1String("2067") || code == QLatin1String("1555")
            || ((code.toInt() & 0xff) == 19 && text.contains(QLatin1String("UNIQUE"), Qt::CaseInsensitive));
    return code == QLatin1String("23505");
}

}  // namespace

DataOp::DataOp(Session& session, const QString& procedure, const QStringList& traceArguments)
    : session_(session)
    , connection_(session.db())
    , procedure_(procedure)
{
    session_.traceCall(procedure, traceArguments);
}

DataOp::~DataOp() = default;

const Dialect& DataOp::dialect() const { return session_.db().dialect(); }

bool DataOp::connect()
{
    Database& db = session_.db();
    if (db.isOpen())
        return true;
    if (connectFailed_)
        return false;
    if (db.open())
        return true;
    connectFailed_ = true;
    failure_ = SqlFailure{-1, db.lastOpenError(), false, false, true};
    session_.traceCall(QStringLiteral("OpenConnection"));
    ReportError(session_.prompter(), ErrorDetails{QStringLiteral("OpenConnection"), QStringLiteral("Opening the database"),
                                                  failure_.number, failure_.text, true, db.connectionDisplay(), QString()});
    return false;
}

void DataOp::fillFailure(const QSqlError& error)
{
    const QString code = error.nativeErrorCode();
    const DatabaseKind kind = session_.db().kind();
    failure_ = SqlFailure{};
    bool numeric = false;
    failure_.number = code.toInt(&numeric);
    if (!numeric)
        failure_.number = code.isEmpty() ? static_cast<int>(error.type()) : -2;
    failure_.text = error.text().trimmed();
    if (!numeric && !code.isEmpty())
        failure_.text = QLatin1Char('[') + code + QStringLiteral("] ") + failure_.text;
    failure_.locked = isLockCode(kind, code);
    failure_.duplicateKey = isDuplicateCode(kind, code, error.text());
    // The file database has no connection to lose (its driver files a busy
    // database under "connection error"); the server's can drop.
    failure_.connectionLost = kind == DatabaseKind::Sql && !failure_.locked
        && (error.type() == QSqlError::ConnectionError || code.startsWith(QLatin1String("08")) || code.startsWith(QLatin1String("57P"))
            || (code.isEmpty() && !session_.db().connection().isOpen()));
}

bool DataOp::offerLockRetry()
{
    return session_.retry(Status{FailureKind::RowsLocked, ProgramTitle(),
                                  failure_.text + QStringLiteral("\r\nSelect 'Cancel' to abort or sign off the user and hit 'Retry'.")});
}

void DataOp::reportFailure()
{
    ReportError(session_.prompter(), ErrorDetails{procedure_, step_, failure_.number, failure_.text, true,
                                                  session_.db().connectionDisplay(), lastSql_});
}

void DataOp::report(qint64 number, const QString& description)
{
    failure_ = SqlFailure{static_cast<qint32>(number), description};
    reportFailure();
}

std::optional<QSqlQuery> DataOp::exec(const QString& sql, const QVariantList& binds, OnError onError)
{
    return run(sql, binds, onError, false);
}

std::optional<QList<QVariantList>> DataOp::allRows(const QString& sql, const QVariantList& binds, OnError onError, qsizetype maxRows)
{
    auto query = run(sql, binds, onError, true);
    if (!query)
        return std::nullopt;
    QList<QVariantList> rows;
    const int columns = query->record().count();
    while (rows.size() < maxRows && query->next()) {
        QVariantList& row = rows.emplace_back();
        for (int i = 0; i < columns; ++i)
            row << query->value(i);
    }
    query->finish();
    return rows;
}

std::optional<QVariantList> DataOp::firstRow(const QString& sql, const QVariantList& binds, OnError onError)
{
    auto rows = allRows(sql, binds, onError, 1);
    if (!rows)
        return std::nullopt;
    return rows->isEmpty() ? QVariantList() : rows->first();
}

bool DataOp::repeat(const QString& sql, const QVariantList& binds, OnError onError)
{
    auto query = run(sql, binds, onError, true);
    if (query)
        query->finish();
    return query.has_value();
}

std::optional<QSqlQuery> DataOp::run(const QString& sql, const QVariantList& binds, OnError onError, bool reuse)
{
    lastSql_ = sql;
    if (!connectFailed_)
        failure_ = SqlFailure{};
    if (!connect())
        return std::nullopt;
    while (true) {
        if (!connect())
            return std::nullopt;
        bool ok;
        std::optional<QSqlQuery> query;
        if (reuse) {
            QSqlError prepareError;
            if (QSqlQuery* kept = session_.db().preparedQuery(sql, &prepareError)) {
                for (int i = 0; i < binds.size(); ++i)
                    kept->bindValue(i, binds[i]);
                ok = kept->exec();
                query = *kept;
                if (!ok)
                    session_.db().forgetPrepared(sql);
            } else {
                ok = false;
                fillFailure(prepareError);
            }
        } else {
            query.emplace(session_.db().connection());
            query->setForwardOnly(true);
            if (binds.isEmpty()) {
                // Statements without values (DDL, BEGIN, COMMIT) can't be prepared on every engine.
                ok = query->exec(sql);
            } else {
                ok = query->prepare(sql);
                if (ok) {
                    for (const QVariant& value : binds)
                        query->addBindValue(value);
                    ok = query->exec();
                }
            }
        }
        if (ok)
            return query;
        if (query)
            fillFailure(query->lastError());
        if (failure_.connectionLost)
            session_.db().close();
        if (failure_.locked) {
            if (inTransaction_)
                throw LockedInTransaction{};
            if (offerLockRetry())
                continue;
            if (!session_.offerRetry)
                reportFailure();
            return std::nullopt;
        }
        if (onError == OnError::Report)
            reportFailure();
        return std::nullopt;
    }
}

std::optional<QVariant> DataOp::scalar(const QString& sql, const QVariantList& binds, OnError onError)
{
    auto query = exec(sql, binds, onError);
    if (!query)
        return std::nullopt;
    return query->next() ? query->value(0) : QVariant();
}

bool DataOp::transaction(const std::function<bool()>& body)
{
    if (inTransaction_)
        return body();
    if (!connect())
        return false;
    const bool sqlite = session_.db().kind() == DatabaseKind::Access;
    const QString begin = sqlite ? QStringLiteral("BEGIN IMMEDIATE") : QStringLiteral("BEGIN");
    auto rollback = [&] {
        QSqlQuery(session_.db().connection()).exec(QStringLiteral("ROLLBACK"));
        inTransaction_ = false;
    };
    while (true) {
        try {
            if (!exec(begin))
                return false;
            inTransaction_ = true;
            if (!body()) {
                rollback();
                return false;
            }
            if (!exec(QStringLiteral("COMMIT"))) {
                rollback();
                return false;
            }
            inTransaction_ = false;
            return true;
        } catch (const LockedInTransaction&) {
            rollback();
            if (offerLockRetry())
                continue;
            if (!session_.offerRetry)
                reportFailure();
            return false;
        }
    }
}

}  // namespace tarlox
