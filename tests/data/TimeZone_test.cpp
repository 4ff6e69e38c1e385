#include "data/ImageData.h"
#include "search/FindQuery.h"
#include "support/TestSite.h"

#include <QTimeZone>

#include <ctime>

using namespace tarlox;
using namespace tarlox::test;

namespace {

// A workstation six hours behind UTC in winter, five in summer.
class TimeZoneTest : public SiteTest {
protected:
    static void SetUpTestSuite() { qputenv("TZ", "America/Chicago"); tzset(); }
    static void TearDownTestSuite() { qputenv("TZ", "UTC"); tzset(); }
    void SetUp() override { ASSERT_EQ(QTimeZone::systemTimeZoneId(), QByteArray("America/Chicago")); ASSERT_TRUE(site.start()); }
};

}  // namespace

TEST_P(TimeZoneTest, EntryDatesKeepTheWorkstationsClockTime)
{
    const QDateTime lateEvening(QDate(2026, 1, 15), QTime(22, 30));
    const QDateTime summerMorning(QDate(2026, 7, 1), QTime(6, 15));
    qint32 number = 500;
    for (const QDateTime& when : {lateEvening, summerMorning}) {
        s().image = ImageRecord{++number, s().dataDir, QStringLiteral(" "), when, QStringLiteral(" "), QStringLiteral("4")};
        s().info = InfoRecord{QStringLiteral("HZ%1").arg(number), QStringLiteral("P"), {}, {}, {}, when, number};
        ASSERT_TRUE(AddImageWithInfo(s(), false));
    }
    const auto dateOf = [&](qint32 image) { return ReadImage(s(), image) ? s().image.entryDate : QDateTime(); };
    EXPECT_EQ(std::tuple(dateOf(501), dateOf(502)), std::tuple(lateEvening, summerMorning));

    // 10:30 pm on the 15th is on the 15th here, though already the 16th in UTC.
    FindCriteria day{.heat = QStringLiteral("HZ*"), .from = QStringLiteral("1/15/2026"), .to = QStringLiteral("1/15/2026")};
    const FindResult found = FindReferences(s(), day, 100);
    ASSERT_EQ(found.rows.size(), 1);
    EXPECT_EQ(std::tuple(found.rows.first().imageNumber, found.rows.first().entryDate), std::tuple(501, lateEvening));
}

TARLOX_ON_BOTH_ENGINES(TimeZoneTest);
