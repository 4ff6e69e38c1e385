#include "view/PageFiles.h"

#include "store/TiffReader.h"
#include "store/TiffWriter.h"
#include "view/ViewerTestSupport.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>

#include <utime.h>

#include <gtest/gtest.h>

using namespace tarlox;
using namespace tarlox::test;

namespace {

class PageFilesTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        EnsureGuiApplication();
        copy = dir.filePath(QStringLiteral("TR000042.TIF"));
        original = dir.filePath(QStringLiteral("OR000042.TIF"));
    }
    void store(int pages) { ASSERT_TRUE(WriteTiff(copy, NumberedPages(pages))); }
    QStringList leftovers() const
    {
        return QDir(dir.path()).entryList(QDir::Files | QDir::Hidden | QDir::System).filter(QStringLiteral("part"));
    }

    QTemporaryDir dir;
    QString copy;
    QString original;
};

}  // namespace

TEST_F(PageFilesTest, UnchangedPagesAreCopiedAsStoredAndLandscapePagesTurned)
{
    QList<QImage> pages = NumberedPages(3);
    pages[2] = NumberedPage(3, 1100, 850);  // a landscape page
    ASSERT_TRUE(WriteTiff(copy, pages));
    QImage edited = NumberedPage(1);
    ASSERT_TRUE(SaveEditedCopy(copy, original, edited, 1));
    auto reader = TiffReader::open(copy);
    ASSERT_TRUE(reader);
    ASSERT_EQ(reader->pageCount(), 3);
    EXPECT_EQ(reader->pageInfo(2)->width, 850);  // stored upright
    EXPECT_EQ(reader->pageInfo(2)->height, 1100);
    // The untouched portrait page is byte for byte the same data.
    auto before = TiffReader::open(original);
    ASSERT_TRUE(before);
    EXPECT_TRUE(SamePixels(*before->readPage(1), *reader->readPage(1)));

    // An edited page wider than high is stored turned too.
    ASSERT_TRUE(SaveEditedCopy(copy, original, NumberedPage(2, 1100, 850), 2));
    auto after = TiffReader::open(copy);
    EXPECT_EQ(after->pageInfo(1)->width, 850);
}

TEST_F(PageFilesTest, SaveThatCannotReadTheCopyChangesNothing)
{
    EXPECT_FALSE(SaveEditedCopy(copy, original, NumberedPage(1), 1));
    EXPECT_FALSE(QFileInfo::exists(original));
    store(2);
    const QByteArray before = FileBytes(copy);
    const IoStatus beyond = SaveEditedCopy(copy, original, NumberedPage(1), 3);
    ASSERT_FALSE(beyond);
    EXPECT_TRUE(beyond.error().contains(QStringLiteral("no longer")));
    EXPECT_EQ(FileBytes(copy), before);
    EXPECT_FALSE(SaveEditedCopy(copy, original, QImage(), 1));
    EXPECT_EQ(FileBytes(copy), before);
}

// Each page operation on a stored report: the pages after it, and whether
// the file was written at all.
TEST_F(PageFilesTest, DeleteInsertReplaceAndAppend)
{
    const struct {
        const char* name;
        int stored;
        ScanMode mode;
        int at, scanned;  // scanned 0: no page comes from the scanner
        bool ok, written;
        QList<int> after;
    } rows[] = {
        {"delete the first of three", 3, ScanMode::Delete, 1, 0, true, true, {2, 3}},
        {"delete the last of three", 3, ScanMode::Delete, 3, 0, true, true, {1, 2}},
        {"the only page can't be deleted", 1, ScanMode::Delete, 1, 0, false, false, {1}},
        {"insert at page one", 3, ScanMode::Insert, 1, 9, true, true, {9, 1, 2, 3}},
        {"replace page two", 3, ScanMode::Replace, 2, 7, true, true, {1, 7, 3}},
        {"append", 3, ScanMode::Append, 2, 5, true, true, {1, 2, 3, 5}},
        {"append to twenty", 20, ScanMode::Append, 20, 21, true, true, {}},
        {"nothing scanned", 3, ScanMode::Insert, 2, 0, true, false, {1, 2, 3}},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        store(row.stored);
        const QByteArray before = FileBytes(copy);
        int asked = 0;
        const auto result = RewritePages(copy, row.mode, row.at, [&]() -> std::optional<QImage> {
            ++asked;
            return row.scanned ? std::optional<QImage>(NumberedPage(row.scanned)) : std::nullopt;
        });
        ASSERT_EQ(bool(result), row.ok);
        QList<int> after = row.after;
        for (int page = 1; after.isEmpty() && page <= 21; ++page)
            after << page;
        EXPECT_EQ(PageNumbersOf(copy), after);
        if (result) {
            EXPECT_EQ(result->written, row.written);
        }
        if (row.written) {
            EXPECT_EQ(result->pageCount, after.size());
        }
        if (!row.written) {
            EXPECT_EQ(FileBytes(copy), before);
        }
        EXPECT_EQ(asked, row.mode == ScanMode::Delete ? 0 : 1);
        EXPECT_TRUE(leftovers().isEmpty());
        EXPECT_FALSE(QFileInfo::exists(original));  // page operations make no Original
    }
}

TEST_F(PageFilesTest, RestorePutsTheOriginalBackAndRemovesIt)
{
    store(2);
    const QByteArray asScanned = FileBytes(copy);
    ASSERT_TRUE(SaveEditedCopy(copy, original, NumberedPage(5), 1));
    ASSERT_NE(FileBytes(copy), asScanned);
    ASSERT_TRUE(RestoreOriginalFiles(copy, original));
    EXPECT_EQ(FileBytes(copy), asScanned);
    EXPECT_FALSE(QFileInfo::exists(original));
    EXPECT_FALSE(RestoreOriginalFiles(copy, original));  // none left: says so, Copy stays
    EXPECT_EQ(FileBytes(copy), asScanned);
}

TEST_F(PageFilesTest, StampChangesWhenAnotherSaveReplacesTheFile)
{
    store(2);
    const FileStamp loaded = StampOf(copy);
    EXPECT_TRUE(loaded.exists);
    EXPECT_EQ(StampOf(copy), loaded);
    ASSERT_TRUE(SaveEditedCopy(copy, original, NumberedPage(1), 1));
    EXPECT_NE(StampOf(copy), loaded);
    EXPECT_FALSE(StampOf(dir.filePath(QStringLiteral("none"))).exists);
}

TEST_F(PageFilesTest, OldWorkFilesOfACrashAreCleared)
{
    store(1);
    const QString stale = dir.filePath(QStringLiteral(".TR000042.TIF.abc.part"));
    const QString fresh = dir.filePath(QStringLiteral(".TR000042.TIF.def.part"));
    const QString other = dir.filePath(QStringLiteral(".TR000043.TIF.abc.part"));
    for (const QString& path : {stale, fresh, other})
        ASSERT_TRUE(WriteFile(path, {}));
    struct utimbuf old {};
    old.actime = old.modtime = time(nullptr) - 7200;
    ASSERT_EQ(utime(QFile::encodeName(stale).constData(), &old), 0);
    ASSERT_EQ(utime(QFile::encodeName(other).constData(), &old), 0);
    EXPECT_EQ(RemoveStaleWorkFiles(copy, 3600), 1);
    EXPECT_FALSE(QFileInfo::exists(stale));
    EXPECT_TRUE(QFileInfo::exists(fresh));  // someone may be saving right now
    EXPECT_TRUE(QFileInfo::exists(other));
}
