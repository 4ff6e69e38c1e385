#pragma once

#include "base/IoResult.h"

#include <QString>
#include <QList>
#include <QStringList>

namespace tarlox {

// The key of a purchase order line as a barcode sheet carries it: the P/O
// and three 16-bit numbers.
struct BarcodeKey {
    QString purchaseOrder;
    qint16 receipt = 0;
    qint16 line = 0;
    qint16 tag = 0;
    bool operator==(const BarcodeKey&) const = default;
};

// Splits the barcode text of a page (each code's text followed by a tab)
// into its key. Split on tab, the pieces are read by their count:
//   - three ("PO\t7\t": two codes and the trailing tab): P/O and line, receipt 0;
//   - four or more: P/O, receipt, line, tag; pieces after the fourth are ignored;
//   - one or two (a single code): the P/O alone.
// A missing or blank number is 0. A number that isn't a whole number from
// -32768 to 32767 makes the text fail, with a message naming the piece.
IoResult<BarcodeKey> SplitBarcodeText(const QString& text);

// The texts of the four barcodes of a separator sheet, in reading order:
// P/O, receipt, line, tag. Read back and split they give the key again.
QStringList BarcodeValues(const BarcodeKey& key);

// The fields of one comma-separated line, trimmed; a field in double quotes
// may hold commas, and "" inside it stands for one quote.
QStringList SplitCsvLine(const QString& line);

// Keys typed or read from a CSV file, one a line: P/O, receipt, line, tag,
// separated by commas or tabs; a missing number is 0, blank lines are
// skipped. Fails naming the first line at fault.
IoResult<QList<BarcodeKey>> ReadKeyLines(const QString& text);

}  // namespace tarlox
