#include "base/forms/PrinterSetup.h"

#include "data/Session.h"

#include <QPrintDialog>
#include <QPrinter>
#include <QPrinterInfo>

#include <algorithm>

namespace tarlox {

void SetPrinter(Session& session, QPrinter& printer)
{
    if (session.printer.isEmpty() || printer.outputFormat() != QPrinter::NativeFormat)
        return;
    if (!QPrinterInfo::printerInfo(session.printer).isNull())
        printer.setPrinterName(session.printer);
}

bool GetPrinter(QWidget* form, QPrinter& printer, int pageCount, int& copies, int& from, int& to)
{
    QPrintDialog dialog(&printer, form);
    dialog.setOption(QAbstractPrintDialog::PrintPageRange, true);
    dialog.setOption(QAbstractPrintDialog::PrintToFile, true);
    dialog.setMinMax(1, std::max(1, pageCount));
    dialog.setFromTo(1, std::max(1, pageCount));
    if (dialog.exec() != QDialog::Accepted)
        return false;
    copies = std::max(1, printer.copyCount());
    printer.setCopyCount(1);
    if (printer.printRange() == QPrinter::PageRange && printer.fromPage() > 0) {
        from = printer.fromPage();
        to = std::min(pageCount, printer.toPage() > 0 ? printer.toPage() : pageCount);
    } else {
        from = 1;
        to = pageCount;
    }
    printer.setPrintRange(QPrinter::AllPages);
    return from <= to;
}

}  // namespace tarlox
