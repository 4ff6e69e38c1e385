#include "base/VolumeName.h"
#include "support/QtPrinters.h"
#include "support/TestSite.h"

#include <QDir>
#include <QFile>

using namespace tarlox;
using namespace tarlox::detail;

namespace {

QString escaped(QString path) { return path.replace(QLatin1Char(' '), QStringLiteral("\\040")); }

QString line(int id, const QString& mountPoint, const QString& fsType, const QString& source, const QString& device = QStringLiteral("0:0"))
{
    return QStringLiteral("%1 1 %2 / %3 rw,relatime shared:1 - %4 %5 rw\n").arg(id).arg(device, escaped(mountPoint), fsType, source);
}

class VolumeNameTest : public test::TempDirTest {
protected:
    void SetUp() override
    {
        for (const char* sub : {"mnt/a/MTR", "mnt/ab/MTR", "mnt/with blank/MTR", "disk/by-label", "disk/by-uuid"}) ASSERT_TRUE(QDir().mkpath(at(QLatin1String(sub))));
    }
    QString at(const QString& relative) const { return path(relative); }
    QString disk() const { return at(QStringLiteral("disk")); }
    QString name(const char* path, const QString& table) const { return VolumeNameIn(at(QLatin1String(path)), table, disk()); }
    void link(const QString& relative, const QString& target) { ASSERT_TRUE(QFile::link(target, at(relative))); }
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
    // Missing paths belong to their nearest parent; "/mnt/a" is no prefix of "/mnt/ab"; a 36-character
    // UUID fits the column without its dashes; a device without a name, and no path at all.
    EXPECT_EQ((QStringList{name("mnt/a/MTR", table), name("mnt/with blank/MTR/2031/TR000001.TIF", table), name("mnt/a", table),
                           name("mnt/ab/MTR/TR000001.TIF", table), name("disk", table), VolumeNameIn(QStringLiteral(" "), table, disk())}),
              (QStringList{QStringLiteral("MTR DISK/2"), QStringLiteral("MTR DISK/2"), QStringLiteral("MTR DISK/2"),
                           QStringLiteral("0f2c6a5e1b7d4c1e9a538d2f1e3b4c5d"), QString(), QString()}));
    EXPECT_EQ((QStringList{MountPointIn(at(QStringLiteral("mnt/with blank/none")), table), MountPointIn(at(QStringLiteral("mnt/ab/MTR/TR000001.TIF")), table)}),
              (QStringList{at(QStringLiteral("mnt/with blank")), at(QStringLiteral("mnt/ab"))}));
}

TEST_F(VolumeNameTest, LaterMountsHideEarlierOnesAtTheSamePoint)
{
    link(QStringLiteral("disk/by-label/FIRST"), QStringLiteral("/dev/null"));
    link(QStringLiteral("disk/by-label/SECOND"), QStringLiteral("/dev/zero"));
    const QString table = line(2, at(QStringLiteral("mnt/a")), QStringLiteral("ext4"), QStringLiteral("/dev/null"))
        + line(3, at(QStringLiteral("mnt/a")), QStringLiteral("ext4"), QStringLiteral("/dev/zero"));
    EXPECT_EQ(name("mnt/a/MTR", table), QStringLiteral("SECOND"));
}

TEST_F(VolumeNameTest, NetworkMountsAreNamedByTheirSource)
{
    const QString longSource = QStringLiteral("fileserver.example.com:/exports/quality/mtr-archive");
    QString table = line(2, at(QStringLiteral("mnt/a")), QStringLiteral("nfs4"), QStringLiteral("files:/srv/mtr"))
        + line(3, at(QStringLiteral("mnt/ab")), QStringLiteral("nfs"), longSource)
        + line(4, at(QStringLiteral("mnt/with blank")), QStringLiteral("cifs"), QStringLiteral("//nas/scans"));
    EXPECT_EQ((QStringList{name("mnt/a/MTR", table), name("mnt/with blank/MTR", table)}), (QStringList{QStringLiteral("files:/srv/mtr"), QStringLiteral("//nas/scans")}));
    const QString fitted = name("mnt/ab/MTR", table);
    EXPECT_TRUE(fitted.size() == 32 && fitted.startsWith(longSource.left(23)));
    EXPECT_EQ(fitted, FitVolumeName(longSource)) << "the same name at every reading";
    EXPECT_NE(fitted, FitVolumeName(longSource + QStringLiteral("2")));
}

}  // namespace
