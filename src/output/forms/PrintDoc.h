#pragma once

#include "base/IoResult.h"
#include "output/BackgroundTask.h"
#include "output/MessageQueue.h"
#include "output/OutputPreparation.h"

#include <QDate>
#include <QObject>
#include <QString>

#include <memory>
#include <optional>

class QDialog;
class QLineEdit;
class QPainter;
class QPrinter;
class QProgressBar;
class QPushButton;
class QWidget;

namespace tarlox {

class Session;

// How tall the frame of a printed page is: 10.5 inches, or 13.5 inches for
// a long report printed as it is. The frame is 8 inches wide.
enum class PrintFrame { Standard, Long };

// One report to print.
struct PrintItem {
    QString file;
    QString pages;
    MessageFields fields;
    PrintFrame frame = PrintFrame::Standard;
    int copies = 1;
};

// What printing needs of the settings, read on the interface thread.
struct PrintSettings {
    OutputSettings output;
    QString dataDir;
    QDate today;
    bool askForPrinter = false;
};
PrintSettings ReadPrintSettings(Session& session);

// The file to print and the temporary files made for it: a copy in TempDir
// when that is not the data directory (printing should not hold the
// server's file), a temporary file when a stamp, a message, some pages only
// or annotation are asked for. Any thread.
struct PrintFile {
    QString path;
    QStringList temporary;
    int pageCount = 0;
};
IoResult<PrintFile> PreparePrintFile(const PrintSettings& settings, const PrintItem& item, bool annotate,
                                     const ProgressStep& step = {});
void RemoveTemporary(const PrintFile& file);

// Pages from to to (1-based) of file, copies times: one print job per page,
// each page stretched into the frame and turned upright when it is wider
// than high (a PDF printer holds every page in its one file). Any thread;
// step is called with "Printing Page n of FILE" before each page. A PDF
// printer's painter may be the caller's (open, it takes the pages of the
// next report too; the caller ends it).
IoStatus PrintPages(QPrinter& printer, const QString& file, PrintFrame frame, int from, int to, int copies,
                    const ProgressStep& step = {}, QPainter* pdfPainter = nullptr);

// One report printed at once, on the calling thread: prepared as the
// settings say, all of its prepared pages printed once, the temporary files
// removed afterwards, also when the run fails or stops.
IoStatus PrintDoc(Session& session, QPrinter& printer, const QString& pages, const QString& fileName, PrintFrame frame,
                  const MessageFields& fields, const ProgressStep& step = {});

// The Print buttons of the print and select-all forms: prints reports one
// after the other, each prepared and printed on a thread of its own while
// the window stays responsive. Cancel stops the run between pages; the
// temporary files go when a report has printed, also when the run fails or
// stops. With annotation on, each prepared file is offered for annotating
// first (annotateRequested) and prints once annotationDone() is called.
class PrintRun : public QObject {
    Q_OBJECT
public:
    PrintRun(Session& session, QWidget* owner);
    ~PrintRun() override;

    // A printer of the caller's instead of the system's (tests print to PDF).
    void usePrinter(QPrinter* printer) { printer_ = printer; }
    // The buttons and lines of a form that prints: Print is off while the
    // run is on, Cancel stops the run (else closes the form), the message
    // line and the bar (may be null) show the progress, and the form closes
    // when the run has ended.
    void attach(QDialog* form, QPushButton* print, QPushButton* cancel, QLineEdit* message, QProgressBar* bar);
    // annotate: each prepared file is offered through annotateRequested.
    void start(const QList<PrintItem>& items, bool annotate);
    void cancel();
    bool running() const { return running_; }
    void annotationDone();

signals:
    // doing: what is being done; done of total reports (copies counted) have printed.
    void progress(const QString& doing, int done, int total);
    void annotateRequested(const QString& file);
    // The run has ended: every report printed, or it was stopped or failed
    // (the failure has been told).
    void finished(bool completed);

private:
    void next();
    void prepared(IoResult<PrintFile> file);
    void print();
    void printed(const IoStatus& status);
    void finish(bool completed);
    QPrinter* printer();

    Session& session_;
    QWidget* owner_;
    QPrinter* printer_ = nullptr;
    std::shared_ptr<QPrinter> own_;
    std::shared_ptr<QPainter> pdfPainter_;  // one file for every report of the run
    PrintSettings settings_;
    QList<PrintItem> items_;
    qsizetype index_ = 0;
    bool annotate_ = false;
    bool running_ = false;
    bool waiting_ = false;  // for the annotation of current_
    std::optional<PrintFile> current_;
    StopFlag stop_ = NewStopFlag();
};

// The nine message boxes of a form (txtOrder, txtCustPO, ...), by name;
// part and text are left empty.
MessageFields SetMessageFields(const QWidget* form);
// On leaving a pages box: "" becomes "All"; anything but "All" or digits and
// commas is refused with "Pages must be 'All' or in the form 'n,m,l'" and
// reverts to "All". False when it was refused.
bool ValidatePagesBox(Session& session, QLineEdit* box);

}  // namespace tarlox
