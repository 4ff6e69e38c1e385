#include "shell/DriveMap.h"
#include "shell/SettingsRules.h"

#include <gtest/gtest.h>

using namespace tarlox;

TEST(DriveMap, EntriesAreCheckedAndNormalized)
{
    struct Case {
        const char* typed;
        const char* stored;  // nullptr: refused
    };
    const Case cases[] = {
        {"F=C", "F=C"},
        {"f=c", "F=C"},
        {" g=d ", "G=D"},
        {"FF=C", nullptr},
        {"F-C", nullptr},
        {"F=F", nullptr},
        {"F=1", nullptr},
        {"1=F", nullptr},
        {"F=", nullptr},
        {"=C", nullptr},
        {"F==C", nullptr},
        {"/srv/tarlox=/mnt/tarlox", "/srv/tarlox=/mnt/tarlox"},
        {"/srv/Tarlox/=/mnt/Tarlox/", "/srv/Tarlox=/mnt/Tarlox"},
        {"/srv/tarlox=mnt/tarlox", nullptr},
        {"/srv/tarlox=/srv/tarlox", nullptr},
        {"/srv/a=/mnt/b=/x", nullptr},
        {"/srv/a;/b=/mnt/b", nullptr},
        {"/srv/a", nullptr},
    };
    for (const Case& c : cases) {
        const auto entry = NormalizeDriveMapEntry(QString::fromUtf8(c.typed));
        if (c.stored) {
            ASSERT_TRUE(entry.has_value()) << c.typed;
            EXPECT_EQ(*entry, QString::fromUtf8(c.stored)) << c.typed;
        } else {
            EXPECT_FALSE(entry.has_value()) << c.typed << " was taken as " << entry.value_or(QString()).toStdString();
        }
    }
    EXPECT_FALSE(NormalizeDriveMapEntry(QString()).has_value());
}

TEST(DriveMap, StoredTextRoundTrips)
{
    EXPECT_EQ(JoinDriveMap({QStringLiteral("F=C"), QStringLiteral("G=D")}), QStringLiteral("F=CG=D"));
    EXPECT_EQ(SplitDriveMap(QStringLiteral("F=CG=D")), (QStringList{QStringLiteral("F=C"), QStringLiteral("G=D")}));
    EXPECT_EQ(SplitDriveMap(QString()), QStringList());
    // A stray remainder shorter than an entry is no entry.
    EXPECT_EQ(SplitDriveMap(QStringLiteral("F=CG=")), QStringList{QStringLiteral("F=C")});

    const QStringList mixed{QStringLiteral("/srv/tarlox=/mnt/tarlox"), QStringLiteral("F=C"), QString(), QStringLiteral("/srv/b=/b")};
    const QString stored = JoinDriveMap(mixed);
    EXPECT_EQ(stored, QStringLiteral("F=C;/srv/tarlox=/mnt/tarlox;/srv/b=/b"));
    // Letters come first; the letter walk over the stored text still finds F=C at its start.
    EXPECT_EQ(SplitDriveMap(stored), (QStringList{QStringLiteral("F=C"), QStringLiteral("/srv/tarlox=/mnt/tarlox"), QStringLiteral("/srv/b=/b")}));
    EXPECT_EQ(JoinDriveMap({QStringLiteral("/srv/a=/a")}), QStringLiteral("/srv/a=/a"));
    EXPECT_EQ(SplitDriveMap(QStringLiteral("/srv/a=/a")), QStringList{QStringLiteral("/srv/a=/a")});
}

TEST(SettingsRules, TimeoutIsClampedToTwoMinutes)
{
    EXPECT_EQ(ClampTimeout(QStringLiteral("500")), 120);
    EXPECT_EQ(ClampTimeout(QStringLiteral("-3")), 0);
    EXPECT_EQ(ClampTimeout(QStringLiteral("x")), 0);
    EXPECT_EQ(ClampTimeout(QString()), 0);
    EXPECT_EQ(ClampTimeout(QStringLiteral("30")), 30);
    EXPECT_EQ(ClampTimeout(QStringLiteral("45s")), 45);
}

TEST(SettingsRules, FieldsAreSetBackWithinTheirBounds)
{
    EXPECT_EQ(ClampFontSize(QStringLiteral("2")), QStringLiteral("6"));
    EXPECT_EQ(ClampFontSize(QStringLiteral("72")), QStringLiteral("36"));
    EXPECT_EQ(ClampFontSize(QStringLiteral("12")), QStringLiteral("12"));
    EXPECT_EQ(ClampFontSize(QString()), QString());
    EXPECT_EQ(ClampBrightness(QStringLiteral("-5000")), QStringLiteral("-1000"));
    EXPECT_EQ(ClampBrightness(QStringLiteral("1001")), QStringLiteral("1000"));
    EXPECT_EQ(ClampBrightness(QStringLiteral("-20")), QStringLiteral("-20"));
    EXPECT_EQ(ClampDpi(QStringLiteral("12000")), QStringLiteral("9999"));
    EXPECT_EQ(ClampDpi(QStringLiteral("-1")), QStringLiteral("0"));
    EXPECT_EQ(ClampDpi(QStringLiteral("300")), QStringLiteral("300"));
}

TEST(SettingsRules, DefaultPages)
{
    for (const char* good : {"", "All", "all", "ALL", "1,3,5", "12", ","})
        EXPECT_TRUE(ValidDefaultPages(QString::fromUtf8(good))) << good;
    for (const char* bad : {"1-3", "All,1", "x", "1 3", "Al"})
        EXPECT_FALSE(ValidDefaultPages(QString::fromUtf8(bad))) << bad;
}
