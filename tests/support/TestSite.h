#pragma once

#include "data/Session.h"
#include "support/ScriptedPrompter.h"

#include <QSqlDatabase>
#include <QTemporaryDir>
#include <gtest/gtest.h>
#include <functional>
#include <memory>

namespace tarlox::test {

enum class Engine { Sqlite, Postgres };
QString engineName(Engine engine);
// For INSTANTIATE_TEST_SUITE_P(..., testing::Values(Engine::Sqlite, Engine::Postgres), EngineParamName).
template <class Info> std::string EngineParamName(const Info& info) { return engineName(info.param).toStdString(); }

// libpq connection data of the test run's PostgreSQL server (without dbname).
QString postgresConnInfo();

// A session of a workstation with a person at the screen: the session's
// prompter answers the Retry/Cancel boxes of failures a person can cure.
void offerRetryToThePerson(Session& session);

// A whole installation in a temporary directory: local and server settings
// files, the data and temp directories, and a fresh database (a SQLite file,
// or a database of its own on the test server), built by the ladder and with
// its Options row. Tests get a started Session over it.
class TestSite {
public:
    explicit TestSite(Engine engine = Engine::Sqlite);
    ~TestSite();

    Engine engine() const { return engine_; }
    QString dir() const { return dir_.path(); }
    QString path(const QString& name) const { return dir_.filePath(name); }
    QString localIni() const { return path(QStringLiteral("TARLOX.INI")); }
    QString serverIni() const { return path(QStringLiteral("server/tarlox.ini")); }

    // Writes the settings files and an empty database at the current shape.
    void create();
    // Writes the settings files only; the database is left to the caller.
    void writeSettings();
    // Creates the settings and runs StartSession. False when that fails.
    bool start();
    // A second, independent session on the same installation (another workstation).
    std::unique_ptr<Session> openAnother(ScriptedPrompter& prompter) const;

    Session& session() { return *session_; }
    ScriptedPrompter& prompter() { return prompter_; }
    QString postgresDatabase() const { return pgDatabase_; }
    // Runs a statement on a connection of its own (bypassing the session).
    bool execRaw(const QString& sql) const;
    // A connection of its own to the site's database under name, not yet open.
    QSqlDatabase rawConnection(const QString& name) const;

private:
    Engine engine_;
    QTemporaryDir dir_;
    ScriptedPrompter prompter_;
    std::unique_ptr<Session> session_;
    QString pgDatabase_;
};

// The world most tests live in: a site on one engine, started, the person's
// prompter cleared. TEST_P suites derive from it and run on both engines
// with TARLOX_ON_BOTH_ENGINES(Suite).
class SiteTest : public ::testing::TestWithParam<Engine> {
protected:
    SiteTest() : site(GetParam()) {}
    void SetUp() override { ASSERT_TRUE(site.start()); site.prompter().clear(); }
    Session& s() { return site.session(); }
    ScriptedPrompter& prompter() { return site.prompter(); }
    // The first column of the first row of a query on the site's database; -1 when it fails.
    qint64 scalar(const QString& sql, const QVariantList& binds = {});
    // The same as text; "(failed)" when it fails.
    QString scalarText(const QString& sql, const QVariantList& binds = {});
    // The rows of a table, those matching where when given.
    qint64 rows(const QString& table, const QString& where = {}, const QVariantList& binds = {});
    qint64 nextName() { return scalar(QStringLiteral("SELECT \"NextName\" FROM \"Options\"")); }
    // A file of the data directory; the directory itself (with its separator) for no name.
    QString data(const QString& name = {}) const { return site.path(QStringLiteral("DATA/") + name); }
    // The names of the files in a directory of the site ("DATA", "TEMP"), hidden ones too.
    QStringList files(const QString& sub) const;

    TestSite site;
};
#define TARLOX_ON_BOTH_ENGINES(Suite) \
    INSTANTIATE_TEST_SUITE_P(Engines, Suite, ::testing::Values(Engine::Sqlite, Engine::Postgres), EngineParamName<::testing::TestParamInfo<Engine>>)

// A test with a temporary directory of its own.
class TempDirTest : public ::testing::Test {
protected:
    QString path(const QString& name) const { return dir.filePath(name); }
    // The names of the files in it, hidden ones too.
    QStringList files() const;

    QTemporaryDir dir;
};

// A whole file, empty when it can't be read; and a file written whole.
QByteArray FileBytes(const QString& path);
bool WriteFile(const QString& path, const QByteArray& bytes);
// The pages of a TIFF file; 0 when it can't be read.
int PageCount(const QString& path);

// A PostgreSQL connection from libpq connection data (host, port, user), not yet open.
QSqlDatabase PostgresConnection(const QString& name, const QString& conninfo, const QString& database);
// Runs one statement on a connection of its own, made by connect(name); false and a warning when it fails.
bool RunSql(const std::function<QSqlDatabase(const QString& name)>& connect, const QString& sql);

// Creates and drops PostgreSQL databases on the test server.
bool createPostgresDatabase(const QString& name);
void dropPostgresDatabase(const QString& name);

}  // namespace tarlox::test
