#include "data/DataOp.h"
#include "data/InfoData.h"
#include "search/ReferenceEdit.h"
#include "search/SearchData.h"
#include "support/QtPrinters.h"
#include "support/TestSite.h"

#include <atomic>
#include <chrono>
#include <thread>

using namespace tarlox;
using namespace tarlox::test;
using namespace Qt::StringLiterals;

namespace {

QDateTime at(int y, int m, int d, int h = 0, int min = 0) { return QDateTime(QDate(y, m, d), QTime(h, min)); }
QString S(const char* text) { return QString::fromUtf8(text); }

class ReferenceEditTest : public SiteTest {
protected:
    void SetUp() override
    {
        SiteTest::SetUp();
        ASSERT_TRUE(addRefs(s(), {{S("H1"), S("P1"), S("PO1"), S("Acme"), S("Mill"), 7, at(2003, 1, 2, 14, 30), S("/srv/a")},
                                  {S("H2"), S("P2"), S("PO1"), S("Acme"), S("Mill"), 7, at(2003, 1, 2, 14, 30), S("/srv/a")},
                                  {S("H3"), S("P3"), S("PO3"), S("Other"), S("Mill"), 8, at(2003, 2, 1), S("/srv/b")}}));
    }

    // Every reference as one line, in key order: the whole table at a glance.
    QStringList table()
    {
        DataOp op(s(), QStringLiteral("test"));
        auto q = op.exec(QStringLiteral("SELECT \"Heat #\", \"Part #\", \"P/O #\", \"Vend Name\", \"Mfg Name\", \"Entry Date\", \"Image #\" FROM \"Info\" "
                                        "ORDER BY \"Image #\", \"Heat #\""));
        QStringList lines;
        while (q && q->next()) lines << QStringList{q->value(0).toString(), q->value(1).toString(), q->value(2).toString(), q->value(3).toString(),
                                 q->value(4).toString(), op.dialect().readDate(q->value(5)).toString(Qt::ISODate), q->value(6).toString()}
                         .join(QLatin1Char('|'));
        return lines;
    }

    InfoRow row(const QString& heat)
    {
        FindCriteria c{.heat = heat, .assumeWild = false};
        const FindResult r = FindReferences(s(), c, 10);
        EXPECT_EQ(r.rows.size(), 1) << heat.toStdString();
        return r.rows.value(0);
    }
};

// A date that is no date and a clash with another key (H2/P2/PO1/Mill/7 is the
// other reference of image 7) leave the table exactly as it was; a change of
// the vendor only keeps key and moment. Nothing is reported: the screen tells
// it in its own words.
TEST_P(ReferenceEditTest, ChangeIsWholeOrNothing)
{
    const QStringList before = table();
    const struct { std::function<void(ReferenceEntry&)> edit; ChangeResult::Outcome outcome; } cases[] = {
        {[](ReferenceEntry& e) { e.date = u"31/31/2003"_s, e.heat = u"CHANGED"_s; }, ChangeResult::Outcome::InvalidDate},
        {[](ReferenceEntry& e) { e.heat = u"h2"_s, e.part = u"P2"_s, e.vend = u"Changed"_s; }, ChangeResult::Outcome::AddFailed},
    };
    for (const auto& c : cases) {
        const InfoRow stored = row(u"H1"_s);
        ReferenceEntry edited = EntryOf(stored);
        c.edit(edited);
        const ChangeResult result = ChangeReference(s(), stored, edited);
        EXPECT_EQ(std::tuple(result.outcome, c.outcome != ChangeResult::Outcome::AddFailed || !result.errorText.isEmpty(), table()), std::tuple(c.outcome, true, before));
    }
    const InfoRow stored = row(u"H1"_s);
    ReferenceEntry edited = EntryOf(stored);
    EXPECT_EQ((QStringList{edited.date, edited.imageNumber}), (QStringList{u"1/2/2003"_s, u"7"_s}));
    edited.vend = u"New Vendor"_s;
    const ChangeResult result = ChangeReference(s(), stored, edited);
    EXPECT_EQ(std::tuple(result.outcome, result.stored.vend, result.stored.path, site.prompter().asked().size()), std::tuple(ChangeResult::Outcome::Changed, u"New Vendor"_s, u"/srv/a"_s, 0));
    EXPECT_EQ(table(), (QStringList{u"H1|P1|PO1|New Vendor|Mill|2003-01-02T14:30:00|7"_s, u"H2|P2|PO1|Acme|Mill|2003-01-02T14:30:00|7"_s,
                                    u"H3|P3|PO3|Other|Mill|2003-02-01T00:00:00|8"_s}));
}

TEST_P(ReferenceEditTest, ChangedValuesAreStoredAsAddsStoreThem)
{
    const InfoRow stored = row(S("H3"));
    ReferenceEntry edited = EntryOf(stored);
    std::tie(edited.heat, edited.po, edited.date, edited.mfg) = std::tuple(S("H3-NEW"), QString(), S("2004-03-05"), S("A manufacturer name longer than thirty-two"));
    const ChangeResult result = ChangeReference(s(), stored, edited);
    ASSERT_EQ(result.outcome, ChangeResult::Outcome::Changed);
    // What the screen keeps is what a later change deletes by.
    EXPECT_EQ(std::tuple(result.stored.po, result.stored.mfg, result.stored.entryDate, table().last()),
              std::tuple(S(" "), S("A manufacturer name longer than "), at(2004, 3, 5), S("H3-NEW|P3| |Other|A manufacturer name longer than |2004-03-05T00:00:00|8")));
    ReferenceEntry again = EntryOf(result.stored);
    again.vend = S("Again");
    ASSERT_EQ(ChangeReference(s(), result.stored, again).outcome, ChangeResult::Outcome::Changed);
    // Values are trimmed before they are cut, so the cut's trailing blank goes now.
    EXPECT_EQ(std::tuple(table().size(), table().last()), std::tuple(3, S("H3-NEW|P3| |Again|A manufacturer name longer than|2004-03-05T00:00:00|8")));
}

TEST_P(ReferenceEditTest, ChangeOfARowAnotherWorkstationRemovedAddsTheNewValues)
{
    const InfoRow stored = row(S("H3"));
    ScriptedPrompter otherPrompter;
    auto other = site.openAnother(otherPrompter);
    other->info = InfoRecord{S("H3"), S("P3"), S("PO3"), S("Other"), S("Mill"), {}, 8};
    ASSERT_TRUE(DeleteInfo(*other));
    ReferenceEntry edited = EntryOf(stored);
    edited.vend = S("Mine");
    EXPECT_EQ((std::tuple{ChangeReference(s(), stored, edited).outcome, table().last()}), std::tuple(ChangeResult::Outcome::Changed, S("H3|P3|PO3|Mine|Mill|2003-02-01T00:00:00|8")));
}

TEST_P(ReferenceEditTest, AddNeedsAnImageOnFileAndADate)
{
    const QStringList before = table();
    ReferenceEntry entry{S("H9"), S("P9"), S("PO9"), S("V"), S("M"), S("99"), S("1/5/2004")};
    const auto add = [&](const QString& number, const char* date) { return entry.imageNumber = number, entry.date = S(date), AddReference(s(), entry).outcome; };
    EXPECT_EQ((std::tuple{add(S("99"), "1/5/2004"), add(QString(), "1/5/2004"), add(S("8"), "not a date"), table()}),
              std::tuple(AddResult::Outcome::ImageNotOnFile, AddResult::Outcome::ImageNotOnFile, AddResult::Outcome::InvalidDate, before));

    EXPECT_EQ((std::tuple{add(S("8"), "1/5/2004"), table().last()}), std::tuple(AddResult::Outcome::Added, S("H9|P9|PO9|V|M|2004-01-05T00:00:00|8")));
    // The same key again is refused by the table and reported to nobody.
    entry.vend = S("Other vendor");
    const AddResult twice = AddReference(s(), entry);
    EXPECT_EQ(std::tuple(twice.outcome, twice.errorText.isEmpty(), table().size(), site.prompter().asked().size()),
              std::tuple(AddResult::Outcome::NotAdded, false, before.size() + 1, 0));
}

TEST_P(ReferenceEditTest, OnlyReferenceOfAnImageStays)
{
    const InfoRow h1 = row(S("H1")), h2 = row(S("H2")), h3 = row(S("H3"));
    const auto remove = [&](const InfoRow& r) { const RemoveResult result = RemoveReference(s(), r); return std::pair(result.outcome, int(result.references)); };
    EXPECT_EQ((std::tuple{remove(h3), remove(h1), remove(h2).first}), std::tuple(std::pair(RemoveResult::Outcome::OnlyReference, 1), std::pair(RemoveResult::Outcome::Removed, 2), RemoveResult::Outcome::OnlyReference));
    EXPECT_EQ(std::tuple(table(), site.prompter().asked().size()),
              std::tuple(QStringList{S("H2|P2|PO1|Acme|Mill|2003-01-02T14:30:00|7"), S("H3|P3|PO3|Other|Mill|2003-02-01T00:00:00|8")}, 0));
}

// Two workstations removing the two references of one image at once: the
// second waits for the first, counts again and refuses, so the image keeps
// a reference.
TEST_P(ReferenceEditTest, TwoWorkstationsCantRemoveTheLastTwoReferences)
{
    const InfoRow h1 = row(S("H1")), h2 = row(S("H2"));
    std::atomic<bool> holding = false;
    std::atomic<int> outcome = -1;
    std::thread second;
    DataOp op(s(), QStringLiteral("test"));
    const bool committed = op.transaction([&] {
        // This workstation's removal of H2, held open while the other one starts.
        if (!op.dialect().isSqlite() && !op.exec(QStringLiteral("SELECT 1 FROM \"Images\" WHERE \"Image #\" = 7 FOR UPDATE"))) return false;
        s().info = InfoRecord{h2.heat, h2.part, h2.po, h2.vend, h2.mfg, {}, 7};
        if (!detail::DeleteInfo(op, s())) return false;
        second = std::thread([&] {
            ScriptedPrompter otherPrompter;
            auto other = site.openAnother(otherPrompter);
            holding = true;
            outcome = static_cast<int>(RemoveReference(*other, h1).outcome);
        });
        while (!holding) std::this_thread::sleep_for(std::chrono::milliseconds(5));
        std::this_thread::sleep_for(std::chrono::milliseconds(300));
        EXPECT_EQ(outcome, -1) << "the second removal did not wait";
        return true;
    });
    second.join();
    ASSERT_TRUE(committed);
    EXPECT_EQ(std::tuple(outcome.load(), rows(u"Info"_s, u"\"Image #\" = 7"_s)), std::tuple(static_cast<int>(RemoveResult::Outcome::OnlyReference), 1));
}

TARLOX_ON_BOTH_ENGINES(ReferenceEditTest);

}  // namespace
