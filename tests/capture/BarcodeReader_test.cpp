#include "capture/BarcodeKey.h"
#include "capture/BarcodeReader.h"
#include "capture/SeparatorSheet.h"
#include "store/ImageInput.h"
#include "store/PageImage.h"

#include <QPainter>
#include <QTemporaryDir>
#include <QTransform>

#include <ZXing/BitMatrix.h>
#include <ZXing/MultiFormatWriter.h>

#include <gtest/gtest.h>

#include <csignal>
#include <thread>

using namespace tarlox;

namespace {

// At left and top inches from the page's corner.
struct Symbol { ZXing::BarcodeFormat format; const char* text; double left, top; };

// A Letter page at dpi, black and white, with typed lines of a test report
// and the symbols drawn by the decoder's own writer: bars of 0.01 in, 2-D
// modules of 0.02 in.
QImage ReportPage(int dpi, const QList<Symbol>& symbols)
{
    QImage grey(int(8.5 * dpi), 11 * dpi, QImage::Format_Grayscale8);
    grey.fill(Qt::white);
    QPainter painter(&grey);
    QFont font(QStringLiteral("DejaVu Sans"));
    font.setPixelSize(dpi / 7), painter.setFont(font);
    for (int y = dpi; y < 10 * dpi; y += dpi / 4)
        painter.drawText(dpi / 2, y, QStringLiteral("Heat 4471%1  C 0.21  Mn 0.85  P 0.012  S 0.004  Yield 52,400 psi").arg(y % 97));
    for (const Symbol& symbol : symbols) {
        const ZXing::BitMatrix matrix = ZXing::MultiFormatWriter(symbol.format).setMargin(0).encode(std::string(symbol.text), 0, 0);
        const bool linear = matrix.height() == 1;
        const int module = linear ? dpi / 100 : dpi / 50;
        const int height = linear ? dpi / 2 : matrix.height() * module;
        const QRect area(int(symbol.left * dpi), int(symbol.top * dpi), matrix.width() * module, height);
        painter.fillRect(area.adjusted(-dpi / 5, -dpi / 5, dpi / 5, dpi / 5), Qt::white);  // quiet zone
        for (int y = 0; y < (linear ? 1 : matrix.height()); ++y) for (int x = 0; x < matrix.width(); ++x)
                if (matrix.get(x, y)) painter.fillRect(area.left() + x * module, area.top() + y * module, module, linear ? height : module, Qt::black);
    }
    painter.end();
    QImage page = ToStoreMono(grey.convertToFormat(QImage::Format_Mono, Qt::ThresholdDither));
    SetDpi(page, Dpi{double(dpi), double(dpi)});
    return page;
}

QStringList Texts(const BarcodePage& page) { QStringList texts; for (const BarcodeCode& code : page.codes) texts.append(code.text); return texts; }

}  // namespace

TEST(BarcodeReader, EveryFormatAt200And300Dpi)
{
    using F = ZXing::BarcodeFormat;
    const Symbol symbols[] = {
        {F::Code128, "PO-4471/A", 1.0, 2.1}, {F::Code39, "LINE 7", 4.5, 8.3}, {F::ITF, "00123456", 2.0, 6.7},
        {F::QRCode, "QR 12345", 6.2, 1.3},   {F::DataMatrix, "DM-88", 1.2, 3.4}, {F::PDF417, "PDF417 RECEIPT 9", 3.0, 9.1},
    };
    BarcodeReader reader;
    for (int dpi : {200, 300}) for (const Symbol& symbol : symbols) {
            const BarcodePage page = reader.read(ReportPage(dpi, {symbol}));
            ASSERT_EQ(page.codes.size(), 1) << symbol.text << " at " << dpi << " dpi: " << page.note.toStdString();
            EXPECT_EQ(std::tuple(page.codes[0].format, page.text(), std::abs(page.codes[0].area.left() - symbol.left * dpi) <= dpi / 10),
                      std::tuple(QString::fromLatin1(ZXing::ToString(symbol.format)), QString(QString::fromLatin1(symbol.text) + QLatin1Char('\t')), true))
                << symbol.text << " at " << page.codes[0].area.left();
        }
}

TEST(BarcodeReader, DataMatrixAnywhereOnThePageAndPagesWithout)
{
    using F = ZXing::BarcodeFormat;
    // Three symbols on one band, none on the page's middle lines, and one
    // more near a corner: all four in reading order.
    BarcodeReader reader;
    const BarcodePage read = reader.read(
        ReportPage(300, {{F::DataMatrix, "A1", 0.6, 1.1}, {F::DataMatrix, "B2", 3.1, 1.15}, {F::DataMatrix, "C3", 6.4, 1.05}, {F::DataMatrix, "D4", 7.3, 9.9}}));
    EXPECT_EQ(Texts(read), (QStringList{QStringLiteral("A1"), QStringLiteral("B2"), QStringLiteral("C3"), QStringLiteral("D4")}));
    // A page without codes: nothing, and nothing wrong.
    const BarcodePage none = reader.read(ReportPage(300, {}));
    EXPECT_TRUE(none.codes.isEmpty() && none.note.isEmpty() && none.text().isEmpty());
}

TEST(BarcodeReader, SeparatorSheetsReadBackToTheirKeys)
{
    // Equal neighbours (1, 1) are two codes, not one code read twice.
    const QList<BarcodeKey> keys = {{QStringLiteral("PO123"), 0, 7, 0}, {QStringLiteral("45-9981/B"), 32767, -12, 3}, {QStringLiteral("PO-300"), 1, 1, 9}};
    QTemporaryDir dir;
    const QString tiff = dir.filePath(QStringLiteral("sheets.tif")), pdf = dir.filePath(QStringLiteral("sheets.pdf"));
    ASSERT_TRUE(WriteSeparatorSheetsTiff(tiff, keys).ok() && WriteSeparatorSheetsPdf(pdf, keys).ok());

    BarcodeReader reader;
    for (const QString& path : {tiff, pdf}) {
        // The PDF comes back at 200 dpi, as a printed sheet scanned at the low resolution would.
        IoResult<ImageInput> input = ImageInput::open(path);
        ASSERT_TRUE(input.ok() && input->pageCount() == keys.size()) << input.error().toStdString();
        for (int i = 0; i < keys.size(); ++i) {
            IoResult<QImage> page = input->page(i);
            ASSERT_TRUE(page.ok());
            const BarcodePage read = reader.read(*page);
            const IoResult<BarcodeKey> key = SplitBarcodeText(read.text());
            ASSERT_TRUE(key.ok()) << key.error().toStdString();
            EXPECT_TRUE(read.note.isEmpty() && *key == keys[i]) << path.toStdString() << " page " << i << ": " << read.text().toStdString() << read.note.toStdString();
        }
    }
    // Fed a little crooked and scanned in grey.
    const QImage crooked = SeparatorSheet(keys.at(1))->transformed(QTransform().rotate(1.5), Qt::SmoothTransformation);
    EXPECT_EQ(reader.read(crooked).text().toStdString(), "45-9981/B\t32767\t-12\t3\t");

    EXPECT_FALSE(SeparatorSheet({QStringLiteral("PO\u00e9")}).ok() || WriteSeparatorSheetsTiff(tiff, {}).ok());
}

TEST(BarcodeReader, KilledOrHungHelperLosesOnlyItsPage)
{
    using F = ZXing::BarcodeFormat;
    const QImage page = ReportPage(200, {{F::Code128, "NEXT-1", 1.0, 1.0}});
    BarcodeReader reader(QString(), 2000);
    for (const bool hang : {false, true}) {
        ASSERT_EQ(reader.read(page).text(), QStringLiteral("NEXT-1\t"));
        const qint64 pid = reader.helperProcessId();
        ASSERT_GT(pid, 0);
        // Stopped, it can't finish the page before it is killed, or before the reader gives up on it.
        ::kill(pid_t(pid), SIGSTOP);
        std::thread killer;
        if (!hang)
            killer = std::thread([pid] { std::this_thread::sleep_for(std::chrono::milliseconds(300)), ::kill(pid_t(pid), SIGKILL); });
        const BarcodePage lost = reader.read(page);
        if (killer.joinable()) killer.join();
        EXPECT_TRUE(lost.codes.isEmpty() && lost.note.contains(hang ? QStringLiteral("took more than") : QStringLiteral("stopped"))) << lost.note.toStdString();
        EXPECT_TRUE(reader.read(page).text() == QLatin1String("NEXT-1\t") && reader.helperProcessId() != pid);
    }
}

TEST(BarcodeKey, SplitOfTheBarcodeText)
{
    const struct { const char* text; const char* po; int receipt, line, tag; bool ok; } rows[] = {
        {"PO123\t7\t", "PO123", 0, 7, 0, true},  // two codes: P/O and line
        {"PO123\t4\t7\t2\t", "PO123", 4, 7, 2, true}, {"PO123\t4\t7\t", "PO123", 4, 7, 0, true},
        {"PO123\t4\t7\t2\t99\t", "PO123", 4, 7, 2, true},  // cut to four
        {"PO123\t", "PO123", 0, 0, 0, true}, {"PO123", "PO123", 0, 0, 0, true}, {"PO9\t-32768\t32767\t 5 \t", "PO9", -32768, 32767, 5, true},
        {"PO9\t1\t32768\t", "", 0, 0, 0, false}, {"PO9\tR1\t2\t3\t", "", 0, 0, 0, false}, {"PO9\t1\t2.5\t3\t", "", 0, 0, 0, false},
    };
    for (const auto& r : rows) {
        const IoResult<BarcodeKey> key = SplitBarcodeText(QString::fromLatin1(r.text));
        ASSERT_EQ(key.ok(), r.ok) << r.text;
        EXPECT_TRUE((r.ok ? *key == BarcodeKey{QString::fromLatin1(r.po), qint16(r.receipt), qint16(r.line), qint16(r.tag)} : !key.error().isEmpty())) << r.text;
    }
}
