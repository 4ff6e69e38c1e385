#include "base/VolumeName.h"
#include "support/QtPrinters.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

using namespace tarlox;
using namespace tarlox::detail;

namespace {

QString escaped(QString path) { return path.replace(QLatin1Char(' '), QStringLiteral("\\040")); }

QString line(int id, const QString& mountPoint, const QString& fsType, const QString& source, const QString& device = QStringLiteral("0:0"))
{
    return QStringLiteral("%1 1 %2 / %3 rw,relatime shared:1 - %4 %5 rw\n").arg(id).arg(device, escaped(mountPoint), fsType, source);
}

class VolumeNameTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        ASSERT_TRUE(QDir(root.path()).mkpath(QStringLiteral("mnt/a/MTR")));
        ASSERT_TRUE(QDir(root.path()).mkpath(QStringLiteral("mnt/ab/MTR")));
        ASSERT_TRUE(QDir(root.path()).mkpath(QStringLiteral("mnt/with blank/MTR")));
        ASSERT_TRUE(QDir(root.path()).mkpath(QStringLiteral("disk/by-label")));
        ASSERT_TRUE(QDir(root.path()).mkpath(QStringLiteral("disk/by-uuid")));
    }
    QString at(const QString& relative) const { return root.filePath(relative); }
    QString disk() const { return at(QStringLiteral("disk")); }
    void link(const QString& relative, const QString& target) { ASSERT_TRUE(QFile::link(target, at(relative))); }

    QTemporaryDir root;
};

TEST_F(VolumeNameTest, LabelThenUuidOfTheDeviceOfTheLongestMount)
{
    // Character devices stand in for disks: the names lead to the device by its path.
    link(QStringLiteral("disk/by-label/MTR\\x20DISK\\x2f2"), QStringLiteral("/dev/null"));
    link(QStringLiteral("disk/by-uuid/0f2c6a5e-1b7d-4c1e-9a53-8d2f1e3b4c5d"), QStringLiteral("/dev/zero"));
    const QString table = line(1, QStringLiteral("/"), QStringLiteral("ext4"), QStringLiteral("/dev/vda"))
        + line(2, at(QStringLiteral("mnt/a")), QStringLiteral("ext4"), QStringLiteral("/dev/null"))
        + line(3, at(QStringLiteral("mnt/ab")), QStringLiteral("xfs"), QStringLiteral("/dev/zero"))
        + line(4, at(QStringLiteral("mnt/with blank")), QStringLiteral("ext4"), QStringLiteral("/dev/null"));
    EXPECT_EQ(VolumeNameIn(at(QStringLiteral("mnt/a/MTR")), table, disk()), QStringLiteral("MTR DISK/2"));
    // Missing paths belong to their nearest parent.
    EXPECT_EQ(VolumeNameIn(at(QStringLiteral("mnt/with blank/MTR/2031/TR000001.TIF")), table, disk()), QStringLiteral("MTR DISK/2"));
    EXPECT_EQ(MountPointIn(at(QStringLiteral("mnt/with blank/none")), table), at(QStringLiteral("mnt/with blank")));
    EXPECT_EQ(VolumeNameIn(at(QStringLiteral("mnt/a")), table, disk()), QStringLiteral("MTR DISK/2"));
    // "/mnt/a" is no prefix of "/mnt/ab"; a 36-character UUID fits the column without its dashes.
    EXPECT_EQ(VolumeNameIn(at(QStringLiteral("mnt/ab/MTR/TR000001.TIF")), table, disk()), QStringLiteral("0f2c6a5e1b7d4c1e9a538d2f1e3b4c5d"));
    EXPECT_EQ(MountPointIn(at(QStringLiteral("mnt/ab/MTR/TR000001.TIF")), table), at(QStringLiteral("mnt/ab")));
    // A device without a name, and no path at all.
    EXPECT_EQ(VolumeNameIn(at(QStringLiteral("disk")), table, disk()), QString());
    EXPECT_EQ(VolumeNameIn(QStringLiteral(" "), table, disk()), QString());
}

TEST_F(VolumeNameTest, LaterMountsHideEarlierOnesAtTheSamePoint)
{
    link(QStringLiteral("disk/by-label/FIRST"), QStringLiteral("/dev/null"));
    link(QStringLiteral("disk/by-label/SECOND"), QStringLiteral("/dev/zero"));
    const QString table = line(2, at(QStringLiteral("mnt/a")), QStringLiteral("ext4"), QStringLiteral("/dev/null"))
        + line(3, at(QStringLiteral("mnt/a")), QStringLiteral("ext4"), QStringLiteral("/dev/zero"));
    EXPECT_EQ(VolumeNameIn(at(QStringLiteral("mnt/a/MTR")), table, disk()), QStringLiteral("SECOND"));
}

TEST_F(VolumeNameTest, NetworkMountsAreNamedByTheirSource)
{
    const QString longSource = QStringLiteral("fileserver.example.com:/exports/quality/mtr-archive");
    QString table = line(2, at(QStringLiteral("mnt/a")), QStringLiteral("nfs4"), QStringLiteral("files:/srv/mtr"))
        + line(3, at(QStringLiteral("mnt/ab")), QStringLiteral("nfs"), longSource)
        + line(4, at(QStringLiteral("mnt/with blank")), QStringLiteral("cifs"), QStringLiteral("//nas/scans"));
    EXPECT_EQ(VolumeNameIn(at(QStringLiteral("mnt/a/MTR")), table, disk()), QStringLiteral("files:/srv/mtr"));
    EXPECT_EQ(VolumeNameIn(at(QStringLiteral("mnt/with blank/MTR")), table, disk()), QStringLiteral("//nas/scans"));
    const QString fitted = VolumeNameIn(at(QStringLiteral("mnt/ab/MTR")), table, disk());
    EXPECT_EQ(fitted.size(), 32);
    EXPECT_TRUE(fitted.startsWith(longSource.left(23)));
    EXPECT_EQ(fitted, FitVolumeName(longSource)) << "the same name at every reading";
    EXPECT_NE(fitted, FitVolumeName(longSource + QStringLiteral("2")));
}

}  // namespace
