// Reading the barcodes of one 300 dpi Letter page through BarcodeReader (the
// helper process, kept running across pages), next to the decoder's bare
// ReadBarcodes on the same page in this process. A 60 pages-per-minute
// feeder leaves 1000 ms per page.
//
//   barcode_bench [benchmark options]
//
// And a stack of 50 pages (10 sheets, each with 4 report pages behind it)
// from Read to a filled grid, next to decoding the same pages and reading
// them with the bare decoder.
//
// A program of its own, as it starts the helper process; the helper is
// found through TARLOX_BARCODE_HELPER, else the one of this build.

#include "BenchPages.h"

#include "capture/BarcodeCapture.h"
#include "capture/BarcodeKey.h"
#include "capture/BarcodeReader.h"
#include "capture/RbqClient.h"
#include "capture/SeparatorSheet.h"
#include "store/TiffReader.h"
#include "store/TiffWriter.h"

#include <QTemporaryDir>

#include <QGuiApplication>

#define ZX_USE_UTF8
#include <ZXing/ReadBarcode.h>

#include <benchmark/benchmark.h>

#include <vector>

using namespace tarlox;
using namespace tarlox::bench;

namespace {

// A sheet whose four codes differ, which the bare decoder can read too.
QImage DistinctSheet()
{
    return *SeparatorSheet({QStringLiteral("PO-4471"), 12, 7, 3});
}

// A sheet with receipt 0 and tag 0: two equal codes, read part by part by the helper.
QImage ZeroSheet()
{
    return *SeparatorSheet({QStringLiteral("PO-4471"), 0, 7, 0});
}

QImage TextPage()
{
    return LetterTextPage(7);
}

QImage GreyTextPage()
{
    return LetterGreyScan(7);
}

void ReadWithReader(benchmark::State& state, QImage (*make)(), int expected)
{
    const QImage page = make();
    BarcodeReader reader;
    reader.read(page);  // the helper started before timing
    for (auto _ : state) {
        const BarcodePage read = reader.read(page);
        if (read.codes.size() != expected || !read.note.isEmpty()) {
            state.SkipWithError("wrong codes");
            break;
        }
    }
    state.counters["pages/s"] = benchmark::Counter(double(state.iterations()), benchmark::Counter::kIsRate);
}

// The floor: the decoder alone, in this process, on the page already in
// 8-bit luminance, with the settings that keep it from ending the process.
void ReadBare(benchmark::State& state, QImage (*make)(), int expected)
{
    const QImage grey = make().convertToFormat(QImage::Format_Grayscale8);
    using ZXing::BarcodeFormat;
    ZXing::DecodeHints hints;
    hints.setTryHarder(true).setTryDownscale(false).setFormats(BarcodeFormat::Code128 | BarcodeFormat::Code39
        | BarcodeFormat::ITF | BarcodeFormat::QRCode | BarcodeFormat::DataMatrix | BarcodeFormat::PDF417);
    const ZXing::ImageView view(grey.constBits(), grey.width(), grey.height(), ZXing::ImageFormat::Lum,
                                int(grey.bytesPerLine()));
    for (auto _ : state) {
        const ZXing::Results results = ZXing::ReadBarcodes(view, hints);
        if (int(results.size()) != expected) {
            state.SkipWithError("wrong codes");
            break;
        }
    }
    state.counters["pages/s"] = benchmark::Counter(double(state.iterations()), benchmark::Counter::kIsRate);
}

ZXing::DecodeHints BareHints()
{
    using ZXing::BarcodeFormat;
    ZXing::DecodeHints hints;
    hints.setTryHarder(true).setTryDownscale(false).setFormats(BarcodeFormat::Code128 | BarcodeFormat::Code39
        | BarcodeFormat::ITF | BarcodeFormat::QRCode | BarcodeFormat::DataMatrix | BarcodeFormat::PDF417);
    return hints;
}

// 50 pages: a sheet and four report pages, ten times; written once.
const QString& StackFile()
{
    static QTemporaryDir dir;
    static const QString path = [] {
        QList<QImage> pages;
        for (int report = 0; report < 10; ++report) {
            pages.append(*SeparatorSheet({QStringLiteral("PO-%1").arg(4471 + report), qint16(10 + report), 7, 3}));
            for (int page = 0; page < 4; ++page)
                pages.append(LetterTextPage(quint32(report * 4 + page)));
        }
        const QString file = dir.filePath(QStringLiteral("stack.tif"));
        return WriteTiff(file, pages) ? file : QString();
    }();
    return path;
}

void StackToGrid(benchmark::State& state)
{
    BarcodeReader reader;
    const std::unique_ptr<RbqClient> client = MakeRbqClient({});
    for (auto _ : state) {
        const BarcodeGrid grid = ReadBarcodeStack(StackFile(), reader, *client);
        if (grid.rows.size() != 10 || grid.rows.last().pages != 4) {
            state.SkipWithError("wrong grid");
            break;
        }
    }
    state.counters["pages/s"] = benchmark::Counter(50.0 * double(state.iterations()), benchmark::Counter::kIsRate);
}

// The floor: the same pages decoded from the file and read by the bare decoder in this process.
void StackBare(benchmark::State& state)
{
    const ZXing::DecodeHints hints = BareHints();
    for (auto _ : state) {
        auto stack = TiffReader::open(StackFile());
        int codes = 0;
        for (int page = 0; stack && page < stack->pageCount(); ++page) {
            const QImage grey = stack->readPage(page)->convertToFormat(QImage::Format_Grayscale8);
            codes += int(ZXing::ReadBarcodes(ZXing::ImageView(grey.constBits(), grey.width(), grey.height(), ZXing::ImageFormat::Lum,
                                                              int(grey.bytesPerLine())),
                                             hints)
                             .size());
        }
        if (codes != 40) {
            state.SkipWithError("wrong codes");
            break;
        }
    }
    state.counters["pages/s"] = benchmark::Counter(50.0 * double(state.iterations()), benchmark::Counter::kIsRate);
}

}  // namespace

BENCHMARK(StackToGrid)->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(3);
BENCHMARK(StackBare)->Unit(benchmark::kMillisecond)->Iterations(3);
BENCHMARK_CAPTURE(ReadWithReader, SheetPage, DistinctSheet, 4)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK_CAPTURE(ReadBare, SheetPage, DistinctSheet, 4)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(ReadWithReader, SheetWithEqualCodes, ZeroSheet, 4)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK_CAPTURE(ReadWithReader, PageWithoutCodes, TextPage, 0)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK_CAPTURE(ReadBare, PageWithoutCodes, TextPage, 0)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(ReadWithReader, GreyPageWithoutCodes, GreyTextPage, 0)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK_CAPTURE(ReadBare, GreyPageWithoutCodes, GreyTextPage, 0)->Unit(benchmark::kMillisecond);

int main(int argc, char** argv)
{
    if (qEnvironmentVariableIsEmpty("TARLOX_BARCODE_HELPER"))
        qputenv("TARLOX_BARCODE_HELPER", TARLOX_BARCODE_HELPER_BUILT);
    QGuiApplication app(argc, argv);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
