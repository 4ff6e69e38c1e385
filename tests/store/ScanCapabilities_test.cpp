#include "store/SaneDevice.h"
#include "store/ScanCapabilities.h"
#include "support/SaneTestBackend.h"

#include <gtest/gtest.h>

using namespace tarlox;
using namespace tarlox::test;

namespace {

SaneOption range(double low, double high, SaneOption::Unit unit = SaneOption::NoUnit, SaneOption::Type type = SaneOption::Int)
{
    SaneOption o;
    std::tie(o.type, o.unit, o.constraint, o.minimum, o.maximum) = std::tuple(type, unit, SaneOption::Range, low, high);
    return o;
}

}  // namespace

TEST(ScanCapabilities, BrightnessIsScaledOntoTheDevicesRange)
{
    const SaneOption percent = range(-100, 100, SaneOption::Percent), bytes = range(0, 255);
    SaneOption list;
    std::tie(list.constraint, list.words) = std::tuple(SaneOption::WordList, QList<double>{-2, -1, 0, 1, 2});
    // Out of range counts as the end.
    EXPECT_EQ((QList<double>{DeviceBrightness(-1000, percent), DeviceBrightness(0, percent), DeviceBrightness(500, percent),
                             DeviceBrightness(1000, percent), DeviceBrightness(5000, percent), DeviceBrightness(-1000, bytes),
                             DeviceBrightness(0, bytes), DeviceBrightness(1000, list), DeviceBrightness(-1000, list)}),
              (QList<double>{-100, 0, 50, 100, 100, 0, 127.5, 2, -2}));
}

TEST(ScanCapabilities, FrameInTheDevicesUnitWithinItsRange)
{
    const SaneOption mm = range(0, 355.6, SaneOption::Millimetre, SaneOption::Fixed);
    EXPECT_DOUBLE_EQ(GeometryValue(11, mm, 200), 279.4);
    EXPECT_DOUBLE_EQ(GeometryValue(14, mm, 200), 355.6);
    EXPECT_DOUBLE_EQ(GeometryValue(14, range(0, 297, SaneOption::Millimetre), 200), 297) << "a flatbed shorter than Legal";
    EXPECT_DOUBLE_EQ(GeometryValue(11.7, range(0, 10000, SaneOption::Pixel), 300), 3510);
    EXPECT_DOUBLE_EQ(GeometryValue(0, range(1, 100, SaneOption::Millimetre), 200), 1);
}

TEST(ScanCapabilities, ModeAndSourceEntriesOfRealDevices)
{
    const struct { QStringList modes; QString twoColour; QString grey; } modes[] = {
        {{QStringLiteral("Lineart"), QStringLiteral("Gray"), QStringLiteral("Color")}, QStringLiteral("Lineart"), QStringLiteral("Gray")},
        {{QStringLiteral("Color"), QStringLiteral("Halftone"), QStringLiteral("Binary")}, QStringLiteral("Binary"), {}},
        {{QStringLiteral("Black & White"), QStringLiteral("Grayscale")}, QStringLiteral("Black & White"), QStringLiteral("Grayscale")},
        {{QStringLiteral("Gray"), QStringLiteral("Color")}, {}, QStringLiteral("Gray")}, {{QStringLiteral("Halftone"), QStringLiteral("Color")}, {}, {}},
    };
    for (const auto& row : modes) {
        SCOPED_TRACE(row.modes.join(QLatin1Char('|')).toStdString());
        EXPECT_EQ(TwoColourMode(row.modes), row.twoColour);
        EXPECT_EQ(GreyMode(row.modes), row.grey);
    }
    const struct { QStringList sources; QString feeder; } sources[] = {
        {{QStringLiteral("Flatbed"), QStringLiteral("Automatic Document Feeder")}, QStringLiteral("Automatic Document Feeder")},
        {{QStringLiteral("Flatbed"), QStringLiteral("ADF Duplex"), QStringLiteral("ADF Front"), QStringLiteral("ADF Back")}, QStringLiteral("ADF Front")},
        {{QStringLiteral("ADF Duplex")}, {}}, {{QStringLiteral("Flatbed"), QStringLiteral("Transparency Unit")}, {}},
    };
    for (const auto& row : sources) EXPECT_EQ(FeederSource(row.sources), row.feeder) << row.sources.join(QLatin1Char('|')).toStdString();
}

// The settings applied in a scan are tested through ScannerSession's pages.
TEST(ScanCapabilities, ValuesAreSetWithinTheDevicesRange)
{
    UseSaneTestBackend();
    auto device = SaneDevice::open(QStringLiteral("test:0"));
    ASSERT_TRUE(device.ok()) << device.error().toStdString();
    SaneDevice& d = **device;
    ASSERT_TRUE(d.setValue(QStringLiteral("resolution"), 5000).ok());
    EXPECT_FALSE(d.setValue(QStringLiteral("no-such-option"), 1).ok());
    ASSERT_TRUE(ApplyBlackAndWhite(d).ok());
    EXPECT_EQ((QStringList{d.value(QStringLiteral("resolution")).toString(), d.value(QStringLiteral("mode")).toString(), d.value(QStringLiteral("depth")).toString()}),
              (QStringList{QStringLiteral("1200"), QStringLiteral("Gray"), QStringLiteral("1")}));
    EXPECT_TRUE(ApplyBrightness(d, 300).ok()) << "a device without brightness ignores it";
}
