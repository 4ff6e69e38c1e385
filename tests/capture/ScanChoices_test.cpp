#include "capture/ScanChoices.h"
#include "data/Settings.h"
#include "support/TestSite.h"

#include <gtest/gtest.h>

using namespace tarlox;
using namespace tarlox::test;

TEST(ScanChoices, DittoKeyOfThePartField)
{
    const struct {
        const char* typed;
        const char* result;
    } rows[] = {
        {"A B", "A B B"}, {"A", "A A"}, {"  A  B  ", "A  B B"}, {"", " "}, {"   ", " "}, {"P-1 P-22", "P-1 P-22 P-22"},
    };
    for (const auto& r : rows)
        EXPECT_EQ(DittoLastPart(QLatin1String(r.typed)), QLatin1String(r.result)) << r.typed;
}

TEST(ScanChoices, BrightnessBoxTakesItsNumberWithinRange)
{
    const struct {
        const char* text;
        int value;
    } rows[] = {{"abc", 0}, {"5000", 1000}, {"-5000", -1000}, {"250", 250}, {" -40x", -40}, {"", 0}, {"12.5", 12}, {"13.5", 14}};
    for (const auto& r : rows)
        EXPECT_EQ(BrightnessFromText(QLatin1String(r.text)), r.value) << r.text;
}

TEST(ScanChoices, ResolutionsAndDefaultsFromTheSettings)
{
    TestSite site;
    ASSERT_TRUE(site.start());
    Session& s = site.session();
    ResolutionChoice choice = ReadResolutionChoice(s);
    EXPECT_EQ(choice.lowCaption(), QStringLiteral("200dpi"));
    EXPECT_EQ(choice.highCaption(), QStringLiteral("300dpi"));
    EXPECT_EQ(choice.dpiFor(true), QStringLiteral("300"));
    PutLocal(s, QStringLiteral("Info"), QStringLiteral("LowDPI"), QStringLiteral("150"));
    PutLocal(s, QStringLiteral("Info"), QStringLiteral("HighDPI"), QStringLiteral("400"));
    choice = ReadResolutionChoice(s);
    EXPECT_EQ(choice.lowCaption(), QStringLiteral("150dpi"));
    EXPECT_EQ(choice.dpiFor(false), QStringLiteral("150"));
    EXPECT_EQ(choice.dpiFor(true), QStringLiteral("400"));
    PutLocal(s, QStringLiteral("Info"), QStringLiteral("Brightness"), QStringLiteral("7000"));
    EXPECT_EQ(DefaultBrightness(s), 1000);
}
