// Export and import of 1,000 reports of 10 pages, each next to `cp -r` of
// the same files in the same run; TIFF import of the 1,000 tagged files next
// to `cp -r`; delete of 1,000 reports next to `rm -r` of their files.
// Run as: tarlox_exchange_bench [reports]
#include "base/Prompter.h"
#include "data/Database.h"
#include "data/ImageData.h"
#include "data/Session.h"
#include "exchange/Exchange.h"
#include "startup/Startup.h"
#include "store/ImageFiles.h"
#include "store/PageImage.h"
#include "store/TiffWriter.h"

#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QPainter>
#include <QProcess>
#include <QRandomGenerator>
#include <QTemporaryDir>

#include <cstdio>
#include <memory>

using namespace tarlox;

namespace {

struct Site {
    NonInteractivePrompter prompter{true};
    std::unique_ptr<Session> s;
    explicit Site(const QString& dir)
    {
        QDir().mkpath(dir);
        s = std::make_unique<Session>(prompter);
        s->localIni = dir + QStringLiteral("/TARLOX.INI");
        s->programDir = dir + QLatin1Char('/');
        if (!StartSession(*s, FirstStart::Initialize).ok()) {
            std::fprintf(stderr, "no session in %s\n", qPrintable(dir));
            std::exit(2);
        }
    }
};

// A page that compresses as a typed report does: lines of word-sized marks.
QImage reportPage(QRandomGenerator& random)
{
    QImage page(1700, 2200, QImage::Format_RGB32);
    page.fill(Qt::white);
    QPainter painter(&page);
    painter.setBrush(Qt::black);
    for (int y = 150; y < 2050; y += 40)
        for (int x = 150; x < 1550;) {
            const int w = 20 + int(random.bounded(90));
            painter.drawRect(x, y, w, 18);
            x += w + 15;
        }
    painter.end();
    SetDpi(page, Dpi{200, 200});
    return page;
}

double seconds(const QElapsedTimer& t) { return double(t.nsecsElapsed()) / 1e9; }

double run(const QString& program, const QStringList& arguments)
{
    QElapsedTimer t;
    t.start();
    if (QProcess::execute(program, arguments) != 0)
        std::fprintf(stderr, "%s failed\n", qPrintable(program));
    return seconds(t);
}

qint64 bytesIn(const QString& dir)
{
    qint64 total = 0;
    for (const QFileInfo& f : QDir(dir).entryInfoList(QDir::Files))
        total += f.size();
    return total;
}

// Our run next to two floors: the bare command, and the command followed by
// sync, since each image of ours is on the disk before the next begins.
void line(const char* what, int reports, double ours, const char* floorName, double floor, double synced, qint64 bytes)
{
    std::printf("%-12s %5d reports %7.2f s %7.1f MB/s | %s %6.2f s (%3.0f %%) | %s + sync %6.2f s (%3.0f %%)\n", what, reports, ours,
                bytes / 1e6 / ours, floorName, floor, 100.0 * floor / ours, floorName, synced, 100.0 * synced / ours);
}

double runSynced(const QString& command)
{
    return run(QStringLiteral("sh"), {QStringLiteral("-c"), command + QStringLiteral(" && sync")});
}

}  // namespace

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    const int reports = argc > 1 ? std::max(1, atoi(argv[1])) : 1000;
    QTemporaryDir dir;
    Site a(dir.filePath(QStringLiteral("a"))), b(dir.filePath(QStringLiteral("b"))), c(dir.filePath(QStringLiteral("c")));

    // One report of ten pages, tagged, stored under every number.
    QRandomGenerator random(7);
    QList<QImage> pages;
    for (int i = 0; i < 10; ++i)
        pages << reportPage(random);
    const QString model = dir.filePath(QStringLiteral("model.tif"));
    if (!WriteTiff(model, pages, ReportTags::forReport(QStringLiteral("H1 H2"), QStringLiteral("P1"), QStringLiteral("PO"),
                                                       QStringLiteral("Vendor"), QStringLiteral("Mfg")))) {
        std::fprintf(stderr, "can't write the model report\n");
        return 2;
    }
    Session& s = *a.s;
    {
        ConnectionScope connection(s.db());
        for (qint32 n = 1; n <= reports; ++n) {
            QFile::copy(model, QDir(s.dataDir).filePath(ImageFileNameFor(n)));
            s.image = ImageRecord{n, s.dataDir, QStringLiteral(" "), QDateTime::currentDateTime(), QStringLiteral(" "), QStringLiteral("4")};
            s.info = InfoRecord{QStringLiteral("H1 H2"), QStringLiteral("P1 P1"), QStringLiteral("PO"), QStringLiteral("Vendor"),
                                QStringLiteral("Mfg"), QDateTime::currentDateTime(), n};
            AddImageWithInfo(s, false);
        }
    }
    QList<qint32> all;
    for (qint32 n = 1; n <= reports; ++n)
        all << n;
    const qint64 bytes = bytesIn(s.dataDir);
    std::printf("%d reports of 10 pages, %.1f MB\n", reports, bytes / 1e6);

    const QString exportDir = dir.filePath(QStringLiteral("export"));
    QDir().mkpath(exportDir);
    QElapsedTimer t;
    t.start();
    const ExchangeSummary exported = ExportImages(s, all, ExportOptions{exportDir});
    const double exportTime = seconds(t);
    const double cpExport = run(QStringLiteral("cp"), {QStringLiteral("-r"), s.dataDir, dir.filePath(QStringLiteral("cp1"))});
    const double cpSynced = runSynced(QStringLiteral("cp -r '%1' '%2'").arg(s.dataDir, dir.filePath(QStringLiteral("cp4"))));
    line("export", exported.done, exportTime, "cp -r", cpExport, cpSynced, bytes);

    t.restart();
    const ExchangeSummary imported = ImportImages(*b.s, ImportOptions{exportDir});
    const double importTime = seconds(t);
    const double cpImport = run(QStringLiteral("cp"), {QStringLiteral("-r"), exportDir, dir.filePath(QStringLiteral("cp2"))});
    const double cpImportSynced = runSynced(QStringLiteral("cp -r '%1' '%2'").arg(exportDir, dir.filePath(QStringLiteral("cp5"))));
    line("import", imported.done, importTime, "cp -r", cpImport, cpImportSynced, bytes);

    t.restart();
    const ExchangeSummary tifs = ImportTifImages(*c.s, TifImportOptions{s.dataDir});
    const double tifTime = seconds(t);
    const double cpTif = run(QStringLiteral("cp"), {QStringLiteral("-r"), s.dataDir, dir.filePath(QStringLiteral("cp3"))});
    const double cpTifSynced = runSynced(QStringLiteral("cp -r '%1' '%2'").arg(s.dataDir, dir.filePath(QStringLiteral("cp6"))));
    line("TIFF import", tifs.done, tifTime, "cp -r", cpTif, cpTifSynced, bytes);

    t.restart();
    const ExchangeSummary deleted = DeleteImages(*b.s, all);
    const double deleteTime = seconds(t);
    const double rm = run(QStringLiteral("rm"), {QStringLiteral("-r"), dir.filePath(QStringLiteral("cp1"))});
    const double rmSynced = runSynced(QStringLiteral("rm -r '%1'").arg(dir.filePath(QStringLiteral("cp4"))));
    line("delete", deleted.done, deleteTime, "rm -r", rm, rmSynced, bytes);
    return exported.complete() && imported.complete() && tifs.complete() && deleted.complete() ? 0 : 1;
}
