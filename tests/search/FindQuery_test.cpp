#include "base/IniFile.h"
#include "data/DataOp.h"
#include "data/ImageData.h"
#include "data/InfoData.h"
#include "data/Schema.h"
#include "search/FindQuery.h"
#include "search/SearchData.h"
#include "support/QtPrinters.h"
#include "support/TestSite.h"

using namespace tarlox;
using namespace tarlox::test;

namespace {

QDateTime at(int y, int m, int d, int h = 0, int min = 0, int sec = 0) { return QDateTime(QDate(y, m, d), QTime(h, min, sec)); }
QString S(const char* text) { return QString::fromUtf8(text); }
QStringList L(std::initializer_list<const char*> items) { QStringList list; for (const char* item : items) list << S(item); list.sort(); return list; }

class FindQueryTest : public SiteTest {
protected:
    // References whose values exercise each rule of the criteria.
    void fileExamples()
    {
        const QList<Ref> refs{
            {S("ABC"), S("P1"), S("PO-1"), S("Acme Steel"), S("Mill A"), 1, at(2003, 1, 2, 9), S("/srv/data/one")},
            {S("abc2"), S("P2"), S("PO-2"), S("ACME STEEL"), S("Mill B"), 12, at(2003, 1, 15, 12), S("/srv/data/one")},
            {S("AB12"), S("P3"), S(" "), S("O'Neil"), S("Mill A"), 120, at(2003, 2, 3, 23, 59, 59), S("/srv/data/two")},
            {S("AB99"), S("P4"), S("PO-4"), S("Steel & Co"), S(" "), 123, at(2003, 2, 4), S("/srv/Archive/2003")},
            {S("C1"), S("P5"), S("PO-5"), S("Acme Steel"), S("Mill C"), 1234, at(2003, 3, 1), S("/srv/archive/2003")},
            {S("C12"), S("P6"), S(""), S("acme steel"), S("Mill C"), 5, at(2003, 3, 2), S("/srv/data/one")},
            {S("XA-1234-B"), S("P7"), S("PO-7"), S("Plate Works"), S("Mill D"), 312, at(2004, 5, 1), S("/srv/data/one")},
            {S("50%"), S("P8"), S("PO-8"), S("Plate Works"), S("Mill D"), 7, at(2004, 5, 2), S("/srv/data/one")},
            {S("5X0"), S("P9"), S("PO-9"), S("Plate Works"), S("Mill D"), 8, at(2004, 5, 3), S("/srv/data/one")},
            {S("A\\B"), S("P10"), S("PO-10"), S("Plate Works"), S("Mill D"), 9, at(2004, 5, 4), S("/srv/data/one")},
            {S("A_B"), S("P11"), S("PO-11"), S("Plate Works"), S("Mill D"), 10, at(2004, 5, 5), S("/srv/data/one")},
            {S("AXB"), S("P12"), S("PO-12"), S("Plate Works"), S("Mill D"), 11, at(2004, 5, 6), S("/srv/data/one")},
        };
        ASSERT_TRUE(addRefs(s(), refs));
    }

    QStringList all() { return L({"ABC", "abc2", "AB12", "AB99", "C1", "C12", "XA-1234-B", "50%", "5X0", "A\\B", "A_B", "AXB"}); }
};

struct Example { const char* name; FindCriteria criteria; bool assumeWild; QStringList expected; };

TEST_P(FindQueryTest, CriteriaExamplesFindTheirReferences)
{
    fileExamples();
    const QList<Example> examples{
        {"single value, any case", {.heat = S("abc")}, false, L({"ABC"})}, {"assume wild makes a beginning", {.heat = S("ABC")}, true, L({"ABC", "abc2"})},
        {"list of patterns", {.heat = S("AB*, C?")}, false, L({"ABC", "abc2", "AB12", "AB99", "C1"})},
        {"list of values", {.heat = S("C1,C12")}, false, L({"C1", "C12"})}, {"doubled comma", {.heat = S("C1,,C12")}, false, L({"C1", "C12"})},
        {"leading comma", {.heat = S(",C1")}, false, L({"C1"})}, {"trailing comma", {.heat = S("C1,")}, false, L({"C1"})},
        {"only commas: no condition", {.heat = S(",,")}, false, all()}, {"quote in a value", {.vend = S("O'Neil")}, false, L({"AB12"})},
        {"vendor without case", {.vend = S("acme steel")}, false, L({"ABC", "abc2", "C1", "C12"})},
        {"lone blank: what was left empty", {.po = S(" ")}, false, L({"AB12", "C12"})}, {"lone blank with assume wild", {.heat = S(" ")}, true, all()},
        {"lone star", {.mfg = S("*")}, false, all()}, {"image number with assume wild", {.imageNumber = S("12")}, true, L({"abc2", "AB12", "AB99", "C1"})},
        {"image number with a wild card", {.imageNumber = S("12*")}, false, L({"abc2", "AB12", "AB99", "C1"})},
        {"image number exact", {.imageNumber = S("12")}, false, L({"abc2"})}, {"image number list", {.imageNumber = S("5, 7")}, false, L({"C12", "50%"})},
        {"image number one character", {.imageNumber = S("1?3")}, false, L({"AB99"})}, {"image number inside", {.imageNumber = S("*23*")}, false, L({"AB99", "C1"})},
        {"image number too big", {.imageNumber = S("99999999999")}, false, QStringList()}, {"piece of a heat", {.heat = S("*123*")}, false, L({"XA-1234-B"})},
        {"piece of a heat, any case", {.heat = S("*a-12*")}, false, L({"XA-1234-B"})}, {"short piece", {.heat = S("*B9*")}, false, L({"AB99"})},
        {"one character each side", {.heat = S("?B1?")}, false, L({"AB12"})}, {"percent in a plain value", {.heat = S("50%")}, false, L({"50%"})},
        {"percent in a pattern is a wild card", {.heat = S("5%0*")}, false, L({"50%", "5X0"})}, {"backslash in a value", {.heat = S("A\\B")}, false, L({"A\\B"})},
        {"backslash in a pattern", {.heat = S("A\\*")}, false, L({"A\\B"})}, {"underscore in a plain value", {.heat = S("A_B")}, false, L({"A_B"})},
        {"underscore in a pattern", {.heat = S("A_B*")}, false, L({"A\\B", "A_B", "AXB"})},
        {"beginning of a path", {.path = S("/srv/arch*")}, false, L({"AB99", "C1"})}, {"piece of a path", {.path = S("*ARCHIVE*")}, false, L({"AB99", "C1"})},
        {"fields together", {.heat = S("AB*"), .vend = S("o'neil")}, false, L({"AB12"})}, {"manufacturer", {.mfg = S("mill a")}, false, L({"ABC", "AB12"})},
        {"date range takes the whole last day", {.from = S("1/2/2003"), .to = S("2/3/2003")}, false, L({"ABC", "abc2", "AB12"})},
        {"dates in ISO form", {.from = S("2003-01-03"), .to = S("2003-01-15")}, false, L({"abc2"})},
        {"from a day on", {.heat = S("AB*, C*"), .from = S("2/4/03")}, false, L({"AB99", "C1", "C12"})},
        // Criteria that can't be searched say which box: nothing goes to the database.
        {"image number not a number", {.imageNumber = S("abc")}, false, L({"!txtImgNum"})},
        {"image number blank", {.imageNumber = S(" ")}, false, L({"!txtImgNum"})}, {"from no date", {.from = S("13/45/2003")}, false, L({"!txtFrom"})},
        {"to no date", {.to = S("tomorrow")}, false, L({"!txtTo"})},
    };
    for (const Example& e : examples) EXPECT_EQ(heatsFound(s(), e.criteria, e.assumeWild), e.expected) << e.name;
    EXPECT_TRUE(prompter().asked().isEmpty()) << prompter().asked().front().text.toStdString();

    FindProblem problem{FindProblem::Kind::NotANumber, QStringLiteral("txtImgNum"), QStringLiteral("abc")};
    const bool named = FindProblemText(problem).endsWith(QStringLiteral(": abc"));
    problem.kind = FindProblem::Kind::InvalidDate;
    EXPECT_EQ(std::pair(named, FindProblemText(problem)), std::pair(true, QStringLiteral("Invalid Date")));
}

TEST_P(FindQueryTest, AssumeWildIsReadAtEachSearchAndKeptWithTheCriteria)
{
    fileExamples();
    FindCriteria criteria{.heat = S("ABC")};
    EXPECT_EQ((std::tuple{FindReferences(s(), criteria, 100).found, criteria.assumeWild}), std::tuple(1, std::optional(false)));

    WriteIniValue(site.localIni(), QStringLiteral("Info"), QStringLiteral("AssumeWild"), QStringLiteral("True"));
    // Criteria searched before keep what they were searched with.
    FindCriteria fresh{.heat = S("ABC")};
    const int found = FindReferences(s(), fresh, 100).found;
    EXPECT_EQ((std::tuple{found, fresh.assumeWild, FindReferences(s(), criteria, 100).found}), std::tuple(2, std::optional(true), 1));
}

TEST_P(FindQueryTest, NewestFirstAndTheCountLine)
{
    QList<Ref> refs;
    for (int i = 0; i < 250; ++i) refs << Ref{QStringLiteral("H%1").arg(i, 3, 10, QLatin1Char('0')), S("P"), S("PO"), S("V"), S("M"), 1000 + i / 2,
                    at(2005, 1, 1).addSecs(3600 * (i / 2))};
    refs << Ref{S("OTHER"), S("P"), S("PO"), S("V"), S("M"), 5, at(2010, 1, 1)};
    ASSERT_TRUE(addRefs(s(), refs));

    EXPECT_EQ(ReadFindRecords(s()), 100);
    FindCriteria criteria{.heat = S("H*")};
    FindResult r = FindReferences(s(), criteria, ReadFindRecords(s()));
    ASSERT_EQ(r.rows.size(), 100);
    EXPECT_EQ(std::tuple(r.countLine(), r.lastIndex, r.rows[0].imageNumber), std::tuple(QStringLiteral("250 found 100 shown"), 99, 1124));  // newest first
    for (int i = 1; i < r.rows.size(); ++i) EXPECT_GE(r.rows[i - 1].entryDate, r.rows[i].entryDate);

    WriteIniValue(site.localIni(), QStringLiteral("Info"), QStringLiteral("FindRecords"), QStringLiteral("300"));
    FindCriteria again{.heat = S("H*")}, none, nothing{.heat = S("NOPE")};
    const QString all = FindReferences(s(), again, 300).countLine();
    r = FindReferences(s(), none, 10);
    EXPECT_EQ((QStringList{QString::number(ReadFindRecords(s())), all, r.countLine(), r.rows[0].heat}),
              (QStringList{S("300"), S("250 found 250 shown"), S("251 found 10 shown"), S("OTHER")}));
    r = FindReferences(s(), nothing, 100);
    EXPECT_EQ(std::tuple(r.lastIndex, r.countLine(), prompter().asked().size()), std::tuple(-1, QStringLiteral("None found!"), qsizetype(0)));
}

// References whose image row is missing can't be shown; the count leaves
// them out too, whatever order rows and image rows come and go in.
TEST_P(FindQueryTest, ReferencesWithoutImageRowAreNeitherShownNorCounted)
{
    ASSERT_TRUE(addRefs(s(), {{S("H1"), S("P1"), S("PO"), S("V"), S("M"), 1, at(2003, 1, 1)}, {S("H2"), S("P2"), S("PO"), S("V"), S("M"), 2, at(2003, 1, 2)}}));
    ASSERT_TRUE(addRefs(s(), {{S("H3"), S("P3"), S("PO"), S("V"), S("M"), 3, at(2003, 1, 3)}, {S("H4"), S("P4"), S("PO"), S("V"), S("M"), 3, at(2003, 1, 3)}}, false));
    const auto count = [&](const QString& heat, int maxRows) {
        FindCriteria c{.heat = heat};
        const FindResult r = FindReferences(s(), c, maxRows);
        return QStringLiteral("%1/%2").arg(r.found).arg(r.rows.size());
    };
    // maxRows 1 makes the count run as its own statement.
    EXPECT_EQ((QStringList{count(S("H*"), 100), count(S("H*"), 1), count(QString(), 1)}), (QStringList{S("2/2"), S("2/1"), S("2/1")}));

    s().image = ImageRecord{3, S("/srv/x"), S("VOL"), at(2003, 1, 3), S(" "), S("4")};
    ASSERT_TRUE(AddImage(s(), false));
    EXPECT_EQ(count(S("H*"), 1), QStringLiteral("4/1"));
    ASSERT_TRUE(DeleteImage(s(), 1));
    EXPECT_EQ((QStringList{count(S("H*"), 1), count(QString(), 1)}), L({"3/1", "3/1"}));
    ASSERT_TRUE(DeleteImageAll(s(), 3));
    EXPECT_EQ(count(QString(), 1), QStringLiteral("1/1"));
    // Moving a reference to an image without a row hides it.
    DataOp op(s(), QStringLiteral("test"));
    ASSERT_TRUE(op.exec(QStringLiteral("UPDATE \"Info\" SET \"Image #\" = 9 WHERE \"Heat #\" = 'H2'")));
    EXPECT_EQ(std::tuple(count(QString(), 1), rows(QStringLiteral("Missing Images"), QStringLiteral("\"Image #\" = 9")), prompter().asked().size()),
              std::tuple(QStringLiteral("0/0"), 1LL, qsizetype(0)));
}

// Values change under the trigram index (the file database keeps it through
// the search terms): a piece of the new value is found, of the old one not.
TEST_P(FindQueryTest, PiecesFollowChangedAndRemovedValues)
{
    ASSERT_TRUE(addRefs(s(), {{S("HEAT-1"), S("P1"), S("PO"), S("Northern Forge"), S("M"), 1, at(2003, 1, 1)},
                              {S("HEAT-2"), S("P2"), S("PO"), S("Northern Forge"), S("M"), 2, at(2003, 1, 2)},
                              {S("HEAT-3"), S("P3"), S("PO"), S("Southern Mill"), S("M"), 3, at(2003, 1, 3)}}));
    EXPECT_EQ(heatsFound(s(), {.vend = S("*thern*")}, false), L({"HEAT-1", "HEAT-2", "HEAT-3"}));
    ASSERT_TRUE(GetInfoFieldLengths(s()));
    ASSERT_TRUE(CheckCount(s(), S("Vend Name"), S("Northern Forge"), S("Eastern Rolling")));
    EXPECT_EQ(heatsFound(s(), {.vend = S("*FORGE*")}, false) + heatsFound(s(), {.vend = S("*rolling*")}, false), L({"HEAT-1", "HEAT-2"}));
    ASSERT_TRUE(DeleteImageAll(s(), 3));
    EXPECT_EQ(heatsFound(s(), {.vend = S("*southern*")}, false), QStringList());
    ASSERT_TRUE(addRefs(s(), {{S("HEAT-4"), S("P4"), S("PO"), S("Southern Mill"), S("M"), 4, at(2003, 1, 4)}}));
    EXPECT_EQ(heatsFound(s(), {.vend = S("*southern*")}, false) + heatsFound(s(), {.heat = S("*eat-4*")}, false), L({"HEAT-4", "HEAT-4"}));
    // A value no reference holds any more is no term any more.
    EXPECT_EQ(GetParam() == Engine::Sqlite ? rows(S("Search Terms"), S("\"Term\" IN ('northern forge', 'HEAT-3')")) : 0, 0);
}

TEST_P(FindQueryTest, NoSearchReadsTheWholeTable)
{
    fileExamples();
    const Dialect& d = s().db().dialect();
    const QList<std::pair<const char*, FindCriteria>> searches{
        {"exact", {.heat = S("ABC")}}, {"beginning", {.heat = S("ab*")}}, {"piece", {.heat = S("*123*")}}, {"vendor", {.vend = S("acme*")}},
        {"piece of a vendor", {.vend = S("*cme st*")}}, {"P/O", {.po = S("PO-1*")}}, {"manufacturer", {.mfg = S("*mill*")}}, {"part", {.part = S("p1*")}},
        {"path", {.path = S("*archive*")}}, {"image number", {.imageNumber = S("12*")}}, {"newest", {}},
        {"vendor and dates", {.vend = S("Acme Steel"), .from = S("1/1/2003"), .to = S("12/31/2003")}},
    };
    DataOp op(s(), QStringLiteral("test"));
    if (!d.isSqlite()) { ASSERT_TRUE(op.exec(QStringLiteral("SET enable_seqscan = off"))); }
    for (const auto& [name, criteria] : searches) {
        FindCriteria c = criteria;
        FindProblem problem;
        const auto where = FindCondition(s(), c, problem);
        ASSERT_TRUE(where) << name;
        const QString sql = QStringLiteral("SELECT \"Info\".\"Heat #\" FROM \"Info\", \"Images\" WHERE \"Images\".\"Image #\" = \"Info\".\"Image #\"")
            + (where->isEmpty() ? QString() : QStringLiteral(" AND (") + where->text + QLatin1Char(')'))
            + QStringLiteral(" ORDER BY \"Info\".\"Entry Date\" DESC, \"Info\".\"Image #\" DESC LIMIT 100");
        QStringList plan;
        if (d.isSqlite()) {
            auto q = op.exec(QStringLiteral("EXPLAIN QUERY PLAN ") + sql, where->binds);
            ASSERT_TRUE(q) << name;
            while (q->next()) plan << q->value(3).toString();
            // Newest first walks the date index backwards and stops at 100;
            // every other search seeks its rows.
            for (const QString& line : plan) {
                const bool newest = line == QLatin1String("SCAN Info USING INDEX Info:Date/Image") && QLatin1String(name) == QLatin1String("newest");
                EXPECT_TRUE((!line.startsWith(QLatin1String("SCAN Info")) && !line.startsWith(QLatin1String("SCAN Images"))) || newest)
                    << name << ": " << plan.join(QStringLiteral("; ")).toStdString();
            }
        } else {
            // The server can't prepare EXPLAIN: the values go in as literals.
            QString literal = sql;
            for (const QVariant& value : where->binds) {
                const QString text = value.metaType().id() == QMetaType::QString ? d.literal(value.toString())
                    : value.metaType().id() == QMetaType::QDateTime ? d.literal(value.toDateTime().toString(Qt::ISODate)) : value.toString();
                literal.replace(literal.indexOf(QLatin1Char('?')), 1, text);
            }
            auto q = op.exec(QStringLiteral("EXPLAIN ") + literal);
            ASSERT_TRUE(q) << name;
            while (q->next()) plan << q->value(0).toString();
            EXPECT_FALSE(plan.join(QLatin1Char('\n')).contains(QLatin1String("Seq Scan on \"Info\""))) << name << ":\n" << plan.join(QLatin1Char('\n')).toStdString();
        }
    }
    s().db().close();
}

// Quotes, statement ends, comments, wild cards, backslashes and the
// trigram query's own syntax: in every box they are values. What holds them
// is found, nothing else is, and nothing changes.
TEST_P(FindQueryTest, InjectionCorpusIsOnlyEverAValue)
{
    const QStringList corpus{S("x' OR '1'='1"), S("'; DROP TABLE Info; --"), S("a;b"), S("/* c */"), S("-- d"), S("100%"),
                             S("back\\slash"), S("q\"uote"), S("{Heat} : \"x\""), S("NEAR(ab cd)"), S("a\\'b"), S("$1"), S("?x")};
    QList<Ref> refs;
    for (const QString& value : corpus) refs << Ref{value, value, value, value, value, int(refs.size()) + 1, at(2003, 1, int(refs.size()) + 1), value};
    ASSERT_TRUE(addRefs(s(), refs));
    const auto before = std::tuple(rows(S("Info")), rows(S("Images")));
    for (const QString& value : corpus) {
        const bool pattern = value.contains(QLatin1Char('?')) || value.contains(QLatin1Char('*'));
        for (QString FindCriteria::*box : {&FindCriteria::heat, &FindCriteria::part, &FindCriteria::po, &FindCriteria::vend,
                                             &FindCriteria::mfg, &FindCriteria::path}) {
            FindCriteria c;
            c.*box = value;
            QStringList found = heatsFound(s(), c, false);
            EXPECT_TRUE(pattern ? found.contains(value) : found == QStringList{value}) << value.toStdString() << " found " << found.join(u'|').toStdString();
            // The same piece inside a pattern finds the same reference.
            c.*box = QLatin1Char('*') + value + QLatin1Char('*');
            found = heatsFound(s(), c, false);
            EXPECT_EQ(std::pair(found.contains(value), found.contains(QStringLiteral("!failed"))), std::pair(true, false)) << value.toStdString();
        }
        EXPECT_EQ(heatsFound(s(), {.imageNumber = value}, false).value(0).left(1), pattern ? QString() : QStringLiteral("!")) << value.toStdString();
        EXPECT_EQ(heatsFound(s(), {.from = value}, false) + heatsFound(s(), {.to = value}, false), (QStringList{S("!txtFrom"), S("!txtTo")}));
    }
    EXPECT_EQ(std::tuple(rows(S("Info")), rows(S("Images"))), before);
    EXPECT_TRUE(prompter().asked().isEmpty()) << prompter().asked().front().text.toStdString();
}

// A site upgraded to the search indexes: the ladder builds them over the
// references already on file, with those whose image row is missing.
TEST_P(FindQueryTest, SearchIndexesAreBuiltOverReferencesOnFile)
{
    {
        DataOp op(s(), QStringLiteral("test"));
        const bool sqlite = op.dialect().isSqlite();
        QStringList drops;
        auto q = op.exec(sqlite ? QStringLiteral("SELECT type, name, tbl_name FROM sqlite_master WHERE type IN ('index', 'trigger') "
                                                 "AND tbl_name IN ('Info', 'Images') AND name NOT LIKE 'sqlite_autoindex%'")
                                : QStringLiteral("SELECT 'index', indexname, tablename FROM pg_indexes WHERE tablename IN ('Info', 'Images') "
                                                 "UNION ALL SELECT 'trigger', t.tgname, c.relname FROM pg_trigger t JOIN pg_class c "
                                                 "ON c.oid = t.tgrelid WHERE NOT t.tgisinternal AND c.relname IN ('Info', 'Images')"));
        ASSERT_TRUE(q);
        const QStringList core{IndexName::InfoKey, IndexName::InfoDatePo, IndexName::InfoHeat, IndexName::InfoImage, IndexName::ImagesImage};
        while (q->next()) {
            const QString name = q->value(1).toString();
            if (q->value(0).toString() == QLatin1String("trigger"))
                drops << QStringLiteral("DROP TRIGGER \"%1\"%2").arg(name, sqlite ? QString() : QStringLiteral(" ON \"%1\"").arg(q->value(2).toString()));
            else if (!core.contains(name)) drops << QStringLiteral("DROP INDEX \"%1\"").arg(name);
        }
        for (const QString& table : {SearchTable::Trigrams, SearchTable::Terms, SearchTable::MissingImages})
            drops << QStringLiteral("DROP TABLE IF EXISTS \"%1\"").arg(table);
        for (const QString& sql : drops) ASSERT_TRUE(op.exec(sql)) << sql.toStdString();
        s().db().close();
    }
    fileExamples();
    ASSERT_TRUE(addRefs(s(), {{S("ORPHAN-1"), S("P"), S("PO"), S("Plate Works"), S("M"), 500, at(2004, 6, 1)}}, false));
    ASSERT_TRUE(RevUp(s())) << prompter().textOf(QStringLiteral("Error")).toStdString();
    EXPECT_EQ((QList<QStringList>{heatsFound(s(), {.heat = S("*123*")}, false), heatsFound(s(), {.path = S("*ARCHIVE*")}, false), heatsFound(s(), {.vend = S("*plate*")}, false)}),
              (QList<QStringList>{L({"XA-1234-B"}), L({"AB99", "C1"}), L({"XA-1234-B", "50%", "5X0", "A\\B", "A_B", "AXB"})}));
    FindCriteria none;
    EXPECT_EQ(FindReferences(s(), none, 1).countLine(), QStringLiteral("12 found 1 shown"));
    // The indexes are back, and new rows are kept from here on.
    ASSERT_TRUE(addRefs(s(), {{S("LATE-1234"), S("P"), S("PO"), S("V"), S("M"), 600, at(2004, 7, 1)}}));
    EXPECT_EQ(heatsFound(s(), {.heat = S("*123*")}, false), L({"LATE-1234", "XA-1234-B"}));
}

TARLOX_ON_BOTH_ENGINES(FindQueryTest);

}  // namespace
