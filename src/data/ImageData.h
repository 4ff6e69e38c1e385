#pragma once

#include "data/GridData.h"
#include "data/SqlCondition.h"

#include <QStringList>

namespace tarlox {

class Session;

// Image numbers and the rows of Images; the row in work is session.image.

// The highest image number a file name can hold ("TR999999.TIF").
constexpr qint32 MaxImageNumber = 999999;

// Takes the next image number for this workstation: in one transaction the
// shared counter (Options.NextName) is read, raised past the highest
// Image # on file, and written back one higher; a number whose file exists
// already is given up and the next one taken. Fills session.currentImage,
// imageFileName, imageFilePath, tempFilePath and storedPath. False, after
// telling why, when no number could be taken; the caller must stop then.
bool GetNextImage(Session& session, bool keepOpen);

bool AddImage(Session& session, bool retry, bool keepOpen);
// Rewrites the row of number from session.image.
bool UpdateImage(Session& session, qint32 number, bool keepOpen);
// Fills session.image; false, leaving it as it was, when there is no such row.
bool ReadImage(Session& session, qint32 number, bool keepOpen);
bool DeleteImage(Session& session, qint32 number, bool keepOpen);
// Deletes the Images row and all its references, all or none.
bool DeleteImageAll(Session& session, qint32 number, bool keepOpen);
// The rows of a new report in one transaction: session.image and every
// reference of the entry in session.info.
bool AddImageWithInfo(Session& session, bool retry, bool keepOpen);

// One line per image that has references matching where: "TR" + six digits,
// a blank, and its first entry date; ordered by number.
bool LoadImages(Session& session, QStringList& lines, const SqlCondition& where, bool keepOpen);
// One line per reference matching where, ordered by Heat, Part and P/O, under
// the head "Heat #", "Part #", P/O, vendor and manufacturer (the site's short
// names where set), "Image #", "Entry Date".
bool LoadImageGrid(Session& session, GridData& grid, const SqlCondition& where, bool keepOpen);

// A date as lists show it: month/day/year, and the time unless it is midnight.
QString ListDateText(const QDateTime& value);

}  // namespace tarlox
