#pragma once

#include <QString>

#include <optional>

namespace tarlox {

class Session;

// A new image number and where its files go.
struct NewImage {
    qint32 number = 0;
    QString fileName;      // "TR000123.TIF"
    QString filePath;      // the report's file in the data directory
    QString tempFilePath;  // its work file in the temporary directory
    QString storedPath;    // the data directory as rows store it (the server's form)
};

// The names of a new image's files in the session's directories.
NewImage NewImagePaths(const Session& session, qint32 number);

// Takes the next image number for this workstation (TakeImageNumber); a
// number whose file exists already belongs to an image whose row is
// missing, so it is given up and the next one taken. A stale work file of
// the number is removed. Nothing, after telling why, when no number could be
// taken or the drive map can't be read; the caller must stop then.
std::optional<NewImage> GetNextImage(Session& session);

}  // namespace tarlox
