#include "output/PdfTools.h"
#include "support/CliRun.h"

#include <QDir>
#include <QElapsedTimer>
#include <QPainter>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QThread>

#include <gtest/gtest.h>
#include <unistd.h>

using namespace tarlox;
using namespace tarlox::test;

namespace {

QString S(const char* text) { return QString::fromUtf8(text); }

// Which of the three marks (a black band at 15, 45 or 75 % of the width) a page carries.
int MarkOf(const QImage& page)
{
    for (int mark = 1; mark <= 3; ++mark)
        if (qGray(page.pixel(int(page.width() * (0.3 * mark - 0.15)), page.height() / 2)) < 128)
            return mark;
    return 0;
}

// `tarlox-cli output` and `print` on an installation of their own.
class OutputCliTest : public CliHome {
protected:
    void SetUp() override
    {
        ASSERT_TRUE(dir.isValid() && work.isValid());
        ASSERT_EQ(cli({S("init")}).code, 0);
        QStringList pages;
        for (int mark = 1; mark <= 3; ++mark) {
            QImage image(1700, 2200, QImage::Format_RGB32);
            image.fill(Qt::white);
            QPainter(&image).fillRect(int(1700 * (0.3 * mark - 0.15)) - 60, 600, 120, 1000, Qt::black);
            image.setDotsPerMeterX(7874);
            image.setDotsPerMeterY(7874);
            pages << work.filePath(S("p%1.png").arg(mark));
            image.save(pages.last());
        }
        const CliRun added = cli(
            QStringList{S("add"), S("--heat"), S("H1"), S("--part"), S("P1"), S("--po"), S("PO-7"), S("--vendor"), S("Acme")} + pages);
        ASSERT_EQ(added.code, 0) << added.err.toStdString();
    }
    QList<int> Marks(const QString& pdf)
    {
        QList<int> marks;
        for (const QImage& page : GreyPages(pdf, work.filePath(QFileInfo(pdf).baseName()), 20))
            marks << MarkOf(page);
        return marks;
    }

    QTemporaryDir work;
};

}  // namespace

TEST_F(OutputCliTest, WritesTheChosenPagesOfSeveralReportsInOrder)
{
    const QString pdf = work.filePath(S("out.pdf"));
    const CliRun made = cli({S("output"), S("1"), S("1"), S("--pages"), S("3,1"), S("--message"), S("heat=H1"), S("--pdf"), S("-o"), pdf});
    ASSERT_EQ(made.code, 0) << made.err.toStdString();
    EXPECT_EQ(Marks(pdf), (QList<int>{1, 3, 1, 3}));
    int checked = -1;
    const QString check = Tool(S("qpdf"), {S("--check"), pdf}, &checked);
    EXPECT_EQ(checked, 0) << check.toStdString();
    // Its usage errors are Cli_test's; an image not on file writes nothing.
    EXPECT_EQ((std::tuple{cli({S("output"), S("7"), S("-o"), work.filePath(S("bad.tif"))}).code, QFile::exists(work.filePath(S("bad.tif")))}), std::tuple(1, false));
}

TEST_F(OutputCliTest, PrintsThroughACupsSchedulerOnLoopback)
{
    if (getuid() != 0 || QStandardPaths::findExecutable(S("cupsd"), {S("/usr/sbin"), S("/sbin")}).isEmpty())
        GTEST_SKIP() << "needs root and cupsd (scripts/install-deps.sh)";
    const QString script = qEnvironmentVariable("TARLOX_SOURCE_DIR") + S("/tests/support/cups.sh");
    const QString spool = work.filePath(S("cups"));
    const QString port = QString::number(20000 + getpid() % 20000);
    int started = -1;
    const QString said = Tool(S("bash"), {script, S("start"), spool, port}, &started);
    ASSERT_EQ(started, 0) << said.toStdString();
    const CliRun printed
        = cli({S("print"), S("1"), S("--pages"), S("2"), S("--printer"), S("tarlox-test")}, {{S("CUPS_SERVER"), S("127.0.0.1:") + port}});
    const QString arrived = spool + S("/out/printed.pdf");
    QElapsedTimer waited;
    waited.start();
    while (waited.elapsed() < 60000 && (!QFile::exists(arrived) || Marks(arrived).isEmpty()))
        QThread::msleep(200);
    const QList<int> marks = Marks(arrived);
    Tool(S("bash"), {script, S("stop"), spool});
    ASSERT_EQ(printed.code, 0) << printed.err.toStdString();
    EXPECT_EQ(std::tuple(marks, QDir(dir.filePath(S("TEMP"))).entryList(QDir::Files)), std::tuple(QList<int>{2}, QStringList()));
}
