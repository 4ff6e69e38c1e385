#include "store/FileReplacement.h"
#include "view/PageFiles.h"

#include "store/ImageFiles.h"
#include "store/PageImage.h"
#include "store/TiffReader.h"
#include "store/TiffWriter.h"
#include "view/PagePreview.h"

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <sys/stat.h>

namespace tarlox {

namespace {

// The page as SaveEditedCopy stores it: upright.
QImage upright(const QImage& page)
{
    return page.height() < page.width() ? TurnPage(page, 1) : page;
}

}  // namespace

FileStamp StampOf(const QString& path)
{
    struct stat info {};
    if (::stat(QFile::encodeName(path).constData(), &info) != 0)
        return {};
    FileStamp stamp;
    stamp.exists = true;
    stamp.size = info.st_size;
    stamp.modifiedNs = qint64(info.st_mtim.tv_sec) * 1000000000 + info.st_mtim.tv_nsec;
    stamp.inode = info.st_ino;
    stamp.device = info.st_dev;
    return stamp;
}

IoStatus MakeOriginal(const QString& copyFile, const QString& originalFile, bool* made)
{
    if (made)
        *made = false;
    if (QFileInfo::exists(originalFile))
        return {};
    if (const IoStatus copied = ReplaceWithCopy(copyFile, originalFile); !copied)
        return Failure(QStringLiteral("Can't keep the Original \"%1\": %2").arg(originalFile, copied.error()));
    if (made)
        *made = true;
    return {};
}

IoStatus SaveEditedCopy(const QString& copyFile, const QString& originalFile, const QImage& editedPage, int currentPage,
                        bool* originalMade)
{
    if (originalMade)
        *originalMade = false;
    if (editedPage.isNull())
        return Failure(QStringLiteral("There is no page to save."));
    auto reader = TiffReader::open(copyFile);
    if (!reader)
        return reader.failure();
    const int pages = reader->pageCount();
    if (currentPage < 1 || currentPage > pages) {
        return Failure(QStringLiteral("\"%1\" has %2 page(s); the changed page %3 is no longer in it.")
                           .arg(copyFile)
                           .arg(pages)
                           .arg(currentPage));
    }
    if (auto original = MakeOriginal(copyFile, originalFile, originalMade); !original)
        return original;
    RemoveStaleWorkFiles(copyFile, 3600);

    auto writer = TiffWriter::create(copyFile);
    if (!writer)
        return writer.failure();
    for (int page = 1; page <= pages; ++page) {
        if (page == currentPage) {
            if (auto added = writer->addPage(upright(editedPage)); !added)
                return added;
            continue;
        }
        auto info = reader->pageInfo(page - 1);
        if (!info)
            return info.failure();
        if (info->width > info->height) {
            // A landscape page is stored turned, so all stored pages stand upright.
            auto image = reader->readPage(page - 1);
            if (!image)
                return image.failure();
            if (auto added = writer->addPage(upright(*image)); !added)
                return added;
        } else if (auto added = writer->addPageFrom(*reader, page - 1); !added) {
            return added;
        }
    }
    return writer->commit();
}

QChar ScanModeLetter(ScanMode mode)
{
    switch (mode) {
    case ScanMode::Replace:
        return QLatin1Char('R');
    case ScanMode::Insert:
        return QLatin1Char('I');
    case ScanMode::Append:
        return QLatin1Char('A');
    case ScanMode::Delete:
        return QLatin1Char('D');
    case ScanMode::None:
        break;
    }
    return QLatin1Char(' ');
}

IoResult<RewriteResult> RewritePages(const QString& copyFile, ScanMode mode, int currentPage, const NewPageSource& newPage)
{
    auto reader = TiffReader::open(copyFile);
    if (!reader)
        return reader.failure();
    const int pages = reader->pageCount();
    if (mode == ScanMode::None)
        return RewriteResult{false, pages};
    if (mode != ScanMode::Append && (currentPage < 1 || currentPage > pages)) {
        return Failure(
            QStringLiteral("\"%1\" has %2 page(s); there is no page %3.").arg(copyFile).arg(pages).arg(currentPage));
    }
    if (mode == ScanMode::Delete && pages <= 1)
        return Failure(QStringLiteral("The last page of \"%1\" can't be removed.").arg(copyFile));
    RemoveStaleWorkFiles(copyFile, 3600);

    auto writer = TiffWriter::create(copyFile);
    if (!writer)
        return writer.failure();
    const int head = mode == ScanMode::Append ? pages : currentPage - 1;
    for (int page = 1; page <= head; ++page) {
        if (auto added = writer->addPageFrom(*reader, page - 1); !added)
            return added.failure();
    }
    if (mode != ScanMode::Delete) {
        std::optional<QImage> scanned = newPage ? newPage() : std::nullopt;
        if (!scanned || scanned->isNull())
            return RewriteResult{false, pages};  // the writer goes, and with it its work file
        if (auto added = writer->addPage(*scanned); !added)
            return added.failure();
    }
    const int tailStart = mode == ScanMode::Append ? pages + 1 : mode == ScanMode::Insert ? currentPage : currentPage + 1;
    for (int page = tailStart; page <= pages; ++page) {
        if (auto added = writer->addPageFrom(*reader, page - 1); !added)
            return added.failure();
    }
    const int written = writer->pagesAdded();
    if (auto committed = writer->commit(); !committed)
        return committed.failure();
    return RewriteResult{true, written};
}

IoStatus RestoreOriginalFiles(const QString& copyFile, const QString& originalFile)
{
    if (!QFileInfo::exists(originalFile))
        return Failure(QStringLiteral("The Original \"%1\" does not exist.").arg(originalFile));
    if (const IoStatus copied = ReplaceWithCopy(originalFile, copyFile); !copied)
        return Failure(QStringLiteral("Can't restore \"%1\": %2").arg(copyFile, copied.error()));
    QFile::remove(originalFile);
    return {};
}

int RemoveStaleWorkFiles(const QString& target, int minAgeSeconds)
{
    const QFileInfo info(target);
    QDir directory(info.absolutePath());
    const QString prefix = QLatin1Char('.') + info.fileName() + QLatin1Char('.');
    const QDateTime limit = QDateTime::currentDateTimeUtc().addSecs(-minAgeSeconds);
    int removed = 0;
    const QFileInfoList entries =
        directory.entryInfoList({prefix + QStringLiteral("*.part")}, QDir::Files | QDir::Hidden | QDir::System);
    for (const QFileInfo& entry : entries) {
        if (entry.fileName().startsWith(prefix) && entry.lastModified().toUTC() < limit && QFile::remove(entry.absoluteFilePath()))
            ++removed;
    }
    return removed;
}

}  // namespace tarlox
