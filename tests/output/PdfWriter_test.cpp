#include "output/PdfWriter.h"
#include "store/TestPages.h"
#include "store/TiffWriter.h"
#include "support/FullDisk.h"
#include "support/TestSite.h"

#include <QDir>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTimeZone>

#include <gtest/gtest.h>

#include <sys/stat.h>

#include <cstring>

using namespace tarlox;
using namespace tarlox::test;

namespace {

// The output of a program; exitCode gets its exit code (-1 when it didn't end normally).
QString Tool(const QString& program, const QStringList& arguments, int* exitCode = nullptr)
{
    QProcess process;
    process.setProcessChannelMode(QProcess::MergedChannels);
    process.start(program, arguments);
    const bool ended = process.waitForFinished(120000) && process.exitStatus() == QProcess::NormalExit;
    if (exitCode)
        *exitCode = ended ? process.exitCode() : -1;
    return QString::fromUtf8(process.readAllStandardOutput());
}

// What qpdf reads in a PDF: for each page its size and its images, top to bottom.
struct PdfImage {
    QByteArray data;  // the stream's bytes as stored
    QJsonObject parameters;
};
struct PdfPageSeen {
    double width = 0;
    double height = 0;
    QList<PdfImage> images;
};

QList<PdfPageSeen> ReadWithQpdf(const QString& pdf)
{
    const QString json = Tool(QStringLiteral("qpdf"), {QStringLiteral("--json=2"), QStringLiteral("--json-stream-data=inline"),
                                                       QStringLiteral("--decode-level=none"), pdf});
    const QJsonObject root = QJsonDocument::fromJson(json.toUtf8()).object();
    const QJsonObject objects = root[QStringLiteral("qpdf")].toArray()[1].toObject();
    const auto object = [&](const QString& reference) { return objects[QStringLiteral("obj:") + reference].toObject(); };
    QList<PdfPageSeen> pages;
    for (const QJsonValue& pageValue : root[QStringLiteral("pages")].toArray()) {
        const QJsonObject page = pageValue.toObject();
        const QJsonArray box = object(page[QStringLiteral("object")].toString())[QStringLiteral("value")][QStringLiteral("/MediaBox")].toArray();
        PdfPageSeen seen{box[2].toDouble(), box[3].toDouble(), {}};
        QMap<int, PdfImage> byName;  // "/Im0", "/Im1", ...: the strips from the top
        for (const QJsonValue& imageValue : page[QStringLiteral("images")].toArray()) {
            const QJsonObject image = imageValue.toObject();
            const QJsonObject stream = object(image[QStringLiteral("object")].toString())[QStringLiteral("stream")].toObject();
            byName[image[QStringLiteral("name")].toString().mid(3).toInt()] =
                PdfImage{QByteArray::fromBase64(stream[QStringLiteral("data")].toString().toLatin1()),
                         stream[QStringLiteral("dict")][QStringLiteral("/DecodeParms")].toObject()};
        }
        seen.images = byName.values();
        pages.append(seen);
    }
    return pages;
}

// Page (from 1) of a PDF rendered in black and white. pdftocairo rather than
// pdftoppm: Splash smooths an image drawn at its own size, cairo copies it.
QImage Render(const QString& pdf, int page, int dpi, const QString& prefix)
{
    const QString number = QString::number(page);
    Tool(QStringLiteral("pdftocairo"), {QStringLiteral("-png"), QStringLiteral("-mono"), QStringLiteral("-r"), QString::number(dpi),
                                        QStringLiteral("-f"), number, QStringLiteral("-l"), number, QStringLiteral("-singlefile"), pdf, prefix});
    return QImage(prefix + QStringLiteral(".png"));
}

// A Group 4 page written by libtiff itself, in the given form.
bool WriteG4WithLibtiff(const QString& path, const QImage& page, int dpi, uint16_t photometric, uint16_t fillOrder, int rowsPerStrip)
{
    QImage stored = page;
    if (photometric == PHOTOMETRIC_MINISBLACK)
        stored.invertPixels();
    const size_t rowBytes = size_t(page.width() + 7) / 8;
    std::vector<uint8_t> rows(rowBytes * size_t(page.height()));
    for (int y = 0; y < page.height(); ++y)
        std::memcpy(rows.data() + rowBytes * size_t(y), stored.constScanLine(y), rowBytes);
    return WriteWithLibtiff(path, [&](TIFF* tif) {
        TIFFSetField(tif, TIFFTAG_FILLORDER, fillOrder);
        TIFFSetField(tif, TIFFTAG_XRESOLUTION, double(dpi));
        TIFFSetField(tif, TIFFTAG_YRESOLUTION, double(dpi));
        TIFFSetField(tif, TIFFTAG_RESOLUTIONUNIT, RESUNIT_INCH);
        return WriteStripPage(tif, page.width(), page.height(), 1, 1, photometric, COMPRESSION_CCITTFAX4, rows, rowsPerStrip);
    });
}

bool QpdfFindsNoFault(const QString& pdf)
{
    int exitCode = -1;
    const QString check = Tool(QStringLiteral("qpdf"), {QStringLiteral("--check"), pdf}, &exitCode);
    return exitCode == 0 && check.contains(QStringLiteral("No syntax or stream encoding errors"));
}

class PdfWriterTest : public ::testing::Test {
protected:
    QString path(const QString& name) const { return dir.filePath(name); }
    QTemporaryDir dir;
};

}  // namespace

// Every kind of page: the image data in the PDF is the stored strip, the page
// has the paper size of the image, and it renders to the stored pixels.
TEST_F(PdfWriterTest, PagesKeepTheirGroup4DataSizeAndPixels)
{
    enum Source { StoreFile, LibtiffFile, InMemory };
    struct Case {
        const char* name;
        Source source;
        int width, height, dpi;
        uint16_t photometric, fillOrder;
        int rowsPerStrip, expectedStrips;
    };
    const Case cases[] = {
        {"letter at 300 dpi", StoreFile, 2550, 3300, 300, PHOTOMETRIC_MINISWHITE, FILLORDER_MSB2LSB, 0, 1},
        {"letter at 200 dpi", StoreFile, 1700, 2200, 200, PHOTOMETRIC_MINISWHITE, FILLORDER_MSB2LSB, 0, 1},
        {"min-is-black", LibtiffFile, 1700, 2200, 200, PHOTOMETRIC_MINISBLACK, FILLORDER_MSB2LSB, 2200, 1},
        {"fill order LSB2MSB", LibtiffFile, 1728, 1100, 200, PHOTOMETRIC_MINISWHITE, FILLORDER_LSB2MSB, 1100, 1},
        {"five strips", LibtiffFile, 1700, 2200, 200, PHOTOMETRIC_MINISWHITE, FILLORDER_MSB2LSB, 500, 5},
        {"page in memory", InMemory, 1700, 2200, 200, PHOTOMETRIC_MINISWHITE, FILLORDER_MSB2LSB, 0, 1},
    };
    int seed = 0;
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        const QImage page = TextPage(c.width, c.height, quint32(++seed), c.dpi);
        const QString tiff = path(QStringLiteral("page%1.tif").arg(seed));
        const QString pdf = path(QStringLiteral("page%1.pdf").arg(seed));
        if (c.source == StoreFile) {
            ASSERT_TRUE(WriteTiff(tiff, {page}).ok());
        } else {
            ASSERT_TRUE(WriteG4WithLibtiff(tiff, page, c.dpi, c.photometric, c.fillOrder, c.rowsPerStrip));
        }
        const PdfPage pdfPage = c.source == InMemory ? PdfPage::fromImage(page, Dpi{double(c.dpi), double(c.dpi)})
                                                     : PdfPage::fromTiff(tiff, 0);
        const IoStatus written = WritePdf(pdf, {pdfPage});
        ASSERT_TRUE(written.ok()) << written.error().toStdString();

        EXPECT_TRUE(QpdfFindsNoFault(pdf));
        const QList<PdfPageSeen> seen = ReadWithQpdf(pdf);
        ASSERT_EQ(seen.size(), 1);
        EXPECT_DOUBLE_EQ(seen[0].width, c.width * 72.0 / c.dpi);
        EXPECT_DOUBLE_EQ(seen[0].height, c.height * 72.0 / c.dpi);
        ASSERT_EQ(seen[0].images.size(), c.expectedStrips);
        if (c.source != InMemory) {
            const std::vector<QByteArray> strips = RawStrips(tiff, 0);
            ASSERT_EQ(strips.size(), size_t(c.expectedStrips));
            for (int i = 0; i < c.expectedStrips; ++i) {
                QByteArray stored = strips[size_t(i)];
                if (c.fillOrder == FILLORDER_LSB2MSB)
                    TIFFReverseBits(reinterpret_cast<uint8_t*>(stored.data()), stored.size());
                EXPECT_TRUE(seen[0].images[i].data == stored) << "strip " << i;
            }
        }
        EXPECT_EQ(seen[0].images[0].parameters[QStringLiteral("/BlackIs1")].toBool(), c.photometric == PHOTOMETRIC_MINISBLACK);

        const QImage rendered = Render(pdf, 1, c.dpi, path(QStringLiteral("render%1").arg(seed)));
        // A page size that isn't a whole number of points may round up to one more pixel.
        EXPECT_LE(rendered.width() - page.width(), 1);
        EXPECT_LE(rendered.height() - page.height(), 1);
        EXPECT_TRUE(SamePixels(rendered.copy(0, 0, page.width(), page.height()), page));
    }
}

TEST_F(PdfWriterTest, ChosenPagesOfAReportInTheirOrder)
{
    const QString tiff = path(QStringLiteral("TR000001.TIF"));
    const QList<QImage> pages = {TextPage(850, 1100, 1, 100), TextPage(850, 1100, 2, 100), TextPage(850, 1100, 3, 100)};
    ASSERT_TRUE(WriteTiff(tiff, pages).ok());

    ASSERT_TRUE(TiffToPdf(tiff, {2, 0}, path(QStringLiteral("two.pdf"))).ok());
    ASSERT_TRUE(TiffToPdf(tiff, {}, path(QStringLiteral("all.pdf"))).ok());
    EXPECT_EQ(ReadWithQpdf(path(QStringLiteral("all.pdf"))).size(), 3);
    const QList<PdfPageSeen> two = ReadWithQpdf(path(QStringLiteral("two.pdf")));
    ASSERT_EQ(two.size(), 2);
    EXPECT_TRUE(two[0].images[0].data == RawStrips(tiff, 2)[0]);
    EXPECT_TRUE(two[1].images[0].data == RawStrips(tiff, 0)[0]);
}

TEST_F(PdfWriterTest, ArchiveFormPassesPreflight)
{
    const QString tiff = path(QStringLiteral("TR000001.TIF"));
    ASSERT_TRUE(WriteTiff(tiff, {TextPage(1700, 2200, 1, 200), TextPage(1700, 2200, 2, 200)}).ok());
    PdfOptions options;
    options.pdfa = true;
    options.title = QStringLiteral(u"Prüfbericht H1001 & <Nord>");
    options.created = QDateTime(QDate(2024, 3, 15), QTime(14, 30, 5, 250), QTimeZone(2 * 3600));
    const QString pdf = path(QStringLiteral("archive.pdf"));
    const IoStatus written = WritePdf(pdf, {PdfPage::fromTiff(tiff, 0), PdfPage::fromTiff(tiff, 1)}, options);
    ASSERT_TRUE(written.ok()) << written.error().toStdString();
    EXPECT_TRUE(QpdfFindsNoFault(pdf));
    QFile file(pdf);
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    EXPECT_TRUE(file.read(8) == "%PDF-1.4");

    const QString jars = QStringLiteral("/usr/share/java/");
    if (!QFileInfo::exists(jars + QStringLiteral("preflight.jar")) || QStandardPaths::findExecutable(QStringLiteral("java")).isEmpty())
        GTEST_SKIP() << "PDFBox preflight (Debian libpdfbox2-java, libactivation-java, libjaxb-api-java) or java is not installed";
    QStringList classPath;
    for (const char* jar : {"preflight", "pdfbox2", "fontbox2", "xmpbox", "commons-logging", "javax.activation", "jaxb-api"})
        classPath << jars + QString::fromLatin1(jar) + QStringLiteral(".jar");
    const QString preflight = Tool(QStringLiteral("java"), {QStringLiteral("-cp"), classPath.join(QLatin1Char(':')),
                                                            QStringLiteral("org.apache.pdfbox.preflight.Validator_A1b"), pdf});
    EXPECT_TRUE(preflight.contains(QStringLiteral("is a valid PDF/A-1b file"))) << preflight.toStdString();
}

// A write that fails gives a message and leaves the directory as it was.
TEST_F(PdfWriterTest, FailedWriteLeavesNothingBehind)
{
    const QString tiff = path(QStringLiteral("TR000001.TIF"));
    ASSERT_TRUE(WriteTiff(tiff, {TextPage(1700, 2200, 1, 200)}).ok());
    QTemporaryDir out;
    const QString target = out.filePath(QStringLiteral("TM000001.pdf"));
    ASSERT_TRUE(TiffToPdf(tiff, {}, target).ok());
    const QByteArray before = FileBytes(target);
    const QImage page = TextPage(1700, 2200, 2, 200);

    const auto leftAsItWas = [&] {
        EXPECT_EQ(QDir(out.path()).entryList(QDir::Files | QDir::Hidden), QStringList{QStringLiteral("TM000001.pdf")});
        EXPECT_EQ(FileBytes(target), before);
    };

    const IoStatus missingPage = TiffToPdf(tiff, {0, 3}, target);
    EXPECT_TRUE(missingPage.error().contains(QStringLiteral("has no page 4"))) << missingPage.error().toStdString();
    leftAsItWas();

    IoStatus fullDisk;
    {
        FullDisk full(rlim_t(before.size() / 2));
        fullDisk = TiffToPdf(tiff, {0, 0}, target);
    }
    EXPECT_TRUE(fullDisk.error().contains(QStringLiteral("File too large"))) << fullDisk.error().toStdString();
    leftAsItWas();

    ::chmod(QFile::encodeName(out.path()).constData(), 0555);
    EXPECT_TRUE(RunUnprivileged([&] {
        return WritePdf(out.filePath(QStringLiteral("TM000002.pdf")), {PdfPage::fromImage(page)}).error().contains(QStringLiteral("Permission denied"));
    }));
    ::chmod(QFile::encodeName(out.path()).constData(), 0755);
    leftAsItWas();
}
