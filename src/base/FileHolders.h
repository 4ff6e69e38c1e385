#pragma once

#include <QList>
#include <QString>
#include <QStringList>

namespace tarlox {

// A process of this machine that has a file open.
struct FileHolder {
    qint64 pid = 0;
    QString command;  // the process's short name, "tarlox"
};

// The other processes of this machine (this one left out) that hold any of
// the files open, as far as the system lets us look; processes of other
// users are not visible.
QList<FileHolder> ProcessesHoldingFiles(const QStringList& paths);

}  // namespace tarlox
