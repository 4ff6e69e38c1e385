#include "base/FileTools.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSysInfo>

namespace tarlox {

bool FileExists(const QString& path, QString* names)
{
    QString p = path;
    if (p.size() > 1 && p.endsWith(QLatin1Char('/')))
        p.chop(1);
    if (names)
        names->clear();
    if (p.isEmpty())
        return false;
    const QFileInfo info(p);
    const QString pattern = info.fileName();
    const bool wild = pattern.contains(QLatin1Char('*')) || pattern.contains(QLatin1Char('?'));
    if (!wild) {
        const bool found = info.exists();
        if (found && names)
            *names = pattern;
        return found;
    }
    const QStringList found = QDir(info.path()).entryList({pattern}, QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot, QDir::Name);
    if (names)
        *names = found.join(QLatin1Char('\t'));
    return !found.isEmpty();
}

void KillFile(const QString& path)
{
    if (!path.isEmpty())
        QFile::remove(path);
}

QString RetrieveComputerName()
{
    return QSysInfo::machineHostName().left(32).trimmed();
}

QString JoinPath(const QString& directory, const QString& name)
{
    if (directory.isEmpty() || directory.endsWith(QLatin1Char('/')))
        return directory + name;
    return directory + QLatin1Char('/') + name;
}

QString WithTrailingSeparator(const QString& directory)
{
    return directory.endsWith(QLatin1Char('/')) ? directory : directory + QLatin1Char('/');
}

}  // namespace tarlox
