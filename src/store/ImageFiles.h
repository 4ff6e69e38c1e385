#pragma once

#include <QString>

namespace tarlox {

class Session;

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

// Sets session.imageFileName, imageFilePath (on the data directory) and
// tempFilePath (on the temporary directory) for a new image number.
void SetNewImagePaths(Session& session, qint64 number);

// Keeps the Original of a report before its first change: copies the file
// to its "OR" name when no file of that name exists yet, so the Original is
// always the file as first captured. True when the Original is there.
bool KeepOriginal(const QString& copyPath, QString* error);

// Copies source onto target so that target is either as it was or complete:
// the copy goes to a temporary name beside target ("~" + name + a random
// tail), is flushed to disk and then renamed over target.
bool CopyFileAtomically(const QString& source, const QString& target, QString* error);
// The same for a file that has just been written in place under a temporary
// name beside target: flushed and renamed over target.
bool CommitFile(const QString& written, const QString& target, QString* error);

}  // namespace tarlox
