#include "store/FileReplacement.h"

#include "store/DurableWrite.h"

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QRandomGenerator>

#include <cstdio>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <vector>

namespace tarlox {

namespace {

QString systemError(int error)
{
    return qt_error_string(error);
}

// Copies the content and the permission bits of source into the open file fd.
IoStatus copyInto(const QString& source, int fd)
{
    const int in = ::open(QFile::encodeName(source).constData(), O_RDONLY | O_CLOEXEC);
    if (in < 0)
        return Failure(QStringLiteral("Can't read \"%1\": %2").arg(source, systemError(errno)));
    struct stat info {};
    if (::fstat(in, &info) == 0)
        ::fchmod(fd, info.st_mode & 07777);
    // The kernel copies without the data passing through here (and shares
    // blocks where the file system can); a file system it can't do that
    // for gets the copy by reading and writing. Some report nothing to copy
    // from the start, so an empty first answer is checked by reading too.
    for (bool any = false;;) {
        const ssize_t copied = ::copy_file_range(in, nullptr, fd, nullptr, std::size_t(1) << 30, 0);
        if (copied > 0) {
            any = true;
            continue;
        }
        if (copied == 0 && !any)
            break;
        if (copied == 0) {
            ::close(in);
            return {};
        }
        if (errno == EINTR)
            continue;
        if (errno != EXDEV && errno != EINVAL && errno != ENOSYS && errno != EOPNOTSUPP && errno != EBADF) {
            const int error = errno;
            ::close(in);
            return Failure(QStringLiteral("Can't copy \"%1\": %2").arg(source, systemError(error)));
        }
        break;
    }
    std::vector<char> buffer(1 << 16);
    for (;;) {
        const ssize_t got = ::read(in, buffer.data(), buffer.size());
        if (got == 0)
            break;
        if (got < 0) {
            if (errno == EINTR)
                continue;
            const int error = errno;
            ::close(in);
            return Failure(QStringLiteral("Can't read \"%1\": %2").arg(source, systemError(error)));
        }
        if (!WriteAll(fd, buffer.data(), got)) {
            const int error = errno;
            ::close(in);
            return Failure(QStringLiteral("Can't copy \"%1\": %2").arg(source, systemError(error)));
        }
    }
    ::close(in);
    return {};
}

}  // namespace

FileReplacement::FileReplacement(QString target, QString work, bool replacesExisting)
    : target_(std::move(target)), work_(std::move(work)), replacesExisting_(replacesExisting)
{
}

FileReplacement::FileReplacement(FileReplacement&& other) noexcept
    : target_(std::move(other.target_)), work_(std::move(other.work_)), replacesExisting_(other.replacesExisting_),
      done_(std::exchange(other.done_, true))
{
}

FileReplacement& FileReplacement::operator=(FileReplacement&& other) noexcept
{
    if (this != &other) {
        discard();
        target_ = std::move(other.target_);
        work_ = std::move(other.work_);
        replacesExisting_ = other.replacesExisting_;
        done_ = std::exchange(other.done_, true);
    }
    return *this;
}

FileReplacement::~FileReplacement()
{
    discard();
}

IoResult<FileReplacement> FileReplacement::begin(const QString& target, bool keepContent)
{
    int fd = -1;
    auto replacement = create(target, &fd);
    if (!replacement)
        return replacement;
    if (keepContent && replacement->replacesExisting()) {
        const IoStatus copied = copyInto(target, fd);
        if (!copied) {
            ::close(fd);
            return copied.failure();
        }
    }
    if (::close(fd) != 0)
        return Failure(QStringLiteral("Can't write in \"%1\": %2").arg(QFileInfo(target).absolutePath(), systemError(errno)));
    return replacement;
}

IoResult<FileReplacement> FileReplacement::create(const QString& target, int* fdOut)
{
    const QFileInfo info(target);
    const QString directory = info.absolutePath();
    if (info.fileName().isEmpty())
        return Failure(QStringLiteral("\"%1\" is not a file name.").arg(target));
    if (!QFileInfo(directory).isDir())
        return Failure(QStringLiteral("Can't write \"%1\": the directory \"%2\" does not exist.").arg(target, directory));
    if (info.exists() && !info.isFile())
        return Failure(QStringLiteral("Can't write \"%1\": it is not a file.").arg(target));
    const bool exists = info.exists();

    // Hidden, and ending in neither ".TIF" nor ".tif", so no search for image files finds it.
    QString work;
    int fd = -1;
    for (int attempt = 0; attempt < 100 && fd < 0; ++attempt) {
        work = directory + QStringLiteral("/.") + info.fileName() + QLatin1Char('.')
               + QString::number(QRandomGenerator::global()->generate(), 36) + QStringLiteral(".part");
        fd = ::open(QFile::encodeName(work).constData(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
        if (fd < 0 && errno != EEXIST)
            return Failure(QStringLiteral("Can't write in \"%1\": %2").arg(directory, systemError(errno)));
    }
    if (fd < 0)
        return Failure(QStringLiteral("Can't write in \"%1\": no free work file name").arg(directory));

    *fdOut = fd;
    return FileReplacement(target, work, exists);
}

IoStatus FileReplacement::commit()
{
    if (done_)
        return Failure(QStringLiteral("\"%1\" was already written.").arg(target_));
    const QByteArray work = QFile::encodeName(work_);
    const int fd = ::open(work.constData(), O_RDONLY | O_CLOEXEC);
    if (fd < 0 || ::fsync(fd) != 0) {
        const int error = errno;
        if (fd >= 0)
            ::close(fd);
        discard();
        return Failure(QStringLiteral("Can't write \"%1\": %2").arg(target_, systemError(error)));
    }
    ::close(fd);
    if (::rename(work.constData(), QFile::encodeName(target_).constData()) != 0) {
        const int error = errno;
        discard();
        return Failure(QStringLiteral("Can't write \"%1\": %2").arg(target_, systemError(error)));
    }
    done_ = true;
    SyncDirectory(QFileInfo(target_).absolutePath());
    return {};
}

IoStatus FileReplacement::commitFlushed(Existing existing)
{
    if (done_)
        return Failure(QStringLiteral("\"%1\" was already written.").arg(target_));
    const QByteArray work = QFile::encodeName(work_);
    const QByteArray target = QFile::encodeName(target_);
    int result = 0;
    if (existing == Existing::Replace) {
        result = ::rename(work.constData(), target.constData());
    } else {
        result = ::renameat2(AT_FDCWD, work.constData(), AT_FDCWD, target.constData(), RENAME_NOREPLACE);
        // A file system without the flag: a second name, which fails on an existing target too.
        if (result != 0 && (errno == EINVAL || errno == ENOSYS) && (result = ::link(work.constData(), target.constData())) == 0)
            ::unlink(work.constData());
    }
    if (result != 0) {
        const int error = errno;
        discard();
        return Failure(error == EEXIST ? QStringLiteral("\"%1\" exists already; it was left as it is.").arg(target_)
                                       : QStringLiteral("Can't write \"%1\": %2").arg(target_, systemError(error)));
    }
    done_ = true;
    return {};
}

void FileReplacement::discard()
{
    if (done_)
        return;
    done_ = true;
    if (!work_.isEmpty())
        ::unlink(QFile::encodeName(work_).constData());
}

IoResult<FileReplacement> BeginCopy(const QString& source, const QString& target)
{
    int fd = -1;
    auto replacement = FileReplacement::create(target, &fd);
    if (!replacement)
        return replacement.failure();
    const IoStatus copied = copyInto(source, fd);
    // The disk starts on this copy now, while the next ones are made; the
    // caller's flush then waits for little more than the last of them.
    if (copied)
        ::sync_file_range(fd, 0, 0, SYNC_FILE_RANGE_WRITE);
    if (::close(fd) != 0 && copied)
        return Failure(QStringLiteral("Can't copy \"%1\": %2").arg(source, systemError(errno)));
    if (!copied)
        return copied.failure();
    return replacement;
}

IoStatus ReplaceWithCopy(const QString& source, const QString& target)
{
    auto copy = BeginCopy(source, target);
    if (!copy)
        return copy.failure();
    return copy->commit();
}

IoStatus CommitWrittenFile(const QString& written, const QString& target)
{
    if (!SyncFile(written))
        return Failure(QStringLiteral("Can't write \"%1\": %2").arg(written, systemError(errno)));
    if (::rename(QFile::encodeName(written).constData(), QFile::encodeName(target).constData()) != 0)
        return Failure(QStringLiteral("Can't rename \"%1\" to \"%2\": %3").arg(written, target, systemError(errno)));
    // The new name itself reaches the disk with its directory.
    SyncDirectory(QFileInfo(target).absolutePath());
    return {};
}

bool IsReplacementWorkFile(const QString& fileName)
{
    return fileName.startsWith(QLatin1Char('.')) && fileName.endsWith(QLatin1String(".part"));
}

int RemoveStaleWorkFiles(const QString& directory, std::chrono::seconds maxAge)
{
    if (directory.isEmpty())
        return 0;
    const QDateTime before = QDateTime::currentDateTimeUtc().addSecs(-maxAge.count());
    int removed = 0;
    const QFileInfoList files = QDir(directory).entryInfoList({QStringLiteral(".*.part")}, QDir::Files | QDir::Hidden);
    for (const QFileInfo& file : files) {
        if (IsReplacementWorkFile(file.fileName()) && file.lastModified().toUTC() < before && QFile::remove(file.filePath()))
            ++removed;
    }
    return removed;
}

}  // namespace tarlox
