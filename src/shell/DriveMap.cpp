#include "shell/DriveMap.h"

namespace tarlox {

namespace {

const QString Letters = QStringLiteral("ABCDEFGHIJKLMNOPQRSTUVWXYZ");

QString withoutTrailingSeparators(QString path)
{
    while (path.size() > 1 && path.endsWith(QLatin1Char('/')))
        path.chop(1);
    return path;
}

}  // namespace

bool IsPathDriveMapEntry(const QString& entry)
{
    return entry.startsWith(QLatin1Char('/'));
}

std::optional<QString> NormalizeDriveMapEntry(const QString& text)
{
    const QString trimmed = text.trimmed();
    if (trimmed.isEmpty())
        return std::nullopt;
    if (IsPathDriveMapEntry(trimmed)) {
        if (trimmed.count(QLatin1Char('=')) != 1 || trimmed.contains(QLatin1Char(';')))
            return std::nullopt;
        const QString server = withoutTrailingSeparators(trimmed.section(QLatin1Char('='), 0, 0).trimmed());
        const QString local = withoutTrailingSeparators(trimmed.section(QLatin1Char('='), 1).trimmed());
        if (!server.startsWith(QLatin1Char('/')) || !local.startsWith(QLatin1Char('/')) || server == local)
            return std::nullopt;
        return server + QLatin1Char('=') + local;
    }
    const QString upper = trimmed.toUpper();
    if (upper.size() != 3 || upper.at(1) != QLatin1Char('=') || !Letters.contains(upper.at(0)) || !Letters.contains(upper.at(2))
        || upper.at(0) == upper.at(2))
        return std::nullopt;
    return upper;
}

QStringList SplitDriveMap(const QString& drvMap)
{
    QStringList letters;
    QStringList paths;
    for (const QString& piece : drvMap.split(QLatin1Char(';'), Qt::SkipEmptyParts)) {
        if (IsPathDriveMapEntry(piece)) {
            paths.append(piece);
            continue;
        }
        for (qsizetype at = 0; at + 3 <= piece.size(); at += 3)
            letters.append(piece.mid(at, 3));
    }
    return letters + paths;
}

QString JoinDriveMap(const QStringList& entries)
{
    QString letters;
    QStringList pieces;
    for (const QString& entry : entries) {
        if (entry.isEmpty())
            continue;
        if (IsPathDriveMapEntry(entry))
            pieces.append(entry);
        else
            letters += entry;
    }
    if (!letters.isEmpty())
        pieces.prepend(letters);
    return pieces.join(QLatin1Char(';'));
}

}  // namespace tarlox
