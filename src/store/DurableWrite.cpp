#include "store/DurableWrite.h"

#include <QFile>

#include <cerrno>
#include <fcntl.h>
#include <unistd.h>

namespace tarlox {

namespace {

bool syncPath(const QString& path, int flags)
{
    const int fd = ::open(QFile::encodeName(path).constData(), flags | O_CLOEXEC);
    if (fd < 0)
        return false;
    const bool ok = ::fsync(fd) == 0;
    ::close(fd);
    return ok;
}

}  // namespace

bool WriteAll(int fd, const char* data, qint64 size)
{
    while (size > 0) {
        const ssize_t written = ::write(fd, data, static_cast<size_t>(size));
        if (written < 0) {
            if (errno == EINTR)
                continue;
            return false;
        }
        data += written;
        size -= written;
    }
    return true;
}

bool SyncFile(const QString& path)
{
    return syncPath(path, O_RDONLY);
}

void SyncDirectory(const QString& directory)
{
    syncPath(directory, O_RDONLY | O_DIRECTORY);
}

bool SyncFileSystem(const QString& path)
{
    const int fd = ::open(QFile::encodeName(path).constData(), O_RDONLY | O_CLOEXEC);
    if (fd < 0)
        return false;
    const bool ok = ::syncfs(fd) == 0;
    const int error = errno;
    ::close(fd);
    errno = error;
    return ok;
}

}  // namespace tarlox
