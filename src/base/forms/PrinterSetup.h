#pragma once

class QPrinter;
class QWidget;

namespace tarlox {

class Session;

// The printer the session is set to (key Printer) when the machine has it;
// otherwise, and for a printer that writes a file, the printer stays.
void SetPrinter(Session& session, QPrinter& printer);

// The print dialog: printer, copies and page range over pageCount pages,
// starting from the printer given. False when cancelled; otherwise copies,
// from and to (1-based) are set and the printer makes one copy a job.
bool GetPrinter(QWidget* form, QPrinter& printer, int pageCount, int& copies, int& from, int& to);

}  // namespace tarlox
