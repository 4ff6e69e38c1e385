// A certificate pack of 50 lines, each a 2-page 300 dpi letter report with
// the authorization stamp and the line's message block: Make to the PDF
// written, next to its floor in the same run, the output preparation of the
// same 100 pages alone (each line's pages prepared and written as the PDF
// that e-mail and fax send, as SaveFile does). Prints medians of the rounds,
// wall clock and the process's CPU time (the machine is shared).

#include "BenchOutput.h"
#include "BenchPages.h"

#include "output/Pack.h"
#include "store/TiffWriter.h"

#include <QElapsedTimer>
#include <QFileInfo>
#include <QGuiApplication>
#include <QTemporaryDir>

#include <algorithm>
#include <cstdio>
#include <ctime>
#include <functional>
#include <vector>

using namespace tarlox;
using namespace tarlox::bench;

namespace {

constexpr int kLines = 50;
constexpr int kReports = 25;  // each report serves two lines

struct Times {
    double wallMs = 0;
    double cpuMs = 0;
};

Times Median(int rounds, const std::function<void()>& run)
{
    std::vector<double> wall;
    std::vector<double> cpu;
    for (int i = 0; i < rounds; ++i) {
        QElapsedTimer timer;
        timer.start();
        const std::clock_t started = std::clock();
        run();
        cpu.push_back(double(std::clock() - started) * 1000.0 / CLOCKS_PER_SEC);
        wall.push_back(timer.nsecsElapsed() / 1e6);
    }
    std::sort(wall.begin(), wall.end());
    std::sort(cpu.begin(), cpu.end());
    return {wall[wall.size() / 2], cpu[cpu.size() / 2]};
}

}  // namespace

int main(int argc, char** argv)
{
    OffscreenUnlessSet();
    QGuiApplication app(argc, argv);
    const int rounds = argc > 1 ? std::max(1, atoi(argv[1])) : 3;
    QTemporaryDir dir;
    PackPlan plan;
    plan.customer = QStringLiteral("ACME Fabrication Inc.");
    for (int r = 0; r < kReports; ++r) {
        const QString file = dir.filePath(QStringLiteral("TR%1.TIF").arg(r + 1, 6, 10, QLatin1Char('0')));
        Check(WriteTiff(file, {LetterTextPage(quint32(2 * r + 1)), LetterTextPage(quint32(2 * r + 2))}).ok(), "writing a report");
        for (int copy = 0; copy < kLines / kReports; ++copy) {
            PackEntry entry;
            entry.line = PackLine{QStringLiteral("SO-100233"), QString::number(plan.entries.size() + 1), QStringLiteral("PO-7781-22"),
                                  QStringLiteral("P-%1").arg(r), QStringLiteral("Round bar 2 in, cold drawn 1018"), QStringLiteral("12"),
                                  QStringLiteral("H77812%1").arg(r), QString()};
            entry.candidates << PackReport{r + 1, file, 2};
            entry.chosen = 0;
            plan.entries << entry;
        }
    }
    const OutputSettings settings = StampedOutputSettings(dir);
    const QDate today(2026, 1, 15);

    const QString one = dir.filePath(QStringLiteral("TM000001.pdf"));
    const Times floor = Median(rounds, [&] {
        for (const PackEntry& e : plan.entries) {
            auto pages = PreparePages(e.report()->file, QStringLiteral("All"), settings, PackFields(plan, e, settings.from), today);
            Check(pages.ok() && WritePrepared(one, *pages, true).ok(), "preparing");
        }
    });
    const QString pdf = dir.filePath(QStringLiteral("pack.pdf"));
    const Times pack = Median(rounds, [&] { Check(MakePack(plan, settings, today, pdf).ok(), "making the pack"); });
    const PackLayout layout = LayOutPack(plan);

    std::printf("pack of %d lines, 2-page 300 dpi letter reports (%d pages with the cover list), medians of %d rounds\n", kLines,
                layout.pageCount, rounds);
    std::printf("Make to the PDF written:                      %8.1f ms wall, %8.1f ms CPU (%5.1f ms/line), %lld bytes\n",
                pack.wallMs, pack.cpuMs, pack.cpuMs / kLines, qint64(QFileInfo(pdf).size()));
    std::printf("floor: output preparation of the same pages:  %8.1f ms wall, %8.1f ms CPU (%5.1f ms/line)  CPU ratio %.2f\n",
                floor.wallMs, floor.cpuMs, floor.cpuMs / kLines, pack.cpuMs / floor.cpuMs);
    return 0;
}
