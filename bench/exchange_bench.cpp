// Export and import of 1,000 reports of 10 pages, each next to `cp -r` of
// the same files in the same run; TIFF import of the 1,000 tagged files next
// to `cp -r`; delete of 1,000 reports next to `rm -r` of their files.
// Run as: tarlox_exchange_bench [reports] [rounds]
#include "base/LocalTimeZone.h"
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
#include <algorithm>
#include <memory>
#include <vector>

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
// sync, since our copies are on the disk before their rows are added.
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
    ReadLocalTimeZoneOnce();  // as the programs do
    QCoreApplication app(argc, argv);
    const int reports = argc > 1 ? std::max(1, atoi(argv[1])) : 1000;
    const int rounds = argc > 2 ? std::max(1, atoi(argv[2])) : 3;
    QTemporaryDir dir;
    Site a(dir.filePath(QStringLiteral("a")));

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

    // Each step and each floor runs `rounds` times, interleaved, and the
    // best time of each counts: on a shared machine a single run's floor
    // depends on what the other programs do at that moment.
    const auto name = [&](const char* what, int round) { return dir.filePath(QStringLiteral("%1%2").arg(QLatin1String(what)).arg(round)); };
    const auto cp = [&](const QString& from, const QString& to) { return run(QStringLiteral("cp"), {QStringLiteral("-r"), from, to}); };
    const auto cpSync = [&](const QString& from, const QString& to) { return runSynced(QStringLiteral("cp -r '%1' '%2'").arg(from, to)); };
    struct Best {
        double ours = 1e9, floor = 1e9, synced = 1e9;
        void take(double o, double f, double s) { ours = std::min(ours, o), floor = std::min(floor, f), synced = std::min(synced, s); }
    };
    Best exportBest, importBest, tifBest, deleteBest;
    bool complete = true;
    int exported = 0, imported = 0, tifs = 0, deleted = 0;
    std::vector<std::unique_ptr<Site>> importSites, tifSites;
    QElapsedTimer t;
    for (int r = 0; r < rounds; ++r) {
        const QString exportDir = name("export", r);
        QDir().mkpath(exportDir);
        t.restart();
        const ExchangeSummary e = ExportImages(s, all, ExportOptions{exportDir});
        const double ours = seconds(t);
        exportBest.take(ours, cp(s.dataDir, name("cpe", r)), cpSync(s.dataDir, name("cpes", r)));
        exported = e.done, complete = complete && e.complete();

        importSites.push_back(std::make_unique<Site>(name("b", r)));
        t.restart();
        const ExchangeSummary i = ImportImages(*importSites.back()->s, ImportOptions{exportDir});
        const double oursImport = seconds(t);
        importBest.take(oursImport, cp(exportDir, name("cpi", r)), cpSync(exportDir, name("cpis", r)));
        imported = i.done, complete = complete && i.complete();

        tifSites.push_back(std::make_unique<Site>(name("c", r)));
        t.restart();
        const ExchangeSummary f = ImportTifImages(*tifSites.back()->s, TifImportOptions{s.dataDir});
        const double oursTif = seconds(t);
        tifBest.take(oursTif, cp(s.dataDir, name("cpt", r)), cpSync(s.dataDir, name("cpts", r)));
        tifs = f.done, complete = complete && f.complete();

        t.restart();
        const ExchangeSummary d = DeleteImages(*importSites.back()->s, all);
        const double oursDelete = seconds(t);
        deleteBest.take(oursDelete, run(QStringLiteral("rm"), {QStringLiteral("-r"), name("cpe", r)}),
                        runSynced(QStringLiteral("rm -r '%1'").arg(name("cpes", r))));
        deleted = d.done, complete = complete && d.complete();
    }
    std::printf("best of %d rounds each\n", rounds);
    line("export", exported, exportBest.ours, "cp -r", exportBest.floor, exportBest.synced, bytes);
    line("import", imported, importBest.ours, "cp -r", importBest.floor, importBest.synced, bytes);
    line("TIFF import", tifs, tifBest.ours, "cp -r", tifBest.floor, tifBest.synced, bytes);
    line("delete", deleted, deleteBest.ours, "rm -r", deleteBest.floor, deleteBest.synced, bytes);
    return complete ? 0 : 1;
}
