// Reading the barcodes of one 300 dpi Letter page through BarcodeReader (the
// helper process, kept running across pages), next to the decoder's bare
// ReadBarcodes on the same page in this process. A 60 pages-per-minute
// feeder leaves 1000 ms per page.
//
//   barcode_bench [benchmark options]
//
// A program of its own, as it starts the helper process; the helper is
// found through TARLOX_BARCODE_HELPER, else the one of this build.

#include "BenchPages.h"

#include "capture/BarcodeKey.h"
#include "capture/BarcodeReader.h"
#include "capture/SeparatorSheet.h"

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

}  // namespace

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
