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

QByteArray bytesOf(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

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

std::optional<QImage> noPage() { return std::nullopt; }

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
    const QByteArray before = bytesOf(copy);
    const IoStatus beyond = SaveEditedCopy(copy, original, NumberedPage(1), 3);
    ASSERT_FALSE(beyond);
    EXPECT_TRUE(beyond.error().contains(QStringLiteral("no longer")));
    EXPECT_EQ(bytesOf(copy), before);
    EXPECT_FALSE(SaveEditedCopy(copy, original, QImage(), 1));
    EXPECT_EQ(bytesOf(copy), before);
}

TEST_F(PageFilesTest, DeleteFirstAndLastOfThree)
{
    store(3);
    auto first = RewritePages(copy, ScanMode::Delete, 1, noPage);
    ASSERT_TRUE(first);
    EXPECT_TRUE(first->written);
    EXPECT_EQ(PageNumbersOf(copy), (QList<int>{2, 3}));
    store(3);
    ASSERT_TRUE(RewritePages(copy, ScanMode::Delete, 3, noPage));
    EXPECT_EQ(PageNumbersOf(copy), (QList<int>{1, 2}));
    EXPECT_FALSE(QFileInfo::exists(original));  // page operations make no Original
}

TEST_F(PageFilesTest, LastPageCannotBeDeleted)
{
    store(1);
    const auto result = RewritePages(copy, ScanMode::Delete, 1, noPage);
    ASSERT_FALSE(result);
    EXPECT_EQ(PageNumbersOf(copy), (QList<int>{1}));
}

TEST_F(PageFilesTest, InsertReplaceAndAppend)
{
    store(3);
    bool asked = false;
    const auto page9 = [&]() -> std::optional<QImage> {
        asked = true;
        return NumberedPage(9);
    };
    ASSERT_TRUE(RewritePages(copy, ScanMode::Insert, 1, page9));
    EXPECT_TRUE(asked);
    EXPECT_EQ(PageNumbersOf(copy), (QList<int>{9, 1, 2, 3}));
    ASSERT_TRUE(RewritePages(copy, ScanMode::Replace, 3, [] { return std::optional<QImage>(NumberedPage(7)); }));
    EXPECT_EQ(PageNumbersOf(copy), (QList<int>{9, 1, 7, 3}));
    auto appended = RewritePages(copy, ScanMode::Append, 2, [] { return std::optional<QImage>(NumberedPage(5)); });
    ASSERT_TRUE(appended);
    EXPECT_EQ(appended->pageCount, 5);
    EXPECT_EQ(PageNumbersOf(copy), (QList<int>{9, 1, 7, 3, 5}));
}

TEST_F(PageFilesTest, AppendToTwentyGivesTwentyOne)
{
    store(20);
    auto result = RewritePages(copy, ScanMode::Append, 20, [] { return std::optional<QImage>(NumberedPage(21)); });
    ASSERT_TRUE(result);
    EXPECT_EQ(result->pageCount, 21);
    EXPECT_EQ(PageNumbersOf(copy).last(), 21);
}

TEST_F(PageFilesTest, NoScannedPageLeavesTheFileAsItWas)
{
    store(3);
    const QByteArray before = bytesOf(copy);
    auto result = RewritePages(copy, ScanMode::Insert, 2, noPage);
    ASSERT_TRUE(result);
    EXPECT_FALSE(result->written);
    EXPECT_EQ(bytesOf(copy), before);
    EXPECT_TRUE(leftovers().isEmpty());
}

TEST_F(PageFilesTest, RestorePutsTheOriginalBackAndRemovesIt)
{
    store(2);
    const QByteArray asScanned = bytesOf(copy);
    ASSERT_TRUE(SaveEditedCopy(copy, original, NumberedPage(5), 1));
    ASSERT_NE(bytesOf(copy), asScanned);
    ASSERT_TRUE(RestoreOriginalFiles(copy, original));
    EXPECT_EQ(bytesOf(copy), asScanned);
    EXPECT_FALSE(QFileInfo::exists(original));
    EXPECT_FALSE(RestoreOriginalFiles(copy, original));  // none left: says so, Copy stays
    EXPECT_EQ(bytesOf(copy), asScanned);
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
    for (const QString& path : {stale, fresh, other}) {
        QFile file(path);
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    }
    struct utimbuf old {};
    old.actime = old.modtime = time(nullptr) - 7200;
    ASSERT_EQ(utime(QFile::encodeName(stale).constData(), &old), 0);
    ASSERT_EQ(utime(QFile::encodeName(other).constData(), &old), 0);
    EXPECT_EQ(RemoveStaleWorkFiles(copy, 3600), 1);
    EXPECT_FALSE(QFileInfo::exists(stale));
    EXPECT_TRUE(QFileInfo::exists(fresh));  // someone may be saving right now
    EXPECT_TRUE(QFileInfo::exists(other));
}
