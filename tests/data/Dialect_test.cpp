#include "data/Database.h"
#include "data/Dialect.h"

#include <gtest/gtest.h>

using namespace tarlox;

TEST(Dialect, FixFieldCutsFirstThenDoublesQuotes)
{
    QString value = QStringLiteral("ABCDEFGHI'KLMNOPQRSTUVWXYZ1234");  // 30 characters, quote at 10
    const QString fixed = FixField(value, 24);
    EXPECT_EQ((QStringList{value, fixed}), (QStringList{QStringLiteral("ABCDEFGHI'KLMNOPQRSTUVWX"), QStringLiteral("ABCDEFGHI''KLMNOPQRSTUVWX")}));
    QString unlimited = QStringLiteral("O'Neil"), shorter = QStringLiteral("abc");
    const QString doubled = FixField(unlimited, 0);
    FixField(shorter, 24);
    EXPECT_EQ((QStringList{doubled, unlimited, shorter}), (QStringList{QStringLiteral("O''Neil"), QStringLiteral("O'Neil"), QStringLiteral("abc")}));
}

TEST(Dialect, BooleansAndLiterals)
{
    EXPECT_EQ((QStringList{SqlBool(DatabaseKind::Access, true), SqlBool(DatabaseKind::Access, false), SqlBool(DatabaseKind::Sql, true),
                           Dialect(DatabaseKind::Sql).literal(QStringLiteral("O'Neil")), Dialect::quote(QStringLiteral("Heat #"))}),
              (QStringList{QStringLiteral("-1"), QStringLiteral("0"), QStringLiteral("1"), QStringLiteral("'O''Neil'"), QStringLiteral("\"Heat #\"")}));
}

TEST(Dialect, ConnInfoParsing)
{
    const auto pairs = ParseConnInfo(QStringLiteral("host=db.local port=5433 dbname=tarlox user=qa password='a b\\'c;d'"));
    ASSERT_EQ(pairs.size(), 5);
    const auto access = ParseConnInfo(QStringLiteral("Driver=SQLite;Data Source=/srv/My Data/Tarlox.db; Database Password=x;y"));
    EXPECT_EQ((QStringList{pairs[4].second, access[1].first, access[1].second}),
              (QStringList{QStringLiteral("a b'c;d"), QStringLiteral("Data Source"), QStringLiteral("/srv/My Data/Tarlox.db")}));
}
