#include "data/DataOp.h"
#include "data/ImageData.h"
#include "data/InfoData.h"
#include "base/IniFile.h"
#include "support/QtPrinters.h"
#include "support/SystemTexts.h"
#include "support/TestSite.h"

using namespace tarlox;
using namespace tarlox::test;

namespace {

const QDateTime Jan2(QDate(2003, 1, 2), QTime(0, 0));

class InfoDataTest : public SiteTest {
protected:
    void entry(const QString& heat, const QString& part, const QString& po = {}, const QString& vend = QStringLiteral("Vend"),
               const QString& mfg = {}, qint32 image = 1, const QDateTime& date = Jan2) { s().info = InfoRecord{heat, part, po, vend, mfg, date, image}; }

    // References and their image row, written through the operations under test.
    void file(const QString& heat, const QString& part, const QString& po, qint32 image, const QDateTime& date = Jan2, const QString& mfg = {})
    {
        entry(heat, part, po, QStringLiteral("Vend"), mfg, image, date);
        s().image = ImageRecord{image, QStringLiteral("/srv/img"), QStringLiteral("VOL"), date, QStringLiteral(" "), QStringLiteral("4")};
        ASSERT_TRUE(ReadImage(s(), image) || AddImage(s(), false));
        ASSERT_TRUE(AddInfoRecords(s(), false));
        prompter().clear();
    }

    qint64 infoRows(const QString& where = {}) { return rows(QStringLiteral("Info"), where); }
};

TEST_P(InfoDataTest, RequiredFieldsAndPairCounts)
{
    for (const auto& [heat, part, text] : {std::tuple{"", "P1", texts::HeatRequired}, {"H1", "  ", texts::PartRequired},
                                           {"H1", "P1 P2", texts::FewerHeatsThanParts}}) {
        entry(QLatin1String(heat), QLatin1String(part));
        EXPECT_FALSE(ValidateInfo(s()));
        EXPECT_EQ(std::tuple(prompter().textOf(QStringLiteral("Error")), prompter().asked().back().icon), std::tuple(text, Icon::Critical));
    }
}

TEST_P(InfoDataTest, MoreHeatsThanPartsRepeatsTheLastPartOnce)
{
    entry(QStringLiteral("H1 H2 H3"), QStringLiteral("P1")), prompter().answer(Answer::Ok);
    ASSERT_TRUE(ValidateInfo(s()));
    ASSERT_EQ(prompter().asked().size(), 1);
    EXPECT_EQ(std::tuple(s().info.part, prompter().asked().front().title, prompter().asked().front().buttons),
              std::tuple(QStringLiteral("P1 P1 P1"), QStringLiteral("Continue"), Buttons::OkCancel));
    prompter().clear();
    EXPECT_TRUE(ValidateInfo(s()) && prompter().asked().isEmpty());

    // Cancel leaves Part alone and shows the shared box without a text.
    entry(QStringLiteral("H1 H2"), QStringLiteral("P9")), prompter().answer(Answer::Cancel);
    EXPECT_FALSE(ValidateInfo(s()));
    EXPECT_EQ((QStringList{s().info.part, prompter().titles().last(), prompter().textOf(QStringLiteral("Error"))}),
              (QStringList{QStringLiteral("P9"), QStringLiteral("Error"), QString()}));
}

TEST_P(InfoDataTest, PairRepeatedInTheEntryIsRefusedAfterTheFileCheck)
{
    file(QStringLiteral("H1"), QStringLiteral("P1"), {}, 7);
    entry(QStringLiteral("H1 H1"), QStringLiteral("P1 P1"));
    for (Answer a : {Answer::Ok, Answer::Ok}) prompter().answer(a);
    EXPECT_FALSE(ValidateInfo(s()));
    // The pair on file is asked about for each place it stands, then the repeat ends it.
    EXPECT_EQ(prompter().titles() << prompter().textOf(QStringLiteral("Error")), (QStringList{QStringLiteral("Duplicate Key"), QStringLiteral("Duplicate Key"),
                                                                                             QStringLiteral("Error"), texts::RepeatedInEntry.arg(QStringLiteral("H1"), QStringLiteral("P1"))}));

    // The database does not tell h1 from H1, so neither does the entry.
    prompter().clear(), entry(QStringLiteral("H5 h5"), QStringLiteral("P5 p5"));
    EXPECT_TRUE(!ValidateInfo(s()) && prompter().textOf(QStringLiteral("Error")) == texts::RepeatedInEntry.arg(QStringLiteral("h5"), QStringLiteral("p5")));

    // Under different P/Os the same pair is no repeat.
    prompter().clear(), entry(QStringLiteral("H5"), QStringLiteral("P5"), QStringLiteral("A B"));
    EXPECT_TRUE(ValidateInfo(s()) && prompter().asked().isEmpty());
}

TEST_P(InfoDataTest, DuplicateOnFileIsAskedForEachPoAndCancelEndsWithItsOwnText)
{
    file(QStringLiteral("H1"), QStringLiteral("P1"), QStringLiteral("A B"), 3, Jan2, QStringLiteral("Other Mfg"));
    entry(QStringLiteral("H1"), QStringLiteral("P1"), QStringLiteral("A B"));
    for (Answer a : {Answer::Ok, Answer::Ok}) prompter().answer(a);
    EXPECT_TRUE(ValidateInfo(s()));
    ASSERT_EQ(prompter().titles(), (QStringList{QStringLiteral("Duplicate Key"), QStringLiteral("Duplicate Key")}));
    const Prompt& second = prompter().asked().last();
    EXPECT_EQ(std::tuple(second.text, second.buttons, second.defaultAnswer),
              std::tuple(texts::AlreadyOnFile.arg(QStringLiteral("H1"), QStringLiteral("P1"), QStringLiteral("P/O #:"), QStringLiteral("B")), Buttons::OkCancel, Answer::Cancel));

    // Cancel, with the site's own name for the P/O field.
    s().poShort = QStringLiteral("Order"), prompter().clear();
    EXPECT_FALSE(ValidateInfo(s()));
    EXPECT_EQ((QStringList{prompter().asked().first().text, prompter().textOf(QStringLiteral("Error"))}),
              (QStringList{texts::AlreadyOnFile.arg(QStringLiteral("H1"), QStringLiteral("P1"), QStringLiteral("Order"), QStringLiteral("A")),
                           QStringLiteral("Heat #: H1 and Part #: P1 and Order: A Already on File!")}));

    // With DupeOK the default is Ok.
    ASSERT_TRUE(WriteIniValue(site.localIni(), QStringLiteral("Info"), QStringLiteral("DupeOK"), QStringLiteral("True")).ok);
    prompter().clear(), prompter().answer(Answer::Ok), prompter().answer(Answer::Ok);
    EXPECT_TRUE(ValidateInfo(s()) && prompter().asked().first().defaultAnswer == Answer::Ok);
}

TEST_P(InfoDataTest, EmptyPoIsStoredAsBlankAndFoundAgain)
{
    file(QStringLiteral("H1"), QStringLiteral("P1"), {}, 3);
    EXPECT_EQ(infoRows(QStringLiteral("\"P/O #\" = ' ' AND \"Mfg Name\" = ' '")), 1);
    prompter().clear(), entry(QStringLiteral("H1"), QStringLiteral("P1"));
    EXPECT_TRUE(!ValidateInfo(s()) && prompter().textOf(QStringLiteral("Error")) == QLatin1String("Heat #: H1 and Part #: P1 and P/O #:   Already on File!"));
}

TEST_P(InfoDataTest, AThousandPairsPerPoAndNotOneMore)
{
    QStringList heats;
    for (int i = 0; i < 1001; ++i) heats << QStringLiteral("H%1").arg(i);
    entry(heats.mid(0, 1000).join(QLatin1Char(' ')), QStringLiteral("P ").repeated(1000).trimmed());
    EXPECT_TRUE(ValidateInfo(s()));
    entry(heats.join(QLatin1Char(' ')), QStringLiteral("P ").repeated(1001).trimmed());
    EXPECT_TRUE(!ValidateInfo(s()) && !prompter().asked().isEmpty() && prompter().asked().last().text.contains(QStringLiteral("Subscript out of range")));
}

// All rows of the entry, its heats and parts paired, under each P/O; or none.
TEST_P(InfoDataTest, AddInfoRecordsWritesTheProductOfTheEntryOrNothing)
{
    entry(QStringLiteral("H1 H2 H3"), QStringLiteral("P1 P2 P3"), QStringLiteral("PO1 PO2"), QStringLiteral("Steel Co"), {}, 42);
    ASSERT_TRUE(AddInfoRecords(s(), true));
    EXPECT_EQ(std::pair(infoRows(QStringLiteral("\"Image #\" = 42 AND \"Vend Name\" = 'Steel Co' AND \"Mfg Name\" = ' '")),
                        infoRows(QStringLiteral("\"Heat #\" = 'H2' AND \"Part #\" = 'P2'"))), std::pair(6LL, 2LL));

    // Again: the second row is already on file under the same image.
    entry(QStringLiteral("H4 H3"), QStringLiteral("P4 P3"), QStringLiteral("PO1"), QStringLiteral("Vend"), {}, 42);
    EXPECT_FALSE(AddInfoRecords(s(), true));
    EXPECT_EQ(std::tuple(infoRows(), s().info.errorNumber != 0, prompter().asked().size()), std::tuple(6, true, 0)) << "with retry the caller reads the status";

    EXPECT_FALSE(AddInfoRecords(s(), false));
    ASSERT_EQ(std::tuple(infoRows(), prompter().asked().size()), std::tuple(6, 1));
    EXPECT_TRUE(prompter().asked().first().text.startsWith(QStringLiteral("An error has occured.")));
}

TEST_P(InfoDataTest, ValuesAreCutToTheLiveColumnLimits)
{
    // Without a prior call the limits are read on the first add.
    const QString heat = QStringLiteral("O'BRIEN-") + QString(22, QLatin1Char('9'));
    entry(heat, QStringLiteral("P1"), QStringLiteral("PO"), QString(40, QLatin1Char('V')), QStringLiteral("M'fg"));
    ASSERT_TRUE(AddInfo(s(), false));
    EXPECT_EQ(rows(QStringLiteral("Info"), QStringLiteral("\"Heat #\" = ? AND \"Vend Name\" = ? AND \"Mfg Name\" = ?"), {heat.left(24), QString(32, QLatin1Char('V')), QStringLiteral("M'fg")}), 1);
}

TEST_P(InfoDataTest, DeleteInfoRemovesOnlyTheEqualRow)
{
    file(QStringLiteral("H1"), QStringLiteral("P1"), {}, 5, Jan2, QStringLiteral("M1"));
    file(QStringLiteral("H1"), QStringLiteral("P1"), {}, 5, Jan2, QStringLiteral("M2"));
    entry(QStringLiteral("H1"), QStringLiteral("P1"), QStringLiteral(" "), {}, QStringLiteral("M1"), 5);
    ASSERT_TRUE(DeleteInfo(s()));
    EXPECT_EQ(std::tuple(infoRows(), infoRows(QStringLiteral("\"Mfg Name\" = 'M2'"))), std::tuple(1, 1));
}

TEST_P(InfoDataTest, LoadInfoGivesNewestFirstUpToTheLimitAndCountsAll)
{
    for (int day = 1; day <= 5; ++day) file(QStringLiteral("H%1").arg(day), QStringLiteral("P"), {}, day, QDateTime(QDate(2004, 1, day), QTime(8, 30)));
    // Same date as image 5: the higher number comes first.
    file(QStringLiteral("HX"), QStringLiteral("P"), {}, 9, QDateTime(QDate(2004, 1, 5), QTime(8, 30)));
    // A reference without its image row is not shown.
    ASSERT_TRUE(site.execRaw(QStringLiteral("INSERT INTO \"Info\" VALUES ('H0', 'P', ' ', 'V', ' ', '2009-01-01T00:00:00', 77)")));

    QList<InfoRow> rows;
    qint64 total = 0;
    const auto load = [&](const SqlCondition& where, int room) { const int found = LoadInfo(s(), where, rows, room, total); return std::tuple<int, qint64>(found, total); };
    const auto all = load({}, 3);
    ASSERT_EQ(std::tuple(all, rows.size()), std::tuple(std::tuple(3, 6), 3));
    EXPECT_EQ(std::tuple(rows[0].imageNumber, rows[2].imageNumber, rows[0].path, rows[1].entryDate),
              std::tuple(9, 4, QStringLiteral("/srv/img"), QDateTime(QDate(2004, 1, 5), QTime(8, 30))));

    const SqlCondition heatLike{QStringLiteral("\"Info\".\"Heat #\" LIKE ? AND \"Info\".\"Entry Date\" < ?"),
                                {QStringLiteral("h%"), s().db().dialect().dateValue(QDateTime(QDate(2004, 1, 4), QTime(0, 0)))}};
    const auto older = load(heatLike, 100);
    EXPECT_EQ(std::tuple(older, rows.first().heat), std::tuple(std::tuple(3, 3), QStringLiteral("H3")));
    // A value with a quote is a value, not SQL.
    EXPECT_EQ(load(SqlCondition{QStringLiteral("\"Info\".\"Heat #\" = ?"), {QStringLiteral("x' OR '1'='1")}}, 10), std::tuple(0, 0));
    // No room for rows: the count alone.
    EXPECT_EQ(load({}, 0), std::tuple(0, 6));
    EXPECT_TRUE(prompter().asked().isEmpty());

    // A broken condition is reported, not taken for an empty result.
    EXPECT_EQ(LoadInfo(s(), SqlCondition{QStringLiteral("\"Info\".\"No Such\" = ?"), {1}}, rows, 10, total), -1);
    EXPECT_EQ(prompter().asked().size(), 1);
}

TEST_P(InfoDataTest, CheckCountCountsAndReplaces)
{
    file(QStringLiteral("H1 H2"), QStringLiteral("P1 P2"), QStringLiteral("OLD"), 5);
    file(QStringLiteral("H3"), QStringLiteral("P3"), QStringLiteral("old"), 6);
    ASSERT_TRUE(GetInfoFieldLengths(s()));
    const QString po = QStringLiteral("P/O #");
    EXPECT_EQ(CheckCount(s(), po, QStringLiteral("OLD")), 3);
    EXPECT_TRUE(CheckCount(s(), po, QStringLiteral("OLD"), QStringLiteral("NEW")));
    EXPECT_EQ(CheckCount(s(), po, QStringLiteral("NEW")), 3);
    // An emptied key column keeps its blank.
    EXPECT_TRUE(CheckCount(s(), po, QStringLiteral("NEW"), QString()));
    EXPECT_EQ(std::tuple(CheckCount(s(), po, QStringLiteral(" ")), CheckCount(s(), QStringLiteral("Vend Name"), QStringLiteral("Vend"))), std::tuple(3, 3));
}

TARLOX_ON_BOTH_ENGINES(InfoDataTest);

}  // namespace
