#include "support/TestSite.h"

#include "data/DataOp.h"
#include "data/OptionsData.h"
#include "data/Schema.h"
#include "data/Connection.h"
#include "base/IniFile.h"
#include "startup/Startup.h"
#include "store/TiffReader.h"

#include <QDir>
#include <QFile>
#include <QSqlError>
#include <QSqlQuery>
#include <QUuid>

using namespace Qt::StringLiterals;

namespace tarlox::test {

QSqlDatabase PostgresConnection(const QString& name, const QString& conninfo, const QString& database)
{
    QSqlDatabase db = QSqlDatabase::addDatabase(u"QPSQL"_s, name);
    for (const QString& pair : conninfo.split(QLatin1Char(' '), Qt::SkipEmptyParts)) {
        const QString key = pair.section(u'=', 0, 0), value = pair.section(u'=', 1);
        if (key == u"host"_s) db.setHostName(value);
        else if (key == u"port"_s) db.setPort(value.toInt());
        else if (key == u"user"_s) db.setUserName(value);
    }
    db.setDatabaseName(database);
    return db;
}

bool RunSql(const std::function<QSqlDatabase(const QString& name)>& connect, const QString& sql)
{
    const QString name = u"raw-"_s + QUuid::createUuid().toString(QUuid::WithoutBraces);
    bool ok = false;
    {
        QSqlDatabase db = connect(name);
        QSqlQuery query(db);
        ok = db.open() && query.exec(sql);
        if (!ok) qWarning("%s: %s", qPrintable(sql), qPrintable((db.isOpen() ? query.lastError() : db.lastError()).text()));
        db.close();
    }
    QSqlDatabase::removeDatabase(name);
    return ok;
}

QString engineName(Engine engine) { return engine == Engine::Sqlite ? u"Sqlite"_s : u"Postgres"_s; }

QString postgresConnInfo()
{
    QFile file(qEnvironmentVariable("TARLOX_TEST_PG"));
    if (!file.open(QIODevice::ReadOnly)) return {};
    return QString::fromUtf8(file.readAll()).trimmed();
}

static bool runAdmin(const QString& sql) { return RunSql([](const QString& name) { return PostgresConnection(name, postgresConnInfo(), u"postgres"_s); }, sql); }

bool createPostgresDatabase(const QString& name) { return runAdmin(u"CREATE DATABASE \"%1\""_s.arg(name)); }

void dropPostgresDatabase(const QString& name) { runAdmin(u"DROP DATABASE IF EXISTS \"%1\" WITH (FORCE)"_s.arg(name)); }

// A test site stands for a workstation with a person at the screen: the
// scripted prompter answers the Retry/Cancel boxes.
void offerRetryToThePerson(Session& session) { session.offerRetry = [&session](const Status& failure) { return AskRetryCancel(session.prompter())(failure); }; }

TestSite::TestSite(Engine engine)
    : engine_(engine)
    , session_(std::make_unique<Session>(prompter_))
{
    offerRetryToThePerson(*session_);
    if (engine_ == Engine::Postgres) {
        pgDatabase_ = u"tlx_"_s + QUuid::createUuid().toString(QUuid::Id128).left(16);
        if (postgresConnInfo().isEmpty()) ADD_FAILURE() << "the test PostgreSQL server is not running (TARLOX_TEST_PG)";
        else if (!createPostgresDatabase(pgDatabase_)) ADD_FAILURE() << "could not create the test database";
    }
}

TestSite::~TestSite()
{
    session_.reset();
    if (!pgDatabase_.isEmpty()) dropPostgresDatabase(pgDatabase_);
}

QSqlDatabase TestSite::rawConnection(const QString& name) const
{
    if (engine_ == Engine::Postgres) return PostgresConnection(name, postgresConnInfo(), pgDatabase_);
    QSqlDatabase db = QSqlDatabase::addDatabase(u"QSQLITE"_s, name);
    db.setDatabaseName(path(u"server/Tarlox.db"_s));
    return db;
}

bool TestSite::execRaw(const QString& sql) const { return RunSql([this](const QString& name) { return rawConnection(name); }, sql); }

void TestSite::writeSettings()
{
    for (const QString& sub : {u"server"_s, u"DATA"_s, u"TEMP"_s}) QDir(dir()).mkpath(sub);
    const QString local = localIni(), server = serverIni();
    using Keys = QList<std::pair<const char*, QString>>;
    for (const auto& [key, value] : Keys{{"ServerIni", server}, {"DataDir", path(u"DATA"_s)}, {"TempDir", path(u"TEMP"_s)}})
        WriteIniValue(local, u"Info"_s, QLatin1String(key), value);
    const Keys data = engine_ == Engine::Sqlite
        ? Keys{{"DatabaseType", u"Access"_s}, {"DataBase", path(u"server/Tarlox.db"_s)}}
        : Keys{{"DatabaseType", u"SQL"_s}, {"Server", u"127.0.0.1"_s}, {"UserID", u"postgres"_s}, {"Password", u"unused"_s},
               {"OverrideConnection", postgresConnInfo() + u" dbname="_s + pgDatabase_}};
    for (const auto& [key, value] : data) WriteIniValue(server, u"Data"_s, QLatin1String(key), value);
    std::tie(session_->programDir, session_->localIni, session_->serverIni) = std::tuple(dir() + u'/', local, server);
}

void TestSite::create()
{
    writeSettings();
    Session& s = *session_;
    GetServerInfo(s);
    s.db().allowCreate(true);
    const bool built = RevUp(s);
    s.db().allowCreate(false);
    EXPECT_TRUE(built) << "the ladder could not build the test database";
    std::tie(s.options.version, s.options.nextName) = std::tuple(s.programVersion, 1);
    EXPECT_TRUE(AddOptions(s, false));
    s.db().close();
}

bool TestSite::start() { create(); return StartSession(*session_).ok(); }

std::unique_ptr<Session> TestSite::openAnother(ScriptedPrompter& prompter) const
{
    auto other = std::make_unique<Session>(prompter);
    offerRetryToThePerson(*other);
    std::tie(other->programDir, other->localIni) = std::tuple(dir() + u'/', localIni());
    if (!StartSession(*other).ok()) ADD_FAILURE() << "the second session did not start";
    return other;
}

qint64 SiteTest::scalar(const QString& sql, const QVariantList& binds)
{
    auto value = DataOp(s(), u"test"_s).scalar(sql, binds);
    return value ? value->toLongLong() : -1;
}

QString SiteTest::scalarText(const QString& sql, const QVariantList& binds) { return DataOp(s(), u"test"_s).scalar(sql, binds).value_or(u"(failed)"_s).toString(); }

qint64 SiteTest::rows(const QString& table, const QString& where, const QVariantList& binds)
{
    return scalar(u"SELECT count(*) FROM \"%1\"%2"_s.arg(table, where.isEmpty() ? QString() : u" WHERE "_s + where), binds);
}

QStringList SiteTest::files(const QString& sub) const { return QDir(site.path(sub)).entryList(QDir::Files | QDir::Hidden); }

QStringList TempDirTest::files() const { return QDir(dir.path()).entryList(QDir::Files | QDir::Hidden | QDir::System); }

int PageCount(const QString& path) { auto reader = TiffReader::open(path); return reader ? reader->pageCount() : 0; }

QByteArray FileBytes(const QString& path) { QFile file(path); return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray(); }

bool WriteFile(const QString& path, const QByteArray& bytes) { QFile file(path); return file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size(); }

}  // namespace tarlox::test
