#include "base/TextTools.h"

#include <gtest/gtest.h>

using namespace tarlox;

TEST(TextTools, PutArgRewritesQuotesAndSemicolonsAndGetArgReadsBack)
{
    QString args;
    QString value = QStringLiteral("Say \"hi\"; bye");
    PutArg(args, QStringLiteral("C"), value);
    QString blank = QStringLiteral("   ");
    PutArg(args, QStringLiteral("D"), blank);
    EXPECT_EQ((QStringList{value, args, GetArg(args, QStringLiteral("D"))}), (QStringList{QStringLiteral("Say ''hi'', bye"), QStringLiteral("\"CSay ''hi'', bye"), QString()}));
    QString n = QStringLiteral("42");
    PutArg(args, QStringLiteral("N"), n);
    EXPECT_EQ((QStringList{GetArg(args, QStringLiteral("c")), GetArg(args, QStringLiteral("N"))}), (QStringList{QStringLiteral("Say ''hi'', bye"), QStringLiteral("42")}));
}

TEST(TextTools, GetNextAndCountItems)
{
    const auto next = [](const char* text) {
        QString rest = QLatin1String(text);
        const std::optional<QString> item = GetNext(rest);
        return QStringList{item.value_or(QStringLiteral("(none)")), rest};
    };
    EXPECT_EQ(next("H1"), (QStringList{QStringLiteral("H1"), QString()}));
    EXPECT_EQ(next("H1     H2\r\n"), (QStringList{QStringLiteral("H1"), QStringLiteral("H2")}));
    EXPECT_EQ(next("").first(), QStringLiteral("(none)"));
    EXPECT_EQ(std::tuple(CountItems(QStringLiteral("  A  B C ")), CountItems(QString())), std::tuple(3, 0));
}

TEST(TextTools, CipherRoundTripsPrintableAsciiWithAnyKey)
{
    QString all;
    for (int c = 32; c <= 126; ++c) all += QChar(c);
    for (const QString& key : {QString(), QStringLiteral("k"), QStringLiteral("a much longer key than usual, 1234567890")}) {
        for (const QString& text : {all, QStringLiteral("p@ss;word"), QStringLiteral("x"), QString(all + all + all)}) {
            const QString enciphered = Encrypt(text, key);
            EXPECT_EQ(std::tuple(enciphered.size(), Decrypt(enciphered, key)), std::tuple(text.size(), text));
            for (QChar c : enciphered) EXPECT_TRUE(c.unicode() >= 32 && c.unicode() <= 127) << int(c.unicode());
        }
    }
    EXPECT_TRUE(Encrypt(QString()).isEmpty() && Encrypt(QStringLiteral("secret")) != QLatin1String("secret"));
}

TEST(TextTools, SmallConversions)
{
    EXPECT_EQ(std::tuple(BoolFromIni(QStringLiteral("True")), BoolFromIni(QStringLiteral("true")), BoolFromIni(QStringLiteral("1"))), std::tuple(true, false, false));
    EXPECT_EQ((QStringList{SpaceIfEmpty(QStringLiteral("  ")), SpaceIfEmpty(QStringLiteral(" ab ")), FixString(QStringLiteral("C:\\MTR\\x")), SixDigits(1234), SixDigits(1000000)}),
              (QStringList{QStringLiteral(" "), QStringLiteral("ab"), QStringLiteral("C:\\\\MTR\\\\x"), QStringLiteral("001234"), QStringLiteral("000000")}));
    EXPECT_EQ(VersionNumber(QStringLiteral("7.00.0006")), 7000006);
    EXPECT_LT(VersionNumber(QStringLiteral("6.50.0001")), VersionNumber(QStringLiteral("7.00.0006")));
    EXPECT_EQ((QList<int>{IntVal(QStringLiteral(" 12abc")), IntVal(QStringLiteral("abc")), IntVal(QString())}), (QList<int>{12, 0, 0}));
}

TEST(TextTools, VerifyDateRewritesReadableDatesOnly)
{
    for (const auto& [in, out] : {std::pair{"01/02/2003", "1/2/2003"}, {"2003-02-01", "2/1/2003"}, {"12/31/99", "12/31/1999"},
                                  {"", ""}, {"13/45/2003", "13/45/2003"}, {"next week", "next week"}}) {
        QString text = QString::fromLatin1(in);
        VerifyDate(text);
        EXPECT_EQ(text, QString::fromLatin1(out)) << in;
    }
}
