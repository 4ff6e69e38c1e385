// Writing must never leave half a file under the final name, nor a stray
// work file, whatever goes wrong.

#include "store/TiffReader.h"
#include "store/TiffWriter.h"
#include "TestPages.h"
#include "support/FullDisk.h"
#include "support/TestSite.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

using namespace tarlox;
using namespace tarlox::test;

namespace {

class FileSafety : public ::testing::Test {
protected:
    void SetUp() override
    {
        ASSERT_TRUE(WriteTiff(path("TR000001.TIF"), {TextPage(850, 1100, 1, 100)}, ReportTags::forReport(
            QStringLiteral("H1"), QStringLiteral("P1"), QStringLiteral("PO1"), QStringLiteral("V"), QStringLiteral("M"))).ok());
        original = FileBytes(path("TR000001.TIF"));
    }

    QString path(const QString& name) const { return dir.filePath(name); }
    QStringList files() const { return QDir(dir.path()).entryList(QDir::Files | QDir::Hidden | QDir::System); }
    void expectUntouched()
    {
        EXPECT_EQ(files(), QStringList{QStringLiteral("TR000001.TIF")});
        EXPECT_EQ(FileBytes(path("TR000001.TIF")), original);
    }

    QTemporaryDir dir;
    QByteArray original;
};

}  // namespace

TEST_F(FileSafety, ReadOnlyDirectoryGivesMessageAndNoFile)
{
    QTemporaryDir locked;
    const QString target = locked.filePath(QStringLiteral("TR000002.TIF"));
    ASSERT_TRUE(WriteTiff(target, {TextPage(200, 100)}).ok());
    ::chmod(QFile::encodeName(locked.path()).constData(), 0555);
    ::chmod(QFile::encodeName(target).constData(), 0444);
    const QByteArray before = FileBytes(target);

    EXPECT_TRUE(RunUnprivileged([&] {
        auto created = WriteTiff(locked.filePath(QStringLiteral("TR000003.TIF")), {TextPage(200, 100)});
        auto appended = AppendPage(target, TextPage(200, 100));
        return !created.ok() && created.error().contains(QStringLiteral("Permission denied"))
               && created.error().contains(locked.path()) && !appended.ok()
               && appended.error().contains(QStringLiteral("Permission denied"));
    }));
    EXPECT_EQ(QDir(locked.path()).entryList(QDir::Files | QDir::Hidden), QStringList{QStringLiteral("TR000002.TIF")});
    EXPECT_EQ(FileBytes(target), before);
    ::chmod(QFile::encodeName(locked.path()).constData(), 0755);
}

TEST_F(FileSafety, FullDiskLeavesTheFileAsItWas)
{
    IoStatus appended, created;
    {
        FullDisk full(rlim_t(original.size() + 2000));
        appended = AppendPage(path("TR000001.TIF"), TextPage(2550, 3300, 2, 300));
        created = WriteTiff(path("TR000004.TIF"), {TextPage(2550, 3300, 3, 300)});
    }

    ASSERT_FALSE(appended.ok());
    ASSERT_FALSE(created.ok());
    EXPECT_TRUE(appended.error().contains(path("TR000001.TIF"))) << appended.error().toStdString();
    EXPECT_TRUE(created.error().contains(path("TR000004.TIF"))) << created.error().toStdString();
    expectUntouched();
}

TEST_F(FileSafety, BadTargetsAndSourcesGiveMessagesAndNoStrayFiles)
{
    // No such directory, no pages, and a file that is not a TIFF, which is left alone.
    ASSERT_TRUE(WriteFile(path("notes.TIF"), "not an image"));
    for (const auto& [status, says] : {std::pair{WriteTiff(path("missing/TR000005.TIF"), {TextPage(100, 100)}), "does not exist"},
                                       {WriteTiff(path("TR000007.TIF"), {}), "No pages"},
                                       {AppendPage(path("notes.TIF"), TextPage(100, 100)), "notes.TIF"}}) {
        ASSERT_FALSE(status.ok()) << says;
        EXPECT_TRUE(status.error().contains(QLatin1String(says))) << status.error().toStdString();
    }
    EXPECT_EQ(FileBytes(path("notes.TIF")), QByteArray("not an image"));
    QFile::remove(path("notes.TIF"));

    // Empty pages, and a page that doesn't exist in the source.
    EXPECT_FALSE(AppendPage(path("TR000001.TIF"), QImage()).ok());
    EXPECT_FALSE(CopyPage(path("TR000001.TIF"), 5, path("TR000006.TIF")).ok());
    EXPECT_FALSE(CopyPage(path("nothing.TIF"), 0, path("TR000006.TIF")).ok());

    // A writer given up part way through keeps the pages before it out of sight too.
    {
        auto writer = TiffWriter::create(path("TR000008.TIF"));
        ASSERT_TRUE(writer.ok());
        ASSERT_TRUE(writer->addPage(TextPage(100, 100)).ok());
        EXPECT_FALSE(writer->addPage(QImage()).ok());
        EXPECT_TRUE(writer->addPage(TextPage(100, 100)).ok());  // an empty page is refused, not fatal
    }
    expectUntouched();
}

TEST_F(FileSafety, ReplacingAFileKeepsItsPermissions)
{
    ::chmod(QFile::encodeName(path("TR000001.TIF")).constData(), 0640);
    ASSERT_TRUE(AppendPage(path("TR000001.TIF"), TextPage(100, 100)).ok());
    struct stat info {};
    ASSERT_EQ(::stat(QFile::encodeName(path("TR000001.TIF")).constData(), &info), 0);
    EXPECT_EQ(info.st_mode & 0777, 0640u);
    EXPECT_EQ(TiffReader::open(path("TR000001.TIF"))->pageCount(), 2);

    // A new file gets the usual permissions, not those of a private temporary file.
    const mode_t mask = ::umask(022);
    ASSERT_TRUE(WriteTiff(path("TR000009.TIF"), {TextPage(100, 100)}).ok());
    ::umask(mask);
    ASSERT_EQ(::stat(QFile::encodeName(path("TR000009.TIF")).constData(), &info), 0);
    EXPECT_EQ(info.st_mode & 0777, 0644u);
}
