#include "data/Database.h"

#include "data/SqliteTuning.h"

#include <QDateTime>
#include <QFileInfo>
#include <QSqlError>
#include <QSqlQuery>
#include <QTimeZone>
#include <QUrl>
#include <QUuid>

namespace tarlox {

namespace {
QString sqliteFileOf(const QString& connectionString)
{
    for (const auto& [key, value] : ParseConnInfo(connectionString))
        if (key.compare(QLatin1String("Data Source"), Qt::CaseInsensitive) == 0)
            return value;
    return {};
}
}  // namespace

QList<QPair<QString, QString>> ParseConnInfo(const QString& conninfo)
{
    // Pairs are separated by blanks or ";"; a value may be quoted with '...'.
    QList<QPair<QString, QString>> pairs;
    qsizetype i = 0;
    const qsizetype n = conninfo.size();
    auto skipSeparators = [&] {
        while (i < n && (conninfo[i].isSpace() || conninfo[i] == QLatin1Char(';')))
            ++i;
    };
    while (true) {
        skipSeparators();
        if (i >= n)
            break;
        const qsizetype keyStart = i;
        while (i < n && conninfo[i] != QLatin1Char('=') && conninfo[i] != QLatin1Char(';'))
            ++i;
        QString key = conninfo.mid(keyStart, i - keyStart).trimmed();
        QString value;
        if (i < n && conninfo[i] == QLatin1Char('=')) {
            ++i;
            while (i < n && conninfo[i] == QLatin1Char(' '))
                ++i;
            if (i < n && conninfo[i] == QLatin1Char('\'')) {
                ++i;
                while (i < n && conninfo[i] != QLatin1Char('\'')) {
                    if (conninfo[i] == QLatin1Char('\\') && i + 1 < n)
                        ++i;
                    value += conninfo[i++];
                }
                ++i;
            } else if (key.contains(QLatin1Char(' '))) {
                // "Data Source=..." style: the value runs to the next ";"
                while (i < n && conninfo[i] != QLatin1Char(';'))
                    value += conninfo[i++];
                value = value.trimmed();
            } else {
                while (i < n && !conninfo[i].isSpace() && conninfo[i] != QLatin1Char(';'))
                    value += conninfo[i++];
            }
        }
        if (!key.isEmpty())
            pairs.append({key, value});
    }
    return pairs;
}

Database::Database()
    : name_(QStringLiteral("tarlox-") + QUuid::createUuid().toString(QUuid::WithoutBraces))
{
}

Database::~Database()
{
    close();
    if (QSqlDatabase::contains(name_))
        QSqlDatabase::removeDatabase(name_);
}

void Database::configure(DatabaseKind kind, const QString& connectionString, const QString& display, int timeoutSeconds)
{
    close();
    if (QSqlDatabase::contains(name_))
        QSqlDatabase::removeDatabase(name_);
    dialect_ = Dialect(kind);
    connectionString_ = connectionString;
    display_ = display;
    timeoutSeconds_ = timeoutSeconds;
}

QString Database::fileName() const
{
    return kind() == DatabaseKind::Access ? sqliteFileOf(connectionString_) : QString();
}

QSqlDatabase Database::connection() const
{
    return QSqlDatabase::database(name_, false);
}

bool Database::isOpen() const
{
    return QSqlDatabase::contains(name_) && QSqlDatabase::database(name_, false).isOpen();
}

bool Database::open()
{
    if (isOpen())
        return true;
    openError_.clear();
    const bool sqlite = kind() == DatabaseKind::Access;
    QSqlDatabase db = QSqlDatabase::contains(name_)
        ? QSqlDatabase::database(name_, false)
        : QSqlDatabase::addDatabase(sqlite ? QStringLiteral("QSQLITE") : QStringLiteral("QPSQL"), name_);
    if (!db.isValid()) {
        openError_ = QStringLiteral("The database driver is not installed");
        return false;
    }
    ++opens_;
    return sqlite ? openSqlite(db) : openPostgres(db);
}

bool Database::openSqlite(QSqlDatabase& db)
{
    const QString file = fileName();
    if (file.isEmpty()) {
        openError_ = QStringLiteral("No database file is named");
        return false;
    }
    if (!allowCreate_ && !QFileInfo::exists(file)) {
        openError_ = QStringLiteral("The database file ") + file + QStringLiteral(" does not exist");
        return false;
    }
    db.setDatabaseName(QUrl::fromLocalFile(QFileInfo(file).absoluteFilePath()).toString(QUrl::FullyEncoded)
                       + (allowCreate_ ? QStringLiteral("?mode=rwc") : QStringLiteral("?mode=rw")));
    db.setConnectOptions(QStringLiteral("QSQLITE_OPEN_URI"));
    if (!db.open()) {
        openError_ = db.lastError().text();
        return false;
    }
    QString error;
    if (!TuneSqliteConnection(db, file, timeoutSeconds_, &error)) {
        openError_ = error;
        db.close();
        return false;
    }
    return true;
}

bool Database::openPostgres(QSqlDatabase& db)
{
    QStringList options;
    db.setHostName({});
    db.setPort(-1);
    db.setDatabaseName(QStringLiteral("tarlox"));
    db.setUserName({});
    db.setPassword({});
    for (const auto& [key, value] : ParseConnInfo(connectionString_)) {
        const QString k = key.toLower();
        if (k == QLatin1String("host") || k == QLatin1String("hostaddr")) {
            db.setHostName(value);
        } else if (k == QLatin1String("port")) {
            db.setPort(value.toInt());
        } else if (k == QLatin1String("dbname")) {
            db.setDatabaseName(value);
        } else if (k == QLatin1String("user")) {
            db.setUserName(value);
        } else if (k == QLatin1String("password")) {
            db.setPassword(value);
        } else {
            QString v = value;
            v.replace(QLatin1Char('\\'), QStringLiteral("\\\\")).replace(QLatin1Char('\''), QStringLiteral("\\'"));
            options << key + QStringLiteral("='") + v + QLatin1Char('\'');
        }
    }
    if (timeoutSeconds_ > 0 && !connectionString_.contains(QLatin1String("connect_timeout")))
        options << QStringLiteral("connect_timeout=%1").arg(timeoutSeconds_);
    db.setConnectOptions(options.join(QLatin1Char(';')));
    if (!db.open()) {
        openError_ = db.lastError().text();
        return false;
    }
    QSqlQuery setup(db);
    setup.exec(QStringLiteral("SET client_min_messages TO WARNING"));
    // Statements get twice the connection timeout, so that a lock wait ends
    // first, as a lock, and reaches the Retry box.
    if (timeoutSeconds_ > 0)
        setup.exec(QStringLiteral("SET statement_timeout TO %1").arg(timeoutSeconds_ * 2000));
    // A row held by another workstation surfaces as the Retry/Cancel box
    // instead of a wait without end.
    setup.exec(QStringLiteral("SET lock_timeout TO %1").arg((timeoutSeconds_ > 0 ? timeoutSeconds_ : 30) * 1000));
    useLocalTimeZone(db);
    return true;
}

// Dates go to the server as instants and the columns keep clock times
// without a zone: the server turns one into the other in the session's
// zone, which has to be this workstation's, or every entry date moves by
// the difference between the two.
void Database::useLocalTimeZone(QSqlDatabase& db)
{
    QSqlQuery zone(db);
    zone.prepare(QStringLiteral("SELECT set_config('TimeZone', ?, false)"));
    zone.addBindValue(QString::fromUtf8(QTimeZone::systemTimeZoneId()));
    if (zone.exec())
        return;
    // A zone the server doesn't know by name: its offset now, in hours.
    const double hours = QDateTime::currentDateTime().offsetFromUtc() / 3600.0;
    zone.exec(QStringLiteral("SET TIME ZONE %1").arg(hours, 0, 'f', 2));
}

QSqlQuery* Database::preparedQuery(const QString& sql, QSqlError* error)
{
    if (const auto found = prepared_.constFind(sql); found != prepared_.constEnd())
        return found->get();
    auto query = std::make_shared<QSqlQuery>(connection());
    query->setForwardOnly(true);
    if (!query->prepare(sql)) {
        *error = query->lastError();
        return nullptr;
    }
    prepared_.insert(sql, query);
    return query.get();
}

void Database::close()
{
    // Kept statements belong to the connection and go before it.
    prepared_.clear();
    if (!QSqlDatabase::contains(name_))
        return;
    QSqlDatabase db = QSqlDatabase::database(name_, false);
    if (db.isOpen())
        db.close();
}

}  // namespace tarlox
