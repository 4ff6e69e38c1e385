#include "base/FileHolders.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSet>

namespace tarlox {

QList<FileHolder> ProcessesHoldingFiles(const QStringList& paths)
{
    QSet<QString> wanted;
    for (const QString& path : paths) {
        const QFileInfo info(path);
        const QString canonical = info.canonicalFilePath();
        wanted.insert(canonical.isEmpty() ? info.absoluteFilePath() : canonical);
    }
    QList<FileHolder> holders;
    const qint64 self = QCoreApplication::applicationPid();
    const QDir proc(QStringLiteral("/proc"));
    const QStringList entries = proc.entryList(QDir::Dirs | QDir::NoDotAndDotDot);
    for (const QString& entry : entries) {
        bool numeric = false;
        const qint64 pid = entry.toLongLong(&numeric);
        if (!numeric || pid == self)
            continue;
        const QDir fds(proc.filePath(entry + QStringLiteral("/fd")));
        const QFileInfoList links = fds.entryInfoList(QDir::Files | QDir::System | QDir::NoDotAndDotDot);
        for (const QFileInfo& link : links) {
            if (!wanted.contains(link.symLinkTarget()))
                continue;
            QFile comm(proc.filePath(entry + QStringLiteral("/comm")));
            QString command;
            if (comm.open(QIODevice::ReadOnly))
                command = QString::fromLocal8Bit(comm.readAll()).trimmed();
            holders.append(FileHolder{pid, command});
            break;
        }
    }
    return holders;
}

}  // namespace tarlox
