#include "store/ImageInput.h"
#include "store/PageProcessing.h"
#include "store/TiffWriter.h"
#include "TestPages.h"
#include "support/TestSite.h"

#include <QPainter>

using namespace tarlox;
using namespace tarlox::test;

namespace {

class ImageInputs : public TempDirTest {
protected:
    void write(const QString& name, const QByteArray& bytes) const { ASSERT_TRUE(WriteFile(path(name), bytes)); }
};

// A PDF of letter pages, each with one black rectangle (in points from the lower left corner).
QByteArray LetterPdf(const QList<QRectF>& boxes)
{
    QByteArray pdf("%PDF-1.4\n");
    QList<qsizetype> offsets;
    const auto object = [&](const QByteArray& body) { offsets.append(pdf.size()), pdf += QByteArray::number(offsets.size()) + " 0 obj\n" + body + "\nendobj\n"; };
    QByteArray kids;
    for (qsizetype i = 0; i < boxes.size(); ++i) kids += QByteArray::number(3 + 2 * i) + " 0 R ";
    object("<< /Type /Catalog /Pages 2 0 R >>");
    object("<< /Type /Pages /Kids [" + kids + "] /Count " + QByteArray::number(boxes.size()) + " >>");
    for (qsizetype i = 0; i < boxes.size(); ++i) {
        const QRectF& b = boxes[i];
        const QByteArray content = "0 0 0 rg " + QByteArray::number(b.x()) + ' ' + QByteArray::number(b.y()) + ' '
                                   + QByteArray::number(b.width()) + ' ' + QByteArray::number(b.height()) + " re f\n";
        object("<< /Type /Page /Parent 2 0 R /MediaBox [0 0 612 792] /Contents " + QByteArray::number(4 + 2 * i) + " 0 R >>");
        object("<< /Length " + QByteArray::number(content.size()) + " >>\nstream\n" + content + "endstream");
    }
    const qsizetype xref = pdf.size();
    pdf += "xref\n0 " + QByteArray::number(offsets.size() + 1) + "\n0000000000 65535 f \n";
    for (qsizetype offset : offsets) pdf += QByteArray::number(offset).rightJustified(10, '0') + " 00000 n \n";
    pdf += "trailer\n<< /Size " + QByteArray::number(offsets.size() + 1) + " /Root 1 0 R >>\nstartxref\n" + QByteArray::number(xref) + "\n%%EOF\n";
    return pdf;
}

}  // namespace

TEST_F(ImageInputs, PictureFilesAreOnePageWithTheirResolution)
{
    QImage colour(120, 80, QImage::Format_RGB32);
    colour.fill(qRgb(250, 245, 200));
    QPainter(&colour).fillRect(30, 20, 60, 20, QColor(20, 20, 90));
    SetDpi(colour, Dpi{300, 300});
    const QImage mono = TextPage(64, 48, 5, 300);
    // PPM records no resolution; the PNG named .tif is told by its content, not by its name.
    ASSERT_TRUE(colour.save(path("scan.png")) && colour.convertToFormat(QImage::Format_Grayscale8).save(path("scan.jpg"), "JPEG", 95) && colour.save(path("scan.bmp"))
                && colour.save(path("scan.ppm")) && colour.save(path("png-named.tif"), "PNG") && mono.save(path("mono.png")));

    for (const char* name : {"scan.png", "scan.jpg", "scan.bmp", "scan.ppm", "png-named.tif", "mono.png"}) {
        auto input = ImageInput::open(path(QString::fromLatin1(name)));
        ASSERT_TRUE(input.ok()) << name << input.error().toStdString();
        ASSERT_EQ(std::tuple(input->kind(), input->pageCount()), std::tuple(ImageInput::Kind::Picture, 1));
        auto page = input->page(0);
        ASSERT_TRUE(page.ok()) << name << page.error().toStdString();
        const bool isMono = std::string(name) == "mono.png";
        // Without a recorded resolution the scan default stands in.
        EXPECT_EQ(std::tuple(page->size(), DpiOf(*page).x, input->page(1).ok()),
                  std::tuple(isMono ? QSize(64, 48) : QSize(120, 80), std::string(name) == "scan.ppm" ? kDefaultDpi : 300.0, false)) << name;
        auto reduced = ReduceToBlackAndWhite(*page);
        ASSERT_TRUE(reduced.ok());
        EXPECT_TRUE(isMono ? SamePixels(*reduced, mono) : IsBlackAt(*reduced, 60, 30) && !IsBlackAt(*reduced, 60, 60)) << name;
    }
}

TEST_F(ImageInputs, TiffAndPdfGiveAllTheirPages)
{
    ASSERT_TRUE(WriteTiff(path("three.tif"), {TextPage(200, 100, 1), TextPage(200, 100, 2), TextPage(200, 100, 3)}).ok());
    auto tiff = ImageInput::open(path("three.tif"));
    ASSERT_TRUE(tiff.ok());
    ASSERT_EQ(std::tuple(tiff->kind(), tiff->pageCount()), std::tuple(ImageInput::Kind::Tiff, 3));
    EXPECT_TRUE(SamePixels(*tiff->page(2), TextPage(200, 100, 3)));

    write(QStringLiteral("two.pdf"), LetterPdf({QRectF(72, 648, 144, 72), QRectF(360, 72, 144, 72)}));
    auto pdf = ImageInput::open(path("two.pdf"), 100);
    ASSERT_TRUE(pdf.ok()) << pdf.error().toStdString();
    ASSERT_EQ(std::tuple(pdf->kind(), pdf->pageCount()), std::tuple(ImageInput::Kind::Pdf, 2));
    auto first = pdf->page(0), second = pdf->page(1);
    ASSERT_TRUE(first.ok() && second.ok());
    EXPECT_EQ(std::tuple(first->size(), DpiOf(*first)), std::tuple(QSize(850, 1100), Dpi{100, 100}));
    // Rectangles at 1 to 3 inches across and 1 to 2 down; then 5 to 7 across, 9 to 10 down.
    EXPECT_EQ(std::tuple(IsBlackAt(*first, 200, 150), IsBlackAt(*first, 600, 950), IsBlackAt(*second, 600, 950), IsBlackAt(*second, 200, 150)),
              std::tuple(true, false, true, false));
    EXPECT_EQ(ImageInput::open(path("two.pdf"))->page(0)->size(), QSize(1700, 2200));
}

TEST_F(ImageInputs, UnreadableEmptyAndAbsurdFilesGiveClearMessages)
{
    QImage small(50, 40, QImage::Format_RGB32);
    small.fill(Qt::gray);
    ASSERT_TRUE(small.save(path("whole.png")));
    // A PDF page of 100 x 100 inches at 200 dpi is refused before rendering.
    for (const auto& [name, bytes] : {std::pair{"notes.txt", QByteArray("Heat 12345, part 678\n")}, {"empty.png", QByteArray()},
                                      {"broken.pdf", QByteArray("%PDF-1.4\nthis is not the rest of a PDF file\n")}, {"nopages.pdf", LetterPdf({})},
                                      {"header.tif", QByteArray("MM\0*\0\0\0\0", 8)}, {"cut.png", FileBytes(path("whole.png")).left(60)},
                                      {"huge.ppm", QByteArray("P6\n20000 20000\n255\n")},
                                      {"poster.pdf", LetterPdf({QRectF(0, 0, 10, 10)}).replace("/MediaBox [0 0 612 792]", "/MediaBox [0 0 7200 7200]")}})
        write(QString::fromLatin1(name), bytes);

    using Case = std::pair<const char*, const char*>;  // a file and what its message says
    for (const auto& [name, says] : {Case{"missing.png", "does not exist"}, {"notes.txt", "not a picture file"}, {"empty.png", "is empty"},
                                     {"broken.pdf", "not a readable PDF"}, {"nopages.pdf", "has no pages"}, {"header.tif", "has no pages"}}) {
        auto input = ImageInput::open(path(QString::fromLatin1(name)));
        ASSERT_FALSE(input.ok()) << name;
        EXPECT_TRUE(input.error().contains(QString::fromLatin1(says)) && input.error().contains(QString::fromLatin1(name))) << input.error().toStdString();
    }

    // These open, but their page can't be had.
    for (const auto& [name, says] : {Case{"cut.png", "cut.png"}, {"huge.ppm", "too large"}, {"poster.pdf", "too large"}}) {
        auto input = ImageInput::open(path(QString::fromLatin1(name)));
        ASSERT_TRUE(input.ok()) << name << input.error().toStdString();
        auto page = input->page(0);
        EXPECT_TRUE(!page.ok() && page.error().contains(QString::fromLatin1(says))) << name;
    }

    // 1 x 1 is small, not wrong.
    QImage dot(1, 1, QImage::Format_RGB32);
    dot.fill(Qt::black);
    ASSERT_TRUE(dot.save(path("dot.png")));
    auto dotPage = ImageInput::open(path("dot.png"))->page(0);
    ASSERT_TRUE(dotPage.ok());
    auto dotMono = ReduceToBlackAndWhite(*dotPage);
    EXPECT_TRUE(dotMono.ok() && WriteTiff(path("dot.tif"), {*dotMono}).ok());
}
