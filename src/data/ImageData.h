#pragma once

#include "data/GridData.h"
#include "data/SqlCondition.h"

#include <QStringList>

#include <optional>

namespace tarlox {

class Session;

// Image numbers and the rows of Images; the row in work is session.image.

// The highest image number a file name can hold ("TR999999.TIF").
constexpr qint32 MaxImageNumber = 999999;

// Takes the next image number from the shared counter: in one transaction
// Options.NextName is read, raised past the highest Image # on file, and
// written back one higher. Nothing, after telling why, when no number is
// left or the counter can't be read. The store's GetNextImage adds the
// file side.
std::optional<qint32> TakeImageNumber(Session& session);

bool AddImage(Session& session, bool retry);
// Rewrites the row of number from session.image.
bool UpdateImage(Session& session, qint32 number);
// Fills session.image; false, leaving it as it was, when there is no such row.
bool ReadImage(Session& session, qint32 number);
bool DeleteImage(Session& session, qint32 number);
// Deletes the Images row and all its references, all or none.
bool DeleteImageAll(Session& session, qint32 number);
// Several images so, in one transaction; false (nothing deleted) when any fails.
bool DeleteImagesAll(Session& session, const QList<qint32>& numbers);
// The rows of a new report in one transaction: session.image and every
// reference of the entry in session.info.
bool AddImageWithInfo(Session& session, bool retry);

// One line per image that has references matching where: "TR" + six digits,
// a blank, and its first entry date; ordered by number.
bool LoadImages(Session& session, QStringList& lines, const SqlCondition& where);
// One line per reference matching where, ordered by Heat, Part and P/O, under
// the head "Heat #", "Part #", P/O, vendor and manufacturer (the site's short
// names where set), "Image #", "Entry Date".
bool LoadImageGrid(Session& session, GridData& grid, const SqlCondition& where);

// A date as lists show it: month/day/year, and the time unless it is midnight.
QString ListDateText(const QDateTime& value);

}  // namespace tarlox
