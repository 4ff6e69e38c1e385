#include "shell/ServerSetup.h"

#include "data/OptionsData.h"
#include "data/UserData.h"
#include "base/ErrorReport.h"
#include "base/IniFile.h"
#include "support/PrivatePostgres.h"
#include "support/SystemTexts.h"
#include "support/TestSite.h"

#include <QDir>

#include <gtest/gtest.h>

using namespace tarlox;
using namespace tarlox::test;
using namespace Qt::StringLiterals;

namespace {

PrivatePostgres* ownServer = nullptr;
QString ownServerAddress() { return u"127.0.0.1:%1"_s.arg(ownServer->port()); }

QString ini(const QString& path, const QString& section, const QString& key) { return ReadIniValue(path, section, key).value; }

class ServerSetup : public ::testing::Test {
protected:
    static void SetUpTestSuite()
    {
        ownServer = new PrivatePostgres;
        ASSERT_TRUE(ownServer->start());
        ASSERT_TRUE(ownServer->createDatabase(u"tarlox"_s));
    }
    static void TearDownTestSuite() { delete std::exchange(ownServer, nullptr); }
    void SetUp() override
    {
        ASSERT_TRUE(site.start());
        site.session().setPrompter(prompter);
    }
    ServerEntries ownServerEntries()
    {
        ServerEntries e = StoredServerEntries(site.session());
        std::tie(e.sql, e.server, e.userId, e.password, e.timeout) = std::tuple(true, ownServerAddress(), u"postgres"_s, u"trusted"_s, u"5"_s);
        return e;
    }

    TestSite site{Engine::Sqlite};
    ScriptedPrompter prompter;
    Session& s = site.session();
};

}  // namespace

TEST_F(ServerSetup, SwitchesBetweenFileDatabaseAndServer)
{
    ServerEntries e = ownServerEntries();
    // The server's database is empty at first: the screen offers to build it.
    prompter.answer(Answer::Yes);
    ASSERT_TRUE(UpdateServerSetup(s, e, u"Ann"_s, false));
    ASSERT_TRUE(ReadUser(s, QString()));
    EXPECT_EQ(std::tuple(prompter.wasAsked(u"Create Database"_s), s.databaseType, ini(site.serverIni(), u"Data"_s, u"DatabaseType"_s),
                         ini(site.serverIni(), u"Data"_s, u"Server"_s), s.machine.userName, s.db().kind()),
              std::tuple(true, u"SQL"_s, u"SQL"_s, ownServerAddress(), u"Ann"_s, DatabaseKind::Sql));

    // Back to the file database the site started with; its row keeps its name until updated.
    prompter.clear();
    std::tie(e.sql, e.database) = std::tuple(false, site.path(u"server/Tarlox.db"_s));
    ASSERT_TRUE(UpdateServerSetup(s, e, u"Ann B"_s, false));
    ASSERT_TRUE(ReadUser(s, QString()));
    EXPECT_EQ(std::tuple(prompter.wasAsked(u"Create Database"_s), s.databaseType, s.db().kind(), s.machine.userName),
              std::tuple(false, u"Access"_s, DatabaseKind::Access, u"Ann B"_s));

    // A new file database is made on request, and refused without.
    e.database = site.path(u"other/New.db"_s);
    prompter.answer(Answer::No);
    EXPECT_EQ((std::tuple{UpdateServerSetup(s, e, u"Ann B"_s, false), QFileInfo::exists(e.database)}), std::tuple(false, false));
    prompter.answer(Answer::Yes);
    ASSERT_TRUE(UpdateServerSetup(s, e, u"Ann B"_s, false));
    EXPECT_EQ(std::tuple(QFileInfo::exists(e.database), s.dataBase, ReadUser(s, QString())), std::tuple(true, e.database, true));
}

TEST_F(ServerSetup, RetryAfterTheServerComesBack)
{
    prompter.answer(Answer::Yes);  // builds the tables if an earlier test has not
    ASSERT_TRUE(CheckServerEntries(s, ownServerEntries()));
    prompter.clear();

    ownServer->stop();
    // Cancel: the test fails, and the program goes on.
    prompter.answer(Answer::Ok);  // the report of the failed connection
    prompter.answer(Answer::Cancel);  // the Retry/Cancel box
    EXPECT_FALSE(CheckServerEntries(s, ownServerEntries()));
    ASSERT_TRUE(prompter.wasAsked(u"Invalid Server Information"_s));
    // The password is never shown; the failed connection is reported.
    EXPECT_EQ(std::pair(prompter.textOf(u"Invalid Server Information"_s).contains(u"trusted"_s), prompter.wasAsked(ProgramTitle())), std::pair(false, true));

    // Retry once the server is up again.
    prompter.clear();
    prompter.onAsk([](const Prompt& p) { EXPECT_TRUE(p.title != QLatin1String("Invalid Server Information") || ownServer->start()); });
    prompter.answer(Answer::Ok), prompter.answer(Answer::Retry);
    EXPECT_TRUE(CheckServerEntries(s, ownServerEntries()));
    EXPECT_EQ(std::tuple(prompter.titles().count(u"Invalid Server Information"_s), s.options.status), std::tuple(1, 0));
}

TEST_F(ServerSetup, RequiredEntriesAndChangesComparedWithWhatIsStored)
{
    ServerEntries e = ownServerEntries();
    e.password.clear();
    // A refused entry changes nothing.
    EXPECT_EQ((std::tuple{CheckServerEntries(s, e), prompter.wasAsked(u"Invalid Server Information"_s), s.databaseType, UpdateServerSetup(s, e, u"Ann"_s, false),
                          ini(site.serverIni(), u"Data"_s, u"DatabaseType"_s)}),
              std::tuple(false, true, u"Access"_s, false, u"Access"_s));

    e = StoredServerEntries(s);
    e.database.clear();
    prompter.clear();
    EXPECT_EQ((std::tuple{CheckServerEntries(s, e), prompter.wasAsked(u"Invalid Server Information"_s)}), std::tuple(false, true));

    prompter.clear();
    EXPECT_EQ((std::tuple{UpdateServerSetup(s, StoredServerEntries(s), u"  "_s, false), prompter.titles(), prompter.textOf(u"No Name"_s)}),
              std::tuple(false, QStringList{u"No Name"_s}, texts::UserNameRequired));

    const ServerEntries stored = StoredServerEntries(s);
    for (const auto& [change, differs] : std::initializer_list<std::pair<std::function<void(ServerEntries&)>, bool>>{
             {[](ServerEntries&) {}, false},
             {[](ServerEntries& e) { e.timeout = u"0.0"_s; }, false},  // compared by value
             {[](ServerEntries& e) { e.timeout = u"7"_s; }, true},
             {[](ServerEntries& e) { e.sql = true; }, true},
             {[](ServerEntries& e) { e.password = u"x"_s; }, true}}) {
        ServerEntries e = stored;
        change(e);
        EXPECT_EQ(ServerEntriesDiffer(e, stored), differs);
    }
}

TEST_F(ServerSetup, ServerFilesAreTestedBeforeTheyAreTaken)
{
    const QString before = s.serverIni;

    // Any type but "SQL" with the server keys passes the key test and runs as the file database.
    const QString odd = site.path(u"odd/tarlox.ini"_s);
    QDir().mkpath(site.path(u"odd"_s));
    for (const auto& [key, value] : {std::pair{u"DatabaseType"_s, u"Oracle"_s}, {u"Server"_s, u"x"_s}, {u"UserID"_s, u"x"_s}, {u"Password"_s, u"x"_s},
                                     {u"DataBase"_s, site.path(u"server/Tarlox.db"_s)}})
        WriteIniValue(odd, u"Data"_s, key, value);
    EXPECT_EQ((std::tuple{CheckServerIni(s, odd), s.databaseType}), std::tuple(true, u"Access"_s));

    // A file without a type is refused and leaves the machine on its old file.
    const QString empty = site.path(u"odd/empty.ini"_s);
    WriteIniValue(empty, u"Data"_s, u"DataBase"_s, site.path(u"server/Tarlox.db"_s));
    s.serverIni = before;
    EXPECT_EQ((std::tuple{ReadServerIni(s, empty), prompter.textOf(u"Invalid File"_s), ini(site.localIni(), u"Info"_s, u"ServerIni"_s), s.serverIni}),
              std::tuple(false, texts::InvalidServerFile, before, before));

    // A good file is taken into the local file.
    EXPECT_EQ((std::tuple{ReadServerIni(s, odd), ini(site.localIni(), u"Info"_s, u"ServerIni"_s)}), std::tuple(true, odd));

    // The override connection counts when a file is tested, never for screen entries.
    WriteIniValue(odd, u"Data"_s, u"DatabaseType"_s, u"SQL"_s);
    WriteIniValue(odd, u"Data"_s, u"OverrideConnection"_s, ownServer->connInfo() + u" dbname=tarlox"_s);
    EXPECT_EQ((std::tuple{CheckServerIni(s, odd), s.overrideConnection.isEmpty()}), std::tuple(true, false));
    ServerEntries e = ownServerEntries();
    prompter.answer(Answer::Yes);
    EXPECT_EQ((std::tuple{CheckServerEntries(s, e), s.overrideConnection.isEmpty()}), std::tuple(true, true));
    // Saving the entries never writes an override connection.
    e.serverIni = site.serverIni();
    ASSERT_TRUE(SaveServerInfo(s, e));
    EXPECT_TRUE(ini(site.serverIni(), u"Data"_s, u"OverrideConnection"_s).isEmpty());
}

TEST_F(ServerSetup, OwnMachineCannotBeRemoved)
{
    const QString own = s.machine.machineName;
    ASSERT_FALSE(own.isEmpty());
    std::tie(s.machine.machineName, s.machine.userName) = std::tuple(u"RECEIVING-PC"_s, u"Bo"_s);
    ASSERT_TRUE(AddUser(s, false));
    ASSERT_TRUE(ReadUser(s, QString()));

    EXPECT_EQ((std::tuple{RemoveMachine(s, own.toLower()), prompter.wasAsked(u"Can't delete"_s), prompter.wasAsked(u"Remove machine"_s)}),
              std::tuple(RemoveOutcome::OwnMachine, true, false));

    prompter.answer(Answer::Cancel);
    EXPECT_EQ((std::tuple{RemoveMachine(s, u"RECEIVING-PC"_s), prompter.textOf(u"Remove machine"_s).contains(u"RECEIVING-PC"_s)}), std::tuple(RemoveOutcome::Declined, true));
    prompter.answer(Answer::Ok);
    EXPECT_EQ(RemoveMachine(s, u"RECEIVING-PC"_s), RemoveOutcome::Removed);

    GridData grid;
    ASSERT_TRUE(LoadUsers(s, grid));
    EXPECT_EQ(std::tuple(grid.rows.size(), grid.rows.value(0).value(0)), std::tuple(1, own));
}

TEST(ServerSetupStart, NewMachineGetsTheScreenBeforeTheProgramGoesOn)
{
    TestSite site;
    site.create();
    Session& s = site.session();
    int shown = 0;
    // Closing the screen without saving ends the program.
    EXPECT_EQ((std::tuple{StartSessionWithSetup(s, [&] { ++shown; }), shown}), std::tuple(false, 1));

    ServerSetupState state;
    EXPECT_TRUE(StartSessionWithSetup(s, [&] {
        ++shown;
        ASSERT_TRUE(LoadServerSetup(s, state));
        EXPECT_TRUE(state.newMachine && UpdateServerSetup(s, StoredServerEntries(s), u"Clerk One"_s, state.newMachine));
    }));
    EXPECT_EQ(std::tuple(shown, s.machine.userName), std::tuple(2, u"Clerk One"_s));

    // A machine with its row goes straight on.
    EXPECT_EQ((std::tuple{StartSessionWithSetup(s, [&] { ++shown; }), shown}), std::tuple(true, 2));
}

// The bounds themselves are SettingsRules' table.
TEST_F(ServerSetup, TimeoutEntriesAreClampedWhenSaved)
{
    ServerEntries e = StoredServerEntries(s);
    e.timeout = u"500"_s;
    ASSERT_TRUE(SaveServerInfo(s, e));
    EXPECT_EQ(std::tuple(ini(site.serverIni(), u"Data"_s, u"ConnectionTimeout"_s), s.connectionTimeout), std::tuple(u"120"_s, 120));
}
