#include "store/TiffReader.h"
#include "store/TiffWriter.h"
#include "view/ViewerTestSupport.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QRandomGenerator>
#include <QTemporaryDir>
#include <QThread>

#include <csignal>

#include <gtest/gtest.h>

using namespace tarlox;
using namespace tarlox::test;

namespace {

QByteArray bytesOf(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

}  // namespace

// A workstation that dies at any moment of a save or a page rewrite never
// leaves a broken Copy, and never loses an Original once it is made.
TEST(KillDuringSave, CopyIsAlwaysWholeAndOriginalNeverLost)
{
    const QString driver = qEnvironmentVariable("TARLOX_VIEW_KILL_DRIVER");
    ASSERT_FALSE(driver.isEmpty());
    QTemporaryDir dir;
    const QString copy = dir.filePath(QStringLiteral("TR000001.TIF"));
    const QString original = dir.filePath(QStringLiteral("OR000001.TIF"));
    QList<QImage> pages;
    for (int i = 1; i <= 3; ++i) {
        QImage page = TextPage(1700, 2200, quint32(i), 200);
        for (int y = 10; y < 30; ++y)
            for (int x = 0; x < 200; ++x)
                page.setPixel(x, y, 0);
        FillBlack(page, 10, 10, 20 * i, 20);
        pages.append(page);
    }
    ASSERT_TRUE(WriteTiff(copy, pages));
    const QByteArray asScanned = bytesOf(copy);

    QRandomGenerator random(20240305);
    bool originalSeen = false;
    int finishedOperations = 0;
    int kills = 0;
    for (int round = 0; round < 60; ++round) {
        QProcess process;
        process.start(driver, {copy, original});
        ASSERT_TRUE(process.waitForStarted()) << process.errorString().toStdString();
        QThread::msleep(random.bounded(5, 160));
        const bool running = process.state() == QProcess::Running;
        ::kill(pid_t(process.processId()), SIGKILL);
        process.waitForFinished();
        const QByteArray said = process.readAllStandardOutput();
        finishedOperations += int(said.count('\n'));
        ASSERT_TRUE(running) << "the driver stopped by itself: " << process.readAllStandardError().toStdString();
        ++kills;

        // The Copy: readable whole, three or four pages, the untouched pages as they were.
        auto reader = TiffReader::open(copy);
        ASSERT_TRUE(reader) << "round " << round << ": " << reader.error().toStdString();
        ASSERT_TRUE(reader->pageCount() == 3 || reader->pageCount() == 4) << reader->pageCount();
        for (int i = 0; i < reader->pageCount(); ++i) {
            auto page = reader->readPage(i);
            ASSERT_TRUE(page) << "round " << round << " page " << i + 1 << ": " << page.error().toStdString();
            if (i == 0 || i == 2) {
                EXPECT_TRUE(SamePixels(*page, pages[i])) << "round " << round << " page " << i + 1;
            }
            if (i == 1) {
                EXPECT_EQ(PageNumberOf(*page), 2);
            }
        }
        // The Original: once there, always there and always the file as scanned.
        const bool originalNow = QFileInfo::exists(original);
        if (originalSeen) {
            ASSERT_TRUE(originalNow) << "round " << round << ": the Original was lost";
        }
        if (originalNow) {
            ASSERT_EQ(bytesOf(original), asScanned) << "round " << round;
        }
        originalSeen = originalSeen || originalNow;
        // No half-written file stands under a name a search for images would find.
        const QStringList images = QDir(dir.path()).entryList({QStringLiteral("*.TIF")}, QDir::Files);
        for (const QString& name : images)
            EXPECT_TRUE(name == QStringLiteral("TR000001.TIF") || name == QStringLiteral("OR000001.TIF")) << name.toStdString();
    }
    EXPECT_GE(kills, 50);
    EXPECT_TRUE(originalSeen);
    // The kills fell among finished operations, not only during start-up.
    EXPECT_GT(finishedOperations, 20);
    std::printf("%d kills over %d finished operations\n", kills, finishedOperations);
}
