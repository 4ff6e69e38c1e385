// The TIFF store next to the bare libraries, on the same pages in the same run:
// Group 4 encode and decode, raw page copy against decode and encode, and the
// work done on each scanned page (binarize, deskew, append as Group 4).

#include "BenchPages.h"

#include "store/LeptonicaImage.h"
#include "store/PageProcessing.h"
#include "store/TiffReader.h"
#include "store/TiffWriter.h"

#include <QFile>
#include <QTemporaryDir>

#include <benchmark/benchmark.h>
#include <leptonica/allheaders.h>
#include <tiffio.h>

#include <cstring>
#include <vector>

using namespace tarlox;
using namespace tarlox::bench;

namespace {

constexpr int kPagesPerFile = 8;

struct Pages {
    QTemporaryDir dir;
    std::vector<QImage> text;                 // black and white, 300 dpi letter
    std::vector<std::vector<uint8_t>> packed; // the same as packed MinIsWhite rows
    QString g4File;                           // the pages as one Group 4 file
    std::vector<QImage> grey;                 // grey scans of two of them

    Pages()
    {
        for (int i = 0; i < kPagesPerFile; ++i) {
            text.push_back(LetterTextPage(quint32(i + 1)));
            const QImage& page = text.back();
            const size_t rowBytes = size_t(page.width() + 7) / 8;
            std::vector<uint8_t> rows(rowBytes * size_t(page.height()));
            for (int y = 0; y < page.height(); ++y)
                std::memcpy(rows.data() + rowBytes * size_t(y), page.constScanLine(y), rowBytes);
            packed.push_back(std::move(rows));
        }
        g4File = dir.filePath(QStringLiteral("pages.tif"));
        if (!WriteTiff(g4File, QList<QImage>(text.begin(), text.end())).ok())
            std::abort();
        grey.push_back(LetterGreyScan(101));
        grey.push_back(LetterGreyScan(102));
    }
    QString path(const QString& name) const { return dir.filePath(name); }
};

const Pages& pages()
{
    static const Pages instance;
    return instance;
}

void reportPages(benchmark::State& state, int64_t count)
{
    state.SetItemsProcessed(count);
    state.counters["pages/s"] = benchmark::Counter(double(count), benchmark::Counter::kIsRate);
}

// Plain libtiff: the fields and one encoded strip per page, nothing else.
void bareWriteG4(TIFF* tif, int width, int height, const uint8_t* rows)
{
    TIFFSetField(tif, TIFFTAG_IMAGEWIDTH, uint32_t(width));
    TIFFSetField(tif, TIFFTAG_IMAGELENGTH, uint32_t(height));
    TIFFSetField(tif, TIFFTAG_BITSPERSAMPLE, 1);
    TIFFSetField(tif, TIFFTAG_SAMPLESPERPIXEL, 1);
    TIFFSetField(tif, TIFFTAG_COMPRESSION, COMPRESSION_CCITTFAX4);
    TIFFSetField(tif, TIFFTAG_PHOTOMETRIC, PHOTOMETRIC_MINISWHITE);
    TIFFSetField(tif, TIFFTAG_ROWSPERSTRIP, uint32_t(height));
    TIFFSetField(tif, TIFFTAG_XRESOLUTION, 300.0);
    TIFFSetField(tif, TIFFTAG_YRESOLUTION, 300.0);
    TIFFSetField(tif, TIFFTAG_RESOLUTIONUNIT, RESUNIT_INCH);
    TIFFWriteEncodedStrip(tif, 0, const_cast<uint8_t*>(rows), tmsize_t((width + 7) / 8) * height);
    TIFFWriteDirectory(tif);
}

// ---- Group 4 encode: 8 pages into a new file per iteration

void BM_G4Encode_TiffWriter(benchmark::State& state)
{
    const Pages& p = pages();
    const QString target = p.path(QStringLiteral("encode-tarlox.tif"));
    for (auto _ : state) {
        auto writer = TiffWriter::create(target);
        for (const QImage& page : p.text)
            benchmark::DoNotOptimize(writer->addPage(page).ok());
        if (!writer->commit().ok())
            state.SkipWithError("commit failed");
    }
    reportPages(state, int64_t(state.iterations()) * kPagesPerFile);
}
BENCHMARK(BM_G4Encode_TiffWriter)->Unit(benchmark::kMillisecond);

void BM_G4Encode_BareLibtiff(benchmark::State& state)
{
    const Pages& p = pages();
    const QByteArray target = QFile::encodeName(p.path(QStringLiteral("encode-bare.tif")));
    for (auto _ : state) {
        TIFF* tif = TIFFOpen(target.constData(), "w");
        for (size_t i = 0; i < p.text.size(); ++i)
            bareWriteG4(tif, p.text[i].width(), p.text[i].height(), p.packed[i].data());
        TIFFClose(tif);
    }
    reportPages(state, int64_t(state.iterations()) * kPagesPerFile);
}
BENCHMARK(BM_G4Encode_BareLibtiff)->Unit(benchmark::kMillisecond);

// ---- Group 4 decode: every page of the 8-page file per iteration

void BM_G4Decode_TiffReader(benchmark::State& state)
{
    const Pages& p = pages();
    for (auto _ : state) {
        auto reader = TiffReader::open(p.g4File);
        for (int page = 0; page < reader->pageCount(); ++page) {
            auto image = reader->readPage(page);
            benchmark::DoNotOptimize(image->constBits());
        }
    }
    reportPages(state, int64_t(state.iterations()) * kPagesPerFile);
}
BENCHMARK(BM_G4Decode_TiffReader)->Unit(benchmark::kMillisecond);

void BM_G4Decode_BareLibtiff(benchmark::State& state)
{
    const Pages& p = pages();
    const QByteArray source = QFile::encodeName(p.g4File);
    std::vector<uint8_t> buffer;
    for (auto _ : state) {
        TIFF* tif = TIFFOpen(source.constData(), "r");
        do {
            buffer.resize(size_t(TIFFStripSize(tif)));
            TIFFReadEncodedStrip(tif, 0, buffer.data(), tmsize_t(buffer.size()));
            benchmark::DoNotOptimize(buffer.data());
        } while (TIFFReadDirectory(tif) == 1);
        TIFFClose(tif);
    }
    reportPages(state, int64_t(state.iterations()) * kPagesPerFile);
}
BENCHMARK(BM_G4Decode_BareLibtiff)->Unit(benchmark::kMillisecond);

// ---- Copying pages into a new file: stored data as it is, or decoded and encoded again

void copyPages(benchmark::State& state, bool raw)
{
    const Pages& p = pages();
    const QString target = p.path(raw ? QStringLiteral("copy-raw.tif") : QStringLiteral("copy-decoded.tif"));
    for (auto _ : state) {
        auto reader = TiffReader::open(p.g4File);
        auto writer = TiffWriter::create(target);
        for (int page = 0; page < reader->pageCount(); ++page) {
            if (raw)
                benchmark::DoNotOptimize(writer->addPageFrom(*reader, page).ok());
            else
                benchmark::DoNotOptimize(writer->addPage(*reader->readPage(page)).ok());
        }
        if (!writer->commit().ok())
            state.SkipWithError("commit failed");
    }
    reportPages(state, int64_t(state.iterations()) * kPagesPerFile);
}

void BM_PageCopy_Raw(benchmark::State& state)
{
    copyPages(state, true);
}
BENCHMARK(BM_PageCopy_Raw)->Unit(benchmark::kMillisecond);

void BM_PageCopy_DecodeEncode(benchmark::State& state)
{
    copyPages(state, false);
}
BENCHMARK(BM_PageCopy_DecodeEncode)->Unit(benchmark::kMillisecond);

// ---- One scanned page: grey 300 dpi letter to binarized, deskewed Group 4 page.
// A 60 pages-per-minute feeder leaves 1000 ms per page.

void BM_ScanPage_Tarlox(benchmark::State& state)
{
    const Pages& p = pages();
    const QString target = p.path(QStringLiteral("scan-tarlox.tif"));
    auto writer = TiffWriter::create(target);
    int64_t done = 0;
    for (auto _ : state) {
        const QImage& grey = p.grey[size_t(done % 2)];
        auto mono = ReduceToBlackAndWhite(grey);
        auto straight = DeskewPage(*mono);
        benchmark::DoNotOptimize(writer->addPage(*straight).ok());
        ++done;
    }
    static_cast<void>(writer->commit());
    reportPages(state, done);
}
BENCHMARK(BM_ScanPage_Tarlox)->Unit(benchmark::kMillisecond)->MinTime(3.0);

void BM_ScanPage_BareLeptonicaLibtiff(benchmark::State& state)
{
    const Pages& p = pages();
    // The grey pages as PIX beforehand: a bare program would get them from the scanner so.
    std::vector<PixPtr> greys;
    for (const QImage& grey : p.grey)
        greys.push_back(PixFromImage(grey));
    const QByteArray target = QFile::encodeName(p.path(QStringLiteral("scan-bare.tif")));
    TIFF* tif = TIFFOpen(target.constData(), "w");
    int64_t done = 0;
    std::vector<uint8_t> rows;
    for (auto _ : state) {
        Pix* grey = greys[size_t(done % 2)].get();
        Pix* flat = pixCleanBackgroundToWhite(grey, nullptr, nullptr, 1.0f, 70, 190);
        Pix* mono = pixThresholdToBinary(flat, 160);
        Pix* straight = pixFindSkewAndDeskew(mono, 2, nullptr, nullptr);
        Pix* bytes = pixEndianByteSwapNew(straight);
        const int width = pixGetWidth(bytes);
        const int height = pixGetHeight(bytes);
        const size_t rowBytes = size_t(width + 7) / 8;
        rows.resize(rowBytes * size_t(height));
        const auto* data = reinterpret_cast<const uint8_t*>(pixGetData(bytes));
        for (int y = 0; y < height; ++y)
            std::memcpy(rows.data() + rowBytes * size_t(y), data + size_t(pixGetWpl(bytes)) * 4 * size_t(y), rowBytes);
        bareWriteG4(tif, width, height, rows.data());
        pixDestroy(&bytes);
        pixDestroy(&straight);
        pixDestroy(&mono);
        pixDestroy(&flat);
        ++done;
    }
    TIFFClose(tif);
    reportPages(state, done);
}
BENCHMARK(BM_ScanPage_BareLeptonicaLibtiff)->Unit(benchmark::kMillisecond)->MinTime(3.0);

}  // namespace
