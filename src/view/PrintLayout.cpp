#include "view/PrintLayout.h"

#include "view/PagePreview.h"

namespace tarlox {

QRectF PrintFrameInches(bool tall)
{
    return QRectF(1 / kTwipsPerInch, 1 / kTwipsPerInch, 11520 / kTwipsPerInch, (tall ? 19440 : 15120) / kTwipsPerInch);
}

QImage PageForPaper(const QImage& page)
{
    return page.height() < page.width() ? TurnPage(page, 1) : page;
}

QList<PrintJob> PlanPrintJobs(int from, int to, int copies)
{
    QList<PrintJob> jobs;
    for (int copy = 1; copy <= copies; ++copy) {
        for (int page = from; page <= to; ++page)
            jobs.append(PrintJob{copy, page});
    }
    return jobs;
}

}  // namespace tarlox
