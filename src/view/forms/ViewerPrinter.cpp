#include "view/forms/ViewerPrinter.h"

#include <QPrinter>

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

}  // namespace tarlox
