#pragma once

#include "base/IoResult.h"
#include "output/MessageQueue.h"

#include <QString>

#include <functional>

class QLineEdit;
class QPrinter;
class QWidget;

namespace tarlox {

class Session;

// How tall the frame of a printed page is: 10.5 inches, or 13.5 inches for
// a long report printed as it is. The frame is 8 inches wide.
enum class PrintFrame { Standard, Long };

// Called with "Printing Page n of FILE" before each page; false stops the run.
using PrintProgress = std::function<bool(const QString& doing)>;

// Prints one report once: a copy in TempDir when that is not the data
// directory (printing should not hold the server's file), a temporary file
// when a stamp, a message, some pages only or annotation are asked for, the
// print dialog when AskForPrinter is on, then one print job per page, each
// page stretched into the frame and turned upright when it is wider than
// high. The temporary files go afterwards, also when the run fails or stops.
IoStatus PrintDoc(Session& session, QPrinter& printer, const QString& pages, const QString& fileName, PrintFrame frame,
                  const MessageFields& fields, QWidget* dialogOwner, const PrintProgress& progress = {});

// PrintDoc in two steps, so that the person can annotate the file between
// them: the file to print and the temporary files made for it.
struct PrintFile {
    QString path;
    QStringList temporary;  // removed by PrintPrepared, or by RemoveTemporary
};
IoResult<PrintFile> PreparePrint(Session& session, const QString& pages, const QString& fileName, bool annotate,
                                 const MessageFields& fields, const PrintProgress& progress = {});
// Prints the file once (copies from the print dialog) and removes its temporary files.
IoStatus PrintPrepared(Session& session, QPrinter& printer, const PrintFile& file, PrintFrame frame, QWidget* dialogOwner,
                       const PrintProgress& progress = {}, bool keepTemporary = false);
void RemoveTemporary(const PrintFile& file);

// (The viewer has a print path of its own with functions of these names.)
namespace output {
// The printer of key Printer when the machine has it; else the printer stays.
void SetPrinter(Session& session, QPrinter& printer);
// The print dialog over pageCount pages; false when cancelled, else copies,
// from and to (1-based) are set.
bool GetPrinter(QWidget* form, QPrinter& printer, int pageCount, int& copies, int& from, int& to);
}  // namespace output

// The nine message boxes of a form (txtOrder, txtCustPO, ...), by name;
// part and text are left empty.
MessageFields SetMessageFields(const QWidget* form);
// On leaving a pages box: "" becomes "All"; anything but "All" or digits and
// commas is refused with "Pages must be 'All' or in the form 'n,m,l'" and
// reverts to "All". False when it was refused.
bool ValidatePagesBox(Session& session, QLineEdit* box);

}  // namespace tarlox
