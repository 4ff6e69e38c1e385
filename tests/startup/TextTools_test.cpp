#include "base/TextTools.h"

#include <gtest/gtest.h>

using namespace tarlox;

TEST(TextTools, PutArgRewritesQuotesAndSemicolonsAndGetArgReadsBack)
{
    QString args;
    QString value = QStringLiteral("Say \"hi\"; bye");
    PutArg(args, QStringLiteral("C"), value);
    EXPECT_EQ(value, QStringLiteral("Say ''hi'', bye"));
    EXPECT_EQ(args, QStringLiteral("\"CSay ''hi'', bye"));
    QString blank = QStringLiteral("   ");
    PutArg(args, QStringLiteral("D"), blank);
    EXPECT_EQ(args, QStringLiteral("\"CSay ''hi'', bye"));
    EXPECT_EQ(GetArg(args, QStringLiteral("D")), QString());
    QString n = QStringLiteral("42");
    PutArg(args, QStringLiteral("N"), n);
    EXPECT_EQ(GetArg(args, QStringLiteral("c")), QStringLiteral("Say ''hi'', bye"));
    EXPECT_EQ(GetArg(args, QStringLiteral("N")), QStringLiteral("42"));
}

TEST(TextTools, GetNextAndCountItems)
{
    QString one = QStringLiteral("H1");
    EXPECT_EQ(GetNext(one), QStringLiteral("H1"));
    EXPECT_TRUE(one.isEmpty());
    QString two = QStringLiteral("H1     H2\r\n");
    EXPECT_EQ(GetNext(two), QStringLiteral("H1"));
    EXPECT_EQ(two, QStringLiteral("H2"));
    QString empty;
    EXPECT_FALSE(GetNext(empty).has_value());
    EXPECT_EQ(CountItems(QStringLiteral("  A  B C ")), 3);
    EXPECT_EQ(CountItems(QString()), 0);
}

TEST(TextTools, CipherRoundTripsPrintableAsciiWithAnyKey)
{
    QString all;
    for (int c = 32; c <= 126; ++c)
        all += QChar(c);
    for (const QString& key : {QString(), QStringLiteral("k"), QStringLiteral("a much longer key than usual, 1234567890")}) {
        for (const QString& text : {all, QStringLiteral("p@ss;word"), QStringLiteral("x"), QString(all + all + all)}) {
            const QString enciphered = Encrypt(text, key);
            EXPECT_EQ(enciphered.size(), text.size());
            for (QChar c : enciphered)
                EXPECT_TRUE(c.unicode() >= 32 && c.unicode() <= 127) << int(c.unicode());
            EXPECT_EQ(Decrypt(enciphered, key), text);
        }
    }
    EXPECT_EQ(Encrypt(QString()), QString());
    EXPECT_NE(Encrypt(QStringLiteral("secret")), QStringLiteral("secret"));
}

TEST(TextTools, SmallConversions)
{
    EXPECT_TRUE(BoolFromIni(QStringLiteral("True")));
    EXPECT_FALSE(BoolFromIni(QStringLiteral("true")));
    EXPECT_FALSE(BoolFromIni(QStringLiteral("1")));
    EXPECT_EQ(SpaceIfEmpty(QStringLiteral("  ")), QStringLiteral(" "));
    EXPECT_EQ(SpaceIfEmpty(QStringLiteral(" ab ")), QStringLiteral("ab"));
    EXPECT_EQ(VersionNumber(QStringLiteral("7.00.0006")), 7000006);
    EXPECT_LT(VersionNumber(QStringLiteral("6.50.0001")), VersionNumber(QStringLiteral("7.00.0006")));
    EXPECT_EQ(FixString(QStringLiteral("C:\\MTR\\x")), QStringLiteral("C:\\\\MTR\\\\x"));
    EXPECT_EQ(IntVal(QStringLiteral(" 12abc")), 12);
    EXPECT_EQ(IntVal(QStringLiteral("abc")), 0);
    EXPECT_EQ(IntVal(QString()), 0);
    EXPECT_EQ(SixDigits(1234), QStringLiteral("001234"));
    EXPECT_EQ(SixDigits(1000000), QStringLiteral("000000"));
}

TEST(TextTools, VerifyDateRewritesReadableDatesOnly)
{
    struct Row { const char* in; const char* out; };
    for (const Row& r : {Row{"01/02/2003", "1/2/2003"}, Row{"2003-02-01", "2/1/2003"}, Row{"12/31/99", "12/31/1999"},
                         Row{"", ""}, Row{"13/45/2003", "13/45/2003"}, Row{"next week", "next week"}}) {
        QString text = QString::fromLatin1(r.in);
        VerifyDate(text);
        EXPECT_EQ(text, QString::fromLatin1(r.out)) << r.in;
    }
}
