#include "view/forms/ViewerPrinter.h"

#include "data/Session.h"

#include <QPrintDialog>
#include <QPrinter>
#include <QPrinterInfo>

namespace tarlox {

PrinterPageSink::PrinterPageSink(QPrinter& printer) : printer_(printer)
{
}

PrinterPageSink::~PrinterPageSink()
{
    finish();
}

bool PrinterPageSink::toFile() const
{
    return printer_.outputFormat() == QPrinter::PdfFormat;
}

bool PrinterPageSink::beginJob()
{
    if (painter_.isActive()) {
        if (!printer_.newPage()) {
            error_ = QStringLiteral("The printer did not take another page.");
            return false;
        }
        return true;
    }
    if (!painter_.begin(&printer_)) {
        error_ = QStringLiteral("The printer \"%1\" could not start a print job.").arg(printer_.printerName().isEmpty() ? printer_.outputFileName() : printer_.printerName());
        return false;
    }
    ++jobs_;
    return true;
}

bool PrinterPageSink::printPage(const QImage& page, const QRectF& frameInches)
{
    if (!painter_.isActive())
        return false;
    const double dpi = printer_.resolution();
    const QRectF target(frameInches.left() * dpi, frameInches.top() * dpi, frameInches.width() * dpi, frameInches.height() * dpi);
    painter_.setRenderHint(QPainter::SmoothPixmapTransform, true);
    painter_.drawImage(target, page);
    return true;
}

bool PrinterPageSink::endJob()
{
    if (toFile())
        return true;  // the file is ended by finish()
    if (painter_.isActive() && !painter_.end()) {
        error_ = QStringLiteral("The print job could not be finished.");
        return false;
    }
    return true;
}

bool PrinterPageSink::finish()
{
    if (painter_.isActive())
        return painter_.end();
    return true;
}

void SetPrinter(Session& session, QPrinter& printer)
{
    if (!session.printer.isEmpty() && printer.outputFormat() == QPrinter::NativeFormat) {
        const QPrinterInfo info = QPrinterInfo::printerInfo(session.printer);
        if (!info.isNull())
            printer.setPrinterName(session.printer);
    }
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
