#include "base/IniFile.h"
#include "data/UserData.h"
#include "startup/Startup.h"
#include "support/TestSite.h"

#include <QSqlQuery>
#include <QUuid>

using namespace tarlox;
using namespace tarlox::test;

namespace {

// Another workstation holding a write lock on the database.
class OtherWriter {
public:
    explicit OtherWriter(TestSite& site) : name_(QUuid::createUuid().toString())
    {
        QSqlDatabase db = site.rawConnection(name_);
        EXPECT_TRUE(db.open());
        QSqlQuery q(db);
        if (site.engine() == Engine::Sqlite) EXPECT_TRUE(q.exec(QStringLiteral("BEGIN IMMEDIATE")));
        else EXPECT_TRUE(q.exec(QStringLiteral("BEGIN")) && q.exec(QStringLiteral("LOCK TABLE \"TarloxUsers\" IN EXCLUSIVE MODE")));
    }
    ~OtherWriter() { release(); QSqlDatabase::removeDatabase(name_); }
    void release()
    {
        QSqlDatabase db = QSqlDatabase::database(name_, false);
        if (db.isOpen()) QSqlQuery(db).exec(QStringLiteral("ROLLBACK")), db.close();
    }

private:
    QString name_;
};

class LockingTest : public SiteTest {
protected:
    void SetUp() override
    {
        site.create();
        // Give up waiting after a second, so the box comes quickly.
        WriteIniValue(site.serverIni(), QStringLiteral("Data"), QStringLiteral("ConnectionTimeout"), QStringLiteral("1"));
        ASSERT_TRUE(StartSession(site.session()).ok());
        site.prompter().clear(), site.session().machine.machineName = QStringLiteral("OTHER");
    }
};

}  // namespace

TEST_P(LockingTest, LockedRowsAskRetryAndRetryRunsTheStatementAgain)
{
    OtherWriter other(site);
    site.prompter().onAsk([&](const Prompt&) { other.release(); });
    site.prompter().answer(Answer::Retry);
    ASSERT_TRUE(AddUser(site.session(), true));
    ASSERT_EQ(site.prompter().asked().size(), 1);
    const Prompt& box = site.prompter().asked().first();
    EXPECT_TRUE(box.buttons == Buttons::RetryCancel && box.text.endsWith(QStringLiteral("Select 'Cancel' to abort or sign off the user and hit 'Retry'."))
                && ReadUser(site.session(), QStringLiteral("WHERE \"MachineName\" = 'OTHER'")));
}

TEST_P(LockingTest, CancelLeavesNothingAndKeepsTheError)
{
    OtherWriter other(site);
    site.prompter().answer(Answer::Cancel);
    EXPECT_FALSE(AddUser(site.session(), true) || site.session().machine.errorNumber == 0);
    other.release();
    EXPECT_FALSE(ReadUser(site.session(), QStringLiteral("WHERE \"MachineName\" = 'OTHER'")));
}

TARLOX_ON_BOTH_ENGINES(LockingTest);
