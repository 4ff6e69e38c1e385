#pragma once

#include "base/IoResult.h"

#include <QString>
#include <QStringList>
#include <QStringView>

namespace tarlox {

// The one reader of the comma-separated exchange format: the export file and
// the value lists of the mass update.
//
// Reads the field that starts at position and moves position past it and
// past what ended it. A field that starts with a double quote or "#" runs to
// the next one of that sign; any other field runs to the next comma. A
// carriage return ends a field wherever it stands and takes the character
// after it (the line feed) along. A closing sign that is followed by neither
// a comma nor a carriage return is dropped and the field goes on, so ""
// inside quotes reads as one quote. A field that starts with the carriage
// return of an empty last field keeps it and runs on to the next comma.
//
// Reading past the end of text is an error, except for the one character
// looked at after a closing sign or a carriage return.
IoResult<QString> ReadField(QStringView text, qsizetype& position);

// The fields of one line, given without its line end.
IoResult<QStringList> ReadFields(QStringView line);

}  // namespace tarlox
