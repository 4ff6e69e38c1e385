// Sending a report by e-mail: one message with a 20-page Group 4 report
// (about 1 MB) to an SMTP server on loopback, next to base64-encoding the
// same bytes in the same run, the floor of any sender, and a message without
// attachment, the cost of the conversation alone. Then the report as PDF
// (the e-mail attachment when "Attach to email as PDF" is on): preparing the
// PDF alone, next to preparing it and sending it, Send to the server's
// acceptance.
//
//   tarlox_mail_bench [--rounds N]
//
// Starts tests/support/smtp_server.py (python3-aiosmtpd), so it is a program
// of its own rather than a Google Benchmark.

#include "BenchPages.h"

#include "output/PdfWriter.h"
#include "output/SmtpSender.h"
#include "store/TiffWriter.h"
#include "support/MailServers.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>

#include <algorithm>
#include <ctime>
#include <cstdio>
#include <functional>
#include <vector>

using namespace tarlox;

namespace {

struct Timing {
    double medianMs;
    double bestMs;
    double cpuMs;   // this process's processor time per round (the server's is not in it)
};

double CpuMs()
{
    timespec now{};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &now);
    return double(now.tv_sec) * 1e3 + double(now.tv_nsec) / 1e6;
}

Timing Measure(int rounds, const std::function<bool()>& work)
{
    std::vector<double> ms;
    const double cpuStart = CpuMs();
    for (int i = 0; i < rounds; ++i) {
        QElapsedTimer clock;
        clock.start();
        if (!work()) {
            std::fprintf(stderr, "a round failed\n");
            std::exit(1);
        }
        ms.push_back(double(clock.nsecsElapsed()) / 1e6);
    }
    const double cpu = (CpuMs() - cpuStart) / rounds;
    std::sort(ms.begin(), ms.end());
    return {ms[ms.size() / 2], ms.front(), cpu};
}

void Report(const char* name, const Timing& timing, qint64 bytes)
{
    const double mbPerS = bytes > 0 ? double(bytes) / 1e6 / (timing.medianMs / 1e3) : 0.0;
    std::printf("%-44s %10.2f %10.2f %10.2f %10.1f\n", name, timing.medianMs, timing.bestMs, timing.cpuMs, mbPerS);
}

}  // namespace

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    if (qEnvironmentVariableIsEmpty("TARLOX_SOURCE_DIR"))
        qputenv("TARLOX_SOURCE_DIR", TARLOX_SOURCE_DIR);
    int rounds = 10;
    for (int i = 1; i + 1 < argc; ++i)
        if (QByteArray(argv[i]) == "--rounds")
            rounds = std::max(1, QByteArray(argv[i + 1]).toInt());

    QTemporaryDir dir;
    const QString report = dir.filePath(QStringLiteral("TR000001.TIF"));
    QList<QImage> pages;
    for (int i = 0; i < 20; ++i)
        pages << bench::LetterTextPage(quint32(i + 1));
    if (!WriteTiff(report, pages).ok()) {
        std::fprintf(stderr, "can't write the report\n");
        return 1;
    }
    QFile file(report);
    file.open(QIODevice::ReadOnly);
    const QByteArray bytes = file.readAll();

    test::SmtpTestServer server({});
    if (!server.start()) {
        std::fprintf(stderr, "%s\n", qPrintable(server.error()));
        return 1;
    }
    SmtpSettings settings;
    settings.server = QStringLiteral("127.0.0.1");
    settings.port = QString::number(server.port());
    const SmtpSender sender(settings);
    MailMessage message{QStringLiteral("qa@example.com"), QStringLiteral("Quality Office"), QStringLiteral("buyer@example.com"),
                        QStringLiteral("Buyer"), QStringLiteral("Test report TR000001"), QStringLiteral("See attached."), {}};
    const MailMessage bare = message;
    message.files = {report};

    std::printf("report: 20 Group 4 letter pages, %lld bytes; %d rounds\n", qlonglong(bytes.size()), rounds);
    std::printf("%-44s %10s %10s %10s %10s\n", "", "median ms", "best ms", "our cpu ms", "MB/s");
    Report("floor: base64 of the report in memory", Measure(rounds, [&] { return !bytes.toBase64().isEmpty(); }), bytes.size());
    Report("floor: read file + base64", Measure(rounds, [&] {
               QFile f(report);
               return f.open(QIODevice::ReadOnly) && !f.readAll().toBase64().isEmpty();
           }), bytes.size());
    Report("send without attachment", Measure(rounds, [&] { return sender.send(bare).ok(); }), 0);
    Report("send with the report attached", Measure(rounds, [&] { return sender.send(message).ok(); }), bytes.size());
    const QString pdf = dir.filePath(QStringLiteral("TM000001_1.pdf"));
    MailMessage asPdf = bare;
    asPdf.files = {pdf};
    Report("prepare: the report as PDF", Measure(rounds, [&] { return TiffToPdf(report, {}, pdf).ok(); }), bytes.size());
    Report("prepare as PDF and send", Measure(rounds, [&] { return TiffToPdf(report, {}, pdf).ok() && sender.send(asPdf).ok(); }),
           QFileInfo(pdf).size());
    std::printf("messages delivered: %lld\n", qlonglong(server.messages().size()));
    return 0;
}
