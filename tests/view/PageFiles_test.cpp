#include "view/PageFiles.h"
#include "view/ViewerTestSupport.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QRandomGenerator>
#include <QTemporaryDir>
#include <QThread>

#include <gtest/gtest.h>

#include <utime.h>
#include <csignal>

using namespace tarlox;
using namespace tarlox::test;

namespace {

class PageFilesTest : public ::testing::Test {
protected:
    void store(int pages) { ASSERT_TRUE(WriteTiff(copy, NumberedPages(pages))); }
    QStringList leftovers() const { return QDir(dir.path()).entryList(QDir::Files | QDir::Hidden | QDir::System).filter(QStringLiteral("part")); }

    QTemporaryDir dir;
    QString copy = dir.filePath(QStringLiteral("TR000042.TIF"));
    QString original = dir.filePath(QStringLiteral("OR000042.TIF"));
};

}  // namespace

// A save that can't read the Copy changes nothing; one that can copies the
// unchanged pages as stored and turns landscape pages.
TEST_F(PageFilesTest, SaveCopiesUnchangedPagesAsStoredTurnsLandscapeOnesAndChangesNothingWhenItCannotRead)
{
    EXPECT_TRUE(!SaveEditedCopy(copy, original, NumberedPage(1), 1) && !QFileInfo::exists(original));
    store(2);
    const QByteArray before = FileBytes(copy);
    const IoStatus beyond = SaveEditedCopy(copy, original, NumberedPage(1), 3);
    EXPECT_TRUE(!beyond && beyond.error().contains(QStringLiteral("no longer")));
    EXPECT_TRUE(!SaveEditedCopy(copy, original, QImage(), 1) && FileBytes(copy) == before);

    QList<QImage> pages = NumberedPages(3);
    pages[2] = NumberedPage(3, 1100, 850);  // a landscape page
    ASSERT_TRUE(WriteTiff(copy, pages));
    ASSERT_TRUE(SaveEditedCopy(copy, original, NumberedPage(1), 1));
    auto reader = TiffReader::open(copy);
    ASSERT_TRUE(reader && reader->pageCount() == 3);
    EXPECT_EQ(std::pair(reader->pageInfo(2)->width, reader->pageInfo(2)->height), std::pair(850, 1100));  // stored upright
    // The untouched portrait page is the same data.
    EXPECT_TRUE(SamePixels(*TiffReader::open(original)->readPage(1), *reader->readPage(1)));

    // An edited page wider than high is stored turned too.
    ASSERT_TRUE(SaveEditedCopy(copy, original, NumberedPage(2, 1100, 850), 2));
    EXPECT_EQ(TiffReader::open(copy)->pageInfo(1)->width, 850);
}

// Each page operation on a stored file: the pages in their new order, or the
// file as it was when there is nothing to do; never an Original, never a work file left.
TEST_F(PageFilesTest, PageOperations)
{
    // scanned: the page the scanner gives, 0 for none; after: empty for the file as it was
    const struct { const char* name; int pages; ScanMode mode; int at; int scanned; bool ok, written; QList<int> after; } rows[] = {
        {"delete the first", 3, ScanMode::Delete, 1, 0, true, true, {2, 3}}, {"delete the last", 3, ScanMode::Delete, 3, 0, true, true, {1, 2}},
        {"the only page stays", 1, ScanMode::Delete, 1, 0, false, false, {}},
        {"insert before the first", 3, ScanMode::Insert, 1, 9, true, true, {9, 1, 2, 3}},
        {"replace", 3, ScanMode::Replace, 2, 7, true, true, {1, 7, 3}}, {"append", 3, ScanMode::Append, 2, 5, true, true, {1, 2, 3, 5}},
        {"append to twenty", 20, ScanMode::Append, 20, 21, true, true, {}}, {"nothing scanned", 3, ScanMode::Insert, 2, 0, true, false, {}},
        {"no such page", 2, ScanMode::Replace, 5, 7, false, false, {}},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        store(row.pages);
        const QByteArray before = FileBytes(copy);
        bool asked = false;
        const auto result = RewritePages(copy, row.mode, row.at, [&]() -> std::optional<QImage> {
            asked = true;
            return row.scanned ? std::optional<QImage>(NumberedPage(row.scanned)) : std::nullopt;
        });
        ASSERT_EQ(std::pair(bool(result), asked), std::pair(row.ok, row.ok && row.mode != ScanMode::Delete));
        EXPECT_TRUE(!row.ok || std::pair(result->written, result->pageCount) == std::pair(row.written, row.after.isEmpty() ? row.pages + int(row.written) : int(row.after.size())));
        // The pages in their new order, the page added, or the file as it was.
        const QList<int> now = PageNumbersOf(copy);
        EXPECT_TRUE(!row.after.isEmpty() ? now == row.after : row.written ? now.last() == row.scanned : FileBytes(copy) == before) << now.size();
        EXPECT_EQ(std::pair(QFileInfo::exists(original), leftovers()), std::pair(false, QStringList()));
    }
}

TEST_F(PageFilesTest, RestorePutsTheOriginalBackAndOldWorkFilesOfACrashAreCleared)
{
    store(2);
    const QByteArray asScanned = FileBytes(copy);
    const FileStamp loaded = StampOf(copy);
    EXPECT_TRUE(loaded.exists && StampOf(copy) == loaded);
    ASSERT_TRUE(SaveEditedCopy(copy, original, NumberedPage(5), 1));
    // Another save replaced the file.
    EXPECT_TRUE(StampOf(copy) != loaded && !StampOf(dir.filePath(QStringLiteral("none"))).exists);
    ASSERT_NE(FileBytes(copy), asScanned);
    ASSERT_TRUE(RestoreOriginalFiles(copy, original));
    EXPECT_EQ(std::pair(FileBytes(copy), QFileInfo::exists(original)), std::pair(asScanned, false));
    // None left: says so, the Copy stays.
    EXPECT_TRUE(!RestoreOriginalFiles(copy, original) && FileBytes(copy) == asScanned);

    // Work files a crash left behind: the old ones go.
    store(1);
    const QString stale = dir.filePath(QStringLiteral(".TR000042.TIF.abc.part"));
    const QString fresh = dir.filePath(QStringLiteral(".TR000042.TIF.def.part"));
    const QString other = dir.filePath(QStringLiteral(".TR000043.TIF.abc.part"));
    struct utimbuf old {};
    old.actime = old.modtime = time(nullptr) - 7200;
    for (const QString& path : {stale, fresh, other}) {
        ASSERT_TRUE(WriteFile(path, {}));
        ASSERT_TRUE(path == fresh || utime(QFile::encodeName(path).constData(), &old) == 0);
    }
    // Someone may be saving the fresh one right now.
    EXPECT_EQ(RemoveStaleWorkFiles(copy, 3600), 1);
    EXPECT_EQ(std::tuple(QFileInfo::exists(stale), QFileInfo::exists(fresh), QFileInfo::exists(other)), std::tuple(false, true, true));
}

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
    for (int i = 1; i <= 3; ++i)
        pages << CertificatePage(i, 1700, 2200, 200);
    ASSERT_TRUE(WriteTiff(copy, pages));
    const QByteArray asScanned = FileBytes(copy);

    QRandomGenerator random(20240305);
    bool originalSeen = false;
    int finishedOperations = 0, kills = 0;
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
            // The page the driver edits says which it is; the others are as they were.
            EXPECT_TRUE(i == 1 ? PageNumberOf(*page) == 2 : i == 3 || SamePixels(*page, pages[i])) << "round " << round << " page " << i + 1;
        }
        // The Original: once there, always there and always the file as scanned.
        const bool originalNow = QFileInfo::exists(original);
        ASSERT_TRUE(originalNow || !originalSeen) << "round " << round << ": the Original was lost";
        ASSERT_TRUE(!originalNow || FileBytes(original) == asScanned) << "round " << round;
        originalSeen = originalSeen || originalNow;
        // No half-written file stands under a name a search for images would find.
        for (const QString& name : QDir(dir.path()).entryList({QStringLiteral("*.TIF")}, QDir::Files))
            EXPECT_TRUE(name == QStringLiteral("TR000001.TIF") || name == QStringLiteral("OR000001.TIF")) << name.toStdString();
    }
    // The kills fell among finished operations, not only during start-up.
    EXPECT_TRUE(kills >= 50 && originalSeen && finishedOperations > 20) << kills << ' ' << originalSeen << ' ' << finishedOperations;
    std::printf("%d kills over %d finished operations\n", kills, finishedOperations);
}
