// A batch next to its floors, in the same run:
//  1. reading a directory of PDF pages and JPEG pages (300 dpi letter) into
//     the batch's work file, against the same pages put through the bare
//     steps: Poppler render or JPEG decode, the store's binarization, Group 4
//     encode (aim: within 1.2x);
//  2. adding one-page reports with `tarlox-cli batch`, against `tarlox-cli
//     add` once for each of the same pages.
// Run as: tarlox_batch_bench [pages of each kind, default 100] [reports, default 200]

#include "BenchPages.h"

#include "capture/BatchFiles.h"
#include "store/PageProcessing.h"
#include "store/TiffWriter.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QGuiApplication>
#include <QImageReader>
#include <QPainter>
#include <QPdfWriter>
#include <QProcess>
#include <QTemporaryDir>

#include <poppler-qt6.h>

#include <cstdio>
#include <cstdlib>

#include <sys/resource.h>

using namespace tarlox;
using namespace tarlox::bench;

namespace {

void die(const QString& why)
{
    std::fprintf(stderr, "%s\n", qPrintable(why));
    std::exit(1);
}

// CPU seconds of this process and of the processes it waited for.
double cpuSeconds()
{
    double total = 0;
    for (int who : {RUSAGE_SELF, RUSAGE_CHILDREN}) {
        rusage usage{};
        getrusage(who, &usage);
        total += double(usage.ru_utime.tv_sec + usage.ru_stime.tv_sec) + double(usage.ru_utime.tv_usec + usage.ru_stime.tv_usec) / 1e6;
    }
    return total;
}

// Wall and CPU seconds of work: the machine is shared, so CPU is the figure to compare.
struct Took {
    double wall = 0;
    double cpu = 0;
};
Took seconds(const std::function<void()>& work)
{
    QElapsedTimer timer;
    const double cpu = cpuSeconds();
    timer.start();
    work();
    return Took{double(timer.nsecsElapsed()) / 1e9, cpuSeconds() - cpu};
}

void print(const char* what, const Took& t, int units, const char* unit, const char* note = "")
{
    std::printf("  %-22s %7.2f s CPU (%6.1f ms a %s), %7.2f s wall %s\n", what, t.cpu, 1000 * t.cpu / units, unit, t.wall, note);
}

int cli(const QString& site, const QStringList& arguments)
{
    QProcess process;
    QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
    env.insert(QStringLiteral("TARLOX"), site);
    process.setProcessEnvironment(env);
    process.start(QStringLiteral(TARLOX_CLI_BUILT), arguments);
    process.waitForFinished(-1);
    return process.exitCode();
}

}  // namespace

int main(int argc, char** argv)
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QGuiApplication app(argc, argv);
    const int perKind = argc > 1 ? std::atoi(argv[1]) : 100;
    const int reports = argc > 2 ? std::atoi(argv[2]) : 200;
    QTemporaryDir dir;
    const QString in = dir.filePath(QStringLiteral("in"));
    QDir().mkpath(in);

    // The inputs: one PDF of perKind scanned-looking pages, perKind JPEG scans.
    {
        QPdfWriter pdf(in + QStringLiteral("/portal.pdf"));
        pdf.setResolution(300);
        pdf.setPageSize(QPageSize(QPageSize::Letter));
        pdf.setPageMargins(QMarginsF());
        QPainter painter(&pdf);
        for (int i = 0; i < perKind; ++i) {
            if (i > 0)
                pdf.newPage();
            painter.drawImage(QPoint(0, 0), LetterTextPage(quint32(i + 1)));
        }
    }
    for (int i = 0; i < perKind; ++i) {
        const QString name = in + QStringLiteral("/scan%1.jpg").arg(i, 3, 10, QLatin1Char('0'));
        if (i < 10) {
            QImage grey = LetterGreyScan(quint32(i + 1));
            grey.setDotsPerMeterX(11811);
            grey.setDotsPerMeterY(11811);
            if (!grey.save(name, "JPEG", 85))
                die(QStringLiteral("can't write %1").arg(name));
        } else {
            QFile::copy(in + QStringLiteral("/scan%1.jpg").arg(i % 10, 3, 10, QLatin1Char('0')), name);
        }
    }
    QStringList files;
    for (const QString& name : ListBatchFiles(in))
        files.append(in + QLatin1Char('/') + name);

    // 1. Reading into the work file, and the bare steps.
    const QString work = dir.filePath(QStringLiteral("temp.tif"));
    BatchReadResult read;
    const Took batchRead = seconds([&] { read = ReadBatchFiles(files, work, 300); });
    if (!read.ok() || read.pages != 2 * perKind)
        die(QStringLiteral("reading gave %1 pages: %2").arg(read.pages).arg(read.error));
    const Took bare = seconds([&] {
        auto writer = TiffWriter::create(dir.filePath(QStringLiteral("bare.tif")));
        if (!writer)
            die(writer.error());
        const std::unique_ptr<Poppler::Document> doc = Poppler::Document::load(in + QStringLiteral("/portal.pdf"));
        const auto add = [&](const QImage& page) {
            auto bw = ReduceToBlackAndWhite(page);
            if (!bw || !writer->addPage(*bw, Dpi{300, 300}))
                die(QStringLiteral("bare page failed"));
        };
        for (int i = 0; i < doc->numPages(); ++i)
            add(doc->page(i)->renderToImage(300, 300));
        for (const QString& file : files) {
            if (file.endsWith(QLatin1String(".jpg")))
                add(QImageReader(file).read());
        }
        if (!writer->commit())
            die(QStringLiteral("bare commit failed"));
    });
    std::printf("Reading %d PDF + %d JPEG pages (300 dpi letter) into the work file:\n", perKind, perKind);
    print("batch", batchRead, 2 * perKind, "page");
    print("floor", bare, 2 * perKind, "page", "(Poppler render / JPEG decode, binarize, Group 4 encode)");
    std::printf("  ratio %.2f CPU, %.2f wall\n", batchRead.cpu / bare.cpu, batchRead.wall / bare.wall);

    // 2. Adding one-page reports: one batch against one add a page.
    const QString pages = dir.filePath(QStringLiteral("pages"));
    QDir().mkpath(pages);
    QStringList pageFiles;
    QByteArray index;
    for (int i = 0; i < reports; ++i) {
        const QString file = pages + QStringLiteral("/p%1.tif").arg(i, 4, 10, QLatin1Char('0'));
        if (i < 10) {
            if (!WriteTiff(file, {LetterTextPage(quint32(100 + i))}))
                die(QStringLiteral("can't write %1").arg(file));
        } else {
            QFile::copy(pages + QStringLiteral("/p%1.tif").arg(i % 10, 4, 10, QLatin1Char('0')), file);
        }
        pageFiles.append(file);
        index += QStringLiteral("H%1,P%1,PO,Vendor,Mill,New\n").arg(i).toUtf8();
    }
    QFile indexFile(dir.filePath(QStringLiteral("index.csv")));
    if (!indexFile.open(QIODevice::WriteOnly) || indexFile.write(index) != index.size())
        die(QStringLiteral("can't write the index"));
    indexFile.close();
    const QString batchSite = dir.filePath(QStringLiteral("batchsite"));
    const QString addSite = dir.filePath(QStringLiteral("addsite"));
    QDir().mkpath(batchSite);
    QDir().mkpath(addSite);
    if (cli(batchSite, {QStringLiteral("init")}) != 0 || cli(addSite, {QStringLiteral("init")}) != 0)
        die(QStringLiteral("init failed"));
    int batchCode = 0;
    const Took batchAdd = seconds([&] {
        batchCode = cli(batchSite, QStringList{QStringLiteral("batch"), pages, QStringLiteral("--index"), indexFile.fileName()});
    });
    if (batchCode != 0)
        die(QStringLiteral("tarlox-cli batch failed"));
    const Took adds = seconds([&] {
        for (int i = 0; i < reports; ++i) {
            if (cli(addSite, {QStringLiteral("add"), QStringLiteral("--heat"), QStringLiteral("H%1").arg(i), QStringLiteral("--part"),
                              QStringLiteral("P%1").arg(i), QStringLiteral("--po"), QStringLiteral("PO"), QStringLiteral("--vendor"),
                              QStringLiteral("Vendor"), QStringLiteral("--mfg"), QStringLiteral("Mill"), pageFiles[i]})
                != 0)
                die(QStringLiteral("tarlox-cli add failed"));
        }
    });
    std::printf("Adding %d one-page reports (SQLite):\n", reports);
    print("tarlox-cli batch", batchAdd, reports, "report");
    print("floor: tarlox-cli add", adds, reports, "report", "(once a page)");
    std::printf("  ratio %.2f CPU, %.2f wall\n", batchAdd.cpu / adds.cpu, batchAdd.wall / adds.wall);
    return 0;
}
