#pragma once

#include <QString>

namespace tarlox {

// Writes all of size bytes to fd, again after an interrupted write; false
// with errno set on failure.
bool WriteAll(int fd, const char* data, qint64 size);

// Flushes a file to the disk; false when it can't be opened or flushed.
bool SyncFile(const QString& path);

// Flushes a directory, so that names just made or renamed in it reach the
// disk. Failures are ignored: not every filesystem can.
void SyncDirectory(const QString& directory);

// Flushes everything written to the file system that holds path (one
// syncfs), so that many files written one after another reach the disk in
// one pass; false with errno set when it can't.
bool SyncFileSystem(const QString& path);

}  // namespace tarlox
