#pragma once

#include "base/IoResult.h"

#include <QImage>
#include <QString>

#include <functional>
#include <optional>

namespace tarlox {

// The file-level steps of page editing. A stored file is never edited in
// place: the new version is written beside it under a unique hidden name and
// renamed over it in one step, so a crash at any point leaves the old file or
// the new one, whole. Pages that don't change are copied as their stored
// data, without decoding.

// What identifies one version of a file: another user's save replaces the
// file by a rename, which gives it a new inode; an edit in place changes
// its size or time.
struct FileStamp {
    bool exists = false;
    qint64 size = 0;
    qint64 modifiedNs = 0;
    quint64 inode = 0;
    quint64 device = 0;
    bool operator==(const FileStamp&) const = default;
};
FileStamp StampOf(const QString& path);

// Makes the Original the first time: a copy of the Copy under its Original
// name, put in place whole. Nothing happens when the Original exists.
// True in made when this call made it.
IoStatus MakeOriginal(const QString& copyFile, const QString& originalFile, bool* made = nullptr);

// Writes the Copy anew with the edited page in place of page currentPage
// (from 1): every page kept, a page wider than high stored turned a quarter
// counter-clockwise, grey and colour pages reduced to black and white.
// The Original is made first when there is none.
IoStatus SaveEditedCopy(const QString& copyFile, const QString& originalFile, const QImage& editedPage, int currentPage,
                        bool* originalMade = nullptr);

// The page operations of the viewer.
enum class ScanMode { None, Replace, Insert, Append, Delete };
QChar ScanModeLetter(ScanMode mode);  // "R", "I", "A", "D" or " "

// The Copy rewritten for mode at currentPage (from 1): pages before it copied
// as they stand, the new page (for every mode but Delete), then the rest.
// newPage is asked for only after the leading pages are written, like the
// scanner is; it may give no page (nullopt), in which case nothing changes.
struct RewriteResult {
    bool written = false;  // the Copy was replaced
    int pageCount = 0;     // pages of the new Copy
};
using NewPageSource = std::function<std::optional<QImage>()>;
IoResult<RewriteResult> RewritePages(const QString& copyFile, ScanMode mode, int currentPage, const NewPageSource& newPage);

// Restore: the Original copied over the Copy (whole or not at all), then the
// Original removed. The Copy is never without content in between.
IoStatus RestoreOriginalFiles(const QString& copyFile, const QString& originalFile);

// Removes work files of target left behind by a crash (hidden files beside
// it whose names start with "." + its name and end in ".part") older than
// minAgeSeconds, so a save in progress elsewhere is left alone.
int RemoveStaleWorkFiles(const QString& target, int minAgeSeconds);

}  // namespace tarlox
