#pragma once

#include <QImage>
#include <QList>
#include <QRect>
#include <QString>

#include <memory>

class QProcess;

namespace tarlox {

// One barcode found on a page.
struct BarcodeCode {
    QString format;  // "Code128", "Code39", "ITF", "QRCode", "DataMatrix", "PDF417"
    QString text;
    QRect area;      // where it stands on the page, in pixels
    bool operator==(const BarcodeCode&) const = default;
};

// The barcodes of one page, in reading order.
struct BarcodePage {
    QList<BarcodeCode> codes;
    // Set when the reader failed on the page, or on part of it: codes may be missing.
    QString note;

    // The barcode text of the page: every code's text followed by a tab,
    // "" when the page has none.
    QString text() const;
};

// Codes in reading order: rows from the top of the page down, each row from
// left to right. Codes whose heights overlap by half the smaller one share a row.
QList<BarcodeCode> InReadingOrder(QList<BarcodeCode> codes);

// Reads the barcodes of pages (Code 128, Code 39, Interleaved 2 of 5, QR,
// Data Matrix, PDF417) in the helper program tarlox-barcode, which stays
// running from page to page. When the helper ends or hangs on a page, that
// page comes back without codes and with a note, and the next page starts a
// new helper; when the decoder fails on part of a page, the codes of the
// rest come back, with a note. Nothing here waits on a person.
class BarcodeReader {
public:
    // helperPath empty: DefaultHelperPath(). timeoutMs: the longest one page may take.
    explicit BarcodeReader(QString helperPath = {}, int timeoutMs = 10000);
    ~BarcodeReader();
    BarcodeReader(const BarcodeReader&) = delete;
    BarcodeReader& operator=(const BarcodeReader&) = delete;

    // The page may be black and white, grey or colour; its resolution
    // (200 dpi when it has none) sets the smallest Data Matrix looked for.
    BarcodePage read(const QImage& page);

    // The helper's process id, 0 when none runs.
    qint64 helperProcessId() const;

    // TARLOX_BARCODE_HELPER when set, otherwise tarlox-barcode beside the running program.
    static QString DefaultHelperPath();

private:
    bool startHelper(QString& note);
    void stopHelper();
    BarcodePage failed(const QString& note);

    QString helperPath_;
    int timeoutMs_;
    std::unique_ptr<QProcess> helper_;
};

}  // namespace tarlox
