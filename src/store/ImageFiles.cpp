#include "store/ImageFiles.h"

#include "startup/FileTools.h"
#include "startup/Session.h"
#include "startup/TextTools.h"
#include "store/DurableWrite.h"

#include <QFile>
#include <QFileInfo>
#include <QRandomGenerator>

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <unistd.h>

namespace tarlox {

namespace {

QString systemError(const QString& action, const QString& path)
{
    return action + QLatin1Char(' ') + path + QStringLiteral(": ") + QString::fromLocal8Bit(std::strerror(errno));
}

bool renameOver(const QString& from, const QString& to, QString* error)
{
    if (::rename(QFile::encodeName(from).constData(), QFile::encodeName(to).constData()) != 0) {
        *error = systemError(QStringLiteral("Can't rename to"), to);
        return false;
    }
    // The new name itself reaches the disk with its directory.
    SyncDirectory(QFileInfo(to).absolutePath());
    return true;
}

}  // namespace

QString ImageFileNameFor(qint64 number) { return ImageLabelFor(number) + QStringLiteral(".TIF"); }

QString ImageLabelFor(qint64 number) { return QStringLiteral("TR") + SixDigits(number); }

QString WithFilePrefix(const QString& path, const QString& prefix)
{
    if (path.size() < 12)
        return path;
    QString result = path;
    result.replace(path.size() - 12, 2, prefix.left(2));
    return result;
}

QString OriginalPathOf(const QString& path) { return WithFilePrefix(path, QStringLiteral("OR")); }
QString ViewerWorkPathOf(const QString& path) { return WithFilePrefix(path, QStringLiteral("TV")); }
QString RescanPathOf(const QString& path) { return WithFilePrefix(path, QStringLiteral("TM")); }
QString OutputOriginalPathOf(const QString& path) { return WithFilePrefix(path, QStringLiteral("OT")); }

QString BarcodeBufferPath(const QString& tempDir) { return tempDir + QStringLiteral("/TempTarlox.tif"); }
QString BatchPageBufferPath(const QString& tempDir) { return tempDir + QStringLiteral("temp.tif"); }

void SetNewImagePaths(Session& s, qint64 number)
{
    s.imageFileName = ImageFileNameFor(number);
    s.imageFilePath = JoinPath(s.dataDir, s.imageFileName);
    s.tempFilePath = JoinPath(s.tempDir, s.imageFileName);
}

bool CopyFileAtomically(const QString& source, const QString& target, QString* error)
{
    QFile in(source);
    if (!in.open(QIODevice::ReadOnly)) {
        *error = QStringLiteral("Can't read ") + source + QStringLiteral(": ") + in.errorString();
        return false;
    }
    const QFileInfo targetInfo(target);
    QString scratch;
    int fd = -1;
    for (int attempt = 0; attempt < 16 && fd < 0; ++attempt) {
        scratch = targetInfo.absolutePath() + QStringLiteral("/~") + targetInfo.fileName() + QLatin1Char('.')
            + QString::number(QRandomGenerator::global()->generate(), 36);
        // 0666 under the umask, like any file this user creates.
        fd = ::open(QFile::encodeName(scratch).constData(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
        if (fd < 0 && errno != EEXIST)
            break;
    }
    if (fd < 0) {
        *error = systemError(QStringLiteral("Can't create a file in"), targetInfo.absolutePath());
        return false;
    }
    const auto fail = [&](const QString& text) {
        *error = text;
        ::close(fd);
        ::unlink(QFile::encodeName(scratch).constData());
        return false;
    };
    QByteArray buffer(1 << 20, Qt::Uninitialized);
    while (true) {
        const qint64 got = in.read(buffer.data(), buffer.size());
        if (got < 0)
            return fail(QStringLiteral("Can't read ") + source + QStringLiteral(": ") + in.errorString());
        if (got == 0)
            break;
        if (!WriteAll(fd, buffer.constData(), got))
            return fail(systemError(QStringLiteral("Can't write"), scratch));
    }
    if (::fsync(fd) != 0)
        return fail(systemError(QStringLiteral("Can't write"), scratch));
    ::close(fd);
    if (!renameOver(scratch, target, error)) {
        ::unlink(QFile::encodeName(scratch).constData());
        return false;
    }
    return true;
}

bool KeepOriginal(const QString& copyPath, QString* error)
{
    const QString original = OriginalPathOf(copyPath);
    if (QFileInfo::exists(original))
        return true;
    return CopyFileAtomically(copyPath, original, error);
}

bool CommitFile(const QString& written, const QString& target, QString* error)
{
    if (!SyncFile(written)) {
        *error = systemError(QStringLiteral("Can't write"), written);
        return false;
    }
    return renameOver(written, target, error);
}

}  // namespace tarlox
