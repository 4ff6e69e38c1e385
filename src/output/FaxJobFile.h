#pragma once

#include "base/IoResult.h"

#include <QDate>
#include <QImage>
#include <QSize>
#include <QString>
#include <QStringList>

namespace tarlox {

// The fax job file: one multi-page TIFF in TempDir, "FX" + six digits +
// ".FMF", that holds our cover page and the prepared pages of every report
// of one fax. It stays after sending, so the job can be sent again.

// TempDir + "FX" + the last six digits of (value + 1,000,000) + ".FMF".
QString JobFileName(const QString& tempDir, int value);

// The first name of JobFileName that no file has, counting from the day of
// the month × 10,000 (so the 15th starts at FX150000.FMF).
IoResult<QString> FreeJobFileName(const QString& tempDir, int dayOfMonth);

// What the cover page template's placeholders stand for.
struct CoverFields {
    QString company;      // {company}  the addressee's company
    QString to;           // {to}
    QString fax;          // {fax}      the number dialled
    QString voice;        // {voice}    the sender's voice number
    QString from;         // {from}
    QString fromCompany;  // {fromcompany}
    QString fromFax;      // {fromfax}  the sender's fax number
    QString subject;      // {subject}
    QString message;      // {message}  may hold line breaks
    int pages = 0;        // {pages}    pages of the fax, the cover included
    QDate date;           // {date}     as yyyy-MM-dd
};

// A cover page template ("tarlox.cpe"): plain UTF-8 text, one line of the
// page per line of the file, top to bottom. A line is drawn as it stands,
// wrapped at the margin, with the placeholders of CoverFields replaced
// ({message} keeps its own line breaks); an empty line leaves a line's
// space. A line may start with a mark:
//   "# "   a comment, not drawn
//   "! "   a title: large, bold, centred
//   "* "   bold
//   "---"  a rule across the page
// A tab starts the rest of the line at a fixed column, for "label<tab>value"
// lines. Anything else in braces is drawn as it is.
IoResult<QString> ReadCoverTemplate(const QString& path);

// The template with its placeholders filled in, marks kept.
QString FillCoverTemplate(const QString& templateText, const CoverFields& fields);

// The cover page: a white Letter page (1700 × 2200) at 200 dpi, black and
// white in the store's form, with the filled template drawn on it.
QImage RenderCoverPage(const QString& templateText, const CoverFields& fields,
                       QSize pixels = QSize(1700, 2200));

// Writes the job file: the cover (when not null) and then every page of
// every file in order. Group 4 pages are copied without decoding. The
// target appears whole or not at all.
IoStatus WriteJobFile(const QString& target, const QImage& cover, const QStringList& pageFiles);

// All of the above: a free name in tempDir for the day of the month, the
// cover page from the template file with the page count filled in, and the
// job file written. Returns the job file's path.
IoResult<QString> MakeJobFile(const QString& tempDir, int dayOfMonth, const QString& templatePath,
                              CoverFields fields, const QStringList& pageFiles);

// A copy of an earlier job file under a free name, for sending it again;
// the earlier file stays. Returns the copy's path.
IoResult<QString> CopyJobFile(const QString& previous, const QString& tempDir, int dayOfMonth);

}  // namespace tarlox
