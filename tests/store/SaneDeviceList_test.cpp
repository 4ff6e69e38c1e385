#include "store/SaneDeviceList.h"

#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

using namespace tarlox;

// SANE reads its configuration from SANE_CONFIG_DIR: a directory with only
// the test backend gives a known set of devices.
TEST(SaneDeviceList, ListsTheTestBackendsDevices)
{
    QTemporaryDir dir;
    ASSERT_TRUE(dir.isValid());
    auto write = [&](const char* name, const char* text) {
        QFile file(dir.filePath(QLatin1String(name)));
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(text);
    };
    write("dll.conf", "test\n");
    write("test.conf", "number_of_devices 2\n");
    qputenv("SANE_CONFIG_DIR", dir.path().toLocal8Bit());

    const QStringList devices = ListSaneDeviceEntries();
    ASSERT_EQ(devices.size(), 2) << devices.join(QLatin1Char('|')).toStdString();
    EXPECT_EQ(SaneDeviceName(devices.at(0)), QStringLiteral("test:0"));
    EXPECT_EQ(SaneDeviceName(devices.at(1)), QStringLiteral("test:1"));
    EXPECT_TRUE(devices.at(0).startsWith(QStringLiteral("test:0 (")));
    EXPECT_EQ(SaneDeviceName(QStringLiteral("plain")), QStringLiteral("plain"));

    const QString version = SaneVersionText();
    EXPECT_TRUE(version.count(QLatin1Char('.')) == 2 && version.at(0).isDigit()) << version.toStdString();
}
