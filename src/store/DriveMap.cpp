#include "store/DriveMap.h"

#include <QStringList>

namespace tarlox {

namespace {

bool startsWithDriveLetter(const QString& path)
{
    return path.size() >= 2 && path[0].isLetter() && path[1] == QLatin1Char(':');
}

bool isPrefixEntry(const QString& segment)
{
    return segment.contains(QLatin1Char('/')) || segment.contains(QLatin1Char('\\'));
}

QString withoutTrailingSeparator(QString prefix)
{
    while (prefix.size() > 1 && prefix.endsWith(QLatin1Char('/')))
        prefix.chop(1);
    return prefix;
}

// The path with `from` replaced by `to` when `from` is a whole-component prefix of it.
std::optional<QString> replacePrefix(const QString& path, const QString& from, const QString& to)
{
    if (from == QLatin1String("/")) {
        if (!path.startsWith(QLatin1Char('/')))
            return std::nullopt;
        return to == QLatin1String("/") ? path : to + path;
    }
    if (path == from)
        return to;
    if (path.startsWith(from) && path[from.size()] == QLatin1Char('/'))
        return (to == QLatin1String("/") ? QString() : to) + path.mid(from.size());
    return std::nullopt;
}

}  // namespace

DriveMapResult ApplyDriveMap(const QString& drvMap, const QString& path, MapDirection direction)
{
    DriveMapResult result{path, {}};
    if (drvMap.isEmpty())
        return result;
    const bool toLocal = direction == MapDirection::ToLocal;
    const QStringList segments = drvMap.split(QLatin1Char(';'));
    for (const QString& segment : segments) {
        if (segment.isEmpty())
            continue;
        if (isPrefixEntry(segment)) {
            const qsizetype equals = segment.indexOf(QLatin1Char('='));
            const QString server = withoutTrailingSeparator(segment.left(equals).trimmed());
            const QString local = withoutTrailingSeparator(segment.mid(equals + 1).trimmed());
            if (equals < 0 || server.isEmpty() || local.isEmpty()) {
                result.error = QStringLiteral("DrvMap entry '") + segment + QStringLiteral("' is not of the form SERVERPREFIX=LOCALPREFIX");
                result.path = path;
                return result;
            }
            const auto mapped = toLocal ? replacePrefix(path, server, local) : replacePrefix(path, local, server);
            if (mapped) {
                result.path = *mapped;
                return result;
            }
            continue;
        }
        if (segment.size() < 2) {
            result.error = QStringLiteral("DrvMap '") + segment + QStringLiteral("' is too short for a drive map entry");
            return result;
        }
        if (!startsWithDriveLetter(path))
            continue;
        // Three characters an entry: stored letter, "=", local letter; a
        // remainder shorter than an entry is no entry.
        for (qsizetype i = 0; i + 2 < segment.size(); i += 3) {
            const QChar stored = segment[i];
            const QChar local = segment[i + 2];
            const QChar from = toLocal ? stored : local;
            const QChar to = toLocal ? local : stored;
            if (path[0] == from) {
                result.path[0] = to;
                return result;
            }
        }
    }
    return result;
}

}  // namespace tarlox
