#pragma once

#include "view/PrintLayout.h"

#include <QPainter>

class QPrinter;
class QWidget;

namespace tarlox {

class Session;

// Pages to a QPrinter: on a printer each page is a print job of its own; a
// PDF file can hold only one job, so there all pages go into the one file.
class PrinterPageSink : public PageSink {
public:
    explicit PrinterPageSink(QPrinter& printer);
    ~PrinterPageSink() override;

    bool beginJob() override;
    bool printPage(const QImage& page, const QRectF& frameInches) override;
    bool endJob() override;
    QString lastError() const override { return error_; }
    // Ends the file of a PDF printer.
    bool finish();
    int jobsStarted() const { return jobs_; }

private:
    bool toFile() const;

    QPrinter& printer_;
    QPainter painter_;
    bool pageOpen_ = false;
    int jobs_ = 0;
    QString error_;
};

// The printer the session is set to (key Printer), or the default printer.
void SetPrinter(Session& session, QPrinter& printer);

// The print dialog: printer, copies and page range over pageCount pages,
// starting from the printer given. False when cancelled; otherwise copies,
// from and to (1-based) are set and the printer makes one copy a job.
bool GetPrinter(QWidget* form, QPrinter& printer, int pageCount, int& copies, int& from, int& to);

}  // namespace tarlox
