#include "support/CliRun.h"

#include <QDir>
#include <QFile>
#include <QImage>
#include <QPainter>
#include <QPdfWriter>
#include <QProcess>
#include <QSqlDatabase>
#include <QSqlQuery>
#include <QTemporaryDir>

#include <gtest/gtest.h>

using namespace tarlox::test;

namespace {

// `tarlox-cli add` and `show` on a fresh installation of their own.
class AddTest : public ::testing::Test {
protected:
    void SetUp() override { ASSERT_EQ(cli({QStringLiteral("init")}).code, 0); }

    CliRun cli(const QStringList& arguments) { return RunCli(arguments, {{QStringLiteral("TARLOX"), dir.path()}}); }

    CliRun add(const QStringList& files, const QStringList& extra = {})
    {
        return cli(QStringList{QStringLiteral("add"), QStringLiteral("--heat"), QStringLiteral("H1 H2"), QStringLiteral("--part"),
                               QStringLiteral("P1 P2"), QStringLiteral("--po"), QStringLiteral("PO-7"), QStringLiteral("--vendor"),
                               QStringLiteral("Acme Steel")}
                   + extra + files);
    }

    QString page(const QString& name, int width = 1700, int height = 2200)
    {
        QImage image(width, height, QImage::Format_RGB32);
        image.fill(Qt::white);
        QPainter p(&image);
        p.setPen(Qt::black);
        p.setFont(QFont(QStringLiteral("DejaVu Sans"), 40));
        if (width > 100)
            p.drawText(100, 200, QStringLiteral("MILL TEST REPORT 12345"));
        p.end();
        image.setDotsPerMeterX(7874);
        image.setDotsPerMeterY(7874);
        const QString path = work.filePath(name);
        image.save(path);
        return path;
    }

    int count(const QString& table)
    {
        const QString name = QStringLiteral("count-") + table;
        int result = -1;
        {
            QSqlDatabase db = QSqlDatabase::addDatabase(QStringLiteral("QSQLITE"), name);
            db.setDatabaseName(dir.filePath(QStringLiteral("Tarlox.db")));
            if (db.open()) {
                QSqlQuery q(db);
                if (q.exec(QStringLiteral("SELECT count(*) FROM \"%1\"").arg(table)) && q.next())
                    result = q.value(0).toInt();
            }
            db.close();
        }
        QSqlDatabase::removeDatabase(name);
        return result;
    }

    QStringList dataFiles() { return QDir(dir.filePath(QStringLiteral("DATA"))).entryList(QDir::Files | QDir::Hidden); }

    QTemporaryDir dir;
    QTemporaryDir work;
};

}  // namespace

TEST_F(AddTest, AddThenShowOnAFreshInstallation)
{
    const CliRun added = add({page(QStringLiteral("a.png")), page(QStringLiteral("b.png"))});
    ASSERT_EQ(added.code, 0) << added.err.toStdString();
    EXPECT_EQ(added.out.trimmed(), QStringLiteral("1"));

    const CliRun shown = cli({QStringLiteral("show"), QStringLiteral("1")});
    ASSERT_EQ(shown.code, 0) << shown.err.toStdString();
    EXPECT_TRUE(shown.out.contains(QStringLiteral("File: ") + dir.filePath(QStringLiteral("DATA/TR000001.TIF"))));
    EXPECT_TRUE(shown.out.contains(QStringLiteral("Pages: 2")));
    EXPECT_TRUE(shown.out.contains(QStringLiteral("References: 2")));
    EXPECT_TRUE(shown.out.contains(QStringLiteral("H2\tP2\tPO-7\tAcme Steel")));
    EXPECT_EQ(count(QStringLiteral("Images")), 1);
    EXPECT_EQ(count(QStringLiteral("Info")), 2);

    // A standard TIFF tool sees Group 4, the resolution and the tags.
    QProcess tiffinfo;
    tiffinfo.start(QStringLiteral("tiffinfo"), {dir.filePath(QStringLiteral("DATA/TR000001.TIF"))});
    ASSERT_TRUE(tiffinfo.waitForFinished(30000));
    const QString listing = QString::fromUtf8(tiffinfo.readAllStandardOutput());
    EXPECT_TRUE(listing.contains(QStringLiteral("CCITT Group 4")));
    EXPECT_TRUE(listing.contains(QStringLiteral("Resolution: 200, 200 pixels/inch")));
    EXPECT_TRUE(listing.contains(QStringLiteral("Software: Tarlox from Hollowbrook")));
    EXPECT_TRUE(listing.contains(QStringLiteral("Tag 8761: H1 H2")));
    EXPECT_TRUE(listing.contains(QStringLiteral("Tag 8764: Acme Steel")));

    EXPECT_EQ(cli({QStringLiteral("show"), QStringLiteral("99")}).code, 1);
    EXPECT_EQ(cli({QStringLiteral("show"), QStringLiteral("x")}).code, 2);
}

TEST_F(AddTest, PdfPagesAndLegalSize)
{
    const QString pdf = work.filePath(QStringLiteral("cert.pdf"));
    {
        QPdfWriter writer(pdf);
        writer.setPageSize(QPageSize(QPageSize::Letter));
        QPainter p(&writer);
        p.drawText(100, 100, QStringLiteral("Page one"));
        writer.newPage();
        p.drawText(100, 100, QStringLiteral("Page two"));
        writer.newPage();
        p.drawText(100, 100, QStringLiteral("Page three"));
    }
    const CliRun added = add({pdf}, {QStringLiteral("--size"), QStringLiteral("legal"), QStringLiteral("--dpi"), QStringLiteral("100")});
    ASSERT_EQ(added.code, 0) << added.err.toStdString();
    const CliRun shown = cli({QStringLiteral("show"), added.out.trimmed()});
    EXPECT_TRUE(shown.out.contains(QStringLiteral("Pages: 3")));
    EXPECT_TRUE(shown.out.contains(QStringLiteral("Size: G")));
}

TEST_F(AddTest, DuplicatesRefuseUnlessAllowed)
{
    const QString file = page(QStringLiteral("a.png"));
    ASSERT_EQ(add({file}).code, 0);
    const CliRun again = add({file});
    EXPECT_EQ(again.code, 1);
    EXPECT_TRUE(again.err.contains(QStringLiteral("is already on file!")));
    EXPECT_EQ(count(QStringLiteral("Images")), 1);
    EXPECT_EQ(add({file}, {QStringLiteral("--allow-duplicate")}).code, 0);
    EXPECT_EQ(count(QStringLiteral("Images")), 2);
    EXPECT_EQ(count(QStringLiteral("Info")), 4);
}

TEST_F(AddTest, BadInputLeavesNoRowsAndNoFiles)
{
    const QString corrupt = work.filePath(QStringLiteral("corrupt.tif"));
    {
        QFile f(corrupt);
        f.open(QIODevice::WriteOnly);
        f.write(QByteArray("II*\0", 4) + QByteArray(500, '\x7f'));
    }
    const QString headerOnly = work.filePath(QStringLiteral("empty.tif"));
    {
        QFile f(headerOnly);
        f.open(QIODevice::WriteOnly);
        f.write(QByteArray("II*\0\0\0\0\0", 8));
    }
    const QString text = work.filePath(QStringLiteral("notes.png"));
    {
        QFile f(text);
        f.open(QIODevice::WriteOnly);
        f.write("not a picture at all");
    }
    for (const QString& bad : {corrupt, headerOnly, text, work.filePath(QStringLiteral("missing.png"))}) {
        const CliRun run = add({page(QStringLiteral("good.png")), bad});
        EXPECT_EQ(run.code, 1) << bad.toStdString();
        EXPECT_EQ(run.err.count(QLatin1Char('\n')), 1) << run.err.toStdString();
    }
    EXPECT_EQ(count(QStringLiteral("Images")), 0);
    EXPECT_EQ(count(QStringLiteral("Info")), 0);
    EXPECT_TRUE(dataFiles().isEmpty()) << dataFiles().join(QLatin1Char(',')).toStdString();

    // A one-pixel picture is a page like any other.
    const CliRun tiny = add({page(QStringLiteral("dot.png"), 1, 1)});
    EXPECT_EQ(tiny.code, 0) << tiny.err.toStdString();
}

TEST_F(AddTest, DataDirectoryThatCantTakeFilesStoresNothing)
{
    // A file where the data directory should be: nothing can be written there.
    const QString blocked = work.filePath(QStringLiteral("blocked"));
    {
        QFile f(blocked);
        f.open(QIODevice::WriteOnly);
    }
    ASSERT_EQ(cli({QStringLiteral("settings"), QStringLiteral("set"), QStringLiteral("Info"), QStringLiteral("DataDir"), blocked}).code, 0);
    const CliRun run = add({page(QStringLiteral("a.png"))});
    EXPECT_EQ(run.code, 1);
    EXPECT_EQ(count(QStringLiteral("Images")), 0);
    EXPECT_EQ(count(QStringLiteral("Info")), 0);
}
