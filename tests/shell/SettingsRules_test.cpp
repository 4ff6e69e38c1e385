#include "shell/DriveMap.h"
#include "shell/SettingsRules.h"

#include <gtest/gtest.h>

using namespace tarlox;

TEST(DriveMap, EntriesAreCheckedAndNormalizedAndTheStoredTextRoundTrips)
{
    // a stored value of nullptr: refused
    struct Case { const char* typed; const char* stored; };
    const Case cases[] = {
        {"F=C", "F=C"},      {"f=c", "F=C"},  {" g=d ", "G=D"}, {"FF=C", nullptr}, {"F-C", nullptr}, {"F=F", nullptr},
        {"F=1", nullptr},    {"1=F", nullptr}, {"F=", nullptr},   {"=C", nullptr},   {"F==C", nullptr},
        {"/srv/tarlox=/mnt/tarlox", "/srv/tarlox=/mnt/tarlox"}, {"/srv/Tarlox/=/mnt/Tarlox/", "/srv/Tarlox=/mnt/Tarlox"},
        {"/srv/tarlox=mnt/tarlox", nullptr}, {"/srv/tarlox=/srv/tarlox", nullptr}, {"/srv/a=/mnt/b=/x", nullptr},
        {"/srv/a;/b=/mnt/b", nullptr},       {"/srv/a", nullptr},
    };
    // A refused entry has no value at all, not even an empty one.
    for (const Case& c : cases)
        EXPECT_EQ(NormalizeDriveMapEntry(QString::fromUtf8(c.typed)).value_or(QStringLiteral("(refused)")), QString::fromUtf8(c.stored ? c.stored : "(refused)")) << c.typed;
    EXPECT_FALSE(NormalizeDriveMapEntry(QString()).has_value());
    EXPECT_EQ(std::tuple(JoinDriveMap({QStringLiteral("F=C"), QStringLiteral("G=D")}), SplitDriveMap(QStringLiteral("F=CG=D")), SplitDriveMap(QString())),
              std::tuple(QStringLiteral("F=CG=D"), QStringList{QStringLiteral("F=C"), QStringLiteral("G=D")}, QStringList()));
    // A stray remainder shorter than an entry is no entry.
    EXPECT_EQ(SplitDriveMap(QStringLiteral("F=CG=")), QStringList{QStringLiteral("F=C")});

    const QStringList mixed{QStringLiteral("/srv/tarlox=/mnt/tarlox"), QStringLiteral("F=C"), QString(), QStringLiteral("/srv/b=/b")};
    const QString stored = JoinDriveMap(mixed);
    EXPECT_EQ(stored, QStringLiteral("F=C;/srv/tarlox=/mnt/tarlox;/srv/b=/b"));
    // Letters come first; the letter walk over the stored text still finds F=C at its start.
    EXPECT_EQ(SplitDriveMap(stored), (QStringList{QStringLiteral("F=C"), QStringLiteral("/srv/tarlox=/mnt/tarlox"), QStringLiteral("/srv/b=/b")}));
    EXPECT_EQ(std::tuple(JoinDriveMap({QStringLiteral("/srv/a=/a")}), SplitDriveMap(QStringLiteral("/srv/a=/a"))),
              std::tuple(QStringLiteral("/srv/a=/a"), QStringList{QStringLiteral("/srv/a=/a")}));
}

TEST(SettingsRules, FieldsAreSetBackWithinTheirBoundsAndDefaultPagesChecked)
{
    for (const auto& [typed, seconds] : {std::pair{"500", 120}, {"-3", 0}, {"x", 0}, {"", 0}, {"30", 30}, {"45s", 45}})
        EXPECT_EQ(ClampTimeout(QString::fromUtf8(typed)), seconds) << typed;
    const struct { QString (*clamp)(const QString&); const char* typed; const char* kept; } rows[] = {{ClampFontSize, "2", "6"},           {ClampFontSize, "72", "36"},        {ClampFontSize, "12", "12"},
                {ClampFontSize, "", ""},             {ClampBrightness, "-5000", "-1000"}, {ClampBrightness, "1001", "1000"},
                {ClampBrightness, "-20", "-20"},     {ClampDpi, "12000", "9999"},        {ClampDpi, "-1", "0"},
                {ClampDpi, "300", "300"}};
    for (const auto& row : rows)
        EXPECT_EQ(row.clamp(QString::fromUtf8(row.typed)), QString::fromUtf8(row.kept)) << row.typed;
    for (const char* good : {"", "All", "all", "ALL", "1,3,5", "12", ","})
        EXPECT_TRUE(ValidDefaultPages(QString::fromUtf8(good))) << good;
    for (const char* bad : {"1-3", "All,1", "x", "1 3", "Al"})
        EXPECT_FALSE(ValidDefaultPages(QString::fromUtf8(bad))) << bad;
}
