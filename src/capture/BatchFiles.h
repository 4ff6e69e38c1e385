#pragma once

#include "base/IoResult.h"

#include <QImage>
#include <QString>
#include <QStringList>

#include <atomic>
#include <functional>

namespace tarlox {

class Session;

// The kinds of file a batch reads, in the order they are listed:
// "tif" (also .tiff), "jpg" (also .jpeg), "bmp", "gif", "pdf", "wmf", "png".
const QStringList& BatchExtensions();

// The files of a directory a batch can read: by kind in the order above,
// by name within one kind. Every one is listed, however many there are.
QStringList ListBatchFiles(const QString& directory);

// The resolution the pages of files are taken at: key HighDPI of section
// Info when it is a number, else 300.
int BatchWorkDpi(Session& session);

// " " Letter, "G" Legal or "A" A4 for a page of that size in inches, either
// way round.
QString PageSizeCodeForInches(double width, double height);

// The work file of a batch: TempDir + "temp.tif".
QString BatchWorkFile(Session& session);

// A Windows metafile drawn on white at the given resolution (libwmf).
IoResult<QImage> ReadMetafile(const QString& path, int dpi);

struct BatchReadProgress {
    int file = 0;   // from 1
    int files = 0;
    int page = 0;   // within the file, from 1
    int pages = 0;
    QString name;
};

struct BatchReadResult {
    int pages = 0;                 // pages in the work file
    QStringList pageSizeCodes;     // one for each page
    QList<int> pagesPerFile;       // in the order of the files
    bool cancelled = false;
    QString error;                 // why reading stopped (names the file)
    QString step;                  // the step it stopped at
    bool ok() const { return error.isEmpty() && !cancelled; }
};

// Reads every page of the files, in order, into a new work file: each page
// black and white (the store's binarization), Group 4. TIFF pages of any
// encoding, JPEG, BMP, GIF and PNG pictures keep their own resolution; PDF
// and WMF pages are drawn at dpi, a PDF page at its own size. The first file
// that can't be read stops the reading; the work file is then left as it
// was, as it is when cancel is set (looked at between pages). progress runs
// on the calling thread before each page.
BatchReadResult ReadBatchFiles(const QStringList& files, const QString& workFile, int dpi,
                               const std::function<void(const BatchReadProgress&)>& progress = {},
                               const std::atomic<bool>* cancel = nullptr);

// The page sizes of the pages of a work file (scanned or read).
QStringList WorkFilePageSizes(const QString& workFile);

}  // namespace tarlox
