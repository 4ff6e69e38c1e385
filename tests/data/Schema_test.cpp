#include "data/Connection.h"
#include "data/DataOp.h"
#include "data/Schema.h"
#include "data/SchemaInspector.h"
#include "support/TestSite.h"

using namespace tarlox;
using namespace tarlox::test;

namespace {

class SchemaTest : public SiteTest {
protected:
    void SetUp() override {}  // each test builds its database itself
    QString type(int limit) const { return site.engine() == Engine::Sqlite ? QStringLiteral("VARCHAR(%1)").arg(limit) : QStringLiteral("varchar(%1)").arg(limit); }
    QString date() const { return site.engine() == Engine::Sqlite ? QStringLiteral("TEXT") : QStringLiteral("timestamp"); }

    // As an older release left it: the fax table under its old name without Email, "Volumn ID",
    // no Options or user tables, a three-column key on Info.
    void buildOldShape()
    {
        site.writeSettings();
        const QStringList ddl{
            QStringLiteral("CREATE TABLE \"Info\" (\"Heat #\" %1, \"Part #\" %1, \"P/O #\" %1, \"Vend Name\" %2, \"Mfg Name\" %2, \"Entry Date\" %3 NOT NULL, \"Image #\" INTEGER NOT NULL)")
                .arg(type(24), type(32), date()),
            QStringLiteral("CREATE UNIQUE INDEX \"Info:Part #/Heat #\" ON \"Info\" (\"Part #\", \"Heat #\", \"Image #\")"),
            QStringLiteral("CREATE TABLE \"Images\" (\"Image #\" INTEGER NOT NULL, \"Path\" %1, \"Volumn ID\" %2, \"Entry Date\" %3 NOT NULL, \"Size\" %4, \"Type\" %4)")
                .arg(type(64), type(32), date(), type(1)),
            QStringLiteral("CREATE TABLE \"Faxnames\" (\"Last Name\" %1, \"First Name\" %2, \"Company Name\" %3, \"Fax #\" %2)").arg(type(30), type(20), type(40)),
        };
        for (const QString& statement : ddl) ASSERT_TRUE(site.execRaw(statement)) << statement.toStdString();
        GetServerInfo(s());
    }
};

}  // namespace

TEST_P(SchemaTest, LadderUpgradesOldShapeInOrder)
{
    buildOldShape();
    ASSERT_TRUE(site.execRaw(QStringLiteral("INSERT INTO \"Info\" VALUES ('H1', 'P1', NULL, 'V', NULL, '2003-01-02 00:00:00', 1)")));
    ASSERT_TRUE(RevUp(s())) << site.prompter().textOf(QStringLiteral("Error")).toStdString();
    DataOp op(s(), QStringLiteral("test"));
    SchemaInspector schema(op);
    EXPECT_EQ(std::tuple(schema.hasTable(QStringLiteral("Faxnames")), schema.hasColumn(QStringLiteral("Images"), QStringLiteral("Volume ID")),
                         schema.hasColumn(QStringLiteral("Images"), QStringLiteral("Volumn ID")),
                         schema.hasColumn(QStringLiteral("Options"), QStringLiteral("ClientOptions")), schema.hasTable(QStringLiteral("TarloxUsers"))),
              std::tuple(false, true, false, true, true));
    // FixInfo gave the null key columns a blank.
    EXPECT_EQ(std::tuple(schema.columnLimit(QStringLiteral("Contacts"), QStringLiteral("Email")), schema.indexColumnCount(IndexName::InfoKey),
                         rows(QStringLiteral("Info"), QStringLiteral("\"P/O #\" = ' ' AND \"Mfg Name\" = ' '"))),
              std::tuple(64, 5, 1));
}

TEST_P(SchemaTest, DuplicateKeyRowsStopTheWideningAndKeepTheOldKey)
{
    buildOldShape();
    // The old key allows two equal rows only when absent: drop it, make the duplicates, put it back narrower.
    ASSERT_TRUE(site.execRaw(QStringLiteral("DROP INDEX \"Info:Part #/Heat #\"")));
    for (int i = 0; i < 2; ++i) ASSERT_TRUE(site.execRaw(QStringLiteral("INSERT INTO \"Info\" VALUES ('H1', 'P1', ' ', 'V', ' ', '2003-01-02 00:00:00', 7)")));
    ASSERT_TRUE(site.execRaw(QStringLiteral("CREATE INDEX \"Info:Part #/Heat #\" ON \"Info\" (\"Part #\", \"Heat #\")")));
    EXPECT_TRUE(!RevUp(s()) && site.prompter().textOf(QStringLiteral("Error")).startsWith(QStringLiteral("Can't add/modify Part #/Heat # Index:")));
    DataOp op(s(), QStringLiteral("test"));
    SchemaInspector schema(op);
    // Earlier steps stay done.
    EXPECT_EQ(std::tuple(schema.indexColumnCount(IndexName::InfoKey), schema.indexColumnCount(IndexName::InfoTest), schema.hasTable(QStringLiteral("Contacts")),
                         rows(QStringLiteral("Info"))),
              std::tuple(2, 0, true, 2));
}

TEST_P(SchemaTest, KeysAreCaseInsensitive)
{
    site.create();
    ASSERT_TRUE(site.execRaw(QStringLiteral("INSERT INTO \"Info\" VALUES ('abc', 'p1', ' ', 'V', ' ', '2003-01-02 00:00:00', 1)")));
    EXPECT_FALSE(site.execRaw(QStringLiteral("INSERT INTO \"Info\" VALUES ('ABC', 'P1', ' ', 'v', ' ', '2003-01-02 00:00:00', 1)"))
                 || rows(QStringLiteral("Info"), QStringLiteral("\"Heat #\" = ? AND \"Part #\" LIKE ?"), {QStringLiteral("ABC"), QStringLiteral("P%")}) != 1);
}

TARLOX_ON_BOTH_ENGINES(SchemaTest);
