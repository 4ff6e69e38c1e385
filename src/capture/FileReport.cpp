#include "capture/FileReport.h"

#include "data/Session.h"
#include "store/ImageInput.h"
#include "store/ImageStore.h"
#include "store/PageImage.h"
#include "store/TiffWriter.h"

#include <QFileInfo>

namespace tarlox {

FileReportResult AddReportFromFiles(Session& session, const FileReportRequest& request)
{
    session.traceCall(QStringLiteral("AddReportFromFiles"), request.files);
    FileReportResult result;
    if (request.files.isEmpty()) {
        result.error = QStringLiteral("No files were named.");
        return result;
    }
    const int pdfDpi = request.dpi > 0 ? request.dpi : ImageInput::kDefaultPdfDpi;
    std::vector<ImageInput> inputs;
    int pages = 0;
    for (const QString& file : request.files) {
        auto input = ImageInput::open(file, pdfDpi);
        if (!input) {
            result.error = input.error();
            return result;
        }
        pages += input->pageCount();
        inputs.push_back(std::move(input).value());
    }

    const InfoRecord& entry = session.info;
    const ReportTags tags = ReportTags::forReport(entry.heat, entry.part, entry.po, entry.vend, entry.mfg);
    QString pageError;
    const PageWriter writePages = [&](const QString& path) {
        auto writer = TiffWriter::create(path, tags);
        if (!writer) {
            pageError = writer.error();
            return false;
        }
        for (ImageInput& input : inputs) {
            for (int i = 0; i < input.pageCount(); ++i) {
                auto page = input.page(i);
                if (!page) {
                    pageError = page.error();
                    return false;
                }
                QImage image = std::move(page).value();
                const Dpi own = DpiOf(image);
                const bool noResolution = own.x <= 0 || own.y <= 0;
                const IoStatus added = request.dpi > 0 && noResolution ? writer->addPage(image, Dpi{double(request.dpi), double(request.dpi)})
                                                                       : writer->addPage(image);
                if (!added) {
                    pageError = added.error();
                    return false;
                }
            }
        }
        const IoStatus committed = writer->commit();
        if (!committed)
            pageError = committed.error();
        return bool(committed);
    };

    session.pageSizeCode = request.pageSizeCode;
    const int dpi = request.dpi > 0 ? request.dpi : int(kDefaultDpi);
    StoreOptions options;
    options.duplicates = request.duplicates;
    result.imageNumber = SaveMTR(session, dpi, writePages, options).imageNumber;
    result.pages = result.imageNumber ? pages : 0;
    if (!result.imageNumber)
        result.error = pageError;
    return result;
}

}  // namespace tarlox
