// Listings and the mass update on the find benchmark's site (1,000,000
// references over 300,000 images; bench/BenchSite.h builds it, --keep
// reuses the one find_bench left).
//
//   listing_bench --dir DIR [--engine sqlite|postgres|both] [--pg CONNINFO] [--keep]
//
// Each figure stands next to its floor, measured in the same run:
// - the first page of the listing by vendor in the preview window, next to
//   the bare statement that reads that page's rows;
// - an update of 10,000 references in one transaction, next to the same
//   statements run bare in one transaction;
// - the whole listing as PDF, next to reading all its rows bare, with the
//   growth of the process's peak memory (the longest, so the last).

#include "BenchSite.h"
#include "search/Listing.h"
#include "search/MassUpdate.h"
#include "search/forms/ListingPreview.h"
#include "base/Prompter.h"

#include <QApplication>
#include <QFileInfo>
#include <QSqlError>
#include <QSqlQuery>

using namespace tarlox;
using namespace tarlox::bench;

namespace {

qint64 peakKb()
{
    QFile status(QStringLiteral("/proc/self/status"));
    if (!status.open(QIODevice::ReadOnly))
        return 0;
    for (const QByteArray& line : status.readAll().split('\n'))
        if (line.startsWith("VmHWM:"))
            return line.mid(6).trimmed().split(' ').front().toLongLong();
    return 0;
}

double msSince(const QElapsedTimer& t) { return t.nsecsElapsed() / 1e6; }

const QString Columns = QStringLiteral("\"Heat #\", \"Part #\", \"P/O #\", \"Vend Name\", \"Mfg Name\", \"Entry Date\", \"Image #\"");

// Reads every row of sql on the session's connection, touching each value.
qint64 readBare(Session& s, const QString& sql)
{
    QSqlQuery q(s.db().connection());
    q.setForwardOnly(true);
    if (!q.exec(sql)) {
        std::fprintf(stderr, "bare read failed: %s\n", qPrintable(q.lastError().text()));
        return -1;
    }
    qint64 n = 0;
    while (q.next()) {
        for (int i = 0; i < 7; ++i)
            (void)q.value(i);
        ++n;
    }
    return n;
}

void benchEngine(const SiteOptions& o, const QString& engine)
{
    NonInteractivePrompter prompter;
    Session s(prompter);
    if (!prepareSite(o, engine, s)) {
        std::fprintf(stderr, "%s: the site could not be prepared\n", qPrintable(engine));
        return;
    }
    ConnectionScope scope(s.db());
    ListingRequest byVendor;
    byVendor.sort = ListingSort::Vend;
    const QString ordered = QStringLiteral("SELECT %1 FROM \"Info\" WHERE \"Vend Name\" IS NOT NULL AND trim(\"Vend Name\") <> '' "
                                           "ORDER BY \"Vend Name\", \"Entry Date\", \"Image #\"").arg(Columns);
    std::printf("%s: listing of %lld references by vendor\n", qPrintable(engine), o.refs);

    // First page: the preview window up to its first page painted.
    for (int round = 0; round < 3; ++round) {
        QElapsedTimer t;
        t.start();
        ListingPreview preview(s, byVendor);
        const QImage shown = preview.grab().toImage();
        const double previewMs = msSince(t);
        t.start();
        const qint64 bare = readBare(s, ordered + QStringLiteral(" LIMIT %1").arg(ListingLayout().linesPerPage() + 1));
        const double bareMs = msSince(t);
        std::printf("  first page in the preview: %8.1f ms   floor (its rows, bare): %6.1f ms  [%lld rows, %dx%d]\n", previewMs, bareMs, bare,
                    shown.width(), shown.height());
    }

    // 10,000 references: four vendors of 2,500 each, renamed and back.
    QElapsedTimer t;
    QList<UpdatePair> pairs, back;
    for (int v = 0; v < 4; ++v) {
        const QString name = QStringLiteral("Vendor %1").arg(v, 3, 10, QLatin1Char('0'));
        pairs << UpdatePair{name, name + QStringLiteral(" Renamed")};
        back << UpdatePair{name + QStringLiteral(" Renamed"), name};
    }
    t.start();
    const UpdateOutcome done = UpdatePairs(s, UpdateField::Vend, pairs);
    const double updateMs = msSince(t);
    qint64 changed = 0;
    for (qint64 n : done.changed)
        changed += n;
    t.start();
    {
        QSqlQuery q(s.db().connection());
        q.exec(s.db().dialect().isSqlite() ? QStringLiteral("BEGIN IMMEDIATE") : QStringLiteral("BEGIN"));
        q.prepare(QStringLiteral("UPDATE \"Info\" SET \"Vend Name\" = ? WHERE \"Vend Name\" = ?"));
        for (const UpdatePair& p : back) {
            q.addBindValue(p.newValue);
            q.addBindValue(p.oldValue);
            q.exec();
        }
        q.exec(QStringLiteral("COMMIT"));
    }
    const double bareUpdateMs = msSince(t);
    std::printf("  update of %lld references in one transaction: %8.1f ms   floor (same statements, bare): %8.1f ms%s\n", changed, updateMs,
                bareUpdateMs, done ? "" : qPrintable(QStringLiteral(" FAILED: ") + done.refusal));

    // The whole listing as PDF.
    const QString pdf = QDir(o.dir).filePath(engine + QStringLiteral("/listing.pdf"));
    const qint64 before = peakKb();
    t.start();
    qint64 pages = 0;
    const QString error = WriteListingPdf(s, byVendor, pdf, &pages);
    const double pdfMs = msSince(t);
    const qint64 grown = peakKb() - before;
    t.start();
    const qint64 rows = readBare(s, ordered);
    const double allMs = msSince(t);
    std::printf("  whole PDF: %8.1f s for %lld pages (%lld MB)%s   floor (all rows, bare): %6.1f s [%lld rows]; peak memory grew %lld MB\n",
                pdfMs / 1000, pages, QFileInfo(pdf).size() >> 20, error.isEmpty() ? "" : qPrintable(QStringLiteral(" FAILED: ") + error),
                allMs / 1000, rows, grown >> 10);
    QFile::remove(pdf);
}

}  // namespace

int main(int argc, char** argv)
{
    qputenv("QT_QPA_PLATFORM", QByteArrayLiteral("offscreen"));
    std::setvbuf(stdout, nullptr, _IOLBF, 0);
    QApplication app(argc, argv);
    SiteOptions o;
    QStringList args = app.arguments().mid(1);
    while (!args.isEmpty()) {
        if (!TakeSiteOption(args, o)) {
            std::fprintf(stderr, "usage: listing_bench %s\n", SiteUsage);
            return 2;
        }
    }
    if (o.dir.isEmpty())
        return 2;
    for (const QString& engine : o.enginesToRun())
        benchEngine(o, engine);
    return 0;
}
