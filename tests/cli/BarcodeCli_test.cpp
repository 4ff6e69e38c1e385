#include "store/TestPages.h"
#include "store/TiffReader.h"
#include "store/TiffWriter.h"
#include "support/CliRun.h"

#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

using namespace tarlox;
using namespace tarlox::test;

// Sheets from the command line, a stack built around them, and the stack
// stored through the command line: the grid it prints and the images.
TEST(BarcodeCli, SheetsThenStack)
{
    QTemporaryDir dir;
    const auto cli = [&](const QStringList& arguments) {
        return RunCli(arguments, {{QStringLiteral("TARLOX"), dir.path()}, {QStringLiteral("TARLOX_BARCODE_HELPER"), qEnvironmentVariable("TARLOX_BARCODE_HELPER")}});
    };
    ASSERT_EQ(cli({QStringLiteral("init")}).code, 0);
    const QString sheets = dir.filePath(QStringLiteral("sheets.tif"));
    const QString keys = dir.filePath(QStringLiteral("keys.csv"));
    QFile csv(keys);
    ASSERT_TRUE(csv.open(QIODevice::WriteOnly));
    csv.write("PO-2,0,3,0\n");
    csv.close();
    const CliRun made = cli({QStringLiteral("separator"), QStringLiteral("--po"), QStringLiteral("PO-1"), QStringLiteral("--line"),
                             QStringLiteral("7"), QStringLiteral("--csv"), keys, QStringLiteral("-o"), sheets});
    ASSERT_EQ(made.code, 0) << made.err.toStdString();
    EXPECT_EQ(cli({QStringLiteral("separator"), QStringLiteral("--line"), QStringLiteral("7"), QStringLiteral("-o"), sheets}).code, 2);
    EXPECT_EQ(cli({QStringLiteral("separator"), QStringLiteral("--po"), QStringLiteral("P"), QStringLiteral("--tag"), QStringLiteral("x"),
                   QStringLiteral("-o"), sheets}).code,
              2);

    auto read = TiffReader::open(sheets);
    ASSERT_TRUE(read.ok());
    ASSERT_EQ(read->pageCount(), 2);
    const QString stack = dir.filePath(QStringLiteral("stack.tif"));
    ASSERT_TRUE(WriteTiff(stack, {*read->readPage(0), TextPage(1275, 1650, 1, 150), *read->readPage(1), TextPage(1275, 1650, 2, 150),
                                  TextPage(1275, 1650, 3, 150)}).ok());
    const QString lines = dir.filePath(QStringLiteral("lines.csv"));
    QFile erp(lines);
    ASSERT_TRUE(erp.open(QIODevice::WriteOnly));
    erp.write("PO-1,0,7,0,H1,P1,Acme,Mill\nPO-2,0,3,0,H2,P2,Beta,Mill\n");
    erp.close();

    const CliRun dry = cli({QStringLiteral("barcode"), stack, QStringLiteral("--provider"), QStringLiteral("csv:") + lines, QStringLiteral("--dry-run")});
    ASSERT_EQ(dry.code, 0) << dry.err.toStdString();
    EXPECT_EQ(dry.out, QStringLiteral("P/O\tRcp\tLn#\tTag\tPgs\tHeat\tPart\tVendor\tMfg\tImage\n"
                                      "PO-1\t0\t7\t0\t1\tH1\tP1\tAcme\tMill\t-\n"
                                      "PO-2\t0\t3\t0\t2\tH2\tP2\tBeta\tMill\t-\n"));
    const CliRun stored = cli({QStringLiteral("barcode"), stack, QStringLiteral("--provider"), QStringLiteral("csv:") + lines});
    ASSERT_EQ(stored.code, 0) << stored.err.toStdString();
    EXPECT_TRUE(stored.out.endsWith(QStringLiteral("\tBeta\tMill\t2\n"))) << stored.out.toStdString();
    EXPECT_EQ(cli({QStringLiteral("barcode"), lines}).code, 1);
}
