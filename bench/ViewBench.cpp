// The viewer on a stored 20-page 300 dpi report: first page on the screen,
// changing page, and saving one edited page; each next to its floor in the
// same run (bare libtiff decode plus a box-filter shrink of one page; a plain
// copy of the report's file).

#include "store/FileReplacement.h"
#include "BenchPages.h"

#include "base/Prompter.h"
#include "data/Session.h"
#include "store/ImageFiles.h"
#include "store/TiffWriter.h"
#include "view/PageDocument.h"
#include "view/PageFiles.h"
#include "view/PagePreview.h"

#include <QDir>
#include <QFile>
#include <QGuiApplication>
#include <QTemporaryDir>

#include <benchmark/benchmark.h>
#include <tiffio.h>

#include <bit>
#include <memory>
#include <vector>

using namespace tarlox;
using namespace tarlox::bench;

namespace {

constexpr int kReportPages = 20;
const QSize kWindow(850, 1100);  // the viewer's page area: a third of a 300 dpi letter page

struct Report {
    Report()
    {
        static int argc = 1;
        static char name[] = "tarlox_bench";
        static char* argv[] = {name, nullptr};
        if (!QCoreApplication::instance())
            new QGuiApplication(argc, argv);
        QList<QImage> pages;
        for (int i = 0; i < kReportPages; ++i)
            pages.append(LetterTextPage(quint32(100 + i)));
        copyFile = dir.filePath(QStringLiteral("TR000001.TIF"));
        if (!WriteTiff(copyFile, pages))
            std::abort();
        session.localIni = dir.filePath(QStringLiteral("TARLOX.INI"));
        session.imageFilePath = copyFile;
        session.currentImage = 1;
    }
    QTemporaryDir dir;
    QString copyFile;
    NonInteractivePrompter prompter{true};
    Session session{prompter};
};

Report& report()
{
    static Report r;
    return r;
}

// The floor's shrink: 3 x 3 boxes of a packed 1-bit page. Each byte of a row
// adds its eight pixels as byte lanes of a 64-bit word (a table lookup), so
// three rows are summed a byte at a time; then each group of three columns.
void bareShrinkByThree(const std::vector<uint8_t>& bits, int width, int height, std::vector<uint8_t>& grey)
{
    static const std::vector<uint64_t> spread = [] {
        std::vector<uint64_t> t(256);
        for (int b = 0; b < 256; ++b)
            for (int j = 0; j < 8; ++j)
                if (b & (0x80 >> j))
                    t[size_t(b)] |= uint64_t(1) << (8 * j);
        return t;
    }();
    const int rowBytes = (width + 7) / 8;
    const int outW = width / 3;
    const int outH = height / 3;
    grey.resize(size_t(outW) * size_t(outH));
    std::vector<uint64_t> lanes(static_cast<size_t>(rowBytes));
    for (int r = 0; r < outH; ++r) {
        std::fill(lanes.begin(), lanes.end(), 0);
        for (int dy = 0; dy < 3; ++dy) {
            const uint8_t* row = bits.data() + size_t(r * 3 + dy) * size_t(rowBytes);
            for (int i = 0; i < rowBytes; ++i)
                lanes[size_t(i)] += spread[row[i]];
        }
        const auto* counts = reinterpret_cast<const uint8_t*>(lanes.data());
        uint8_t* out = grey.data() + size_t(r) * size_t(outW);
        for (int c = 0; c < outW; ++c) {
            const int black = counts[3 * c] + counts[3 * c + 1] + counts[3 * c + 2];
            out[c] = uint8_t(255 - black * 255 / 9);
        }
    }
}

void BM_View_Floor_DecodeAndShrink(benchmark::State& state)
{
    const QByteArray path = QFile::encodeName(report().copyFile);
    std::vector<uint8_t> bits;
    std::vector<uint8_t> grey;
    for (auto _ : state) {
        TIFF* tif = TIFFOpen(path.constData(), "r");
        uint32_t width = 0;
        uint32_t height = 0;
        TIFFGetField(tif, TIFFTAG_IMAGEWIDTH, &width);
        TIFFGetField(tif, TIFFTAG_IMAGELENGTH, &height);
        bits.resize(size_t(TIFFStripSize(tif)));
        TIFFReadEncodedStrip(tif, 0, bits.data(), tmsize_t(bits.size()));
        TIFFClose(tif);
        bareShrinkByThree(bits, int(width), int(height), grey);
        benchmark::DoNotOptimize(grey.data());
    }
}
BENCHMARK(BM_View_Floor_DecodeAndShrink)->Unit(benchmark::kMillisecond);

// Open the report in a viewer and put its first page on the screen.
void BM_View_FirstPageOnScreen(benchmark::State& state)
{
    Report& r = report();
    for (auto _ : state) {
        PageDocument doc(r.session);
        doc.load();
        doc.FirstImage();
        const QImage shown = RenderView(doc.page(), doc.geometry(kWindow));
        benchmark::DoNotOptimize(shown.constBits());
    }
}
BENCHMARK(BM_View_FirstPageOnScreen)->Unit(benchmark::kMillisecond);

// Page Down through the report, each page on the screen.
void BM_View_PageChange(benchmark::State& state)
{
    Report& r = report();
    PageDocument doc(r.session);
    doc.load();
    doc.FirstImage();
    int page = 1;
    for (auto _ : state) {
        page = page % kReportPages + 1;
        doc.goToPage(page);
        const QImage shown = RenderView(doc.page(), doc.geometry(kWindow));
        benchmark::DoNotOptimize(shown.constBits());
    }
}
BENCHMARK(BM_View_PageChange)->Unit(benchmark::kMillisecond);

void BM_View_Floor_FileCopy(benchmark::State& state)
{
    Report& r = report();
    const QString target = r.dir.filePath(QStringLiteral("copy.tif"));
    for (auto _ : state) {
        // Durable like a save: written, flushed and renamed into place.
        if (!ReplaceWithCopy(r.copyFile, target))
            state.SkipWithError("copy failed");
    }
}
BENCHMARK(BM_View_Floor_FileCopy)->Unit(benchmark::kMillisecond);

// A line drawn on page 7 and saved: 19 pages copied as stored, one encoded.
void BM_View_SaveOneEditedPage(benchmark::State& state)
{
    Report& r = report();
    r.session.draw.lineWidth = 5;
    // The Original exists already: this is the steady state of a report annotated before.
    if (!MakeOriginal(r.copyFile, OriginalPathOf(r.copyFile)))
        state.SkipWithError("no Original");
    PageDocument doc(r.session);
    doc.load();
    doc.FirstImage();
    doc.goToPage(7);
    int y = 200;
    for (auto _ : state) {
        state.PauseTiming();
        doc.DrawLine(200, y, 2300, y);
        y = y % 3000 + 10;
        state.ResumeTiming();
        if (!doc.SaveChanges())
            state.SkipWithError("save failed");
        state.PauseTiming();
        doc.SaveOff();  // reloads the page for the next stroke
        state.ResumeTiming();
    }
}
BENCHMARK(BM_View_SaveOneEditedPage)->Unit(benchmark::kMillisecond);

}  // namespace
