#include "store/TiffReader.h"
#include "support/CliRun.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

using namespace tarlox;
using namespace tarlox::test;

namespace {

void writeFile(const QString& path, const QByteArray& text)
{
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
    file.write(text);
}

// tarlox-cli on a program directory of its own, with the SANE test
// backend as its only scanner. Each run is a process of its own, so each
// test can shape the backend through test.conf.
class ScanCommandTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        ASSERT_TRUE(dir.isValid() && sane.isValid());
        ASSERT_EQ(cli({QStringLiteral("init")}).code, 0);
        writeFile(sane.filePath(QStringLiteral("dll.conf")), "test\n");
        backend({});
    }

    void backend(const QByteArray& extra, const QByteArray& geometryMax = "400.0")
    {
        writeFile(sane.filePath(QStringLiteral("test.conf")),
                  "number_of_devices 1\ngeometry_min 0.0\ngeometry_quant 0.0\ngeometry_max " + geometryMax + "\n" + extra);
    }

    CliRun cli(const QStringList& arguments)
    {
        return RunCli(arguments, {{QStringLiteral("TARLOX"), dir.path()}, {QStringLiteral("SANE_CONFIG_DIR"), sane.path()}});
    }
    CliRun scan(const QStringList& more)
    {
        return cli(QStringList{QStringLiteral("scan"), QStringLiteral("--heat"), QStringLiteral("H1 H2"), QStringLiteral("--part"),
                               QStringLiteral("P1 P2"), QStringLiteral("--vendor"), QStringLiteral("Acme")}
                   + more);
    }
    QString data(const QString& name) const { return dir.filePath(QStringLiteral("DATA/") + name); }

    QTemporaryDir dir;
    QTemporaryDir sane;
};

}  // namespace

TEST_F(ScanCommandTest, ScansStoresAndPrintsTheImageNumber)
{
    const CliRun first = scan({QStringLiteral("--device"), QStringLiteral("test:0"), QStringLiteral("--size"), QStringLiteral("legal"),
                               QStringLiteral("--dpi"), QStringLiteral("300")});
    ASSERT_EQ(first.code, 0) << first.err.toStdString();
    EXPECT_EQ(first.out.trimmed(), QStringLiteral("1"));
    auto reader = TiffReader::open(data(QStringLiteral("TR000001.TIF")));
    ASSERT_TRUE(reader.ok());
    EXPECT_EQ(reader->pageCount(), 1);
    EXPECT_NEAR(reader->pageInfo(0)->height, 4200, 1);
    EXPECT_EQ(reader->pageInfo(0)->dpi, (Dpi{300, 300}));
    EXPECT_EQ(reader->tags().heat, QStringLiteral("H1 H2"));

    // The feeder: pages until it is empty (the test device holds ten).
    const CliRun second = cli({QStringLiteral("scan"), QStringLiteral("--heat=H3"), QStringLiteral("--part=P3"), QStringLiteral("--adf"),
                               QStringLiteral("--size=a4")});
    ASSERT_EQ(second.code, 0) << second.err.toStdString();
    EXPECT_EQ(second.out.trimmed(), QStringLiteral("2"));
    reader = TiffReader::open(data(QStringLiteral("TR000002.TIF")));
    ASSERT_TRUE(reader.ok());
    EXPECT_EQ(reader->pageCount(), 10);
    EXPECT_NEAR(reader->pageInfo(0)->height, 2340, 1);
}

// Without a person the too-small question takes its default, No: nothing is stored.
TEST_F(ScanCommandTest, ShortPagesAndFailingScannersStoreNothing)
{
    backend({}, "200.0");
    const CliRun shortPage = scan({});
    EXPECT_EQ(shortPage.code, 1);
    EXPECT_TRUE(shortPage.err.contains(QStringLiteral("too small"))) << shortPage.err.toStdString();
    EXPECT_TRUE(shortPage.err.contains(QStringLiteral("Image file was not created!")));
    EXPECT_TRUE(QDir(dir.filePath(QStringLiteral("DATA"))).entryList(QDir::Files).isEmpty());

    backend("read-status-code \"SANE_STATUS_JAMMED\"\n");
    const CliRun jammed = scan({});
    EXPECT_EQ(jammed.code, 1);
    EXPECT_TRUE(jammed.err.contains(QStringLiteral("jammed"))) << jammed.err.toStdString();

    writeFile(sane.filePath(QStringLiteral("dll.conf")), "");
    const CliRun none = scan({});
    EXPECT_EQ(none.code, 1);
    EXPECT_TRUE(none.err.contains(QStringLiteral("No scanner was found"))) << none.err.toStdString();
    EXPECT_TRUE(QDir(dir.filePath(QStringLiteral("DATA"))).entryList(QDir::Files).isEmpty());
}

TEST_F(ScanCommandTest, BadUsage)
{
    EXPECT_EQ(cli({QStringLiteral("scan"), QStringLiteral("--heat"), QStringLiteral("H1")}).code, 2);
    EXPECT_EQ(scan({QStringLiteral("--size"), QStringLiteral("tabloid")}).code, 2);
    EXPECT_EQ(scan({QStringLiteral("--dpi"), QStringLiteral("lots")}).code, 2);
    EXPECT_EQ(scan({QStringLiteral("--colour")}).code, 2);
    EXPECT_EQ(scan({QStringLiteral("--device")}).code, 2);
}
