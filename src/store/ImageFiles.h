#pragma once

#include "base/IoResult.h"

#include <QString>

namespace tarlox {

// How an image number becomes a file. A report is "TR" + six digits + ".TIF"
// in its directory; its Original (the file as first captured, kept once the
// report is changed) has "OR" in place of "TR", and the work files of the
// viewer and the rescan "TV" and "TM". The six digits are the last six of
// number + 1,000,000; callers keep numbers within six digits.

QString ImageFileNameFor(qint64 number);  // "TR000123.TIF"
QString ImageLabelFor(qint64 number);     // "TR000123", as lists show it

// The same file name with another two-letter prefix: the two characters
// twelve from the end of the path are replaced.
QString WithFilePrefix(const QString& path, const QString& prefix);
QString OriginalPathOf(const QString& path);        // "OR"
QString ViewerWorkPathOf(const QString& path);      // "TV"
QString RescanPathOf(const QString& path);          // "TM"
QString OutputOriginalPathOf(const QString& path);  // "OT", for annotated output files

// The fixed buffers in the temporary directory: the barcode form's scan
// buffer "/TempTarlox.tif" behind it, and the batch form's page buffer
// "temp.tif" directly behind it, with no separator between.
QString BarcodeBufferPath(const QString& tempDir);
QString BatchPageBufferPath(const QString& tempDir);

// Keeps the Original of a report before its first change: copies the file
// to its "OR" name when no file of that name exists yet, so the Original is
// always the file as first captured.
IoStatus KeepOriginal(const QString& copyPath);

}  // namespace tarlox
