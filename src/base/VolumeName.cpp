#include "base/VolumeName.h"

#include <QCryptographicHash>
#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QFileInfo>
#include <QStringList>

#include <sys/stat.h>
#include <sys/sysmacros.h>

namespace tarlox {

namespace {

constexpr int VolumeIdWidth = 32;

struct Mount {
    QString mountPoint;
    QString fsType;
    QString source;
    QString device;  // "major:minor"
};

// Undoes the octal escapes of /proc/self/mountinfo ("\040" for a blank).
QString unescapeOctal(const QString& field)
{
    QString out;
    for (qsizetype i = 0; i < field.size(); ++i) {
        if (field[i] == QLatin1Char('\\') && i + 3 < field.size()) {
            bool ok = false;
            const int code = field.mid(i + 1, 3).toInt(&ok, 8);
            if (ok) {
                out += QChar(code);
                i += 3;
                continue;
            }
        }
        out += field[i];
    }
    return out;
}

// Undoes the "\xNN" escapes of the names udev gives device links; the bytes are UTF-8.
QString unescapeHex(const QString& name)
{
    const QByteArray in = name.toUtf8();
    QByteArray out;
    for (qsizetype i = 0; i < in.size(); ++i) {
        if (in[i] == '\\' && i + 3 < in.size() && in[i + 1] == 'x') {
            bool ok = false;
            const int code = in.mid(i + 2, 2).toInt(&ok, 16);
            if (ok) {
                out += static_cast<char>(code);
                i += 3;
                continue;
            }
        }
        out += in[i];
    }
    return QString::fromUtf8(out);
}

QString nearestExisting(const QString& path)
{
    QString existing = QFileInfo(path).absoluteFilePath();
    while (!existing.isEmpty() && !QFileInfo::exists(existing)) {
        const QString parent = QFileInfo(existing).absolutePath();
        existing = parent == existing ? QString() : parent;
    }
    return QFileInfo(existing).canonicalFilePath();
}

Mount mountOf(const QString& path, const QString& mountinfo)
{
    const QString canonical = nearestExisting(path);
    Mount best;
    if (canonical.isEmpty())
        return best;
    const QStringList lines = mountinfo.split(QLatin1Char('\n'), Qt::SkipEmptyParts);
    for (const QString& line : lines) {
        const QStringList fields = line.split(QLatin1Char(' '));
        const qsizetype dash = fields.indexOf(QStringLiteral("-"));
        if (fields.size() < 5 || dash < 5 || dash + 2 >= fields.size())
            continue;
        const QString point = unescapeOctal(fields[4]);
        const bool contains = canonical == point || point == QLatin1String("/") || canonical.startsWith(point + QLatin1Char('/'));
        // Later lines are mounted over earlier ones at the same point.
        if (contains && point.size() >= best.mountPoint.size())
            best = Mount{point, fields[dash + 1], unescapeOctal(fields[dash + 2]), fields[2]};
    }
    return best;
}

QString readMountinfo()
{
    QFile file(QStringLiteral("/proc/self/mountinfo"));
    if (!file.open(QIODevice::ReadOnly))
        return {};
    return QString::fromUtf8(file.readAll());
}

bool isNetwork(const QString& fsType)
{
    static const QStringList kinds{QStringLiteral("nfs"),  QStringLiteral("nfs4"),       QStringLiteral("cifs"), QStringLiteral("smb3"),
                                   QStringLiteral("smbfs"), QStringLiteral("fuse.sshfs"), QStringLiteral("9p"),   QStringLiteral("ceph")};
    return kinds.contains(fsType);
}

// The name of the link in directory that leads to the mount's device: by the
// device file the mount names, else by the device number.
QString linkNameFor(const QString& directory, const Mount& mount)
{
    const QString target = mount.source.startsWith(QLatin1String("/dev/")) ? QFileInfo(mount.source).canonicalFilePath() : QString();
    bool numbered = false;
    dev_t number = 0;
    const QStringList parts = mount.device.split(QLatin1Char(':'));
    if (parts.size() == 2) {
        bool majorOk = false, minorOk = false;
        const unsigned major = parts[0].toUInt(&majorOk);
        const unsigned minor = parts[1].toUInt(&minorOk);
        numbered = majorOk && minorOk && major != 0;
        number = makedev(major, minor);
    }
    QDirIterator it(directory, QDir::Files | QDir::System);
    QStringList found;
    while (it.hasNext())
        found << it.next();
    found.sort();
    for (const QString& link : found) {
        const QString linked = QFileInfo(link).canonicalFilePath();
        if (!target.isEmpty() && linked == target)
            return unescapeHex(QFileInfo(link).fileName());
        struct stat info {};
        if (numbered && !linked.isEmpty() && ::stat(QFile::encodeName(linked).constData(), &info) == 0 && S_ISBLK(info.st_mode)
            && info.st_rdev == number)
            return unescapeHex(QFileInfo(link).fileName());
    }
    return {};
}

}  // namespace

namespace detail {

QString FitVolumeName(const QString& name)
{
    if (name.size() <= VolumeIdWidth)
        return name;
    QString withoutDashes = name;
    withoutDashes.remove(QLatin1Char('-'));
    if (withoutDashes.size() <= VolumeIdWidth)
        return withoutDashes;
    const QByteArray sum = QCryptographicHash::hash(name.toUtf8(), QCryptographicHash::Md5).toHex().left(8);
    return name.left(VolumeIdWidth - 9) + QLatin1Char('~') + QString::fromLatin1(sum);
}

QString VolumeNameIn(const QString& path, const QString& mountinfo, const QString& diskDirectory)
{
    if (path.trimmed().isEmpty())
        return {};
    const Mount mount = mountOf(path, mountinfo);
    if (mount.source.isEmpty())
        return {};
    if (isNetwork(mount.fsType))
        return FitVolumeName(mount.source);
    QString name = linkNameFor(diskDirectory + QStringLiteral("/by-label"), mount);
    if (name.isEmpty())
        name = linkNameFor(diskDirectory + QStringLiteral("/by-uuid"), mount);
    return FitVolumeName(name);
}

QString MountPointIn(const QString& path, const QString& mountinfo)
{
    if (path.trimmed().isEmpty())
        return {};
    return mountOf(path, mountinfo).mountPoint;
}

}  // namespace detail

QString GetVolumeName(const QString& path)
{
    return detail::VolumeNameIn(path, readMountinfo(), QStringLiteral("/dev/disk"));
}

QString MountPointOf(const QString& path)
{
    return detail::MountPointIn(path, readMountinfo());
}

QString NetworkHostOf(const QString& path)
{
    const Mount mount = mountOf(path, readMountinfo());
    if (!isNetwork(mount.fsType))
        return {};
    const QString& source = mount.source;
    if (source.startsWith(QLatin1String("//")))
        return source.mid(2).section(QLatin1Char('/'), 0, 0);
    return source.section(QLatin1Char(':'), 0, 0);
}

}  // namespace tarlox
