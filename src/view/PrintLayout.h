#pragma once

#include <QImage>
#include <QList>
#include <QRectF>

namespace tarlox {

// How the viewer puts pages on paper: each page in a frame 8 inches wide and
// 10.5 inches high, one twip from the corner of the printable area; a page
// wider than high turned a quarter counter-clockwise first, so it prints
// upright on portrait paper.

inline constexpr double kTwipsPerInch = 1440;

// The frame in inches: left and top 1 twip, width 11520 and height 15120 twips
// (13.5 inches, 19440 twips, when tall is set).
QRectF PrintFrameInches(bool tall = false);

// The page as it goes to paper.
QImage PageForPaper(const QImage& page);

// The print jobs for copies of the pages from..to (from 1): one job for each
// page, copy by copy.
struct PrintJob {
    int copy = 1;
    int page = 1;
};
QList<PrintJob> PlanPrintJobs(int from, int to, int copies);

// Receives the pages. A printer makes each page a job of its own; a file
// (PDF) holds all of them.
class PageSink {
public:
    virtual ~PageSink() = default;
    virtual bool beginJob() = 0;
    // The page drawn stretched into frame (inches from the printable corner).
    virtual bool printPage(const QImage& page, const QRectF& frameInches) = 0;
    virtual bool endJob() = 0;
    virtual QString lastError() const { return {}; }
};

}  // namespace tarlox
