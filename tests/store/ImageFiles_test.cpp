#include "base/FileTools.h"
#include "store/FileLists.h"
#include "store/FileReplacement.h"
#include "store/ImageFiles.h"
#include "store/NextImage.h"
#include "support/QtPrinters.h"
#include "support/ScriptedPrompter.h"

#include "data/Session.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

using namespace tarlox;

namespace {

QByteArray readAll(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

void write(const QString& path, const QByteArray& content)
{
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write(content);
}

TEST(ImageFiles, NamesOfNumbers)
{
    EXPECT_EQ(ImageFileNameFor(0), QStringLiteral("TR000000.TIF"));
    EXPECT_EQ(ImageFileNameFor(123), QStringLiteral("TR000123.TIF"));
    EXPECT_EQ(ImageFileNameFor(999999), QStringLiteral("TR999999.TIF"));
    EXPECT_EQ(ImageFileNameFor(1000000), QStringLiteral("TR000000.TIF"));
    EXPECT_EQ(ImageLabelFor(1234), QStringLiteral("TR001234"));
}

TEST(ImageFiles, SiblingNamesReplaceThePrefixTwelveFromTheEnd)
{
    const QString copy = QStringLiteral("/srv/TRACK/TR000123.TIF");
    EXPECT_EQ(OriginalPathOf(copy), QStringLiteral("/srv/TRACK/OR000123.TIF"));
    EXPECT_EQ(ViewerWorkPathOf(copy), QStringLiteral("/srv/TRACK/TV000123.TIF"));
    EXPECT_EQ(RescanPathOf(copy), QStringLiteral("/srv/TRACK/TM000123.TIF"));
    EXPECT_EQ(OutputOriginalPathOf(QStringLiteral("/tmp/TR000123.TIF")), QStringLiteral("/tmp/OT000123.TIF"));
    EXPECT_EQ(OriginalPathOf(QStringLiteral("TR000123.TIF")), QStringLiteral("OR000123.TIF"));
    EXPECT_EQ(OriginalPathOf(QStringLiteral("short.TIF")), QStringLiteral("short.TIF"));
}

TEST(ImageFiles, PathsOfANewNumberAndTheFixedBuffers)
{
    test::ScriptedPrompter prompter;
    Session s(prompter);
    s.dataDir = QStringLiteral("/srv/img/");
    s.tempDir = QStringLiteral("/tmp/tlx");
    const NewImage image = NewImagePaths(s, 42);
    EXPECT_EQ(image.fileName, QStringLiteral("TR000042.TIF"));
    EXPECT_EQ(image.filePath, QStringLiteral("/srv/img/TR000042.TIF"));
    EXPECT_EQ(image.tempFilePath, QStringLiteral("/tmp/tlx/TR000042.TIF"));
    EXPECT_EQ(BarcodeBufferPath(QStringLiteral("/tmp/tlx")), QStringLiteral("/tmp/tlx/TempTarlox.tif"));
    EXPECT_EQ(BatchPageBufferPath(QStringLiteral("/tmp/tlx/")), QStringLiteral("/tmp/tlx/temp.tif"));
    EXPECT_EQ(BatchPageBufferPath(QStringLiteral("/tmp/tlx")), QStringLiteral("/tmp/tlxtemp.tif"));
}

TEST(ImageFiles, AtomicCopyReplacesWholeAndLeavesNoScratch)
{
    QTemporaryDir dir;
    const QString source = dir.filePath(QStringLiteral("work.tif"));
    const QString target = dir.filePath(QStringLiteral("TR000001.TIF"));
    const QByteArray big(3 * 1024 * 1024 + 17, 'a');
    write(source, big);
    write(target, "old");
    const IoStatus copied = ReplaceWithCopy(source, target);
    ASSERT_TRUE(copied) << copied.error().toStdString();
    EXPECT_EQ(readAll(target), big);
    EXPECT_EQ(QDir(dir.path()).entryList(QDir::Files, QDir::Name), (QStringList{QStringLiteral("TR000001.TIF"), QStringLiteral("work.tif")}));
    EXPECT_TRUE(QFile::permissions(target) & QFileDevice::ReadOther) << "other workstations must read it";

    // A missing source leaves the target as it was.
    EXPECT_FALSE(ReplaceWithCopy(dir.filePath(QStringLiteral("none.tif")), target));
    EXPECT_EQ(readAll(target), big);
    // A missing directory is an error, not a crash.
    EXPECT_FALSE(ReplaceWithCopy(source, dir.filePath(QStringLiteral("no/TR000002.TIF"))));
    EXPECT_EQ(QDir(dir.path()).entryList(QDir::Files).size(), 2);

    const QString scratch = dir.filePath(QStringLiteral("~TR000003.TIF"));
    write(scratch, "pages");
    ASSERT_TRUE(CommitWrittenFile(scratch, dir.filePath(QStringLiteral("TR000003.TIF"))));
    EXPECT_FALSE(QFile::exists(scratch));
    EXPECT_EQ(readAll(dir.filePath(QStringLiteral("TR000003.TIF"))), QByteArray("pages"));
}

TEST(ImageFiles, TheOriginalIsTheFileAsFirstCaptured)
{
    QTemporaryDir dir;
    const QString copy = dir.filePath(QStringLiteral("TR000007.TIF"));
    write(copy, "scan");
    ASSERT_TRUE(KeepOriginal(copy));
    write(copy, "scan with a stamp");
    ASSERT_TRUE(KeepOriginal(copy));
    EXPECT_EQ(readAll(dir.filePath(QStringLiteral("OR000007.TIF"))), QByteArray("scan"));
    EXPECT_FALSE(KeepOriginal(dir.filePath(QStringLiteral("TR000008.TIF"))));
    EXPECT_FALSE(QFile::exists(dir.filePath(QStringLiteral("OR000008.TIF"))));
}

TEST(FileLists, PageListsHaveNoUpperLimit)
{
    for (const char* all : {"", "All", "all", " ALL "}) {
        const PageSelection selection = CheckPages(QLatin1String(all));
        EXPECT_TRUE(selection.all) << all;
        EXPECT_TRUE(selection.contains(0));
        EXPECT_TRUE(selection.contains(5000));
    }
    const PageSelection some = CheckPages(QStringLiteral("1,3"));
    EXPECT_FALSE(some.all);
    EXPECT_EQ(some.pages, (std::set<int>{1, 3}));
    EXPECT_FALSE(some.contains(0));
    EXPECT_FALSE(some.contains(2));
    EXPECT_TRUE(some.contains(3));
    EXPECT_EQ(CheckPages(QStringLiteral("2,1200,,x, 7")).pages, (std::set<int>{2, 7, 1200}));
}

TEST(FileLists, FileListKeepsTheNamesAndNotesPartialPages)
{
    bool somePages = true;
    EXPECT_EQ(BuildFileList(QStringLiteral("/a/TR1.TIF;All;/b/TR2.TIF;"), QStringLiteral("+"), somePages),
              QStringLiteral("/a/TR1.TIF+/b/TR2.TIF"));
    EXPECT_FALSE(somePages);
    EXPECT_EQ(BuildFileList(QStringLiteral("/a/TR1.TIF;All;/b/TR2.TIF;1,2"), QStringLiteral(";"), somePages),
              QStringLiteral("/a/TR1.TIF;/b/TR2.TIF"));
    EXPECT_TRUE(somePages);
    EXPECT_EQ(BuildFileList(QString(), QStringLiteral(";"), somePages), QString());
    EXPECT_FALSE(somePages);
}

TEST(FileLists, DeleteTempFilesIgnoresWhatIsMissing)
{
    QTemporaryDir dir;
    test::ScriptedPrompter prompter;
    Session s(prompter);
    const QString a = dir.filePath(QStringLiteral("a.tif")), b = dir.filePath(QStringLiteral("b.tif"));
    write(a, "a");
    write(b, "b");
    DeleteTempFiles(s, a + QStringLiteral("+") + dir.filePath(QStringLiteral("gone.tif")) + QStringLiteral("++") + b, QStringLiteral("+"));
    EXPECT_FALSE(QFile::exists(a));
    EXPECT_FALSE(QFile::exists(b));
    EXPECT_TRUE(prompter.asked().isEmpty());
}

}  // namespace
