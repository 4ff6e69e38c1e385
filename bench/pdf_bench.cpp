// A report as PDF next to its floor, in the same run: a 20-page 300 dpi
// letter report written as PDF (plain and PDF/A-1b), against just reading
// the same Group 4 strips from the TIFF; and the size of the PDF against the
// Group 4 data it carries. Run as: tarlox_pdf_bench [rounds]

#include "BenchPages.h"

#include "output/PdfWriter.h"
#include "store/TiffReader.h"
#include "store/TiffWriter.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QFileInfo>
#include <QTemporaryDir>

#include <tiffio.h>

#include <algorithm>
#include <cstdio>
#include <functional>
#include <vector>

using namespace tarlox;
using namespace tarlox::bench;

namespace {

constexpr int kPages = 20;

// The median of rounds runs of work, in milliseconds.
double MedianMs(int rounds, const std::function<void()>& work)
{
    std::vector<double> times;
    for (int i = 0; i < rounds; ++i) {
        QElapsedTimer timer;
        timer.start();
        work();
        times.push_back(double(timer.nsecsElapsed()) / 1e6);
    }
    std::sort(times.begin(), times.end());
    return times[times.size() / 2];
}

// Reads every strip of every page as stored; the bytes read.
qint64 ReadStrips(const QString& tiff)
{
    auto reader = TiffReader::open(tiff);
    if (!reader)
        std::abort();
    qint64 total = 0;
    std::vector<uint8_t> buffer;
    for (int page = 0; page < reader->pageCount(); ++page) {
        auto tif = reader->selectPage(page);
        if (!tif)
            std::abort();
        for (uint32_t strip = 0; strip < TIFFNumberOfStrips(*tif); ++strip) {
            buffer.resize(size_t(TIFFRawStripSize(*tif, strip)));
            total += TIFFReadRawStrip(*tif, strip, buffer.data(), tmsize_t(buffer.size()));
        }
    }
    return total;
}

void WriteOrDie(const QString& tiff, const QString& target, bool pdfa)
{
    PdfOptions options;
    options.pdfa = pdfa;
    options.title = QStringLiteral("Material test report");
    if (auto written = TiffToPdf(tiff, {}, target, options); !written) {
        std::fprintf(stderr, "%s\n", qPrintable(written.error()));
        std::exit(1);
    }
}

void PrintSize(const char* what, qint64 pdf, qint64 g4)
{
    std::printf("%-28s %9lld bytes, %+lld bytes over the Group 4 data (%+.2f%%)\n", what, static_cast<long long>(pdf),
                static_cast<long long>(pdf - g4), 100.0 * double(pdf - g4) / double(g4));
}

}  // namespace

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    const int rounds = argc > 1 ? std::max(1, std::atoi(argv[1])) : 15;
    QTemporaryDir dir;
    const QString tiff = dir.filePath(QStringLiteral("TR000001.TIF"));
    QList<QImage> pages;
    for (int i = 0; i < kPages; ++i)
        pages.append(LetterTextPage(quint32(i + 1)));
    if (!WriteTiff(tiff, pages).ok())
        return 1;
    const QString pdf = dir.filePath(QStringLiteral("TM000001.pdf"));
    const QString pdfa = dir.filePath(QStringLiteral("TM000001_a.pdf"));

    qint64 g4 = 0;
    const double floorMs = MedianMs(rounds, [&] { g4 = ReadStrips(tiff); });
    const double pdfMs = MedianMs(rounds, [&] { WriteOrDie(tiff, pdf, false); });
    const double pdfaMs = MedianMs(rounds, [&] { WriteOrDie(tiff, pdfa, true); });

    std::printf("%d pages, 300 dpi letter, median of %d rounds\n", kPages, rounds);
    std::printf("%-28s %9.2f ms (floor)\n", "read the Group 4 strips", floorMs);
    std::printf("%-28s %9.2f ms (%.1f x the floor)\n", "write the PDF", pdfMs, pdfMs / floorMs);
    std::printf("%-28s %9.2f ms (%.1f x the floor)\n", "write the PDF/A-1b", pdfaMs, pdfaMs / floorMs);
    std::printf("%-28s %9lld bytes\n", "Group 4 strips", static_cast<long long>(g4));
    PrintSize("PDF", QFileInfo(pdf).size(), g4);
    PrintSize("PDF/A-1b", QFileInfo(pdfa).size(), g4);
    return 0;
}
