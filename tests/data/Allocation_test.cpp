// Several workstations adding reports at once into one database and one data
// directory, and workstations killed in the middle of adding.

#include "data/DataOp.h"
#include "support/QtPrinters.h"
#include "support/TestSite.h"

#include <QDir>
#include <QProcess>
#include <QRandomGenerator>
#include <QRegularExpression>
#include <QThread>

#include <signal.h>

using namespace tarlox;
using namespace tarlox::test;

namespace {

QString driver() { return qEnvironmentVariable("TARLOX_ALLOCATE_DRIVER"); }

class AllocationTest : public SiteTest {
protected:
    void SetUp() override
    {
        ASSERT_FALSE(driver().isEmpty()) << "TARLOX_ALLOCATE_DRIVER is not set";
        ASSERT_TRUE(site.start());
        site.session().db().close();
    }

    std::unique_ptr<QProcess> launch(int count, int bytes)
    {
        auto process = std::make_unique<QProcess>();
        process->setProgram(driver());
        process->setArguments({QStringLiteral("--ini"), site.localIni(), QStringLiteral("--count"), QString::number(count),
                               QStringLiteral("--bytes"), QString::number(bytes)});
        process->start();
        EXPECT_TRUE(process->waitForStarted());
        return process;
    }

    // The final image files and their numbers; every one must be complete.
    QSet<qint32> checkFiles()
    {
        static const QRegularExpression finalName(QStringLiteral("^TR(\\d{6})\\.TIF$"));
        QSet<qint32> numbers;
        const QString dataDir = site.path(QStringLiteral("DATA"));
        for (const QString& name : QDir(dataDir).entryList(QDir::Files)) {
            const auto match = finalName.match(name);
            if (!match.hasMatch()) {
                EXPECT_TRUE(name.startsWith(QLatin1Char('~'))) << "unexpected file " << name.toStdString();
                continue;
            }
            const qint32 number = match.captured(1).toInt();
            const QByteArray content = FileBytes(QDir(dataDir).filePath(name));
            EXPECT_TRUE(content.startsWith(QByteArray("TARLOX TEST " + QByteArray::number(number) + '\n'))) << name.toStdString();
            EXPECT_TRUE(content.endsWith(QByteArray("\nEND " + QByteArray::number(number) + '\n'))) << name.toStdString() << " is not complete";
            numbers.insert(number);
        }
        return numbers;
    }

    void checkRows(const QSet<qint32>& files)
    {
        // References without their image, images without their references.
        EXPECT_EQ(std::tuple(scalar(QStringLiteral("SELECT count(*) FROM \"Info\" WHERE \"Image #\" NOT IN (SELECT \"Image #\" FROM \"Images\")")),
                            scalar(QStringLiteral("SELECT count(*) FROM \"Images\" WHERE \"Image #\" NOT IN (SELECT \"Image #\" FROM \"Info\")"))),
                  std::tuple(qint64(0), qint64(0)));
        DataOp op(site.session(), QStringLiteral("test"));
        auto rows = op.exec(QStringLiteral("SELECT \"Image #\" FROM \"Images\""));
        ASSERT_TRUE(rows);
        while (rows->next()) EXPECT_TRUE(files.contains(rows->value(0).toInt())) << "image " << rows->value(0).toInt() << " has a row and no file";
    }
};

TEST_P(AllocationTest, FourWorkstationsAddingAtOnceGetDistinctNumbers)
{
    constexpr int Processes = 4;
    constexpr int Each = 250;
    std::vector<std::unique_ptr<QProcess>> processes;
    for (int i = 0; i < Processes; ++i) processes.push_back(launch(Each, 4096));
    QList<qint32> given;
    for (auto& process : processes) {
        ASSERT_TRUE(process->waitForFinished(600000));
        EXPECT_EQ(std::tuple(process->exitStatus(), process->exitCode()), std::tuple(QProcess::NormalExit, 0)) << process->readAllStandardError().toStdString();
        for (const QByteArray& line : process->readAllStandardOutput().split('\n')) if (!line.isEmpty()) given << line.toInt();
    }
    ASSERT_EQ(given.size(), Processes * Each);
    const QSet<qint32> distinct(given.begin(), given.end());
    EXPECT_EQ(distinct.size(), Processes * Each);

    const QSet<qint32> files = checkFiles();
    EXPECT_EQ(files, distinct);
    EXPECT_EQ((QList<qint64>{scalar(QStringLiteral("SELECT count(DISTINCT \"Image #\") FROM \"Images\"")), rows(QStringLiteral("Info")), nextName()}),
              (QList<qint64>{Processes * Each, Processes * Each * 2, Processes * Each + 1}));
    checkRows(files);
    EXPECT_TRUE(SiteTest::files(QStringLiteral("TEMP")).isEmpty());
}

TEST_P(AllocationTest, KilledAtAnyMomentLeavesNoHalfFileAndNoLoneReference)
{
    const quint32 seed = QRandomGenerator::global()->generate();
    QRandomGenerator random(seed);
    SCOPED_TRACE(testing::Message() << "seed " << seed);
    constexpr int Kills = 24;
    for (int round = 0; round < Kills; ++round) {
        auto process = launch(1000000, 256 * 1024);
        // Let it start and add a few; then kill it wherever it is.
        ASSERT_TRUE(process->waitForReadyRead(60000)) << process->readAllStandardError().toStdString();
        QThread::usleep(random.bounded(1000, 60000));
        ::kill(static_cast<pid_t>(process->processId()), SIGKILL);
        ASSERT_TRUE(process->waitForFinished(60000));
        EXPECT_EQ(process->exitStatus(), QProcess::CrashExit) << "round " << round << " ended by itself";
    }
    const QSet<qint32> files = checkFiles();
    EXPECT_GE(files.size(), Kills);
    checkRows(files);

    // The site goes on: no lock is left behind and no number is given twice.
    auto after = launch(5, 64);
    ASSERT_TRUE(after->waitForFinished(120000));
    EXPECT_EQ(after->exitCode(), 0) << after->readAllStandardError().toStdString();
    for (const QByteArray& line : after->readAllStandardOutput().split('\n')) EXPECT_FALSE(!line.isEmpty() && files.contains(line.toInt())) << line.toStdString();
    checkRows(checkFiles());
}

TARLOX_ON_BOTH_ENGINES(AllocationTest);

}  // namespace
