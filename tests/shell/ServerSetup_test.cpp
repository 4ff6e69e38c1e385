#include "shell/ServerSetup.h"

#include "data/OptionsData.h"
#include "data/UserData.h"
#include "data/Connection.h"
#include "base/ErrorReport.h"
#include "base/FileTools.h"
#include "base/IniFile.h"
#include "data/Session.h"
#include "support/TestSite.h"

#include <QDir>
#include <QProcess>
#include <QRandomGenerator>
#include <QSqlDatabase>
#include <QSqlQuery>
#include <QTemporaryDir>
#include <QUuid>

#include <gtest/gtest.h>

#include <unistd.h>

using namespace tarlox;
using namespace tarlox::test;

namespace {

// A PostgreSQL server of this test's own, which the tests stop and start.
class OwnPostgres {
public:
    bool init()
    {
        const QStringList bins = QDir(QStringLiteral("/usr/lib/postgresql")).entryList(QDir::Dirs | QDir::NoDotAndDotDot, QDir::Name);
        if (bins.isEmpty() || !dir_.isValid())
            return false;
        bin_ = QStringLiteral("/usr/lib/postgresql/") + bins.last() + QStringLiteral("/bin/");
        QDir(dir_.path()).mkpath(QStringLiteral("sock"));
        if (geteuid() == 0)
            run(QStringLiteral("chown"), {QStringLiteral("-R"), QStringLiteral("postgres"), dir_.path()}, false);
        return run(bin_ + QStringLiteral("initdb"), {QStringLiteral("-D"), data(), QStringLiteral("--auth=trust"), QStringLiteral("-U"),
                                                      QStringLiteral("postgres"), QStringLiteral("--encoding=UTF8"), QStringLiteral("--locale=C")});
    }
    bool start()
    {
        for (int attempt = 0; attempt < 8; ++attempt) {
            if (port_ == 0)
                port_ = 20000 + int(QRandomGenerator::global()->bounded(20000));
            const QString options = QStringLiteral("-p %1 -c listen_addresses=127.0.0.1 -k %2 -c fsync=off").arg(port_).arg(dir_.filePath(QStringLiteral("sock")));
            if (run(bin_ + QStringLiteral("pg_ctl"), {QStringLiteral("-D"), data(), QStringLiteral("-l"), dir_.filePath(QStringLiteral("server.log")),
                                                      QStringLiteral("-w"), QStringLiteral("-t"), QStringLiteral("60"), QStringLiteral("-o"), options,
                                                      QStringLiteral("start")}))
                return true;
            if (started_)
                return false;  // a restart keeps its port
            port_ = 0;
        }
        return false;
    }
    void stop()
    {
        run(bin_ + QStringLiteral("pg_ctl"), {QStringLiteral("-D"), data(), QStringLiteral("-m"), QStringLiteral("fast"), QStringLiteral("-w"), QStringLiteral("stop")});
    }
    bool createTarlox()
    {
        started_ = true;
        const QString name = QStringLiteral("own-") + QUuid::createUuid().toString(QUuid::WithoutBraces);
        bool ok = false;
        {
            QSqlDatabase db = QSqlDatabase::addDatabase(QStringLiteral("QPSQL"), name);
            db.setHostName(QStringLiteral("127.0.0.1"));
            db.setPort(port_);
            db.setUserName(QStringLiteral("postgres"));
            db.setDatabaseName(QStringLiteral("postgres"));
            ok = db.open() && QSqlQuery(db).exec(QStringLiteral("CREATE DATABASE tarlox"));
            db.close();
        }
        QSqlDatabase::removeDatabase(name);
        return ok;
    }
    QString server() const { return QStringLiteral("127.0.0.1:%1").arg(port_); }
    ~OwnPostgres()
    {
        if (!bin_.isEmpty())
            run(bin_ + QStringLiteral("pg_ctl"), {QStringLiteral("-D"), data(), QStringLiteral("-m"), QStringLiteral("immediate"), QStringLiteral("stop")});
    }

private:
    QString data() const { return dir_.filePath(QStringLiteral("data")); }
    bool run(const QString& program, const QStringList& arguments, bool asOwner = true)
    {
        QProcess process;
        if (asOwner && geteuid() == 0)
            process.start(QStringLiteral("runuser"), QStringList{QStringLiteral("-u"), QStringLiteral("postgres"), QStringLiteral("--"), program} + arguments);
        else
            process.start(program, arguments);
        process.waitForFinished(120000);
        return process.exitStatus() == QProcess::NormalExit && process.exitCode() == 0;
    }

    QTemporaryDir dir_{QDir::tempPath() + QStringLiteral("/tarlox-pg-XXXXXX")};
    QString bin_;
    int port_ = 0;
    bool started_ = false;
};

// Runs a step of the person at the screen just before a question with a given title.
class HookedPrompter : public ScriptedPrompter {
public:
    Answer ask(const Prompt& prompt) override
    {
        if (prompt.title == hookTitle && hook) {
            auto once = std::move(hook);
            hook = nullptr;
            once();
        }
        return ScriptedPrompter::ask(prompt);
    }
    QString hookTitle;
    std::function<void()> hook;
};

OwnPostgres* ownServer = nullptr;

QString ini(const QString& path, const QString& section, const QString& key)
{
    return ReadIniValue(path, section, key).value;
}

class ServerSetup : public ::testing::Test {
protected:
    static void SetUpTestSuite()
    {
        ownServer = new OwnPostgres;
        ASSERT_TRUE(ownServer->init());
        ASSERT_TRUE(ownServer->start());
        ASSERT_TRUE(ownServer->createTarlox());
    }
    static void TearDownTestSuite()
    {
        delete ownServer;
        ownServer = nullptr;
    }
    void SetUp() override
    {
        ASSERT_TRUE(site.start());
        site.session().setPrompter(prompter);
    }
    ServerEntries ownServerEntries()
    {
        ServerEntries e = StoredServerEntries(site.session());
        e.sql = true;
        e.server = ownServer->server();
        e.userId = QStringLiteral("postgres");
        e.password = QStringLiteral("trusted");
        e.timeout = QStringLiteral("5");
        return e;
    }

    TestSite site{Engine::Sqlite};
    HookedPrompter prompter;
};

}  // namespace

TEST_F(ServerSetup, SwitchesBetweenFileDatabaseAndServer)
{
    Session& s = site.session();
    ServerEntries e = ownServerEntries();
    // The server's database is empty at first: the screen offers to build it.
    prompter.answer(Answer::Yes);
    ASSERT_TRUE(UpdateServerSetup(s, e, QStringLiteral("Ann"), false));
    EXPECT_TRUE(prompter.wasAsked(QStringLiteral("Create Database")));
    EXPECT_EQ(s.databaseType, QStringLiteral("SQL"));
    EXPECT_EQ(ini(site.serverIni(), QStringLiteral("Data"), QStringLiteral("DatabaseType")), QStringLiteral("SQL"));
    EXPECT_EQ(ini(site.serverIni(), QStringLiteral("Data"), QStringLiteral("Server")), ownServer->server());
    EXPECT_EQ(ini(site.serverIni(), QStringLiteral("Data"), QStringLiteral("ConnectionTimeout")), QStringLiteral("5"));
    ASSERT_TRUE(ReadUser(s, QString()));
    EXPECT_EQ(s.machine.userName, QStringLiteral("Ann"));
    EXPECT_EQ(s.db().kind(), DatabaseKind::Sql);

    // Back to the file database the site started with; its row keeps its name until updated.
    prompter.clear();
    e.sql = false;
    e.database = site.path(QStringLiteral("server/Tarlox.db"));
    ASSERT_TRUE(UpdateServerSetup(s, e, QStringLiteral("Ann B"), false));
    EXPECT_FALSE(prompter.wasAsked(QStringLiteral("Create Database")));
    EXPECT_EQ(s.databaseType, QStringLiteral("Access"));
    EXPECT_EQ(s.db().kind(), DatabaseKind::Access);
    ASSERT_TRUE(ReadUser(s, QString()));
    EXPECT_EQ(s.machine.userName, QStringLiteral("Ann B"));

    // A new file database is made on request, and refused without.
    e.database = site.path(QStringLiteral("other/New.db"));
    prompter.answer(Answer::No);
    EXPECT_FALSE(UpdateServerSetup(s, e, QStringLiteral("Ann B"), false));
    EXPECT_FALSE(QFileInfo::exists(e.database));
    prompter.answer(Answer::Yes);
    ASSERT_TRUE(UpdateServerSetup(s, e, QStringLiteral("Ann B"), false));
    EXPECT_TRUE(QFileInfo::exists(e.database));
    EXPECT_EQ(s.dataBase, e.database);
    EXPECT_TRUE(ReadUser(s, QString()));
}

TEST_F(ServerSetup, RetryAfterTheServerComesBack)
{
    Session& s = site.session();
    prompter.answer(Answer::Yes);  // builds the tables if an earlier test has not
    ASSERT_TRUE(CheckServerEntries(s, ownServerEntries()));
    prompter.clear();

    ownServer->stop();
    // Cancel: the test fails, and the program goes on.
    prompter.answer(Answer::Ok);      // the report of the failed connection
    prompter.answer(Answer::Cancel);  // the Retry/Cancel box
    EXPECT_FALSE(CheckServerEntries(s, ownServerEntries()));
    ASSERT_TRUE(prompter.wasAsked(QStringLiteral("Invalid Server Information")));
    const QString text = prompter.textOf(QStringLiteral("Invalid Server Information"));
    EXPECT_TRUE(text.startsWith(QStringLiteral("The assigned database - Connection String = '"))) << text.toStdString();
    EXPECT_TRUE(text.contains(QStringLiteral(" - is not responding!\rThis may be the result of the Tarlox server machine being offline.\r\r")));
    EXPECT_TRUE(text.endsWith(QStringLiteral("  To retry, make sure the server is running  then hit 'Retry'.")));
    EXPECT_FALSE(text.contains(QStringLiteral("trusted"))) << "the password is shown";
    EXPECT_TRUE(prompter.wasAsked(ProgramTitle())) << "the failed connection is reported";

    // Retry once the server is up again.
    prompter.clear();
    prompter.hookTitle = QStringLiteral("Invalid Server Information");
    prompter.hook = [] { ASSERT_TRUE(ownServer->start()); };
    prompter.answer(Answer::Ok);
    prompter.answer(Answer::Retry);
    EXPECT_TRUE(CheckServerEntries(s, ownServerEntries()));
    EXPECT_EQ(prompter.titles().count(QStringLiteral("Invalid Server Information")), 1);
    EXPECT_EQ(s.options.status, 0);
}

TEST_F(ServerSetup, RequiredEntries)
{
    Session& s = site.session();
    ServerEntries e = ownServerEntries();
    e.password.clear();
    EXPECT_FALSE(CheckServerEntries(s, e));
    EXPECT_TRUE(prompter.wasAsked(QStringLiteral("Invalid Server Information")));
    EXPECT_EQ(s.databaseType, QStringLiteral("Access")) << "a refused entry changes nothing";
    EXPECT_FALSE(UpdateServerSetup(s, e, QStringLiteral("Ann"), false));
    EXPECT_EQ(ini(site.serverIni(), QStringLiteral("Data"), QStringLiteral("DatabaseType")), QStringLiteral("Access"));

    e = StoredServerEntries(s);
    e.database.clear();
    prompter.clear();
    EXPECT_FALSE(CheckServerEntries(s, e));
    EXPECT_TRUE(prompter.wasAsked(QStringLiteral("Invalid Server Information")));

    prompter.clear();
    EXPECT_FALSE(UpdateServerSetup(s, StoredServerEntries(s), QStringLiteral("  "), false));
    EXPECT_EQ(prompter.titles(), QStringList{QStringLiteral("No Name")});
    EXPECT_EQ(prompter.textOf(QStringLiteral("No Name")), QStringLiteral("User Name must be filled in!"));
}

TEST_F(ServerSetup, ChangesAreComparedWithWhatIsStored)
{
    const ServerEntries stored = StoredServerEntries(site.session());
    ServerEntries e = stored;
    EXPECT_FALSE(ServerEntriesDiffer(e, stored));
    e.timeout = QStringLiteral("0.0");
    EXPECT_FALSE(ServerEntriesDiffer(e, stored)) << "the timeout compares by value";
    e.timeout = QStringLiteral("7");
    EXPECT_TRUE(ServerEntriesDiffer(e, stored));
    e = stored;
    e.sql = true;
    EXPECT_TRUE(ServerEntriesDiffer(e, stored));
    e = stored;
    e.password = QStringLiteral("x");
    EXPECT_TRUE(ServerEntriesDiffer(e, stored));
}

TEST_F(ServerSetup, ServerFilesAreTestedBeforeTheyAreTaken)
{
    Session& s = site.session();
    const QString before = s.serverIni;

    // Any type but "SQL" with the server keys passes the key test and runs as the file database.
    const QString odd = site.path(QStringLiteral("odd/tarlox.ini"));
    QDir().mkpath(site.path(QStringLiteral("odd")));
    WriteIniValue(odd, QStringLiteral("Data"), QStringLiteral("DatabaseType"), QStringLiteral("Oracle"));
    WriteIniValue(odd, QStringLiteral("Data"), QStringLiteral("Server"), QStringLiteral("x"));
    WriteIniValue(odd, QStringLiteral("Data"), QStringLiteral("UserID"), QStringLiteral("x"));
    WriteIniValue(odd, QStringLiteral("Data"), QStringLiteral("Password"), QStringLiteral("x"));
    WriteIniValue(odd, QStringLiteral("Data"), QStringLiteral("DataBase"), site.path(QStringLiteral("server/Tarlox.db")));
    EXPECT_TRUE(CheckServerIni(s, odd));
    EXPECT_EQ(s.databaseType, QStringLiteral("Access"));

    // A file without a type is refused and leaves the machine on its old file.
    const QString empty = site.path(QStringLiteral("odd/empty.ini"));
    WriteIniValue(empty, QStringLiteral("Data"), QStringLiteral("DataBase"), site.path(QStringLiteral("server/Tarlox.db")));
    s.serverIni = before;
    EXPECT_FALSE(ReadServerIni(s, empty));
    EXPECT_TRUE(prompter.wasAsked(QStringLiteral("Invalid File")));
    EXPECT_EQ(prompter.textOf(QStringLiteral("Invalid File")), QStringLiteral("Invalid Server Configuration File!"));
    EXPECT_EQ(ini(site.localIni(), QStringLiteral("Info"), QStringLiteral("ServerIni")), before);
    EXPECT_EQ(s.serverIni, before);

    // A good file is taken into the local file.
    EXPECT_TRUE(ReadServerIni(s, odd));
    EXPECT_EQ(ini(site.localIni(), QStringLiteral("Info"), QStringLiteral("ServerIni")), odd);

    // The override connection counts when a file is tested, never for screen entries.
    WriteIniValue(odd, QStringLiteral("Data"), QStringLiteral("DatabaseType"), QStringLiteral("SQL"));
    WriteIniValue(odd, QStringLiteral("Data"), QStringLiteral("OverrideConnection"),
                  QStringLiteral("host=127.0.0.1 port=") + ownServer->server().section(QLatin1Char(':'), 1) + QStringLiteral(" user=postgres dbname=tarlox"));
    EXPECT_TRUE(CheckServerIni(s, odd));
    EXPECT_FALSE(s.overrideConnection.isEmpty());
    ServerEntries e = ownServerEntries();
    prompter.answer(Answer::Yes);
    EXPECT_TRUE(CheckServerEntries(s, e));
    EXPECT_TRUE(s.overrideConnection.isEmpty());
    // Saving the entries never writes an override connection.
    e.serverIni = site.serverIni();
    ASSERT_TRUE(SaveServerInfo(s, e));
    EXPECT_TRUE(ini(site.serverIni(), QStringLiteral("Data"), QStringLiteral("OverrideConnection")).isEmpty());
}

TEST_F(ServerSetup, OwnMachineCannotBeRemoved)
{
    Session& s = site.session();
    const QString own = s.machine.machineName;
    ASSERT_FALSE(own.isEmpty());
    s.machine.machineName = QStringLiteral("RECEIVING-PC");
    s.machine.userName = QStringLiteral("Bo");
    ASSERT_TRUE(AddUser(s, false));
    ASSERT_TRUE(ReadUser(s, QString()));

    EXPECT_EQ(RemoveMachine(s, own.toLower()), RemoveOutcome::OwnMachine);
    EXPECT_TRUE(prompter.wasAsked(QStringLiteral("Can't delete")));
    EXPECT_FALSE(prompter.wasAsked(QStringLiteral("Remove machine")));

    prompter.answer(Answer::Cancel);
    EXPECT_EQ(RemoveMachine(s, QStringLiteral("RECEIVING-PC")), RemoveOutcome::Declined);
    EXPECT_EQ(prompter.textOf(QStringLiteral("Remove machine")), QStringLiteral("Are you sure you want to remove machine RECEIVING-PC?"));
    prompter.answer(Answer::Ok);
    EXPECT_EQ(RemoveMachine(s, QStringLiteral("RECEIVING-PC")), RemoveOutcome::Removed);

    GridData grid;
    ASSERT_TRUE(LoadUsers(s, grid));
    ASSERT_EQ(grid.rows.size(), 1);
    EXPECT_EQ(grid.rows.at(0).at(0), own);
}

TEST(ServerSetupStart, NewMachineGetsTheScreenBeforeTheProgramGoesOn)
{
    TestSite site;
    site.create();
    Session& s = site.session();
    int shown = 0;
    // Closing the screen without saving ends the program.
    EXPECT_FALSE(StartSessionWithSetup(s, [&] { ++shown; }));
    EXPECT_EQ(shown, 1);

    ServerSetupState state;
    EXPECT_TRUE(StartSessionWithSetup(s, [&] {
        ++shown;
        ASSERT_TRUE(LoadServerSetup(s, state));
        EXPECT_TRUE(state.newMachine);
        EXPECT_TRUE(UpdateServerSetup(s, StoredServerEntries(s), QStringLiteral("Clerk One"), state.newMachine));
    }));
    EXPECT_EQ(shown, 2);
    EXPECT_EQ(s.machine.userName, QStringLiteral("Clerk One"));

    // A machine with its row goes straight on.
    EXPECT_TRUE(StartSessionWithSetup(s, [&] { ++shown; }));
    EXPECT_EQ(shown, 2);
}

TEST(ServerSetupStart, TimeoutEntriesAreClampedWhenSaved)
{
    TestSite site;
    ASSERT_TRUE(site.start());
    Session& s = site.session();
    for (const auto& [typed, stored] : {std::pair{"500", "120"}, std::pair{"-3", "0"}, std::pair{"x", "0"}, std::pair{"45", "45"}}) {
        ServerEntries e = StoredServerEntries(s);
        e.timeout = QString::fromUtf8(typed);
        ASSERT_TRUE(SaveServerInfo(s, e));
        EXPECT_EQ(ini(site.serverIni(), QStringLiteral("Data"), QStringLiteral("ConnectionTimeout")), QString::fromUtf8(stored)) << typed;
        EXPECT_EQ(s.connectionTimeout, QString::fromUtf8(stored).toInt());
    }
}
