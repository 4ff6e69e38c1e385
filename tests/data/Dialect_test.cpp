#include "data/Database.h"
#include "data/Dialect.h"

#include <gtest/gtest.h>

using namespace tarlox;

TEST(Dialect, FixFieldCutsFirstThenDoublesQuotes)
{
    QString value = QStringLiteral("ABCDEFGHI'KLMNOPQRSTUVWXYZ1234");  // 30 characters, quote at 10
    const QString fixed = FixField(value, 24);
    EXPECT_EQ(value.size(), 24);
    EXPECT_EQ(fixed.size(), 25);
    EXPECT_EQ(fixed, QStringLiteral("ABCDEFGHI''KLMNOPQRSTUVWX"));

    QString unlimited = QStringLiteral("O'Neil");
    EXPECT_EQ(FixField(unlimited, 0), QStringLiteral("O''Neil"));
    EXPECT_EQ(unlimited, QStringLiteral("O'Neil"));
    QString shorter = QStringLiteral("abc");
    FixField(shorter, 24);
    EXPECT_EQ(shorter, QStringLiteral("abc"));
}

TEST(Dialect, BooleansAndLiterals)
{
    EXPECT_EQ(SqlBool(DatabaseKind::Access, true), QStringLiteral("-1"));
    EXPECT_EQ(SqlBool(DatabaseKind::Access, false), QStringLiteral("0"));
    EXPECT_EQ(SqlBool(DatabaseKind::Sql, true), QStringLiteral("1"));
    EXPECT_EQ(Dialect(DatabaseKind::Sql).literal(QStringLiteral("O'Neil")), QStringLiteral("'O''Neil'"));
    EXPECT_EQ(Dialect::quote(QStringLiteral("Heat #")), QStringLiteral("\"Heat #\""));
}

TEST(Dialect, ConnInfoParsing)
{
    const auto pairs = ParseConnInfo(QStringLiteral("host=db.local port=5433 dbname=tarlox user=qa password='a b\\'c;d'"));
    ASSERT_EQ(pairs.size(), 5);
    EXPECT_EQ(pairs[4].second, QStringLiteral("a b'c;d"));
    const auto access = ParseConnInfo(QStringLiteral("Driver=SQLite;Data Source=/srv/My Data/Tarlox.db; Database Password=x;y"));
    EXPECT_EQ(access[1].first, QStringLiteral("Data Source"));
    EXPECT_EQ(access[1].second, QStringLiteral("/srv/My Data/Tarlox.db"));
}
