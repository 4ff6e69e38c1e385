#include "base/FileTools.h"
#include "store/FileLists.h"
#include "store/FileReplacement.h"
#include "store/ImageFiles.h"
#include "store/NextImage.h"
#include "support/QtPrinters.h"
#include "support/TestSite.h"

#include <QDir>
#include <QFile>

using namespace tarlox;

namespace {

using test::FileBytes;
using test::WriteFile;

// The counter wraps past 999999; siblings by the prefix twelve characters from the end.
TEST(ImageFiles, NamesAndPaths)
{
    test::ScriptedPrompter prompter;
    Session s(prompter);
    std::tie(s.dataDir, s.tempDir) = std::tuple(QStringLiteral("/srv/img/"), QStringLiteral("/tmp/tlx"));
    const NewImage image = NewImagePaths(s, 42);
    const std::tuple<QString, const char*> rows[] = {
        {ImageFileNameFor(999999), "TR999999.TIF"}, {ImageFileNameFor(1000000), "TR000000.TIF"}, {ImageLabelFor(1234), "TR001234"},
        {OriginalPathOf(QStringLiteral("/srv/TRACK/TR000123.TIF")), "/srv/TRACK/OR000123.TIF"},
        {ViewerWorkPathOf(QStringLiteral("TR000123.TIF")), "TV000123.TIF"}, {RescanPathOf(QStringLiteral("TR000123.TIF")), "TM000123.TIF"},
        {OutputOriginalPathOf(QStringLiteral("/tmp/TR000123.TIF")), "/tmp/OT000123.TIF"},
        {OriginalPathOf(QStringLiteral("short.TIF")), "short.TIF"}, {image.filePath, "/srv/img/TR000042.TIF"}, {image.tempFilePath, "/tmp/tlx/TR000042.TIF"},
        {BarcodeBufferPath(QStringLiteral("/tmp/tlx")), "/tmp/tlx/TempTarlox.tif"}, {BatchPageBufferPath(QStringLiteral("/tmp/tlx")), "/tmp/tlxtemp.tif"},
    };
    for (const auto& [made, expected] : rows) EXPECT_EQ(made, QLatin1String(expected));
}

TEST(ImageFiles, AtomicCopyReplacesWholeAndLeavesNoScratch)
{
    QTemporaryDir dir;
    const QString source = dir.filePath(QStringLiteral("work.tif")), target = dir.filePath(QStringLiteral("TR000001.TIF"));
    const QByteArray big(3 * 1024 * 1024 + 17, 'a');
    ASSERT_TRUE(WriteFile(source, big) && WriteFile(target, "old"));
    const IoStatus copied = ReplaceWithCopy(source, target);
    ASSERT_TRUE(copied) << copied.error().toStdString();
    const auto state = [&] { return std::tuple(FileBytes(target), QDir(dir.path()).entryList(QDir::Files, QDir::Name)); };
    const auto whole = std::tuple(big, QStringList{QStringLiteral("TR000001.TIF"), QStringLiteral("work.tif")});
    EXPECT_EQ(std::tuple(state(), bool(QFile::permissions(target) & QFileDevice::ReadOther)), std::tuple(whole, true)) << "other workstations must read it";

    // A missing source or directory leaves the target as it was.
    EXPECT_FALSE(ReplaceWithCopy(dir.filePath(QStringLiteral("none.tif")), target) || ReplaceWithCopy(source, dir.filePath(QStringLiteral("no/TR000002.TIF"))));
    EXPECT_EQ(state(), whole);

    const QString scratch = dir.filePath(QStringLiteral("~TR000003.TIF"));
    ASSERT_TRUE(WriteFile(scratch, "pages") && CommitWrittenFile(scratch, dir.filePath(QStringLiteral("TR000003.TIF"))));
    EXPECT_EQ(std::tuple(QFile::exists(scratch), FileBytes(dir.filePath(QStringLiteral("TR000003.TIF")))), std::tuple(false, QByteArray("pages")));
}

TEST(ImageFiles, TheOriginalIsTheFileAsFirstCaptured)
{
    QTemporaryDir dir;
    const QString copy = dir.filePath(QStringLiteral("TR000007.TIF"));
    ASSERT_TRUE(WriteFile(copy, "scan") && KeepOriginal(copy) && WriteFile(copy, "scan with a stamp") && KeepOriginal(copy));
    EXPECT_EQ(FileBytes(dir.filePath(QStringLiteral("OR000007.TIF"))), QByteArray("scan"));
    EXPECT_FALSE(KeepOriginal(dir.filePath(QStringLiteral("TR000008.TIF"))) || QFile::exists(dir.filePath(QStringLiteral("OR000008.TIF"))));
}

TEST(FileLists, PageListsHaveNoUpperLimit)
{
    for (const char* all : {"", "All", "all", " ALL "}) {
        const PageSelection selection = CheckPages(QLatin1String(all));
        EXPECT_TRUE(selection.all && selection.contains(0) && selection.contains(5000)) << all;
    }
    const PageSelection some = CheckPages(QStringLiteral("1,3"));
    EXPECT_EQ(std::tuple(some.all, some.contains(2), some.contains(3)), std::tuple(false, false, true));
    EXPECT_EQ(CheckPages(QStringLiteral("2,1200,,x, 7")).pages, (std::set<int>{2, 7, 1200}));
}

TEST(FileLists, FileListKeepsTheNamesAndNotesPartialPages)
{
    const auto build = [](const char* list, const char* separator) {
        bool somePages = true;
        return std::tuple(BuildFileList(QLatin1String(list), QLatin1String(separator), somePages), somePages);
    };
    EXPECT_EQ((QList<std::tuple<QString, bool>>{build("/a/TR1.TIF;All;/b/TR2.TIF;", "+"), build("/a/TR1.TIF;All;/b/TR2.TIF;1,2", ";"), build("", ";")}),
              (QList<std::tuple<QString, bool>>{{QStringLiteral("/a/TR1.TIF+/b/TR2.TIF"), false}, {QStringLiteral("/a/TR1.TIF;/b/TR2.TIF"), true}, {QString(), false}}));
}

TEST(FileLists, DeleteTempFilesIgnoresWhatIsMissing)
{
    QTemporaryDir dir;
    test::ScriptedPrompter prompter;
    Session s(prompter);
    const QString a = dir.filePath(QStringLiteral("a.tif")), b = dir.filePath(QStringLiteral("b.tif"));
    ASSERT_TRUE(WriteFile(a, "a") && WriteFile(b, "b"));
    DeleteTempFiles(s, a + QStringLiteral("+") + dir.filePath(QStringLiteral("gone.tif")) + QStringLiteral("++") + b, QStringLiteral("+"));
    EXPECT_EQ(std::tuple(QFile::exists(a), QFile::exists(b), prompter.asked().size()), std::tuple(false, false, 0));
}

}  // namespace
