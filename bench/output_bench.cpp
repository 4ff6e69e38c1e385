// Output preparation of a 20-page 300 dpi letter report, next to its floor in
// the same run: decoding and encoding the same pages as Group 4 with nothing
// added. Also the PDF of the prepared pages against the TIFF, and printing
// the report to Qt's PDF printer. Prints medians of the rounds.

#include "BenchOutput.h"
#include "BenchPages.h"

#include "base/IniFile.h"
#include "base/Prompter.h"
#include "data/Session.h"
#include "output/OutputPreparation.h"
#include "output/forms/PrintDoc.h"
#include "store/TiffReader.h"
#include "store/TiffWriter.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QFileInfo>
#include <QPrinter>
#include <QTemporaryDir>

#include <algorithm>
#include <cstdio>
#include <functional>
#include <vector>

using namespace tarlox;
using namespace tarlox::bench;

namespace {

constexpr int kPages = 20;

double MedianMs(int rounds, const std::function<void()>& run)
{
    std::vector<double> times;
    for (int i = 0; i < rounds; ++i) {
        QElapsedTimer timer;
        timer.start();
        run();
        times.push_back(timer.nsecsElapsed() / 1e6);
    }
    std::sort(times.begin(), times.end());
    return times[times.size() / 2];
}

}  // namespace

int main(int argc, char** argv)
{
    OffscreenUnlessSet();
    QApplication app(argc, argv);
    const int rounds = argc > 1 ? std::max(1, atoi(argv[1])) : 3;
    QTemporaryDir dir;
    const QString report = dir.filePath(QStringLiteral("TR000001.TIF"));
    {
        QList<QImage> pages;
        for (int i = 0; i < kPages; ++i)
            pages << LetterTextPage(quint32(i + 1));
        Check(WriteTiff(report, pages).ok(), "writing the report");
    }

    const OutputSettings settings = StampedOutputSettings(dir);
    MessageFields fields;
    fields.to = QStringLiteral("ACME Fabrication Inc.");
    fields.order = QStringLiteral("SO-100233");
    fields.custPO = QStringLiteral("PO-7781-22");
    fields.partDesc = QStringLiteral("Round bar 2 in, cold drawn 1018");
    fields.heat = QStringLiteral("H7781234A");
    const QDate today(2026, 1, 15);

    const QString floorFile = dir.filePath(QStringLiteral("floor.tif"));
    const double floorMs = MedianMs(rounds, [&] {
        auto reader = TiffReader::open(report);
        auto writer = TiffWriter::create(floorFile);
        Check(reader.ok() && writer.ok(), "opening");
        for (int p = 0; p < kPages; ++p)
            Check(writer->addPage(*reader->readPage(p)).ok(), "decode and encode");
        Check(writer->commit().ok(), "commit");
    });
    QList<PdfPage> prepared;
    const QString tiffOut = dir.filePath(QStringLiteral("TM000001.TIF"));
    const double prepareMs = MedianMs(rounds, [&] {
        auto pages = PreparePages(report, QStringLiteral("All"), settings, fields, today);
        Check(pages.ok(), "preparing");
        prepared = *pages;
        Check(WritePrepared(tiffOut, prepared, false).ok(), "writing the TIFF");
    });
    const QString pdfOut = dir.filePath(QStringLiteral("TM000001.pdf"));
    const double pdfMs = MedianMs(rounds, [&] { Check(WritePrepared(pdfOut, prepared, true).ok(), "writing the PDF"); });
    const QString plainPdf = dir.filePath(QStringLiteral("plain.pdf"));
    QList<PdfPage> plain;
    for (int p = 0; p < kPages; ++p)
        plain << PdfPage::fromTiff(report, p);
    const double plainPdfMs = MedianMs(rounds, [&] { Check(WritePrepared(plainPdf, plain, true).ok(), "writing the plain PDF"); });

    // Printing: a session whose settings ask for nothing, so the stored pages print as they are.
    NonInteractivePrompter prompter(true);
    Session session(prompter);
    session.localIni = dir.filePath(QStringLiteral("TARLOX.INI"));
    session.tempDir = session.dataDir = dir.path();
    QPrinter printer(QPrinter::HighResolution);
    printer.setOutputFormat(QPrinter::PdfFormat);
    printer.setOutputFileName(dir.filePath(QStringLiteral("printed.pdf")));
    printer.setResolution(300);
    const double printMs = MedianMs(rounds, [&] {
        Check(PrintDoc(session, printer, QStringLiteral("All"), report, PrintFrame::Standard, {}).ok(), "printing");
    });

    std::printf("20-page 300 dpi letter report, medians of %d rounds\n", rounds);
    std::printf("prepare with stamp and message block, write TIFF: %8.1f ms (%5.1f ms/page)\n", prepareMs, prepareMs / kPages);
    std::printf("floor: decode and encode the same pages:          %8.1f ms (%5.1f ms/page)  ratio %.2f\n", floorMs,
                floorMs / kPages, prepareMs / floorMs);
    std::printf("PDF of the prepared pages:                        %8.1f ms, %lld bytes (TIFF %lld bytes)\n", pdfMs,
                qint64(QFileInfo(pdfOut).size()), qint64(QFileInfo(tiffOut).size()));
    std::printf("PDF of the stored pages (strips copied):          %8.1f ms, %lld bytes (TIFF %lld bytes)\n", plainPdfMs,
                qint64(QFileInfo(plainPdf).size()), qint64(QFileInfo(report).size()));
    std::printf("print 20 pages to the PDF printer:                %8.1f ms (%5.1f ms/page)\n", printMs, printMs / kPages);
    return 0;
}
