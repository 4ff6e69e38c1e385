#include "store/TiffReader.h"
#include "store/TiffWriter.h"
#include "TestPages.h"
#include "support/FullDisk.h"
#include "support/TestSite.h"

#include <QDir>
#include <QFile>

#include <sys/stat.h>

using namespace tarlox;
using namespace tarlox::test;

namespace {

class FileSafety : public TempDirTest {
protected:
    void SetUp() override
    {
        ASSERT_TRUE(WriteTiff(path("TR000001.TIF"), {TextPage(850, 1100, 1, 100)}, ReportTags::forReport(
            QStringLiteral("H1"), QStringLiteral("P1"), QStringLiteral("PO1"), QStringLiteral("V"), QStringLiteral("M"))).ok());
        original = FileBytes(path("TR000001.TIF"));
    }

    void expectUntouched() { EXPECT_EQ(std::pair(files(), FileBytes(path("TR000001.TIF"))), std::pair(QStringList{QStringLiteral("TR000001.TIF")}, original)); }
    QByteArray original;
};

}  // namespace

TEST_F(FileSafety, ReadOnlyDirectoryGivesMessageAndNoFile)
{
    QTemporaryDir locked;
    const QString target = locked.filePath(QStringLiteral("TR000002.TIF"));
    ASSERT_TRUE(WriteTiff(target, {TextPage(200, 100)}).ok());
    ::chmod(QFile::encodeName(locked.path()).constData(), 0555), ::chmod(QFile::encodeName(target).constData(), 0444);
    const QByteArray before = FileBytes(target);

    EXPECT_TRUE(RunUnprivileged([&] {
        auto created = WriteTiff(locked.filePath(QStringLiteral("TR000003.TIF")), {TextPage(200, 100)});
        auto appended = AppendPage(target, TextPage(200, 100));
        return !created.ok() && created.error().contains(QStringLiteral("Permission denied")) && created.error().contains(locked.path()) && !appended.ok()
               && appended.error().contains(QStringLiteral("Permission denied"));
    }));
    EXPECT_EQ(std::tuple(QDir(locked.path()).entryList(QDir::Files | QDir::Hidden), FileBytes(target)), std::tuple(QStringList{QStringLiteral("TR000002.TIF")}, before));
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

    EXPECT_TRUE(!appended.ok() && appended.error().contains(path("TR000001.TIF")) && !created.ok() && created.error().contains(path("TR000004.TIF")))
        << appended.error().toStdString() << " / " << created.error().toStdString();
    expectUntouched();
}

TEST_F(FileSafety, BadTargetsAndSourcesGiveMessagesAndNoStrayFiles)
{
    // No such directory, no pages, and a file that is not a TIFF, which is left alone.
    ASSERT_TRUE(WriteFile(path("notes.TIF"), "not an image"));
    for (const auto& [status, says] : {std::pair{WriteTiff(path("missing/TR000005.TIF"), {TextPage(100, 100)}), "does not exist"},
                                       {WriteTiff(path("TR000007.TIF"), {}), "No pages"},
                                       {AppendPage(path("notes.TIF"), TextPage(100, 100)), "notes.TIF"}})
        EXPECT_TRUE(!status.ok() && status.error().contains(QLatin1String(says))) << says;
    EXPECT_TRUE(FileBytes(path("notes.TIF")) == "not an image" && QFile::remove(path("notes.TIF")));

    // Empty pages, and a page that doesn't exist in the source.
    EXPECT_FALSE(AppendPage(path("TR000001.TIF"), QImage()).ok() || CopyPage(path("TR000001.TIF"), 5, path("TR000006.TIF")).ok()
                 || CopyPage(path("nothing.TIF"), 0, path("TR000006.TIF")).ok());

    // A writer given up part way through keeps the pages before it out of sight too.
    {
        auto writer = TiffWriter::create(path("TR000008.TIF"));
        ASSERT_TRUE(writer.ok() && writer->addPage(TextPage(100, 100)).ok());
        const bool empty = writer->addPage(QImage()).ok();
        EXPECT_EQ(std::tuple(empty, writer->addPage(TextPage(100, 100)).ok()), std::tuple(false, true)) << "an empty page is refused, not fatal";
    }
    expectUntouched();
}

TEST_F(FileSafety, ReplacingAFileKeepsItsPermissions)
{
    ::chmod(QFile::encodeName(path("TR000001.TIF")).constData(), 0640);
    ASSERT_TRUE(AppendPage(path("TR000001.TIF"), TextPage(100, 100)).ok());
    const auto mode = [&](const char* name) {
        struct stat info {};
        return ::stat(QFile::encodeName(path(QLatin1String(name))).constData(), &info) == 0 ? info.st_mode & 0777 : 0u;
    };
    EXPECT_EQ(std::tuple(mode("TR000001.TIF"), PageCount(path("TR000001.TIF"))), std::tuple(0640u, 2));

    // A new file gets the usual permissions, not those of a private temporary file.
    const mode_t mask = ::umask(022);
    ASSERT_TRUE(WriteTiff(path("TR000009.TIF"), {TextPage(100, 100)}).ok());
    ::umask(mask);
    EXPECT_EQ(mode("TR000009.TIF"), 0644u);
}
