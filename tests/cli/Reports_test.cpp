#include "store/TestPages.h"
#include "store/TiffReader.h"
#include "support/CliRun.h"
#include "support/TestSite.h"

#include <QDir>
#include <QPainter>
#include <QPdfWriter>
#include <QSqlDatabase>
#include <QSqlQuery>

#include <gtest/gtest.h>

using namespace tarlox;
using namespace tarlox::test;

namespace {

QString S(const char* text) { return QString::fromUtf8(text); }

// `tarlox-cli add`, `show` and `scan` on a fresh installation of their own,
// with the SANE test backend as the only scanner. Each run is a process of
// its own, so a test can shape the backend through test.conf.
class ReportsTest : public CliHome {
protected:
    void SetUp() override
    {
        ASSERT_TRUE(dir.isValid() && work.isValid() && sane.isValid());
        ASSERT_EQ(cli({S("init")}).code, 0);
        ASSERT_TRUE(WriteFile(sane.filePath(S("dll.conf")), "test\n"));
        backend({});
    }

    void backend(const QByteArray& extra, const QByteArray& geometryMax = "400.0")
    {
        ASSERT_TRUE(WriteFile(sane.filePath(S("test.conf")),
                  "number_of_devices 1\ngeometry_min 0.0\ngeometry_quant 0.0\ngeometry_max " + geometryMax + "\n" + extra));
    }

    CliRun cli(const QStringList& arguments) { return CliHome::cli(arguments, {{S("SANE_CONFIG_DIR"), sane.path()}}); }
    CliRun add(const QStringList& files, const QStringList& extra = {})
    {
        return cli(QStringList{S("add"), S("--heat"), S("H1 H2"), S("--part"), S("P1 P2"), S("--po"), S("PO-7"), S("--vendor"), S("Acme Steel")} + extra
                   + files);
    }
    CliRun scan(const QStringList& more) { return cli(QStringList{S("scan"), S("--heat"), S("H1 H2"), S("--part"), S("P1 P2"), S("--vendor"), S("Acme")} + more); }

    QString page(const QString& name, int width = 1700, int height = 2200)
    {
        EXPECT_TRUE(TextPage(width, height, 1, 200).save(work.filePath(name)));
        return work.filePath(name);
    }

    int count(const QString& table)
    {
        int result = -1;
        {
            QSqlDatabase db = QSqlDatabase::addDatabase(S("QSQLITE"), S("count"));
            db.setDatabaseName(dir.filePath(S("Tarlox.db")));
            QSqlQuery q(db);
            if (db.open() && q.exec(S("SELECT count(*) FROM \"%1\"").arg(table)) && q.next())
                result = q.value(0).toInt();
        }
        QSqlDatabase::removeDatabase(S("count"));
        return result;
    }

    bool noDataFiles() { return QDir(dir.filePath(S("DATA"))).isEmpty(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot); }

    QTemporaryDir work;
    QTemporaryDir sane;
};

}  // namespace

TEST_F(ReportsTest, AddShowAndDuplicates)
{
    const CliRun added = add({page(S("a.png")), page(S("b.png"))});
    ASSERT_EQ(std::tuple(added.code, added.out), std::tuple(0, S("1\n"))) << added.err.toStdString();
    const CliRun shown = cli({S("show"), S("1")});
    ASSERT_EQ(shown.code, 0) << shown.err.toStdString();
    for (const QString& text : QStringList{S("File: ") + dir.filePath(S("DATA/TR000001.TIF")), S("Pages: 2"), S("References: 2"), S("H2\tP2\tPO-7\tAcme Steel")})
        EXPECT_TRUE(shown.out.contains(text)) << text.toStdString();
    EXPECT_EQ(cli({S("show"), S("99")}).code, 1);

    // The same references again: refused, unless allowed. PDF pages at --dpi, the size as its code.
    const QString pdf = work.filePath(S("cert.pdf"));
    {
        QPdfWriter writer(pdf);
        QPainter p(&writer);
        p.drawText(100, 100, S("one"));
        writer.newPage();
        p.drawText(100, 100, S("two"));
    }
    const CliRun again = add({pdf});
    EXPECT_EQ(std::tuple(again.code, again.err.contains(S("Already on File!")), count(S("Images"))), std::tuple(1, true, 1)) << again.err.toStdString();
    ASSERT_EQ(add({pdf}, {S("--size"), S("G"), S("--dpi"), S("100"), S("--allow-duplicate")}).out, S("2\n"));
    const CliRun second = cli({S("show"), S("2")});
    EXPECT_EQ(std::tuple(second.out.contains(S("Pages: 2")), second.out.contains(S("Size: G")), count(S("Info"))), std::tuple(true, true, 4));
}

TEST_F(ReportsTest, BadFilesAndABlockedDataDirectoryStoreNothing)
{
    for (const auto& [name, bytes] : {std::pair<const char*, QByteArray>{"corrupt.tif", QByteArray("II*\0", 4) + QByteArray(500, '\x7f')}, {"empty.tif", QByteArray("II*\0\0\0\0\0", 8)}, {"notes.png", QByteArray("not a picture at all")}})
        ASSERT_TRUE(WriteFile(work.filePath(S(name)), bytes));
    for (const char* bad : {"corrupt.tif", "empty.tif", "notes.png", "missing.png"}) {
        const CliRun run = add({page(S("good.png")), work.filePath(S(bad))});
        EXPECT_EQ(std::tuple(run.code, run.err.count(QLatin1Char('\n'))), std::tuple(1, 1)) << bad << run.err.toStdString();
    }
    EXPECT_EQ(std::tuple(count(S("Images")), count(S("Info")), noDataFiles()), std::tuple(0, 0, true));
    EXPECT_EQ(add({page(S("dot.png"), 1, 1)}).code, 0) << "a one-pixel picture is a page like any other";

    // A file where the data directory should be: nothing can be written there.
    ASSERT_TRUE(WriteFile(work.filePath(S("blocked")), {}));
    ASSERT_EQ(cli({S("settings"), S("set"), S("Info"), S("DataDir"), work.filePath(S("blocked"))}).code, 0);
    EXPECT_EQ((std::tuple{add({page(S("a.png"))}, {S("--allow-duplicate")}).code, count(S("Images"))}), std::tuple(1, 1));
}

TEST_F(ReportsTest, ScanStoresAndPrintsTheImageNumber)
{
    const CliRun first = scan({S("--device"), S("test:0"), S("--size"), S("legal"), S("--dpi"), S("300")});
    ASSERT_EQ(first.out, S("1\n")) << first.err.toStdString();
    auto reader = TiffReader::open(dir.filePath(S("DATA/TR000001.TIF")));
    ASSERT_TRUE(reader.ok());
    EXPECT_EQ(std::tuple(qAbs(int(reader->pageInfo(0)->height) - 4200) <= 1, reader->tags().heat), std::tuple(true, S("H1 H2")));

    // The feeder: pages until it is empty (the test device holds ten).
    const CliRun second = cli({S("scan"), S("--heat=H3"), S("--part=P3"), S("--adf"), S("--size=a4")});
    ASSERT_EQ(second.out, S("2\n")) << second.err.toStdString();
    reader = TiffReader::open(dir.filePath(S("DATA/TR000002.TIF")));
    ASSERT_TRUE(reader.ok());
    EXPECT_EQ(std::tuple(reader->pageCount(), qAbs(int(reader->pageInfo(0)->height) - 2340) <= 1), std::tuple(10, true));
}

// Without a person the too-small question takes its default, No: nothing is stored.
TEST_F(ReportsTest, ShortPagesAndFailingScannersStoreNothing)
{
    backend({}, "200.0");
    const CliRun shortPage = scan({});
    EXPECT_TRUE(shortPage.code == 1 && shortPage.err.contains(S("too small")) && shortPage.err.contains(S("Image file was not created!"))) << shortPage.err.toStdString();
    backend("read-status-code \"SANE_STATUS_JAMMED\"\n");
    const CliRun jammed = scan({});
    EXPECT_TRUE(jammed.code == 1 && jammed.err.contains(S("jammed"))) << jammed.err.toStdString();
    ASSERT_TRUE(WriteFile(sane.filePath(S("dll.conf")), ""));
    const CliRun none = scan({});
    EXPECT_TRUE(none.code == 1 && none.err.contains(S("No scanner was found")) && noDataFiles()) << none.err.toStdString();
}
