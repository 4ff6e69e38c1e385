#pragma once

#include "capture/BarcodeKey.h"
#include "data/InfoData.h"

#include <QList>
#include <QString>
#include <QStringList>

#include <functional>

namespace tarlox {

class BarcodeReader;
class RbqClient;
class ScannerSession;
class Session;

// The scanned stack waits here until the next scan: TempTarlox.tif in the
// temporary directory.
QString BarcodeBufferPath(Session& session);

// The Scan button: asks to put the reports in the scanner, deletes the old
// buffer and scans the stack into it. The first page must carry barcodes,
// or the scan stops with nothing saved. True when the buffer exists
// afterwards; otherwise "The scan file was not created" has been shown
// (nothing is said after Cancel).
struct BarcodeScanRequest {
    QString pageSizeCode = QStringLiteral(" ");
    int dpi = 200;
    int brightness = 0;
    std::function<void(ScannerSession&)> prepareScanner;
};
bool ScanBarcodeStack(Session& session, BarcodeReader& reader, const BarcodeScanRequest& request);

// One barcode sheet of a scanned stack and the report pages behind it.
struct BarcodeRow {
    BarcodeKey key;
    int pages = 0;      // report pages behind the sheet ("Pgs")
    QString heat;
    QString part;
    QString vendor;
    QString manufacturer;
    int sheetPage = 0;  // the sheet's page in the stack, from 0
};

// The nine columns of the barcode grid: P/O, Rcp, Ln#, Tag, Pgs, Heat,
// Part, Vendor, Mfg. The site's names replace "P/O", "Vendor" and "Mfg"
// where set.
QStringList BarcodeGridHeadings(const QString& poShort, const QString& vendShort, const QString& mfgShort);
// A row's cells in column order, and a cell written back (columns 5 to 8 only).
QStringList BarcodeRowCells(const BarcodeRow& row);
void SetBarcodeRowCell(BarcodeRow& row, int column, const QString& text);

// A width key of the grid's columns as stored (twips); under 200 gives 600.
int BarcodeColumnWidth(const QString& stored);

// Where the grid stands after reading a stack.
struct BarcodeGrid {
    QList<BarcodeRow> rows;
    int pageCount = 0;
    QStringList notes;      // look-ups that failed, pages the reader failed on
    QString error;          // the stack could not be read at all
    bool cancelled = false; // stopped between pages; the rows read so far stand

    // Update may run: there is a first row and it has pages.
    bool canUpdate() const { return !rows.isEmpty() && rows.first().pages > 0; }
};

// Reads every page of a scanned stack: a page with barcodes starts a row,
// its key looked up in the business system; a page without adds to the
// pages of the last row. A stack whose first page has no barcodes is
// refused (error "The first page must contain barcodes"), without rows.
// onPage is told each page done (from 1) of the total before the next is
// read, and false from it stops the reading there. The reader and client
// are used from the calling thread only; nothing is shown.
// Pages that record no resolution are taken as assumedDpi.
BarcodeGrid ReadBarcodeStack(const QString& stackFile, BarcodeReader& reader, RbqClient& client,
                             const std::function<bool(int done, int total)>& onPage = {}, int assumedDpi = 300);

// The resolution assumed for a stack's pages that record none: HighDPI of
// section Info when set, else 300.
int AssumedStackDpi(Session& session);

// What storing a grid did.
struct BarcodeUpdate {
    QList<qint32> images;      // per row: its new image number, 0 when not stored
    QStringList notes;         // updates the business system refused
    bool stopped = false;      // a row failed to store; the rows after it were not tried
    bool cancelled = false;
    int stored() const;
};

// Splits the stack into reports: each row with pages becomes a new image
// of the pages behind its sheet (never the sheet itself) through SaveMTR,
// with P/O, heat, part, vendor and manufacturer of the row, and its number
// is recorded with the business system. A row without pages is skipped.
// The first row that fails to store ends the run; rows stored stay stored.
// beforeRow (row index) returning false cancels before that row.
BarcodeUpdate StoreBarcodeGrid(Session& session, const QString& stackFile, const QList<BarcodeRow>& rows, int dpi,
                               RbqClient& client, Duplicates duplicates,
                               const std::function<bool(int row)>& beforeRow = {});

}  // namespace tarlox
