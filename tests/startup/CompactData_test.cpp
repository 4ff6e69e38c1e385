#include "base/FileHolders.h"
#include "data/OptionsData.h"
#include "startup/CompactData.h"
#include "support/TestSite.h"

#include <QDeadlineTimer>
#include <QFileInfo>
#include <QProcess>
#include <QSqlQuery>
#include <QThread>
#include <QUuid>

using namespace tarlox;
using namespace tarlox::test;

namespace {

// Rows of Contacts in a database file, read on a connection of its own; -1 when unreadable.
int contactsIn(const QString& file)
{
    const QString name = QStringLiteral("count-") + QUuid::createUuid().toString(QUuid::WithoutBraces);
    int count = -1;
    {
        QSqlDatabase db = QSqlDatabase::addDatabase(QStringLiteral("QSQLITE"), name);
        db.setDatabaseName(file), db.setConnectOptions(QStringLiteral("QSQLITE_OPEN_READONLY"));
        if (db.open()) {
            QSqlQuery query(db);
            if (query.exec(QStringLiteral("SELECT COUNT(*) FROM \"Contacts\"")) && query.next()) count = query.value(0).toInt();
        }
        db.close();
    }
    QSqlDatabase::removeDatabase(name);
    return count;
}

class CompactDataTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        ASSERT_TRUE(site.start());
        // Many rows, most of them deleted again: free pages for the rebuild to drop.
        ASSERT_TRUE(site.execRaw(QStringLiteral("WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n WHERE i < 2000) "
            "INSERT INTO \"Contacts\" (\"Last Name\", \"First Name\", \"Company Name\", \"Fax #\") "
            "SELECT 'Name ' || i, 'First', 'Steel Company ' || i, '555-' || i FROM n")));
        ASSERT_TRUE(site.execRaw(QStringLiteral("DELETE FROM \"Contacts\" WHERE \"Fax #\" NOT LIKE '555-1_'")));
        ASSERT_EQ(contactsIn(database()), 10);
    }

    QString database() const { return site.path(QStringLiteral("server/Tarlox.db")); }
    QString oldFile() const { return site.path(QStringLiteral("server/Tarlox.ODB")); }
    QString newFile() const { return site.path(QStringLiteral("server/Tarlox.NDB")); }
    bool compact() { site.prompter().answer(Answer::Ok); return CompactData(site.session()); }

    TestSite site;
};

}  // namespace

// Cancel leaves everything as it was; Ok rebuilds and keeps the previous file.
TEST_F(CompactDataTest, KeepsThePreviousFileAsOdbBesideTheRebuiltDatabase)
{
    const QByteArray bytes = FileBytes(database());
    site.prompter().answer(Answer::Cancel);
    EXPECT_FALSE(CompactData(site.session()) || QFileInfo::exists(oldFile()) || QFileInfo::exists(newFile()) || FileBytes(database()) != bytes);

    site.prompter().clear();
    ASSERT_TRUE(compact());
    const Prompt& asked = site.prompter().asked().first();
    EXPECT_EQ(std::tuple(asked.title, asked.text.contains(QStringLiteral("integrity is checked")), asked.buttons, site.prompter().asked().size()),
              std::tuple(QStringLiteral("Compact OK?"), true, Buttons::OkCancel, 1));
    EXPECT_EQ(std::tuple(contactsIn(database()), contactsIn(oldFile()), QFileInfo::exists(newFile()), QFileInfo(database()).size() < bytes.size()),
              std::tuple(10, 10, false, true));
    // The session goes on with the rebuilt file.
    EXPECT_TRUE(ReadOptions(site.session()) && site.execRaw(QStringLiteral("INSERT INTO \"Contacts\" (\"Last Name\") VALUES ('After')")));
    EXPECT_EQ(std::tuple(contactsIn(database()), contactsIn(oldFile())), std::tuple(11, 10));
}

TEST_F(CompactDataTest, SecondRebuildWithTheOdbStillThereFailsAndLosesNothing)
{
    ASSERT_TRUE(compact());
    ASSERT_TRUE(site.execRaw(QStringLiteral("INSERT INTO \"Contacts\" (\"Last Name\") VALUES ('Between')")));
    const QByteArray previous = FileBytes(oldFile());
    site.prompter().clear();

    EXPECT_TRUE(!compact() && site.prompter().textOf(QStringLiteral("Error")).contains(QStringLiteral("File already exists")));
    EXPECT_EQ(std::tuple(contactsIn(database()), FileBytes(oldFile()), QFileInfo::exists(newFile()), ReadOptions(site.session())),
              std::tuple(11, previous, false, true));
}

TEST_F(CompactDataTest, RefusesWhileAnotherWorkstationHasTheDatabaseOpen)
{
    ScriptedPrompter otherPrompter;
    auto other = site.openAnother(otherPrompter);
    auto held = std::make_optional<ConnectionScope>(other->db());  // the other session keeps its connection open
    ASSERT_TRUE(ReadOptions(*other));

    EXPECT_TRUE(!compact() && site.prompter().textOf(QStringLiteral("Error")).startsWith(QStringLiteral("The database can't be rebuilt while it is in use:")));
    EXPECT_EQ(std::tuple(QFileInfo::exists(oldFile()), contactsIn(database())), std::tuple(false, 10));

    // Once the other one is gone, the rebuild goes through.
    held.reset(), site.prompter().clear();
    EXPECT_TRUE(compact() && QFileInfo::exists(oldFile()));
}

TEST_F(CompactDataTest, RefusesWhileAnotherProgramHoldsTheFileAndNamesIt)
{
    site.session().db().close();
    QProcess holder;
    holder.start(QStringLiteral("sh"), {QStringLiteral("-c"), QStringLiteral("exec 3<\"$0\"; exec sleep 60"), database()});
    ASSERT_TRUE(holder.waitForStarted());
    QDeadlineTimer deadline(5000);
    while (ProcessesHoldingFiles({database()}).isEmpty() && !deadline.hasExpired()) QThread::msleep(20);
    const QList<FileHolder> holders = ProcessesHoldingFiles({database()});
    ASSERT_TRUE(holders.size() == 1 && holders.first().pid == holder.processId());

    EXPECT_FALSE(compact());
    const QString text = site.prompter().textOf(QStringLiteral("Error"));
    EXPECT_TRUE(text.contains(QStringLiteral("sleep (process ") + QString::number(holder.processId()) + QLatin1Char(')'))) << text.toStdString();
    EXPECT_EQ(std::tuple(QFileInfo::exists(oldFile()), contactsIn(database())), std::tuple(false, 10));
    holder.kill(), holder.waitForFinished();
}

TEST_F(CompactDataTest, NamesBesideTheDatabase)
{
    EXPECT_EQ((QStringList{CompactNewName(QStringLiteral("/srv/tarlox/Tarlox.db")), CompactOldName(QStringLiteral("/srv/tarlox/Tarlox.mdb")),
                           CompactOldName(QStringLiteral("/srv/tarlox.d/Tarlox"))}),
              (QStringList{QStringLiteral("/srv/tarlox/Tarlox.NDB"), QStringLiteral("/srv/tarlox/Tarlox.ODB"), QStringLiteral("/srv/tarlox.d/Tarlox.ODB")}));
}

TEST(CompactDataServer, IsNotOfferedForTheServerDatabase)
{
    TestSite site(Engine::Postgres);
    ASSERT_TRUE(site.start());
    EXPECT_FALSE(CompactData(site.session()) || !site.prompter().asked().isEmpty());
}
