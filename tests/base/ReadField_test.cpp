#include "base/ReadField.h"

#include <gtest/gtest.h>

using namespace tarlox;
using namespace Qt::StringLiterals;

TEST(ReadField, ReadsFieldsOfATextUpToItsEnd)
{
    const struct { QString text; QStringList fields; bool errorAtEnd = false; } rows[] = {
        {QStringLiteral("\"IMG\",123,#2004-03-09#,\"G\",\"4\"\r\n"), {u"IMG"_s, u"123"_s, u"2004-03-09"_s, u"G"_s, u"4"_s}},
        {QStringLiteral("a,,\"\",b\r\n"), {u"a"_s, {}, {}, u"b"_s}},
        {QStringLiteral("\"A,B\",#2004-03-09 14:05:00#\r\n"), {u"A,B"_s, u"2004-03-09 14:05:00"_s}},
        {QStringLiteral("O'Neil,\"D'Arcy\",\"#5 #6\"\r\n"), {u"O'Neil"_s, u"D'Arcy"_s, u"#5 #6"_s}},
        {QStringLiteral(u"\"Stål\",Ærø\r\n"), {u"Stål"_s, u"Ærø"_s}},
        // A closing quote not followed by a comma or line end is dropped.
        {QStringLiteral("\"He said \"hi\" ok\",x\r\n"), {u"He said hi ok"_s, u"x"_s}}, {QStringLiteral("\"2\"\" PIPE\",\"\"\"\"\r\n"), {u"2\" PIPE"_s, u"\""_s}},
        {QStringLiteral("\"A\",B\"\r\n"), {u"A"_s, u"B\""_s}},
        // A carriage return ends a field, inside quotes too.
        {QStringLiteral("\"ab\r\ncd\",e\r\n"), {u"ab"_s, u"cd\""_s, u"e"_s}},
        // Lines run on: the empty last field takes the next line's first one.
        {QStringLiteral("a,b\r\nc,\r\nd,e\r\n"), {u"a"_s, u"b"_s, u"c"_s, u"\r\nd"_s, u"e"_s}},
        // No line end after the last line.
        {QStringLiteral("a,\"b\""), {u"a"_s, u"b"_s}}, {QStringLiteral("1,#2004-03-09#"), {u"1"_s, u"2004-03-09"_s}}, {QStringLiteral("a,b"), {u"a"_s}, true},
    };
    for (const auto& row : rows) {
        QStringList fields;
        bool error = false;
        for (qsizetype position = 0; position < row.text.size() && !error;) {
            IoResult<QString> field = ReadField(row.text, position);
            error = !field;
            if (field) fields << *field;
        }
        EXPECT_EQ(std::tuple(fields, error), std::tuple(row.fields, row.errorAtEnd)) << row.text.toStdString();
    }
}

TEST(ReadField, ReadsOneLine)
{
    EXPECT_EQ(*ReadFields(u"\"INF\",5,\"H\",##"), (QStringList{u"INF"_s, u"5"_s, u"H"_s, QString()}));
    EXPECT_FALSE(ReadFields(u"\"INF\",5,"));
}
