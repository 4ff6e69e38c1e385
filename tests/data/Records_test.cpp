#include "data/ContactData.h"
#include "data/DataOp.h"
#include "data/OptionsData.h"
#include "data/UserData.h"
#include "base/FileTools.h"
#include "base/IniFile.h"
#include "support/TestSite.h"

using namespace tarlox;
using namespace tarlox::test;

namespace {

class RecordsTest : public SiteTest {};

}  // namespace

TEST_P(RecordsTest, OptionsRoundTripAndReadStatuses)
{
    ASSERT_TRUE(ReadOptions(s()));
    EXPECT_EQ(std::tuple(s().options.status, s().options.version), std::tuple(0, s().programVersion));
    // A blank company name is stored as one space.
    std::tie(s().options.companyName, s().options.nextName, s().options.clientOptions) = std::tuple(QString(), 1234, 5);
    ASSERT_TRUE(UpdateOptions(s()));
    s().options = {};
    ASSERT_TRUE(ReadOptions(s()));
    EXPECT_EQ(std::tuple(s().options.companyName, s().options.nextName, s().options.clientOptions), std::tuple(QStringLiteral(" "), 1234, 5));

    // An empty table: false, status 1, the defaults, NextName from the server file.
    ASSERT_TRUE(site.execRaw(QStringLiteral("DELETE FROM \"Options\"")));
    WriteIniValue(site.serverIni(), QStringLiteral("Info"), QStringLiteral("NextName"), QStringLiteral("500"));
    const bool read = ReadOptions(s());
    EXPECT_EQ(std::tuple(read, s().options.status, s().options.nextName), std::tuple(false, 1, 500));

    // A table without ClientOptions reads with ClientOptions 0.
    for (const char* sql : {"DROP TABLE \"Options\"", "CREATE TABLE \"Options\" (\"OptionsID\" INTEGER, \"CompanyName\" VARCHAR(64), \"NextName\" INTEGER, \"Version\" VARCHAR(10))",
                            "INSERT INTO \"Options\" VALUES (1, 'Acme', 77, '7.00.0006')"})
        ASSERT_TRUE(site.execRaw(QLatin1String(sql))) << sql;
    EXPECT_TRUE(ReadOptions(s()) && s().options.clientOptions == 0 && s().options.nextName == 77);

    // No table at all: the error's number is the status, and its text is kept.
    ASSERT_TRUE(site.execRaw(QStringLiteral("DROP TABLE \"Options\"")));
    EXPECT_FALSE(ReadOptions(s()));
    EXPECT_TRUE(s().options.status != 0 && s().options.status != 1 && s().options.status != 999 && !s().options.statusText.isEmpty());
}

TEST_P(RecordsTest, MachineRowsAddReadUpdateListAndDelete)
{
    // StartSession added this machine's row.
    ASSERT_TRUE(ReadUser(s(), QString()));
    EXPECT_EQ(std::tuple(s().machine.errorNumber, s().machine.lastInterface.date()), std::tuple(0, QDate(1900, 1, 1)));

    std::tie(s().machine.machineName, s().machine.userName, s().machine.scanner) = std::tuple(QStringLiteral("O'NEIL-PC"), QStringLiteral("Pat O'Neil"), true);
    ASSERT_TRUE(AddUser(s(), false));
    // The same machine again clashes with the key; with retry the caller reads the status.
    EXPECT_FALSE(AddUser(s(), true) || s().machine.errorNumber == 0);

    GridData grid;
    ASSERT_TRUE(LoadUsers(s(), grid));
    const auto other = std::find_if(grid.rows.cbegin(), grid.rows.cend(), [](const QStringList& r) { return r[0] == QLatin1String("O'NEIL-PC"); });
    ASSERT_TRUE(grid.rows.size() == 2 && other != grid.rows.cend());
    EXPECT_EQ(other->mid(1, 2), (QStringList{QStringLiteral("Pat O'Neil"), QStringLiteral("True")}));

    std::tie(s().machine.userName, s().machine.scanner) = std::tuple(QString(), false);
    ASSERT_TRUE(UpdateUser(s()) && DeleteUser(s(), QStringLiteral("o'neil-pc")) && LoadUsers(s(), grid));
    EXPECT_EQ(grid.rows.size(), 1);

    // A machine without a row keeps error number 1.
    ASSERT_TRUE(DeleteUser(s(), RetrieveComputerName()));
    EXPECT_FALSE(ReadUser(s(), QString()) || s().machine.errorNumber != 1);
}

TEST_P(RecordsTest, ContactsKeepBlanksAndApostrophes)
{
    s().contact = ContactRecord{QStringLiteral("O'Neil"), QStringLiteral("Pat"), QStringLiteral("Steel & Co; Ltd"), QString(), QStringLiteral("pat@example.com")};
    ASSERT_TRUE(AddContact(s(), false));
    s().contact = ContactRecord{QStringLiteral("Adams"), QStringLiteral("Ann"), QStringLiteral("Zinc Works"), QStringLiteral("555-1212"), QString()};
    ASSERT_TRUE(AddContact(s(), false));

    s().contact = ContactRecord{QStringLiteral("O'Neil"), QStringLiteral("Pat"), QStringLiteral("Steel & Co; Ltd")};
    ASSERT_TRUE(ReadContact(s()));
    EXPECT_EQ((QStringList{s().contact.faxNumber, s().contact.email}), (QStringList{QStringLiteral(" "), QStringLiteral("pat@example.com")}));

    QStringList lines, reversed;
    ASSERT_TRUE(LoadContacts(s(), lines, false) && LoadContacts(s(), reversed, true));
    EXPECT_EQ(lines, (QStringList{QStringLiteral("Ann\tAdams\tZinc Works"), QStringLiteral("Pat\tO'Neil\tSteel & Co; Ltd")}));
    EXPECT_EQ(reversed.value(0), lines.value(1));

    ASSERT_TRUE(DeleteContact(s()));
    EXPECT_TRUE(!ReadContact(s()) && LoadContacts(s(), lines, false) && lines.size() == 1);
}

TEST_P(RecordsTest, EachOperationOpensAndClosesUnlessAScopeKeepsItOpen)
{
    const int before = s().db().opensSoFar();
    ASSERT_TRUE(ReadOptions(s()));
    EXPECT_FALSE(s().db().isOpen());
    ASSERT_TRUE(ReadOptions(s()));
    EXPECT_EQ(s().db().opensSoFar(), before + 2);
    {
        ConnectionScope outer(s().db()), inner(s().db());
        EXPECT_TRUE(ReadOptions(s()) && ReadUser(s(), QString()) && s().db().isOpen());
    }
    EXPECT_EQ(std::tuple(s().db().isOpen(), s().db().opensSoFar()), std::tuple(false, before + 3));
}

TARLOX_ON_BOTH_ENGINES(RecordsTest);
