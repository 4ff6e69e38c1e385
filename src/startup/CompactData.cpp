#include "startup/CompactData.h"

#include "base/FileHolders.h"
#include "base/FileTools.h"
#include "base/Prompter.h"
#include "data/Session.h"

#include <QFile>
#include <QFileInfo>
#include <QSqlDatabase>
#include <QSqlError>
#include <QSqlQuery>
#include <QUrl>
#include <QUuid>

namespace tarlox {

namespace {

const QString ErrorTitle = QStringLiteral("Error");

QString withExtension(const QString& database, const QString& extension)
{
    const QFileInfo info(database);
    const QString suffix = info.suffix();
    if (suffix.isEmpty())
        return database + QLatin1Char('.') + extension;
    return database.left(database.size() - suffix.size()) + extension;
}

QString inUseText(const QString& database, const QList<FileHolder>& holders)
{
    QString text = QStringLiteral("The database can't be rebuilt while it is in use:\r\n") + database + QStringLiteral("\r\n\r\n");
    if (!holders.isEmpty()) {
        text += QStringLiteral("It is open in:\r\n");
        for (const FileHolder& h : holders)
            text += QStringLiteral("\t") + (h.command.isEmpty() ? QStringLiteral("a program") : h.command)
                + QStringLiteral(" (process ") + QString::number(h.pid) + QStringLiteral(")\r\n");
        text += QStringLiteral("\r\n");
    } else {
        text += QStringLiteral("Another Tarlox or another program is working with it.\r\n\r\n");
    }
    return text + QStringLiteral("Close Tarlox on the other workstations and every other program that uses the database, "
                                 "then choose 'Repair the Database' again. Nothing was changed.");
}

// The rebuild's own connection: no waiting on locks, so a database that is
// in use is refused at once instead of after a timeout.
class CompactConnection {
public:
    explicit CompactConnection(const QString& file)
        : name_(QStringLiteral("compact-") + QUuid::createUuid().toString(QUuid::WithoutBraces))
    {
        QSqlDatabase db = QSqlDatabase::addDatabase(QStringLiteral("QSQLITE"), name_);
        db.setDatabaseName(QUrl::fromLocalFile(QFileInfo(file).absoluteFilePath()).toString(QUrl::FullyEncoded) + QStringLiteral("?mode=rw"));
        db.setConnectOptions(QStringLiteral("QSQLITE_OPEN_URI;QSQLITE_BUSY_TIMEOUT=0"));
        if (!db.open())
            error_ = db.lastError().text();
    }
    ~CompactConnection()
    {
        {
            QSqlDatabase db = QSqlDatabase::database(name_, false);
            db.close();
        }
        QSqlDatabase::removeDatabase(name_);
    }

    bool isOpen() const { return error_.isEmpty(); }
    const QString& error() const { return error_; }

    // Runs a statement; the first column of the first row, or nullopt.
    std::optional<QString> exec(const QString& sql, const QVariantList& binds = {})
    {
        QSqlQuery query(QSqlDatabase::database(name_, false));
        query.prepare(sql);
        for (const QVariant& value : binds)
            query.addBindValue(value);
        if (!query.exec()) {
            error_ = query.lastError().text();
            return std::nullopt;
        }
        return query.next() ? query.value(0).toString() : QString();
    }

    // Leaves rollback-journal mode and takes the file for itself. Both fail
    // while any other connection, of this process or another, has it open.
    bool takeForItself()
    {
        const auto mode = exec(QStringLiteral("PRAGMA journal_mode=DELETE"));
        if (!mode || mode->compare(QLatin1String("delete"), Qt::CaseInsensitive) != 0)
            return false;
        return exec(QStringLiteral("PRAGMA locking_mode=EXCLUSIVE")) && exec(QStringLiteral("BEGIN EXCLUSIVE"))
            && exec(QStringLiteral("COMMIT"));
    }

private:
    QString name_;
    QString error_;
};

}  // namespace

QString CompactNewName(const QString& database)
{
    return withExtension(database, QStringLiteral("NDB"));
}

QString CompactOldName(const QString& database)
{
    return withExtension(database, QStringLiteral("ODB"));
}

bool CompactData(Session& s)
{
    s.traceCall(QStringLiteral("CompactData"));
    if (s.databaseType != QLatin1String("Access") || s.dataBase.isEmpty())
        return false;
    const Answer answer = s.prompter().ask(
        QStringLiteral("Compact OK?"),
        // The file database's own words: what the repair really does here.
        QStringLiteral("This action will rebuild your Tarlox database file.\r\n"
                       "Its integrity is checked, then it is written anew, compacted (VACUUM);\r\n"
                       "the previous file is kept beside it. Hit 'OK' to continue or 'Cancel' to abort"),
        Buttons::OkCancel, Icon::Question);
    if (answer != Answer::Ok)
        return false;

    const QString database = QFileInfo(s.dataBase).absoluteFilePath();
    if (!QFileInfo(database).isFile()) {
        s.prompter().tell(ErrorTitle, QStringLiteral("The database file ") + database + QStringLiteral(" does not exist."), Icon::Critical);
        return false;
    }
    const QString newName = CompactNewName(database);
    const QString oldName = CompactOldName(database);

    s.db().close();
    const QList<FileHolder> holders =
        ProcessesHoldingFiles({database, database + QStringLiteral("-wal"), database + QStringLiteral("-shm")});
    if (!holders.isEmpty()) {
        s.prompter().tell(ErrorTitle, inUseText(database, holders), Icon::Critical);
        return false;
    }

    s.prompter().setBusy(true);
    KillFile(newName);
    {
        CompactConnection connection(database);
        if (!connection.isOpen()) {
            s.prompter().setBusy(false);
            s.prompter().tell(ErrorTitle, connection.error(), Icon::Critical);
            return false;
        }
        if (!connection.takeForItself()) {
            s.prompter().setBusy(false);
            s.prompter().tell(ErrorTitle, inUseText(database, {}), Icon::Critical);
            return false;
        }
        if (const auto verdict = connection.exec(QStringLiteral("PRAGMA integrity_check")); !verdict || *verdict != QLatin1String("ok")) {
            s.prompter().setBusy(false);
            s.prompter().tell(ErrorTitle,
                              QStringLiteral("The database file ") + database + QStringLiteral(" is damaged: ")
                                  + (verdict ? *verdict : connection.error()) + QStringLiteral("\r\nNothing was changed."),
                              Icon::Critical);
            return false;
        }
        if (!connection.exec(QStringLiteral("VACUUM INTO ?"), {newName})) {
            const QString error = connection.error();
            KillFile(newName);
            s.prompter().setBusy(false);
            s.prompter().tell(ErrorTitle, error, Icon::Critical);
            return false;
        }
    }

    QString error;
    if (QFileInfo::exists(oldName)) {
        error = QStringLiteral("Can't rename ") + database + QStringLiteral(" to ") + oldName + QStringLiteral(": File already exists");
    } else if (!QFile::rename(database, oldName)) {
        error = QStringLiteral("Can't rename ") + database + QStringLiteral(" to ") + oldName;
    } else if (!QFile::rename(newName, database)) {
        error = QStringLiteral("Can't rename ") + newName + QStringLiteral(" to ") + database;
        QFile::rename(oldName, database);
    }
    if (!error.isEmpty())
        KillFile(newName);
    s.prompter().setBusy(false);
    if (!error.isEmpty()) {
        s.prompter().tell(ErrorTitle, error, Icon::Critical);
        return false;
    }
    return true;
}

}  // namespace tarlox
