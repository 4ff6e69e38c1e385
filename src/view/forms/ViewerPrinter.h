#pragma once

#include "base/forms/PrinterSetup.h"
#include "view/PrintLayout.h"

#include <QPainter>

class QPrinter;
class QWidget;

namespace tarlox {

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

}  // namespace tarlox
