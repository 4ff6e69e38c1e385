#include "capture/BarcodeCapture.h"

#include "capture/BarcodeReader.h"
#include "capture/RbqClient.h"
#include "base/FileTools.h"
#include "base/Prompter.h"
#include "base/TextTools.h"
#include "data/Session.h"
#include "data/Settings.h"
#include "store/PageImage.h"
#include "store/ImageStore.h"
#include "store/OffThread.h"
#include "store/ReportTags.h"
#include "store/ScannerSession.h"
#include "store/TiffReader.h"
#include "store/TiffWriter.h"

namespace tarlox {

QStringList BarcodeGridHeadings(const QString& poShort, const QString& vendShort, const QString& mfgShort)
{
    const auto site = [](const QString& name, const char* fallback) {
        return name.trimmed().isEmpty() ? QString::fromLatin1(fallback) : name.trimmed();
    };
    return {site(poShort, "P/O"),      QStringLiteral("Rcp"),  QStringLiteral("Ln#"),
            QStringLiteral("Tag"),     QStringLiteral("Pgs"),  QStringLiteral("Heat"),
            QStringLiteral("Part"),    site(vendShort, "Vendor"), site(mfgShort, "Mfg")};
}

QStringList BarcodeRowCells(const BarcodeRow& row)
{
    return {row.key.purchaseOrder, QString::number(row.key.receipt), QString::number(row.key.line),
            QString::number(row.key.tag), QString::number(row.pages), row.heat, row.part, row.vendor, row.manufacturer};
}

void SetBarcodeRowCell(BarcodeRow& row, int column, const QString& text)
{
    switch (column) {
    case 5: row.heat = text; break;
    case 6: row.part = text; break;
    case 7: row.vendor = text; break;
    case 8: row.manufacturer = text; break;
    default: break;
    }
}

int BarcodeColumnWidth(const QString& stored)
{
    const int width = IntVal(stored);
    return width < 200 ? 600 : width;
}

QString BarcodeBufferPath(Session& session)
{
    return JoinPath(session.tempDir, QStringLiteral("TempTarlox.tif"));
}

bool ScanBarcodeStack(Session& s, BarcodeReader& reader, const BarcodeScanRequest& request)
{
    s.traceCall(QStringLiteral("cmdScan_Click"));
    if (s.prompter().ask(QStringLiteral("Prepare to Scan"), QStringLiteral("Put the Test Reports in the Scanner"), Buttons::OkCancel,
                         Icon::Critical)
        == Answer::Cancel)
        return false;
    s.pageSizeCode = request.pageSizeCode;
    s.dpi = QString::number(request.dpi);
    const QString buffer = BarcodeBufferPath(s);
    KillFile(buffer);

    ScanProfile profile;
    profile.outputFile = buffer;
    profile.singlePrecisionFrame = true;
    profile.firstPageTest = [&](const QImage& page) {
        const BarcodePage read = reader.read(page);
        if (!read.text().isEmpty())
            return true;
        if (read.note.contains(QLatin1String("could not be started")))
            s.prompter().ask(QStringLiteral("Error"), read.note, Buttons::Ok, Icon::Critical);
        else
            s.prompter().ask(QStringLiteral("No Barcodes"), QStringLiteral("The first page must contain barcodes"), Buttons::Ok, Icon::Critical);
        return false;
    };
    ScannerSession scanner(s, profile, ScanSettings::read(s, request.dpi, request.brightness, request.pageSizeCode));
    if (request.prepareScanner)
        request.prepareScanner(scanner);
    scanner.Scan();
    if (FileExists(buffer))
        return true;
    s.prompter().ask(QStringLiteral("Error"), QStringLiteral("The scan file was not created"), Buttons::Ok, Icon::Critical);
    return false;
}

int BarcodeUpdate::stored() const
{
    return int(std::count_if(images.begin(), images.end(), [](qint32 n) { return n > 0; }));
}

namespace {

// The row a sheet starts: its key looked up, or the key alone with a note.
BarcodeRow SheetRow(const QString& text, int page, RbqClient& client, QStringList& notes)
{
    BarcodeRow row;
    row.sheetPage = page;
    const IoResult<BarcodeKey> key = SplitBarcodeText(text);
    if (!key) {
        notes.append(QStringLiteral("Page %1: %2").arg(page + 1).arg(key.error()));
        row.key.purchaseOrder = text.section(QLatin1Char('\t'), 0, 0);
        return row;
    }
    row.key = *key;
    const IoResult<RbqLine> line = client.lookUp(row.key);
    if (!line) {
        notes.append(QStringLiteral("Page %1: %2").arg(page + 1).arg(line.error()));
        return row;
    }
    row.key = line->key;
    row.heat = line->heat;
    row.part = line->part;
    row.vendor = line->vendor;
    row.manufacturer = line->manufacturer;
    return row;
}

}  // namespace

int AssumedStackDpi(Session& session)
{
    const int high = IntVal(GetLocal(session, section::Info, QStringLiteral("HighDPI")));
    return high > 0 ? high : 300;
}

BarcodeGrid ReadBarcodeStack(const QString& stackFile, BarcodeReader& reader, RbqClient& client,
                             const std::function<bool(int done, int total)>& onPage, int assumedDpi)
{
    BarcodeGrid grid;
    auto stack = TiffReader::open(stackFile);
    if (!stack) {
        grid.error = stack.error();
        return grid;
    }
    grid.pageCount = stack->pageCount();
    for (int page = 0; page < grid.pageCount; ++page) {
        auto image = stack->readPage(page);
        if (!image) {
            grid.error = image.error();
            break;
        }
        if (auto info = stack->pageInfo(page); info && !info->dpiRecorded)
            SetDpi(*image, Dpi{double(assumedDpi), double(assumedDpi)});
        const BarcodePage read = reader.read(*image);
        // A reader that can't run at all would make every stack look empty.
        if (page == 0 && read.codes.isEmpty() && read.note.contains(QLatin1String("could not be started"))) {
            grid.error = read.note;
            break;
        }
        if (!read.note.isEmpty())
            grid.notes.append(QStringLiteral("Page %1: %2").arg(page + 1).arg(read.note));
        const QString text = read.text();
        if (!text.isEmpty()) {
            grid.rows.append(SheetRow(text, page, client, grid.notes));
        } else if (grid.rows.isEmpty()) {
            grid.error = QStringLiteral("The first page must contain barcodes");
            break;
        } else {
            ++grid.rows.last().pages;
        }
        if (onPage && !onPage(page + 1, grid.pageCount) && page + 1 < grid.pageCount) {
            grid.cancelled = true;
            break;
        }
    }
    if (!grid.error.isEmpty())
        grid.rows.clear();
    if (const IoStatus finished = client.finish(); !finished)
        grid.notes.append(finished.error());
    return grid;
}

BarcodeUpdate StoreBarcodeGrid(Session& session, const QString& stackFile, const QList<BarcodeRow>& rows, int dpi,
                               RbqClient& client, Duplicates duplicates, const std::function<bool(int row)>& beforeRow)
{
    session.traceCall(QStringLiteral("cmdUpdate_Click"));
    BarcodeUpdate result;
    result.images.fill(0, rows.size());
    bool updated = false;
    for (qsizetype i = 0; i < rows.size(); ++i) {
        const BarcodeRow& row = rows[i];
        // A sheet without pages behind it stores nothing.
        if (row.pages <= 0)
            continue;
        if (beforeRow && !beforeRow(int(i))) {
            result.cancelled = true;
            break;
        }
        InfoRecord& info = session.info;
        info.po = row.key.purchaseOrder;
        info.heat = row.heat;
        info.part = row.part;
        info.vend = SpaceIfEmpty(row.vendor);
        info.mfg = SpaceIfEmpty(row.manufacturer);
        const ReportTags tags = ReportTags::forReport(row.heat, row.part, row.key.purchaseOrder, row.vendor, row.manufacturer);
        const auto writePages = [&](const QString& work) {
            bool written = false;
            RunOffThread([&] {
                auto stack = TiffReader::open(stackFile);
                auto writer = stack ? TiffWriter::create(work, tags) : IoResult<TiffWriter>(stack.failure());
                if (!writer)
                    return;
                for (int page = row.sheetPage + 1; page <= row.sheetPage + row.pages; ++page)
                    if (!writer->addPageFrom(*stack, page))
                        return;
                written = bool(writer->commit());
            });
            return written;
        };
        StoreOptions options;
        options.duplicates = duplicates;
        const StoreResult stored = SaveMTR(session, dpi, writePages, options);
        if (!stored.stored()) {
            result.stopped = true;
            break;
        }
        result.images[i] = stored.imageNumber;
        updated = true;
        if (const IoStatus recorded = client.update(row.key, stored.imageNumber); !recorded)
            result.notes.append(recorded.error());
    }
    if (updated)
        if (const IoStatus finished = client.finish(); !finished)
            result.notes.append(finished.error());
    return result;
}

}  // namespace tarlox
