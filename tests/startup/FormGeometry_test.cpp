#include "startup/FormGeometry.h"
#include "startup/IniFile.h"
#include "startup/Settings.h"
#include "support/TestSite.h"

#include <gtest/gtest.h>

using namespace tarlox;
using namespace tarlox::test;

TEST(FormGeometry, SavedAndReadBackUnderTheFormsName)
{
    TestSite site;
    ASSERT_TRUE(site.start());
    Session& s = site.session();
    EXPECT_FALSE(GetFormSize(s, {}, QStringLiteral("frmScan")).state.has_value()) << "never saved: the designed place and size";

    FormGeometry g;
    g.state = FormGeometry::Normal;
    g.height = 6000;
    g.width = 9600.5;
    g.top = 15;
    g.left = 0;
    SaveFormSize(s, {}, QStringLiteral("frmScan"), g);
    const auto key = [&](const char* k) { return ReadIniValue(site.localIni(), QStringLiteral("Form"), QLatin1String(k)).value; };
    EXPECT_EQ(key("frmScanState"), QStringLiteral("0"));
    EXPECT_EQ(key("frmScanHeight"), QStringLiteral("6000"));
    EXPECT_EQ(key("frmScanWidth"), QStringLiteral("9600.5"));
    const FormGeometry back = GetFormSize(s, {}, QStringLiteral("frmScan"));
    EXPECT_EQ(back.state, FormGeometry::Normal);
    EXPECT_EQ(back.height, 6000);
    EXPECT_EQ(back.width, 9600.5);
    EXPECT_EQ(back.top, 15);
    EXPECT_EQ(back.left, 0);

    // Maximized: the state is written, the normal size kept, and not read back.
    g.state = FormGeometry::Maximized;
    g.height = 1;
    SaveFormSize(s, {}, QStringLiteral("frmScan"), g);
    EXPECT_EQ(key("frmScanHeight"), QStringLiteral("6000"));
    const FormGeometry maximized = GetFormSize(s, {}, QStringLiteral("frmScan"));
    EXPECT_EQ(maximized.state, FormGeometry::Maximized);
    EXPECT_FALSE(maximized.height.has_value());

    // Another section, and a blank key left alone.
    PutLocal(s, QStringLiteral("Layout"), QStringLiteral("xState"), QStringLiteral(" "));
    PutLocal(s, QStringLiteral("Layout"), QStringLiteral("xWidth"), QStringLiteral("7000"));
    const FormGeometry other = GetFormSize(s, QStringLiteral("Layout"), QStringLiteral("x"));
    EXPECT_FALSE(other.state.has_value());
    EXPECT_EQ(other.width, 7000);
    EXPECT_FALSE(other.top.has_value());
    EXPECT_EQ(TwipsToPixels(9555), 637);
    EXPECT_EQ(PixelsToTwips(369), 5535);
}
