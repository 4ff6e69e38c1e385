#include "shell/ServerSetup.h"

#include "data/OptionsData.h"
#include "data/UserData.h"
#include "base/ErrorReport.h"
#include "base/FileTools.h"
#include "base/IniFile.h"
#include "data/Session.h"
#include "support/PrivatePostgres.h"
#include "support/SystemTexts.h"
#include "support/TestSite.h"

#include <QDir>
#include <QTemporaryDir>

#include <gtest/gtest.h>

using namespace tarlox;
using namespace tarlox::test;

namespace {

PrivatePostgres* ownServer = nullptr;
QString ownServerAddress() { return QStringLiteral("127.0.0.1:%1").arg(ownServer->port()); }

QString ini(const QString& path, const QString& section, const QString& key)
{
    return ReadIniValue(path, section, key).value;
}

class ServerSetup : public ::testing::Test {
protected:
    static void SetUpTestSuite()
    {
        ownServer = new PrivatePostgres;
        ASSERT_TRUE(ownServer->start());
        ASSERT_TRUE(ownServer->createDatabase(QStringLiteral("tarlox")));
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
        e.server = ownServerAddress();
        e.userId = QStringLiteral("postgres");
        e.password = QStringLiteral("trusted");
        e.timeout = QStringLiteral("5");
        return e;
    }

    TestSite site{Engine::Sqlite};
    ScriptedPrompter prompter;
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
    EXPECT_EQ(ini(site.serverIni(), QStringLiteral("Data"), QStringLiteral("Server")), ownServerAddress());
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
    EXPECT_FALSE(prompter.textOf(QStringLiteral("Invalid Server Information")).contains(QStringLiteral("trusted"))) << "the password is shown";
    EXPECT_TRUE(prompter.wasAsked(ProgramTitle())) << "the failed connection is reported";

    // Retry once the server is up again.
    prompter.clear();
    prompter.onAsk([](const Prompt& p) {
        if (p.title == QLatin1String("Invalid Server Information")) {
            ASSERT_TRUE(ownServer->start());
        }
    });
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
    EXPECT_EQ(prompter.textOf(QStringLiteral("No Name")), texts::UserNameRequired);
}

TEST_F(ServerSetup, ChangesAreComparedWithWhatIsStored)
{
    const ServerEntries stored = StoredServerEntries(site.session());
    for (const auto& [change, differs] : std::initializer_list<std::pair<std::function<void(ServerEntries&)>, bool>>{
             {[](ServerEntries&) {}, false},
             {[](ServerEntries& e) { e.timeout = QStringLiteral("0.0"); }, false},  // compared by value
             {[](ServerEntries& e) { e.timeout = QStringLiteral("7"); }, true},
             {[](ServerEntries& e) { e.sql = true; }, true},
             {[](ServerEntries& e) { e.password = QStringLiteral("x"); }, true}}) {
        ServerEntries e = stored;
        change(e);
        EXPECT_EQ(ServerEntriesDiffer(e, stored), differs);
    }
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
    EXPECT_EQ(prompter.textOf(QStringLiteral("Invalid File")), texts::InvalidServerFile);
    EXPECT_EQ(ini(site.localIni(), QStringLiteral("Info"), QStringLiteral("ServerIni")), before);
    EXPECT_EQ(s.serverIni, before);

    // A good file is taken into the local file.
    EXPECT_TRUE(ReadServerIni(s, odd));
    EXPECT_EQ(ini(site.localIni(), QStringLiteral("Info"), QStringLiteral("ServerIni")), odd);

    // The override connection counts when a file is tested, never for screen entries.
    WriteIniValue(odd, QStringLiteral("Data"), QStringLiteral("DatabaseType"), QStringLiteral("SQL"));
    WriteIniValue(odd, QStringLiteral("Data"), QStringLiteral("OverrideConnection"),
                  ownServer->connInfo() + QStringLiteral(" dbname=tarlox"));
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
    EXPECT_TRUE(prompter.textOf(QStringLiteral("Remove machine")).contains(QStringLiteral("RECEIVING-PC")));
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
