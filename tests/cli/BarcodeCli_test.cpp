#include "store/TestPages.h"
#include "store/TiffReader.h"
#include "store/TiffWriter.h"
#include "support/CliRun.h"
#include "support/TestSite.h"

#include <gtest/gtest.h>

using namespace tarlox;
using namespace tarlox::test;
using namespace Qt::StringLiterals;

using BarcodeCli = CliHome;

// Sheets from the command line, a stack built around them, and the stack
// stored through the command line: the grid it prints and the images.
TEST_F(BarcodeCli, SheetsThenStack)
{
    ASSERT_EQ(cli({u"init"_s}).code, 0);
    const QString sheets = path(u"sheets.tif"_s), keys = path(u"keys.csv"_s);
    ASSERT_TRUE(WriteFile(keys, "PO-2,0,3,0\n"));
    const CliRun made = cli({u"separator"_s, u"--po"_s, u"PO-1"_s, u"--line"_s, u"7"_s, u"--csv"_s, keys, u"-o"_s, sheets});
    ASSERT_EQ(made.code, 0) << made.err.toStdString();

    auto read = TiffReader::open(sheets);
    ASSERT_TRUE(read.ok());
    ASSERT_EQ(read->pageCount(), 2);
    const QString stack = path(u"stack.tif"_s), lines = path(u"lines.csv"_s);
    ASSERT_TRUE(WriteTiff(stack, {*read->readPage(0), TextPage(1275, 1650, 1, 150), *read->readPage(1), TextPage(1275, 1650, 2, 150),
                                  TextPage(1275, 1650, 3, 150)}).ok());
    ASSERT_TRUE(WriteFile(lines, "PO-1,0,7,0,H1,P1,Acme,Mill\nPO-2,0,3,0,H2,P2,Beta,Mill\n"));

    const CliRun dry = cli({u"barcode"_s, stack, u"--provider"_s, u"csv:"_s + lines, u"--dry-run"_s});
    ASSERT_EQ(dry.code, 0) << dry.err.toStdString();
    EXPECT_EQ(dry.out, u"P/O\tRcp\tLn#\tTag\tPgs\tHeat\tPart\tVendor\tMfg\tImage\n"
                       "PO-1\t0\t7\t0\t1\tH1\tP1\tAcme\tMill\t-\n"
                       "PO-2\t0\t3\t0\t2\tH2\tP2\tBeta\tMill\t-\n"_s);
    const CliRun stored = cli({u"barcode"_s, stack, u"--provider"_s, u"csv:"_s + lines});
    ASSERT_EQ(stored.code, 0) << stored.err.toStdString();
    EXPECT_TRUE(stored.out.endsWith(u"\tBeta\tMill\t2\n"_s)) << stored.out.toStdString();
    EXPECT_EQ(cli({u"barcode"_s, lines}).code, 1);
}
