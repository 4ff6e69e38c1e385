#include "store/TagText.h"

#include <gtest/gtest.h>

using namespace tarlox;

TEST(TagText, DecodesUtf8WhenValidElseWindows1252)
{
    const struct { QByteArray bytes; QString text; } rows[] = {
        {QByteArray("H12345 H67890"), QStringLiteral("H12345 H67890")}, {QByteArray(), QString()},
        {QByteArray("Acier\xC3\xA9 \xE2\x82\xAC 5\xC2\xB0"), QStringLiteral(u"Acieré € 5°")},  // UTF-8
        {QByteArray("Acier\xE9"), QStringLiteral(u"Acieré")},                                     // Latin letter in 1252
        {QByteArray("\x80 \x93Q&T\x94 \x96 \x99"), QStringLiteral(u"€ “Q&T” – ™")},            // the 0x80-0x9F block
        {QByteArray("\x81\x8D\x8F\x90\x9D"), QStringLiteral(u"\u0081\u008D\u008F\u0090\u009D")}, // unassigned codes kept
        {QByteArray("M\xC3"), QStringLiteral(u"MÃ")},                                             // cut-off UTF-8
        {QByteArray("\xA0\xFF"), QStringLiteral(u"\u00A0ÿ")},
    };
    for (const auto& row : rows) EXPECT_EQ(DecodeTagText(row.bytes), row.text) << row.bytes.toHex().constData();
}

TEST(TagText, EncodesUtf8AndEveryCodeOf1252DecodesToOneCharacter)
{
    const QString text = QStringLiteral(u"Ærø Stål – “Nr. 5”");
    EXPECT_EQ(DecodeTagText(EncodeTagText(text)), text);
    QByteArray all;
    for (int byte = 1; byte < 256; ++byte) all.append(char(byte));
    const QString decoded = DecodeWindows1252(all);
    ASSERT_EQ(decoded.size(), 255);
    EXPECT_EQ(QString(decoded.at(0x80 - 1)) + decoded.at(0x9F - 1) + decoded.at(0x41 - 1), QStringLiteral(u"\u20AC\u0178A"));
}
