#include "capture/SeparatorSheet.h"

#include "store/PageImage.h"
#include "store/TiffWriter.h"

#include <QFont>
#include <QFontMetrics>
#include <QPageSize>
#include <QPainter>
#include <QPdfWriter>
#include <QSaveFile>

#include <ZXing/BitMatrix.h>
#include <ZXing/MultiFormatWriter.h>

#include <algorithm>
#include <stdexcept>

namespace tarlox {

namespace {

// The sheet is drawn in dots of 300 dpi on a Letter page.
constexpr int kDpi = 300;
constexpr int kWidth = 2550;
constexpr int kHeight = 3300;
constexpr int kMargin = 150;
constexpr int kBlock = 750;       // one value: caption, value, barcode
constexpr int kModule = 4;        // narrowest bar, 0.013 in
constexpr int kBarHeight = 180;   // 0.6 in
constexpr int kQuietZone = 10 * kModule;

// The modules of a Code 128 symbol, true for a bar.
IoResult<std::vector<bool>> Code128Modules(const QString& text)
{
    try {
        const ZXing::BitMatrix matrix =
            ZXing::MultiFormatWriter(ZXing::BarcodeFormat::Code128).setMargin(0).encode(text.toStdString(), 0, 0);
        std::vector<bool> modules(size_t(matrix.width()));
        for (int x = 0; x < matrix.width(); ++x)
            modules[size_t(x)] = matrix.get(x, 0);
        return modules;
    } catch (const std::exception&) {
        return Failure(QStringLiteral("\"%1\" can't be put in a Code 128 barcode.").arg(text));
    }
}

struct SheetBlock {
    QString caption;
    QString value;
    std::vector<bool> modules;
};

IoResult<QList<SheetBlock>> SheetBlocks(const BarcodeKey& key, const QString& poCaption)
{
    const QStringList values = BarcodeValues(key);
    const QStringList captions = {poCaption, QStringLiteral("Receipt"), QStringLiteral("Line"), QStringLiteral("Tag")};
    QList<SheetBlock> blocks;
    for (qsizetype i = 0; i < values.size(); ++i) {
        if (values[i].trimmed().isEmpty())
            return Failure(QStringLiteral("A separator sheet needs a %1.").arg(captions[i]));
        if (values[i].contains(QLatin1Char('\t')))
            return Failure(QStringLiteral("The %1 of a separator sheet can't hold a tab.").arg(captions[i]));
        IoResult<std::vector<bool>> modules = Code128Modules(values[i]);
        if (!modules)
            return modules.failure();
        blocks.append({captions[i], values[i], std::move(modules.value())});
    }
    return blocks;
}

QFont SheetFont(int pixelSize, bool bold)
{
    QFont font(QStringLiteral("DejaVu Sans"));
    font.setPixelSize(pixelSize);
    font.setBold(bold);
    return font;
}

// Draws the sheet in 300 dpi dots, on a white page.
void PaintSheet(QPainter& painter, const QList<SheetBlock>& blocks)
{
    painter.setPen(Qt::black);
    const int textWidth = kWidth - 2 * kMargin;
    for (qsizetype i = 0; i < blocks.size(); ++i) {
        const SheetBlock& block = blocks[i];
        const int top = kMargin + int(i) * kBlock;
        painter.setFont(SheetFont(80, false));
        painter.drawText(QRect(kMargin, top, textWidth, 100), Qt::AlignLeft | Qt::AlignVCenter, block.caption);

        // The value as large as fits the width: 300 dots (about 72 points) at most.
        QFont large = SheetFont(300, true);
        const int wide = QFontMetrics(large).horizontalAdvance(block.value);
        if (wide > textWidth)
            large.setPixelSize(std::max(60, 300 * textWidth / wide));
        painter.setFont(large);
        painter.drawText(QRect(kMargin, top + 100, textWidth, 360), Qt::AlignLeft | Qt::AlignVCenter, block.value);

        const int barTop = top + 480;
        int x = kMargin + kQuietZone;
        for (bool bar : block.modules) {
            if (bar)
                painter.fillRect(QRect(x, barTop, kModule, kBarHeight), Qt::black);
            x += kModule;
        }
    }
}

IoResult<QImage> RenderSheet(const QList<SheetBlock>& blocks)
{
    QImage grey(kWidth, kHeight, QImage::Format_Grayscale8);
    if (grey.isNull())
        return Failure(QStringLiteral("There is not enough memory for a separator sheet."));
    grey.fill(Qt::white);
    {
        QPainter painter(&grey);
        painter.setRenderHint(QPainter::TextAntialiasing, false);
        PaintSheet(painter, blocks);
    }
    QImage sheet = ToStoreMono(grey.convertToFormat(QImage::Format_Mono, Qt::ThresholdDither));
    SetDpi(sheet, Dpi{kDpi, kDpi});
    return sheet;
}

IoResult<QList<QList<SheetBlock>>> AllBlocks(const QList<BarcodeKey>& keys, const QString& poCaption)
{
    if (keys.isEmpty())
        return Failure(QStringLiteral("There are no separator sheets to write."));
    QList<QList<SheetBlock>> sheets;
    for (const BarcodeKey& key : keys) {
        IoResult<QList<SheetBlock>> blocks = SheetBlocks(key, poCaption);
        if (!blocks)
            return blocks.failure();
        sheets.append(std::move(blocks.value()));
    }
    return sheets;
}

}  // namespace

IoResult<QImage> SeparatorSheet(const BarcodeKey& key, const QString& poCaption)
{
    IoResult<QList<SheetBlock>> blocks = SheetBlocks(key, poCaption);
    if (!blocks)
        return blocks.failure();
    return RenderSheet(blocks.value());
}

IoStatus WriteSeparatorSheetsTiff(const QString& target, const QList<BarcodeKey>& keys, const QString& poCaption)
{
    IoResult<QList<QList<SheetBlock>>> sheets = AllBlocks(keys, poCaption);
    if (!sheets)
        return sheets.failure();
    QList<QImage> pages;
    for (const QList<SheetBlock>& blocks : sheets.value()) {
        IoResult<QImage> page = RenderSheet(blocks);
        if (!page)
            return page.failure();
        pages.append(std::move(page.value()));
    }
    return WriteTiff(target, pages);
}

IoStatus WriteSeparatorSheetsPdf(const QString& target, const QList<BarcodeKey>& keys, const QString& poCaption)
{
    IoResult<QList<QList<SheetBlock>>> sheets = AllBlocks(keys, poCaption);
    if (!sheets)
        return sheets.failure();
    QSaveFile file(target);
    if (!file.open(QIODevice::WriteOnly))
        return Failure(QStringLiteral("Can't write %1: %2").arg(target, file.errorString()));
    {
        QPdfWriter pdf(&file);
        pdf.setPageSize(QPageSize(QPageSize::Letter));
        pdf.setPageMargins(QMarginsF(0, 0, 0, 0));
        pdf.setResolution(kDpi);
        pdf.setTitle(QStringLiteral("Separator sheets"));
        QPainter painter(&pdf);
        if (!painter.isActive())
            return Failure(QStringLiteral("Can't write %1: the PDF could not be started.").arg(target));
        for (qsizetype i = 0; i < sheets->size(); ++i) {
            if (i > 0)
                pdf.newPage();
            PaintSheet(painter, sheets->at(i));
        }
    }
    if (!file.commit())
        return Failure(QStringLiteral("Can't write %1: %2").arg(target, file.errorString()));
    return {};
}

}  // namespace tarlox
