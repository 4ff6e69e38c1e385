// One scanned page from the scanner's bytes to the report file, as the
// scanner session does it, next to the bare Leptonica and libtiff calls of
// StoreBench.cpp (BM_ScanPage_BareLeptonicaLibtiff) on the same pages:
// run both with --benchmark_filter='ScanPage|ScanPipeline|ScanSession'.
// A 60 pages-per-minute feeder leaves 1000 ms per page.

#include "BenchPages.h"

#include "base/Prompter.h"
#include "data/Session.h"
#include "store/SaneFrame.h"
#include "store/ScannedPage.h"
#include "store/ScannerSession.h"
#include "store/TiffWriter.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <benchmark/benchmark.h>

using namespace tarlox;
using namespace tarlox::bench;

namespace {

// Pages of a report: the file starts again after this many, as a new report would.
constexpr int kReportPages = 8;

struct GreyScans {
    QTemporaryDir dir;
    std::vector<QByteArray> raw;  // the two grey pages as a scanner sends them: 8-bit lines
    GreyScans()
    {
        for (quint32 seed : {101u, 102u}) {
            const QImage grey = LetterGreyScan(seed);
            QByteArray bytes;
            bytes.reserve(qsizetype(kLetterWidth) * kLetterHeight);
            for (int y = 0; y < grey.height(); ++y)
                bytes.append(reinterpret_cast<const char*>(grey.constScanLine(y)), kLetterWidth);
            raw.push_back(std::move(bytes));
        }
    }
};

const GreyScans& scans()
{
    static const GreyScans instance;
    return instance;
}

void reportPages(benchmark::State& state, int64_t count)
{
    state.SetItemsProcessed(count);
    state.counters["pages/s"] = benchmark::Counter(double(count), benchmark::Counter::kIsRate);
}

// The scanner session's work on a 300 dpi grey Letter page: the page put
// together from the device's bytes, binarized, measured, deskewed, cut,
// and appended as Group 4 to the report file with a durable commit.
void BM_ScanPipeline_Tarlox(benchmark::State& state)
{
    const GreyScans& g = scans();
    const QString target = g.dir.filePath(QStringLiteral("report.tif"));
    QFile::remove(target);
    PageWork work;
    work.deskew = true;
    int64_t done = 0;
    for (auto _ : state) {
        if (done % kReportPages == 0) {
            state.PauseTiming();
            QFile::remove(target);
            state.ResumeTiming();
        }
        SanePageBuilder builder;
        SaneFrameFormat format;
        format.bytesPerLine = format.pixelsPerLine = kLetterWidth;
        format.lines = kLetterHeight;
        const QByteArray& raw = g.raw[size_t(done % 2)];
        if (!builder.beginFrame(format) || !builder.append(raw.constData(), raw.size()))
            state.SkipWithError("frame");
        auto page = builder.finish(300, 300);
        auto prepared = PrepareScannedPage(*page, work);
        if (!prepared || !AppendPage(target, prepared->page))
            state.SkipWithError("page");
        ++done;
    }
    reportPages(state, done);
}
BENCHMARK(BM_ScanPipeline_Tarlox)->Unit(benchmark::kMillisecond)->MinTime(3.0)->UseRealTime();

// The whole session on SANE's test scanner: ten sheets from its feeder at
// 300 dpi Letter per iteration, each read off the interface thread, worked
// on and appended to the report file. The test device sends two-colour
// pages, so this measures the transfer, the size test, deskew and storing.
void BM_ScanSession_TestFeeder(benchmark::State& state)
{
    static QTemporaryDir config;
    static bool configured = [] {
        QFile dll(config.filePath(QStringLiteral("dll.conf")));
        QFile test(config.filePath(QStringLiteral("test.conf")));
        if (!dll.open(QIODevice::WriteOnly) || !test.open(QIODevice::WriteOnly))
            return false;
        dll.write("test\n");
        test.write("number_of_devices 1\ngeometry_min 0.0\ngeometry_max 400.0\ngeometry_quant 0.0\ntest-picture \"Grid\"\n");
        qputenv("SANE_CONFIG_DIR", config.path().toLocal8Bit());
        return true;
    }();
    if (!configured) {
        state.SkipWithError("SANE configuration");
        return;
    }
    static int argc = 1;
    static char name[] = "tarlox_bench";
    static char* argv[] = {name, nullptr};
    static QCoreApplication* app = QCoreApplication::instance() ? nullptr : new QCoreApplication(argc, argv);
    (void)app;

    NonInteractivePrompter prompter(true);
    Session session(prompter);
    const QString target = scans().dir.filePath(QStringLiteral("session.tif"));
    ScanSettings settings;
    settings.device = QStringLiteral("test:0");
    settings.dpi = 300;
    settings.useAdf = true;
    settings.deskew = true;
    int64_t pages = 0;
    for (auto _ : state) {
        QFile::remove(target);
        ScannerSession scanner(session, ScanProfile::forRescan(target), settings);
        scanner.Scan();
        if (scanner.pagesSaved() != 10)
            state.SkipWithError("pages");
        pages += scanner.pagesSaved();
    }
    reportPages(state, pages);
}
BENCHMARK(BM_ScanSession_TestFeeder)->Unit(benchmark::kMillisecond)->MinTime(5.0)->UseRealTime();

}  // namespace
