#pragma once

#include "capture/BarcodeKey.h"
#include "base/IoResult.h"

#include <QImage>
#include <QList>
#include <QString>

namespace tarlox {

// Separator sheets: the page laid in front of each report of a barcoded
// stack. A sheet carries the key of its purchase order line as four Code 128
// barcodes, one under the other (P/O, receipt, line, tag, so that
// BarcodeReader gives them back in that order and SplitBarcodeText gives the
// key), each under its value in letters large enough to read across the office.
// poCaption is the site's name for the P/O.

// One sheet: Letter at 300 dpi, black and white. Fails for a P/O that a
// Code 128 barcode can't carry (characters outside ASCII).
IoResult<QImage> SeparatorSheet(const BarcodeKey& key, const QString& poCaption = QStringLiteral("P/O"));

// The sheets, one page each, as a new G4 TIFF file, replacing target.
IoStatus WriteSeparatorSheetsTiff(const QString& target, const QList<BarcodeKey>& keys,
                                  const QString& poCaption = QStringLiteral("P/O"));

// The sheets as a PDF file for printing, replacing target.
IoStatus WriteSeparatorSheetsPdf(const QString& target, const QList<BarcodeKey>& keys,
                                 const QString& poCaption = QStringLiteral("P/O"));

}  // namespace tarlox
