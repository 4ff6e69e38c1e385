#include "exchange/Exchange.h"

#include "base/FileTools.h"
#include "data/ImageData.h"
#include "data/InfoData.h"
#include "store/ImageFiles.h"
#include "store/PageImage.h"
#include "store/TiffWriter.h"
#include "support/FullDisk.h"
#include "support/TestSite.h"

#include <QDir>
#include <QProcess>

#include <gtest/gtest.h>

using namespace tarlox;
using namespace tarlox::test;
using namespace Qt::StringLiterals;

namespace {

const QDateTime Day(QDate(2004, 3, 9), QTime(0, 0));
const QDateTime Later(QDate(2005, 6, 7), QTime(14, 5, 1));

// Every row of a site, without the numbers' order: Images and Info.
QStringList rowsOf(Session& s, bool withNumbers = true)
{
    QList<InfoRow> infos;
    qint64 total = 0;
    LoadInfo(s, {}, infos, 100000, total);
    QStringList rows;
    for (const InfoRow& r : std::as_const(infos)) {
        const QString number = withNumbers ? QString::number(r.imageNumber) : QString();
        rows << QStringList{number, r.heat, r.part, r.po, r.vend, r.mfg, r.entryDate.toString(Qt::ISODate)}.join(u'|');
        if (ReadImage(s, r.imageNumber))
            rows << QStringList{u"IMG"_s, number, s.image.entryDate.toString(Qt::ISODate), s.image.size, s.image.type}.join(u'|');
    }
    rows.removeDuplicates();
    rows.sort();
    return rows;
}

// Sites of the engine under test and of the other one.
class ExchangeTest : public ::testing::TestWithParam<Engine> {
protected:
    ExchangeTest() : a(GetParam()), b(GetParam() == Engine::Sqlite ? Engine::Postgres : Engine::Sqlite) {}
    void SetUp() override { ASSERT_TRUE(a.start() && b.start() && QDir().mkpath(exportDir())); }
    QString exportDir() const { return a.path(u"export"_s); }
    static QString data(TestSite& site, qint32 number, const QString& prefix = u"TR"_s) { return JoinPath(site.session().dataDir, prefix + ImageFileNameFor(number).mid(2)); }
    // An image with its file (bytes as given, not a real TIFF: the copies
    // don't look inside) and its references.
    static void seed(TestSite& site, qint32 number, const QString& heats, const QString& parts, const QString& vend,
                     const QByteArray& bytes, bool original = false)
    {
        Session& s = site.session();
        ASSERT_TRUE(WriteFile(data(site, number), bytes));
        ASSERT_TRUE(!original || WriteFile(data(site, number, u"OR"_s), "original " + bytes));
        s.image = ImageRecord{number, s.dataDir, u" "_s, Day, u"G"_s, u"4"_s};
        s.info = InfoRecord{heats, parts, u"O'Neil,5"_s, vend, u"Mfg \"Q\""_s, Later, number};
        ASSERT_TRUE(AddImageWithInfo(s, false));
    }
    void seedThree()
    {
        seed(a, 1, u"H1 X1"_s, u"P1 P1"_s, u"Stål, \"Ærø\" 鋼"_s, "one", true);
        seed(a, 2, u"H2"_s, u"P2"_s, u"V"_s, "two");
        seed(a, 3, u"H3"_s, u"P3"_s, u"V"_s, "three");
    }
    ExchangeSummary exportAll(bool excludeOriginals = false)
    {
        return ExportImages(a.session(), {1, 2, 3}, ExportOptions{exportDir(), excludeOriginals});
    }

    TestSite a;
    TestSite b;
};

TEST_P(ExchangeTest, ExportThenImportOnTheOtherEngineKeepsEveryRowDateAndFile)
{
    seedThree();
    ASSERT_TRUE(exportAll().complete());
    const ExchangeSummary imported = ImportImages(b.session(), ImportOptions{exportDir()});
    EXPECT_EQ(std::pair(imported.complete(), rowsOf(b.session())), std::pair(true, rowsOf(a.session()))) << imported.report(u"imported"_s).join(u'\n').toStdString();
    for (const qint32 n : {1, 2, 3})
        EXPECT_EQ(FileBytes(data(b, n)), FileBytes(data(a, n))) << n;
    EXPECT_EQ(FileBytes(data(b, 1, u"OR"_s)), "original one");
}

TEST_P(ExchangeTest, ImportNeverOverwritesANumberTakenHere)
{
    seedThree();
    ASSERT_TRUE(exportAll(true).complete());
    EXPECT_FALSE(QFile::exists(JoinPath(exportDir(), u"OR000001.TIF"_s)));
    seed(b, 2, u"MINE"_s, u"MINE"_s, u"here"_s, "mine");
    const QStringList before = rowsOf(b.session());
    // rowsAdded: Images rows and references
    struct Case { const char* name; qint32 increment; bool renumber; int skipped; int rowsAdded; };
    int added = 0;
    for (const Case& c : {Case{"same numbers", 0, false, 1, 5}, Case{"increment", 10, false, 0, 7}, Case{"renumber", 0, true, 0, 7}}) {
        SCOPED_TRACE(c.name);
        const ExchangeSummary summary = ImportImages(b.session(), ImportOptions{exportDir(), {}, {}, c.increment, c.renumber});
        EXPECT_EQ(summary.skipped.size(), c.skipped);
        const QStringList after = rowsOf(b.session());
        for (const QString& row : before)
            EXPECT_TRUE(after.contains(row)) << row.toStdString();
        EXPECT_EQ(FileBytes(data(b, 2)), "mine");
        // Each case adds to what the ones before it added.
        added += c.rowsAdded;
        EXPECT_EQ(after.size(), before.size() + added);
    }
}

TEST_P(ExchangeTest, BadExportFilesSkipWholeImagesAndReadOldCodePages)
{
    // Windows-1252 as older installations wrote it; image 6 has no file; the
    // reference of 7 has no image line; image 5 comes twice (one group).
    ASSERT_TRUE(WriteFile(JoinPath(exportDir(), u"TARLOX.EXP"_s),
              "\"IMG\",5,#2004-03-09#,\"G\",\"4\"\r\n\"INF\",5,\"H\xe5\",\"P\",\"\",\"St\xe5l \x93x\x94\",\"\",#2004-03-09#\r\n"
              "\"IMG\",6,#2004-03-09#,\" \",\"4\"\r\n\"INF\",6,\"H6\",\"P6\",\"\",\"\",\"\",#2004-03-09#\r\n"
              "\"INF\",7,\"H7\",\"P7\",\"\",\"\",\"\",#2004-03-09#\r\n\"IMG\",5,#2004-03-10#,\"G\",\"4\"\r\n"));
    ASSERT_TRUE(WriteFile(JoinPath(exportDir(), u"TR000005.TIF"_s), "five"));
    const ExchangeSummary summary = ImportImages(b.session(), ImportOptions{exportDir()});
    ASSERT_EQ(std::tuple(summary.done, summary.skipped.size()), std::tuple(1, 3)) << summary.skipped.join(u'\n').toStdString();
    EXPECT_EQ(std::tuple(summary.skipped[0].contains(u"TR000006.TIF does not exist"_s), summary.skipped[1].startsWith(u"lines 5-5"_s),
                         summary.skipped[2].contains(u"taken here"_s)),
              std::tuple(true, true, true));
    EXPECT_EQ(rowsOf(b.session()), (QStringList{u"5|Hå|P| |Stål “x”| |2004-03-09T00:00:00"_s, u"IMG|5|2004-03-09T00:00:00|G|4"_s}));
}

TEST_P(ExchangeTest, TiffImportIndexesFromTagsNameAndPageLength)
{
    const QString dir = a.path(u"tifs"_s);
    ASSERT_TRUE(QDir().mkpath(dir));
    // The page's height in pixels at 200 dpi; no references: skipped.
    struct File { const char *name, *heat, *part; int height; const char* size; int references; };
    const File files[] = {
        {"TR000021.TIF", "H21", "P21", 2200, " ", 1},   // 11 in: Letter
        {"tr000022.tif", "H22", "P22", 2339, "A", 1},   // 11.7 in: A4, lower-case name
        {"TR000023.TIF", "H23", "P23", 2800, "G", 1},   // 14 in: Legal
        {"TR000024.TIF", "", "", 2200, "", 0},          // no tags: not the file before's values
        {"TR000025.TIF", "A B C", "P", 2200, " ", 3},   // the last part serves the other heats
        {"TR000026.TIF", "A", "P Q", 2200, "", 0},      // fewer heats than parts
    };
    for (const File& f : files) {
        QImage page(64, f.height, QImage::Format_Mono);
        page.fill(1);
        SetDpi(page, Dpi{200, 200});
        const auto tags = *f.heat ? std::optional(ReportTags::forReport(QString::fromUtf8(f.heat), QString::fromUtf8(f.part), {}, u"Vend"_s, {}))
                                  : std::nullopt;
        ASSERT_TRUE(WriteTiff(JoinPath(dir, QString::fromUtf8(f.name)), {page}, tags));
    }
    const ExchangeSummary summary = ImportTifImages(b.session(), TifImportOptions{dir});
    EXPECT_EQ(summary.skipped.size(), 2) << summary.skipped.join(u'\n').toStdString();
    for (const File& f : files) {
        const qint32 number = QString::fromUtf8(f.name).mid(2, 6).toInt();
        QList<InfoRow> rows;
        qint64 total = 0;
        LoadInfo(b.session(), SqlCondition{u"\"Info\".\"Image #\" = ?"_s, {number}}, rows, 100, total);
        EXPECT_EQ(total, f.references) << f.name;
        if (f.references) {
            ASSERT_TRUE(ReadImage(b.session(), number));
            EXPECT_EQ(std::tuple(b.session().image.size, rows[0].vend, rows.last().part, QFile::exists(data(b, number))),
                      std::tuple(QString::fromUtf8(f.size), u"Vend"_s, QString::fromUtf8(f.part).split(u' ').last(), true))
                << f.name;
        }
    }
}

TEST_P(ExchangeTest, MoveAndBackRelinkAndAStalePath)
{
    seed(a, 1, u"H1"_s, u"P1"_s, u"V"_s, "one", true);
    seed(a, 2, u"H2"_s, u"P2"_s, u"V"_s, "two");
    Session& s = a.session();
    const QString home = s.dataDir, other = a.path(u"vol2"_s), third = a.path(u"vol3"_s);
    for (const QString& d : {other, third})
        ASSERT_TRUE(QDir().mkpath(d));
    const auto pathOf = [&](qint32 n) { return ReadImage(s, n) ? s.image.path : QString(); };

    for (const QString& target : {other, home}) {
        EXPECT_TRUE(MoveImages(s, {1, 2}, MoveOptions{target + u'/'}).complete());
        EXPECT_EQ(std::tuple(pathOf(1), FileBytes(JoinPath(target, u"OR000001.TIF"_s)), QFile::exists(JoinPath(target == home ? other : home, u"TR000002.TIF"_s))),
                  std::tuple(target, QByteArray("original one"), false));
    }
    // Relink: image 1's file was moved by hand, image 2's was not.
    ASSERT_TRUE(QFile::rename(JoinPath(home, u"TR000001.TIF"_s), JoinPath(third, u"TR000001.TIF"_s)));
    const ExchangeSummary relinked = MoveImages(s, {1, 2}, MoveOptions{third, true});
    EXPECT_EQ(std::tuple(relinked.skipped.size(), pathOf(1), pathOf(2)), std::tuple(1, third, home));
    // A stale path: the row says vol3, the file lies in the data directory.
    ASSERT_TRUE(QFile::rename(JoinPath(third, u"TR000001.TIF"_s), JoinPath(home, u"TR000001.TIF"_s)));
    EXPECT_EQ((std::pair{MoveImages(s, {1}, MoveOptions{other}).complete(), FileBytes(JoinPath(other, u"TR000001.TIF"_s))}), std::pair(true, QByteArray("one")));
}

// Image 3's file can't be removed (its directory is immutable): its rows
// stay; 1 and 4 go with every reference, together.
TEST_P(ExchangeTest, DeleteTakesEveryReferenceOfTheImageAndKeepsTheRowsOfAFileThatStays)
{
    seed(a, 1, u"H1 X1"_s, u"P1 P1"_s, u"V"_s, "one", true);
    seed(a, 2, u"H2"_s, u"P2"_s, u"V"_s, "two");
    seed(a, 3, u"H1"_s, u"P3"_s, u"V"_s, "three");
    seed(a, 4, u"H1"_s, u"P4"_s, u"V"_s, "four");
    const QString locked = a.path(u"locked"_s), kept = JoinPath(locked, u"TR000003.TIF"_s);
    ASSERT_TRUE(QDir().mkpath(locked) && QFile::rename(data(a, 3), kept));
    ASSERT_TRUE(MoveImages(a.session(), {3}, MoveOptions{locked, true}).complete());
    const bool lockable = QProcess::execute(u"chattr"_s, {u"+i"_s, locked}) == 0;
    const QList<qint32> found = FoundImages(a.session(), SqlCondition{u"\"Info\".\"Heat #\" = ?"_s, {u"H1"_s}});
    ASSERT_EQ(found, (QList<qint32>{1, 3, 4}));
    const ExchangeSummary deleted = DeleteImages(a.session(), found);
    QProcess::execute(u"chattr"_s, {u"-i"_s, locked});
    EXPECT_EQ(std::tuple(deleted.done, deleted.skipped.size(), rowsOf(a.session()).size(), QFile::exists(data(a, 1)),
                         QFile::exists(data(a, 1, u"OR"_s)), QFile::exists(data(a, 4)), QFile::exists(kept)),
              std::tuple(lockable ? 2 : 3, lockable ? 1 : 0, lockable ? 4 : 2, false, false, false, lockable))
        << (lockable ? "" : "chattr refused: the immutable directory was not tried");
}

// The disk fills (a file-size limit) at image 2 of export, import and move:
// the image before it went through whole, image 2 left nothing behind.
TEST_P(ExchangeTest, AFullDiskLeavesWholeImagesOnly)
{
    seed(a, 1, u"H1"_s, u"P1"_s, u"V"_s, "one");
    seed(a, 2, u"H2"_s, u"P2"_s, u"V"_s, QByteArray(2 << 20, 'x'));
    seed(a, 3, u"H3"_s, u"P3"_s, u"V"_s, "three");
    const QString full = a.path(u"full"_s), moved = a.path(u"moved"_s);
    ASSERT_TRUE(QDir().mkpath(full) && QDir().mkpath(moved));
    ASSERT_TRUE(exportAll().complete());

    ExchangeSummary exported, imported, move;
    {
        FullDisk disk(1 << 20);
        exported = ExportImages(a.session(), {1, 2, 3}, ExportOptions{full});
        imported = ImportImages(b.session(), ImportOptions{exportDir()});
        move = MoveImages(a.session(), {1, 2, 3}, MoveOptions{moved});
    }

    for (const ExchangeSummary* summary : {&exported, &imported, &move})
        EXPECT_EQ(std::tuple(summary->stopped.isEmpty(), summary->done), std::tuple(false, 1));
    const auto files = [](const QString& dir) { return QDir(dir).entryList(QDir::Files | QDir::Hidden); };
    EXPECT_EQ(std::tuple(files(full), files(b.session().dataDir), files(moved)),
              std::tuple(QStringList{u"TARLOX.EXP"_s, u"TR000001.TIF"_s}, QStringList{u"TR000001.TIF"_s}, QStringList{u"TR000001.TIF"_s}));
    const QByteArray list = FileBytes(JoinPath(full, u"TARLOX.EXP"_s));
    EXPECT_EQ(std::tuple(list.endsWith("#\r\n"), list.contains("\"IMG\",2"), bool(ReadImage(b.session(), 2))), std::tuple(true, false, false));
    ASSERT_TRUE(ReadImage(a.session(), 2));
    EXPECT_EQ(std::tuple(a.session().image.path, QFile::exists(data(a, 2))), std::tuple(a.session().dataDir, true));
}

TARLOX_ON_BOTH_ENGINES(ExchangeTest);

}  // namespace
