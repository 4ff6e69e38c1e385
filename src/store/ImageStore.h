#pragma once

#include "data/InfoData.h"

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

// Writes the pages of a new report, with their tags, to the file at the
// given path; true when the file was written.
using PageWriter = std::function<bool(const QString& path)>;

struct StoreOptions {
    // What to do when a heat/part/P/O of the entry is on file already.
    Duplicates duplicates = Duplicates::Ask;
    // The caller has run ValidateInfo on session.info already.
    bool validated = false;
    // Told each step as it begins: "GetNextImage", "Scanning", "Copy from
    // Temp", "Add data" (or "Image not created").
    std::function<void(const QString&)> onStep;
    // A work file in the temporary directory stays there after the copy
    // (a scan's does, as the scan screen's always has).
    bool keepWorkFile = false;
};

// The one way a new report is stored, whatever brought its pages in (a
// scan, files, a batch): checks the entry in session.info, takes a number,
// lets writePages write the file under a work name, puts the file in place,
// and adds the Images row with all its references in one transaction. The
// row, the references and the file appear together or not at all: a failure
// leaves none of them. The caller has filled session.info and
// session.pageSizeCode and passes the resolution it scanned or loaded at.
// The new image number is also the image in hand afterwards.
struct StoreResult {
    enum class Outcome {
        Refused,     // the entry didn't pass its checks
        NoNumber,    // no image number could be taken
        NotCreated,  // the pages gave no file
        NotIndexed,  // the rows could not be added; the file is gone again
        Stored,
    };
    Outcome outcome = Outcome::Refused;
    qint32 imageNumber = 0;  // 0 unless stored
    bool stored() const { return outcome == Outcome::Stored; }
};
StoreResult SaveMTR(Session& session, int dpi, const PageWriter& writePages, const StoreOptions& options = {});

}  // namespace tarlox
