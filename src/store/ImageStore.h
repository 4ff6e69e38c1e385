#pragma once

#include <QString>

#include <functional>

namespace tarlox {

class Session;

// Copies the work file (session.tempFilePath) onto the image file
// (session.imageFilePath) unless they are the same file. The image file is
// replaced whole or not at all; the work file stays. A failure is reported.
bool FromTemp(Session& session);

// Deletes the "TR" file of an image and then its "OR" file, in the directory
// its row stores (as stored: no drive map), ignoring every failure.
void DeleteFile(Session& session, qint32 number);

// Makes an existing image current: reads its row, sets the session's image
// name and paths (the stored directory through the drive map) and the keys
// "Last Image" and "ImageDir", and makes sure the file is there, asking for
// the right volume when another one is mounted. False after telling why.
bool GetImage(Session& session, qint32 number);

// Writes the chosen pages of an open image, with their tags, to the file at
// the given path; true when the file was written.
using PageWriter = std::function<bool(const QString& path)>;

// Stores pages of an open image as a new report: checks the entry in
// session.info, takes a number, lets writePages write the file, and adds the
// Images row with all references in one transaction. The caller has filled
// session.info and session.pageSizeCode and passes the resolution it scanned
// or loaded at. The file appears under its final name only when complete.
// Returns the new image number, or 0.
qint32 SaveMTR(Session& session, int dpi, const PageWriter& writePages, bool keepOpen = false);

}  // namespace tarlox
