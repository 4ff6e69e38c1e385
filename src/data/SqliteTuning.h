#pragma once

#include <QSqlDatabase>
#include <QString>

namespace tarlox {

// Per-connection setup of the file database: checks that the file is a
// SQLite database, picks the journal (WAL on a local disk, the rollback
// journal on a network filesystem, where WAL's shared memory does not work),
// and installs a busy handler that waits in short random sleeps, so that no
// single writer starves while others keep the lock.
bool TuneSqliteConnection(QSqlDatabase& db, const QString& file, int timeoutSeconds, QString* error);

// True when the path lies on NFS, SMB/CIFS or another network filesystem.
bool IsOnNetworkFileSystem(const QString& path);

}  // namespace tarlox
