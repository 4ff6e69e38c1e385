#include "capture/BarcodeCapture.h"
#include "capture/BarcodeReader.h"
#include "capture/RbqClient.h"
#include "capture/SeparatorSheet.h"
#include "data/Settings.h"
#include "store/ImageStore.h"
#include "store/ScannerSession.h"
#include "store/TestPages.h"
#include "store/TiffReader.h"
#include "store/TiffWriter.h"
#include "support/SaneTestBackend.h"
#include "support/TestSite.h"

#include <QFile>

using namespace tarlox;
using namespace tarlox::test;

namespace {

QString ReadAll(const QString& path) { return QString::fromUtf8(FileBytes(path)); }

// A stack as a string: S a separator sheet (keys PO-1, PO-2, ... in turn),
// P a report page (a text page of its own).
QList<QImage> StackPages(const char* layout)
{
    QList<QImage> pages;
    int sheets = 0;
    for (const char* c = layout; *c; ++c)
        pages.append(*c == 'S' ? *SeparatorSheet({QStringLiteral("PO-%1").arg(++sheets), qint16(sheets), 7, 0}) : TextPage(1275, 1650, quint32(pages.size() + 1), 150));
    return pages;
}

class BarcodeCaptureTest : public SiteTest {};

}  // namespace

// Sheets start rows, pages behind a sheet are its report; a sheet without
// pages is skipped and the next report starts behind its own sheet; no
// stored report holds a sheet.
TEST_P(BarcodeCaptureTest, StacksSplitIntoReports)
{
    // Pgs of each row; the stack pages (from 1) of each stored report, by row.
    struct Case { const char* layout; QList<int> pages; QList<QList<int>> stored; const char* error; };
    const Case cases[] = {
        {"SPPSP", {2, 1}, {{2, 3}, {5}}, ""}, {"SPSSPP", {1, 0, 2}, {{2}, {}, {5, 6}}, ""},
        {"SSPP", {0, 2}, {}, ""},  // the first row has no pages: Update stays off
        {"PSP", {}, {}, "The first page must contain barcodes"},
    };
    const QString csv = site.path(QStringLiteral("lines.csv"));
    ASSERT_TRUE(WriteFile(csv, "PO-1,1,7,0,H1,P1,\"Acme, Inc.\",Mill 1\nPO-3,3,7,0,H3,P3,Beta,Mill 3\n"));
    const std::unique_ptr<RbqClient> client = MakeRbqClient(QStringLiteral("csv:") + csv);
    BarcodeReader reader;
    for (const Case& c : cases) {
        SCOPED_TRACE(c.layout);
        const QList<QImage> pages = StackPages(c.layout);
        const QString stack = site.path(QStringLiteral("stack.tif"));
        ASSERT_TRUE(WriteTiff(stack, pages).ok());
        int progress = 0;
        const BarcodeGrid grid = ReadBarcodeStack(stack, reader, *client, [&](int done, int) { return ++progress == done; });
        QList<int> pgs;
        for (const BarcodeRow& row : grid.rows) pgs.append(row.pages);
        EXPECT_EQ(std::tuple(grid.error, pgs, grid.canUpdate()), std::tuple(QString::fromLatin1(c.error), c.pages, !c.stored.isEmpty()));
        if (!grid.canUpdate()) continue;
        // PO-2 is not in the file.
        EXPECT_EQ(std::tuple(grid.rows[0].heat, grid.rows[0].vendor, grid.rows[1].heat), std::tuple(QStringLiteral("H1"), QStringLiteral("Acme, Inc."), QString()));

        QList<BarcodeRow> rows = grid.rows;
        for (BarcodeRow& row : rows) if (row.heat.isEmpty()) row.heat = QStringLiteral("TYPED"), row.part = QStringLiteral("P");
        s().pageSizeCode = QStringLiteral(" ");
        const BarcodeUpdate update = StoreBarcodeGrid(s(), stack, rows, 300, *client, Duplicates::Allow);
        EXPECT_FALSE(update.stopped);
        for (int row = 0; row < c.stored.size(); ++row) {
            const qint32 number = update.images[row];
            EXPECT_EQ(number > 0, !c.stored[row].isEmpty()) << "row " << row;
            if (!number) continue;
            ASSERT_TRUE(GetImage(s(), number));
            auto stored = TiffReader::open(s().imageFilePath);
            ASSERT_TRUE(stored.ok() && stored->pageCount() == c.stored[row].size());
            for (int i = 0; i < c.stored[row].size(); ++i) EXPECT_TRUE(SamePixels(*stored->readPage(i), pages[c.stored[row][i] - 1])) << "row " << row << " page " << i;
            EXPECT_EQ(std::pair(SiteTest::rows(QStringLiteral("Info"), QStringLiteral("\"Image #\" = ? AND \"P/O #\" = ? AND \"Heat #\" = ?"), {number, rows[row].key.purchaseOrder, rows[row].heat}),
                                ReadAll(csv + QStringLiteral(".log")).contains(QStringLiteral(",%1,%2,7,0,%3\n").arg(rows[row].key.purchaseOrder).arg(row + 1).arg(number))),
                      std::pair(qint64(1), true));
        }
    }
    // A file that is no stack at all.
    EXPECT_FALSE(ReadBarcodeStack(csv, reader, *client).error.isEmpty());
}

TARLOX_ON_BOTH_ENGINES(BarcodeCaptureTest);

// Each kind of business system fills the line of a key it knows, fails on
// one it doesn't, and records the image number.
TEST(RbqClient, ProvidersFillAndRecord)
{
    QTemporaryDir dir;
    const QString csv = dir.filePath(QStringLiteral("lines.csv"));
    ASSERT_TRUE(WriteFile(csv, "PO9,0,7,0,H9,P9,Vend,Mill\n"));
    const QString program = dir.filePath(QStringLiteral("rbq.sh"));
    ASSERT_TRUE(WriteFile(program, "#!/bin/sh\nlog=\"$(dirname \"$0\")/calls.txt\"\necho \"$*\" >> \"$log\"\ncase \"$1\" in\n"
                                   "lookup) [ \"$2\" = PO9 ] || { echo \"no line $2\" >&2; exit 3; }\n"
                                   "        echo heat=H9; echo part=P9; echo vendor=Vend; echo manufacturer=Mill; echo receipt=5;;\n"
                                   "esac\n"));
    QFile::setPermissions(program, QFile::permissions(program) | QFileDevice::ExeOwner);
    // The receipt as the system gives it back; the file recording the update, and its line.
    struct Case { QString setting; bool fills; qint16 receipt; QString record, recorded; };
    const Case cases[] = {
        {QStringLiteral("csv:") + csv, true, 0, csv + QStringLiteral(".log"), QStringLiteral(",PO9,0,7,0,123\n")},
        {QStringLiteral("cmd:") + program, true, 5, dir.filePath(QStringLiteral("calls.txt")), QStringLiteral("update PO9 0 7 0 123\nfinish\n")},
        {QStringLiteral("none"), false, 0, {}, {}},
        {QString(), false, 0, {}, {}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.setting.toStdString());
        const std::unique_ptr<RbqClient> client = MakeRbqClient(c.setting);
        const IoResult<RbqLine> line = client->lookUp({QStringLiteral("PO9"), 0, 7, 0});
        ASSERT_TRUE(line.ok()) << line.error().toStdString();
        EXPECT_EQ(std::tuple(line->heat, line->manufacturer, line->key.receipt, client->lookUp({QStringLiteral("PO8"), 0, 7, 0}).ok()),
                  std::tuple(c.fills ? QStringLiteral("H9") : QString(), c.fills ? QStringLiteral("Mill") : QString(), c.receipt, !c.fills));
        EXPECT_TRUE(client->update({QStringLiteral("PO9"), 0, 7, 0}, 123).ok() && client->finish().ok());
        EXPECT_TRUE(c.record.isEmpty() || ReadAll(c.record).endsWith(c.recorded)) << ReadAll(c.record).toStdString();
    }
    QString note;
    MakeRbqClient(QStringLiteral("odbc:erp"), &note);
    EXPECT_FALSE(note.isEmpty() || MakeRbqClient(QStringLiteral("csv:") + dir.filePath(QStringLiteral("missing.csv")))->lookUp({}).ok());
}

TEST(BarcodeKey, KeyLinesAndColumnWidths)
{
    const IoResult<QList<BarcodeKey>> keys = ReadKeyLines(QStringLiteral("PO1,2,3,4\n\n\"P,O\",,9\nPO3\t1\t2\t3\n"));
    ASSERT_TRUE(keys.ok()) << keys.error().toStdString();
    EXPECT_EQ(*keys, (QList<BarcodeKey>{{QStringLiteral("PO1"), 2, 3, 4}, {QStringLiteral("P,O"), 0, 9, 0}, {QStringLiteral("PO3"), 1, 2, 3}}));
    EXPECT_EQ(std::pair(ReadKeyLines(QStringLiteral("PO1\nPO2,x")).error().left(7), ReadKeyLines(QStringLiteral(",1,2,3")).ok()), std::pair(QStringLiteral("Line 2:"), false));
    for (auto [stored, width] : {std::pair{"150", 600}, {"200", 200}, {"", 600}, {"1440", 1440}})
        EXPECT_EQ(BarcodeColumnWidth(QLatin1String(stored)), width) << stored;
}

// The scan path refuses a stack whose first page has no barcodes: nothing
// is saved and the scan ends there.
TEST(BarcodeScan, FirstPageWithoutBarcodesIsRefused)
{
    UseSaneTestBackend();
    TestSite site;
    ASSERT_TRUE(StartWithTestScanner(site));
    PutLocal(site.session(), section::Info, QStringLiteral("UseADF"), QStringLiteral("True"));
    site.prompter().clear();
    BarcodeReader reader;
    int pagesScanned = 0;
    BarcodeScanRequest request;
    request.prepareScanner = [&](ScannerSession& scanner) { QObject::connect(&scanner, &ScannerSession::pageReady, [&] { ++pagesScanned; }); };
    EXPECT_FALSE(ScanBarcodeStack(site.session(), reader, request));
    EXPECT_EQ(std::tuple(site.prompter().titles(), pagesScanned, QFile::exists(BarcodeBufferPath(site.session()))),
              std::tuple(QStringList{QStringLiteral("Prepare to Scan"), QStringLiteral("No Barcodes"), QStringLiteral("Error")}, 0, false));
}
