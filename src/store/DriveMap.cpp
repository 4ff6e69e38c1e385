#include "store/DriveMap.h"

#include <QList>
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
    struct Entry {
        QString server;
        QString local;
        bool letter;
    };
    // The whole map is read first: a malformed map is a fault whatever the path.
    QList<Entry> entries;
    for (const QString& segment : drvMap.split(QLatin1Char(';'))) {
        if (segment.isEmpty())
            continue;
        if (isPrefixEntry(segment)) {
            const qsizetype equals = segment.indexOf(QLatin1Char('='));
            const QString server = withoutTrailingSeparator(segment.left(equals).trimmed());
            const QString local = withoutTrailingSeparator(segment.mid(equals + 1).trimmed());
            if (equals < 0 || server.isEmpty() || local.isEmpty())
                return {path, QStringLiteral("DrvMap entry '") + segment + QStringLiteral("' is not of the form SERVERPREFIX=LOCALPREFIX")};
            entries.append({server, local, false});
            continue;
        }
        if (segment.size() < 2)
            return {path, QStringLiteral("DrvMap '") + segment + QStringLiteral("' is too short for a drive map entry")};
        // Three characters an entry: server letter, "=", local letter; a
        // remainder shorter than an entry is no entry.
        for (qsizetype i = 0; i + 2 < segment.size(); i += 3)
            entries.append({QString(segment[i]), QString(segment[i + 2]), true});
    }

    const bool toLocal = direction == MapDirection::ToLocal;
    for (const Entry& entry : entries) {
        const QString& from = toLocal ? entry.server : entry.local;
        const QString& to = toLocal ? entry.local : entry.server;
        if (entry.letter) {
            if (startsWithDriveLetter(path) && path[0] == from[0]) {
                QString mapped = path;
                mapped[0] = to[0];
                return {mapped, {}};
            }
        } else if (const auto mapped = replacePrefix(path, from, to)) {
            return {*mapped, {}};
        }
    }
    return {path, {}};
}

}  // namespace tarlox
