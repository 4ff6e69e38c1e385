#pragma once

#include "data/SqlCondition.h"

#include <QList>
#include <QString>
#include <QStringList>

#include <functional>

namespace tarlox {

class Session;

// The long runs that take reports between sites and volumes: export,
// import, TIFF import, move and delete. Each works image by image: an image
// goes through whole (its row, its references and its files) or not at all,
// and an image number already taken here is never overwritten. File copies
// run off the calling thread while its events are served.

// Where a run stands, told before each image.
struct ExchangeProgress {
    int done = 0;   // images finished so far, skipped ones included
    int total = 0;  // 0 when not known in advance (an export file being read)
    QString file;   // the file in hand
};

// Called between images; false stops the run there (Cancel).
using ExchangeProgressFn = std::function<bool(const ExchangeProgress&)>;

// What a run did.
struct ExchangeSummary {
    int total = 0;
    int done = 0;         // images that went through
    QStringList skipped;  // one line each: the image or lines, and why
    bool cancelled = false;
    QString stopped;      // why the run ended before its end (a failed copy); empty otherwise
    bool complete() const { return skipped.isEmpty() && stopped.isEmpty() && !cancelled; }
    // "N done, M skipped" and the lines below it.
    QStringList report(const QString& verb) const;
};

// Whether a missing file is put to the person (the "File does not exist!"
// box with Abort, Retry and Ignore) or only reported in the summary.
enum class Missing { Ask, Report };

// The images with references matching where, by rising number.
QList<qint32> FoundImages(Session& session, const SqlCondition& where);

struct ExportOptions {
    QString directory;
    bool excludeOriginals = false;
    bool append = false;  // add to a TARLOX.EXP that is there; otherwise it is emptied
    Missing missing = Missing::Report;
};
// A directory without its one trailing separator ("/" or "\").
QString WithoutTrailingSeparator(QString directory);
ExchangeSummary ExportImages(Session& session, const QList<qint32>& images, const ExportOptions& options,
                             const ExchangeProgressFn& progress = {});

struct ImportOptions {
    QString importDir;
    QString exportFile;  // TARLOX.EXP of importDir when empty
    QString dataDir;     // the session's data directory when empty
    qint32 increment = 0;
    bool renumber = false;
    Missing missing = Missing::Report;
};
ExchangeSummary ImportImages(Session& session, const ImportOptions& options, const ExchangeProgressFn& progress = {});

// The page size code of a page length in tenths of an inch: up to 11.1
// inches Letter (" "), to 12 inches A4 ("A"), longer Legal ("G").
QString PageSizeForLength(int tenths);

struct TifImportOptions {
    QString importDir;
    QString dataDir;  // the session's data directory when empty
    Missing missing = Missing::Report;
};
// Every *.tif of importDir (any case) but the Originals, indexed from its
// tags, numbered from its name, dated by its file.
ExchangeSummary ImportTifImages(Session& session, const TifImportOptions& options, const ExchangeProgressFn& progress = {});

struct MoveOptions {
    QString target;
    bool relink = false;  // rows only, for files already at the target
    Missing missing = Missing::Report;
};
ExchangeSummary MoveImages(Session& session, const QList<qint32>& images, const MoveOptions& options,
                           const ExchangeProgressFn& progress = {});

// Removes each image's files and then its rows; an image whose file can't
// be removed keeps its rows and is reported.
ExchangeSummary DeleteImages(Session& session, const QList<qint32>& images, const ExchangeProgressFn& progress = {});

}  // namespace tarlox
