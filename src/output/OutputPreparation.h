#pragma once

#include "base/IoResult.h"
#include "output/MessageQueue.h"
#include "output/PdfWriter.h"

#include <QDate>
#include <QImage>
#include <QList>
#include <QString>
#include <QStringList>

#include <functional>

namespace tarlox {

class Session;

// Preparing stored reports for printing, faxing and e-mailing: a temporary
// file with only the chosen pages, each with the authorization stamp or text
// and the block of message fields on top, as the settings say. The stored
// file is never changed. Pages that need no change are copied as they are
// stored (Group 4 data untouched, in TIFF and PDF alike).

// The settings that shape the output, read when a run starts.
struct OutputSettings {
    QString tempDir;
    QString authorization;  // "" none, "S" the stamp image, "T" the text
    QString stampPath;      // AuthorizationStamp
    QString stampText;      // AuthorizationText
    bool addMessage = false;
    bool pdf = false;       // output may be PDF
    bool annotate = false;
    int fontSize = 8;       // FontSize, 0 read as 8
    double highDpi = 300;   // resolution assumed for a stamp image that records none
    QString from;           // CompanyName of section Fax: the message block's "From"
};
OutputSettings ReadOutputSettings(Session& session);

// Called between pages and between reports with what is being done; false
// stops the run. Runs that were stopped leave no file behind.
using ProgressStep = std::function<bool(const QString& doing)>;
// The failure text of a run that was stopped.
extern const QString kOutputCancelled;

// The temporary file name of a stored file: "TM" and the six digits of the
// image number, "_" and sequence when sequence is above 0, ".pdf" when pdf,
// else the stored file's extension.
QString TempFileName(const QString& tempDir, const QString& fileName, int sequence, bool pdf);

// --- the page operations, each on one page (a black-and-white QImage with its resolution)

// The stamp above the page: the stamp at the page's resolution (same size
// on paper at any resolution), 50 px from the left on row 1, the page under
// it, the whole squeezed back to the page's size in pixels.
IoResult<QImage> AddStamp(const QImage& page, const QImage& stamp);
// The authorization text on the second row of a band of two rows.
IoResult<QImage> AddStampText(const QImage& page, const QString& text, int fontSize);
// The message block: labelled fields in rows, whole fields wrapped.
IoResult<QImage> AddMessage(const QImage& page, const MessageFields& fields, const QDate& today, int fontSize);

// The rows of a message block; lines has 21 rows, lineIndex is the last one used.
void AddTextToString(QStringList& lines, const QString& label, const QString& value, int& lineIndex, int pageWidth, int fontSize);
// True when text is too wide for a row on a page of pageWidth pixels.
bool CheckTextWidth(const QString& text, int pageWidth, int fontSize);
// The rows 0 to lineCount of lines in a band above the page, squeezed back to its size.
IoResult<QImage> AddText(const QImage& page, const QStringList& lines, int lineCount, int fontSize);
// Row height of the text: ImageWidth * FontSize / 566, rounded.
int TextHeight(int pageWidth, int fontSize);
// Empty when the message font (Liberation Sans, metric-compatible with
// Arial) can be used, else why not.
QString MessageFontProblem();

// Loads a stamp image (TIFF or any format Qt reads) as black and white;
// assumedDpi stands in for a resolution the file doesn't record.
IoResult<QImage> LoadStamp(const QString& path, double assumedDpi);

// The chosen pages of one file, prepared: pages needing no change refer to
// the file (copied raw later), the others are images in memory.
IoResult<QList<PdfPage>> PreparePages(const QString& file, const QString& pages, const OutputSettings& settings,
                                      const MessageFields& fields, const QDate& today, const ProgressStep& step = {});
// Writes prepared pages as TIFF (Group 4) or PDF, beside the target first.
IoStatus WritePrepared(const QString& target, const QList<PdfPage>& pages, bool pdf, const PdfOptions& options = {});

// One file of a run: a stored file, its pages, its place in the run (the
// temporary file's "_" sequence, 0 for none) and the fields on its pages.
struct PrepareItem {
    QString file;
    QString pages;
    int sequence = 0;
    MessageFields fields;
};
// The items of a queue: files "path;pages;..." with one message string for
// each path in messages, numbered from 1.
QList<PrepareItem> QueueItems(const QString& files, const QString& messages);

// The session-free half of SaveFile, for any thread: the temporary file of
// one item, or why it could not be made.
IoResult<QString> PrepareFile(const OutputSettings& settings, const QDate& today, bool pdfFlag, const PrepareItem& item,
                              const ProgressStep& step = {});

// The temporary files of a run, for any thread: an item that fails is left
// out with its message in problems ("Image file '...' was not created!"
// and the cause) and the others go on. A stopped run removes what it made
// and fails with kOutputCancelled.
struct PreparedFiles {
    QStringList files;
    QStringList problems;
};
IoResult<PreparedFiles> PrepareFiles(const OutputSettings& settings, const QDate& today, bool pdfFlag,
                                     const QList<PrepareItem>& items, const ProgressStep& step = {});

// An annotated temporary TIFF as PDF, beside it with ".pdf"; the TIFF and
// its first state ("OT") go. Any thread.
IoResult<QString> AnnotatedToPdf(const QString& tiff);

// One temporary file of fileName with the chosen pages. The failure, after
// "Image file '...' was not created!" was shown, names the cause.
IoResult<QString> SaveFile(Session& session, const QString& fileName, const QString& pages, int sequence, bool pdfFlag,
                           const MessageFields& fields, const ProgressStep& step = {});

// The temporary files of a queue: files "path;pages;..." with one message
// string for each path in messages. A file that fails is left out and the
// others go on; a stopped run removes what it made and fails with
// kOutputCancelled.
IoResult<QStringList> SaveTempFiles(Session& session, const QString& files, const QString& messages, bool pdfFlag,
                                    const ProgressStep& step = {});

}  // namespace tarlox
