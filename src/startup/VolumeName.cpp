#include "startup/VolumeName.h"

#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QFileInfo>
#include <QStringList>

namespace tarlox {

namespace {

struct Mount {
    QString mountPoint;
    QString fsType;
    QString source;
};

// Undoes the octal escapes of /proc/self/mountinfo ("\040" for a blank).
QString unescape(const QString& field)
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

Mount mountOf(const QString& path)
{
    QString existing = QFileInfo(path).absoluteFilePath();
    while (!existing.isEmpty() && !QFileInfo::exists(existing))
        existing = QFileInfo(existing).absolutePath() == existing ? QString() : QFileInfo(existing).absolutePath();
    const QString canonical = QFileInfo(existing).canonicalFilePath();
    Mount best;
    QFile file(QStringLiteral("/proc/self/mountinfo"));
    if (canonical.isEmpty() || !file.open(QIODevice::ReadOnly))
        return best;
    const QStringList lines = QString::fromUtf8(file.readAll()).split(QLatin1Char('\n'), Qt::SkipEmptyParts);
    for (const QString& line : lines) {
        const QStringList fields = line.split(QLatin1Char(' '));
        const qsizetype dash = fields.indexOf(QStringLiteral("-"));
        if (fields.size() < 5 || dash < 0 || dash + 2 >= fields.size())
            continue;
        const QString point = unescape(fields[4]);
        const bool contains = canonical == point || point == QLatin1String("/")
            || canonical.startsWith(point + QLatin1Char('/'));
        if (contains && point.size() >= best.mountPoint.size())
            best = Mount{point, fields[dash + 1], unescape(fields[dash + 2])};
    }
    return best;
}

bool isNetwork(const QString& fsType)
{
    static const QStringList kinds{QStringLiteral("nfs"), QStringLiteral("nfs4"), QStringLiteral("cifs"), QStringLiteral("smb3"),
                                   QStringLiteral("smbfs"), QStringLiteral("fuse.sshfs"), QStringLiteral("9p"), QStringLiteral("ceph")};
    return kinds.contains(fsType);
}

QString linkNameFor(const QString& directory, const QString& device)
{
    const QString target = QFileInfo(device).canonicalFilePath();
    if (target.isEmpty())
        return {};
    QDirIterator it(directory, QDir::Files | QDir::System);
    while (it.hasNext()) {
        const QString link = it.next();
        if (QFileInfo(link).canonicalFilePath() == target)
            return unescape(QFileInfo(link).fileName().replace(QStringLiteral("\\x20"), QStringLiteral(" ")));
    }
    return {};
}

}  // namespace

QString GetVolumeName(const QString& path)
{
    if (path.trimmed().isEmpty())
        return {};
    const Mount mount = mountOf(path);
    if (mount.source.isEmpty())
        return {};
    if (isNetwork(mount.fsType))
        return mount.source;
    if (!mount.source.startsWith(QLatin1String("/dev/")))
        return {};
    QString name = linkNameFor(QStringLiteral("/dev/disk/by-label"), mount.source);
    if (name.isEmpty())
        name = linkNameFor(QStringLiteral("/dev/disk/by-uuid"), mount.source);
    return name;
}

QString NetworkHostOf(const QString& path)
{
    const Mount mount = mountOf(path);
    if (!isNetwork(mount.fsType))
        return {};
    QString source = mount.source;
    if (source.startsWith(QLatin1String("//")))
        return source.mid(2).section(QLatin1Char('/'), 0, 0);
    return source.section(QLatin1Char(':'), 0, 0);
}

}  // namespace tarlox
