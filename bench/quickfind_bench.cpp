// Quick find on the find benchmark's site (1,000,000 references over
// 300,000 images; bench/BenchSite.h builds it, --keep reuses the one
// find_bench or listing_bench left).
//
//   quickfind_bench --dir DIR [--engine sqlite|postgres|both] [--pg CONNINFO] [--runs N] [--keep]
//
// Each figure stands next to its floor, measured in the same run:
// - one report: from Enter in the toolbar's box to the viewer's first page
//   painted (offscreen), next to the work without a window: the search
//   (QuickFind), locating the image as Select does (its row, and the image in
//   hand written durably to the settings file) and the bare decode of that
//   page (TiffReader);
// - several reports: from Enter to the Find form's list filled, next to the
//   search alone.

#include "BenchSite.h"
#include "base/Prompter.h"
#include "base/FileTools.h"
#include "output/SelectImage.h"
#include "search/QuickFind.h"
#include "search/forms/frmFind.h"
#include "shell/forms/mdiMain.h"
#include "store/ImageFiles.h"
#include "store/PageImage.h"
#include "store/TiffReader.h"
#include "store/TiffWriter.h"
#include "view/forms/PageView.h"
#include "view/forms/frmView.h"

#include <QApplication>
#include <QLineEdit>
#include <QMdiArea>
#include <QMdiSubWindow>
#include <QPainter>

#include <algorithm>
#include <vector>

using namespace tarlox;
using namespace tarlox::bench;

namespace {

// Reference 0 of the site: its heat is unique and on image 1; the prefix
// matches about ten references on as many images.
const QString OneHeat = QStringLiteral("H0012345");
const QString SeveralHeats = QStringLiteral("H00123*");

double msSince(const QElapsedTimer& t) { return t.nsecsElapsed() / 1e6; }

double median(std::vector<double> v)
{
    std::sort(v.begin(), v.end());
    return v[v.size() / 2];
}

// Lets events through until done() holds.
template <class Done> void until(Done done)
{
    while (!done())
        QCoreApplication::processEvents(QEventLoop::AllEvents, 5);
}

// Sees a viewer's page drawn.
class PaintWatch : public QObject {
public:
    bool painted = false;
    bool eventFilter(QObject* watched, QEvent* event) override
    {
        if (event->type() == QEvent::Paint && qobject_cast<PageView*>(watched))
            if (auto* viewer = qobject_cast<frmView*>(static_cast<QWidget*>(watched)->parentWidget()); viewer && viewer->document().pageCount() > 0)
                painted = true;
        return false;
    }
};

// Image 1 becomes a real file of two Letter pages at 200 dpi in the site's data directory.
bool placeReport(Session& s)
{
    QList<QImage> pages;
    for (int i = 0; i < 2; ++i) {
        QImage drawn(1700, 2200, QImage::Format_RGB32);
        drawn.fill(Qt::white);
        QPainter painter(&drawn);
        for (int y = 100 + i * 40; y < 2100; y += 60)
            painter.fillRect(150, y, 1200 + (y % 200), 6, Qt::black);
        painter.end();
        QImage page = ToStoreMono(drawn.convertToFormat(QImage::Format_Mono, Qt::ThresholdDither));
        SetDpi(page, Dpi{200, 200});
        pages << page;
    }
    if (!WriteTiff(JoinPath(s.dataDir, ImageFileNameFor(1)), pages))
        return false;
    DataOp op(s, QStringLiteral("bench"));
    return op.exec(QStringLiteral("UPDATE \"Images\" SET \"Path\" = ? WHERE \"Image #\" = 1"), {s.dataDir}, DataOp::OnError::Quiet).has_value();
}

void benchEngine(const SiteOptions& o, const QString& engine, int runs)
{
    NonInteractivePrompter prompter;
    Session s(prompter);
    if (!prepareSite(o, engine, s) || !placeReport(s)) {
        std::fprintf(stderr, "%s: the site could not be prepared\n", qPrintable(engine));
        return;
    }
    mdiMain frame(s);
    frame.show();
    QLineEdit* box = frame.quickFindBox();
    PaintWatch watch;
    qApp->installEventFilter(&watch);
    std::vector<double> one, oneSearch, locate, decode, several, severalSearch;
    qsizetype listed = 0;
    for (int run = 0; run < runs + 2; ++run) {
        box->setText(OneHeat);
        watch.painted = false;
        QElapsedTimer t;
        t.start();
        emit box->returnPressed();
        const double openedMs = msSince(t);
        until([&] { return watch.painted; });
        const double oneMs = msSince(t);
        if (qEnvironmentVariableIsSet("QUICKFIND_BENCH_SPLIT"))
            std::printf("  viewer made %.1f ms, painted %.1f ms\n", openedMs, oneMs);
        frame.mdiArea()->closeAllSubWindows();
        until([&] { return frame.mdiArea()->subWindowList().isEmpty(); });

        t.start();
        const QuickFindResult found = QuickFind(s, OneHeat);
        const double searchMs = msSince(t);
        t.start();
        const bool located = LocateImage(s, found.imageNumber).has_value();
        const double locateMs = msSince(t);
        t.start();
        auto reader = TiffReader::open(JoinPath(s.dataDir, ImageFileNameFor(1)));
        const bool read = reader && reader->readPage(0);
        const double decodeMs = msSince(t);
        if (found.outcome != QuickFindResult::Outcome::One || !located || !read) {
            std::fprintf(stderr, "%s: %s did not find its one report\n", qPrintable(engine), qPrintable(OneHeat));
            return;
        }

        box->setText(SeveralHeats);
        t.start();
        emit box->returnPressed();
        auto* find = qobject_cast<frmFind*>(frame.activeForm());
        listed = find ? find->results().size() : 0;
        const double severalMs = msSince(t);
        t.start();
        QuickFind(s, SeveralHeats);
        const double severalSearchMs = msSince(t);
        if (run < 2)
            continue;  // warming the caches
        one.push_back(oneMs);
        oneSearch.push_back(searchMs);
        locate.push_back(locateMs);
        decode.push_back(decodeMs);
        several.push_back(severalMs);
        severalSearch.push_back(severalSearchMs);
    }
    qApp->removeEventFilter(&watch);
    std::printf("%s (%lld references), median of %d runs\n", qPrintable(engine), o.refs, runs);
    const double floorMs = median(oneSearch) + median(locate) + median(decode);
    std::printf("  one report (%s): Enter to first page on screen %7.1f ms   floor (search %.1f + locate %.1f + bare page decode %.1f): %6.1f ms\n",
                qPrintable(OneHeat), median(one), median(oneSearch), median(locate), median(decode), floorMs);
    std::printf("  several (%s, %lld listed): Enter to Find's list %7.1f ms   floor (search alone): %6.1f ms\n", qPrintable(SeveralHeats),
                static_cast<long long>(listed), median(several), median(severalSearch));
    frame.mdiArea()->closeAllSubWindows();
    s.db().close();
}

}  // namespace

int main(int argc, char** argv)
{
    qputenv("QT_QPA_PLATFORM", QByteArrayLiteral("offscreen"));
    std::setvbuf(stdout, nullptr, _IOLBF, 0);
    QApplication app(argc, argv);
    SiteOptions o;
    int runs = 15;
    QStringList args = app.arguments().mid(1);
    while (!args.isEmpty()) {
        if (TakeSiteOption(args, o))
            continue;
        const QString a = args.takeFirst();
        if (a == QLatin1String("--runs") && !args.isEmpty()) {
            runs = std::max(1, args.takeFirst().toInt());
            continue;
        }
        std::fprintf(stderr, "usage: quickfind_bench %s [--runs N]\n", SiteUsage);
        return 2;
    }
    if (o.dir.isEmpty())
        return 2;
    for (const QString& engine : o.enginesToRun())
        benchEngine(o, engine, runs);
    return 0;
}
