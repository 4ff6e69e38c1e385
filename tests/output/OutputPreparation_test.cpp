#include "output/MessageQueue.h"
#include "data/Settings.h"
#include "output/OutputPreparation.h"
#include "output/PdfWriter.h"
#include "output/PdfTools.h"
#include "store/TestPages.h"
#include "store/TiffReader.h"
#include "store/TiffWriter.h"
#include "support/FullDisk.h"
#include "support/TestSite.h"

#include <QDir>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTimeZone>

#include <gtest/gtest.h>

#include <sys/stat.h>
#include <cmath>
#include <cstring>

using namespace tarlox;
using namespace tarlox::test;

namespace {

// A report whose page n carries a black square at (20 * n, 20 * n), so pages tell themselves apart.
QString WriteReport(const QString& path, int pages, int width = 850, int height = 1100, double dpi = 100)
{
    QList<QImage> list;
    for (int n = 1; n <= pages; ++n) {
        QImage page = NewMonoPage(width, height);
        FillBlack(page, 20 * n, 20 * n, 15, 15);
        FillBlack(page, 0, height - 10, width, 10);  // a bar at the bottom
        SetDpi(page, Dpi{dpi, dpi});
        list << page;
    }
    EXPECT_TRUE(WriteTiff(path, list).ok());
    return path;
}

QList<QImage> ReadAll(const QString& path)
{
    QList<QImage> pages;
    auto reader = TiffReader::open(path);
    for (int p = 0; reader && p < reader->pageCount(); ++p)
        pages << *reader->readPage(p);
    return pages;
}

// Length of the black run on row y that starts at x.
int BlackRun(const QImage& page, int x, int y)
{
    int n = 0;
    while (x + n < page.width() && IsBlackAt(page, x + n, y))
        ++n;
    return n;
}

// The first row at or below from with a black pixel in columns [left, right).
int FirstBlackRow(const QImage& page, int left, int right, int from = 0)
{
    for (int y = from; y < page.height(); ++y)
        for (int x = left; x < right; ++x)
            if (IsBlackAt(page, x, y))
                return y;
    return -1;
}

class OutputPreparationTest : public testing::Test {
protected:
    void SetUp() override
    {
        ASSERT_TRUE(site.start());
        ASSERT_TRUE(QDir().mkpath(s().tempDir));
        ASSERT_EQ(MessageFontProblem(), QString()) << "install the Debian package fonts-liberation";
    }
    Session& s() { return site.session(); }
    void set(const QString& section, const char* key, const QString& value) { PutLocal(s(), section, QLatin1String(key), value); }
    QStringList tempFiles() { return QDir(s().tempDir).entryList(QDir::Files); }

    TestSite site;
};

TEST_F(OutputPreparationTest, ChosenPagesOnlyInOrderCopiedAsStored)
{
    const QString report = WriteReport(site.path(QStringLiteral("TR000123.TIF")), 5);
    const QList<QImage> source = ReadAll(report);
    struct Case { const char* pages; int sequence; const char* name; QList<int> expected; };
    for (const Case& c : {Case{"2,3", 0, "TM000123.TIF", {2, 3}}, Case{"All", 2, "TM000123_2.TIF", {1, 2, 3, 4, 5}},
                          Case{"5,1,9", 1, "TM000123_1.TIF", {1, 5}}}) {
        IoResult<QString> made = SaveFile(s(), report, QLatin1String(c.pages), c.sequence, false, {});
        ASSERT_TRUE(made.ok()) << made.error().toStdString();
        EXPECT_EQ(QFileInfo(*made).fileName(), QLatin1String(c.name));
        const QList<QImage> pages = ReadAll(*made);
        ASSERT_EQ(pages.size(), c.expected.size()) << c.pages;
        for (int i = 0; i < pages.size(); ++i)
            EXPECT_TRUE(SamePixels(pages[i], source[c.expected[i] - 1])) << c.pages << " page " << i;
    }
    // An empty selection makes no file and says so.
    EXPECT_FALSE(SaveFile(s(), report, QStringLiteral("7"), 0, false, {}).ok());
    EXPECT_TRUE(site.prompter().textOf(QStringLiteral("Error")).startsWith(QStringLiteral("Image file '")));
}

TEST_F(OutputPreparationTest, StampKeepsItsSizeOnPaperAndSqueezesThePage)
{
    // A 1-inch by 0.2-inch black stamp at 300 dpi.
    QImage stamp = NewMonoPage(300, 60);
    FillBlack(stamp, 0, 0, 300, 60), SetDpi(stamp, Dpi{300, 300});
    const QString stampPath = site.path(QStringLiteral("stamp.tif"));
    ASSERT_TRUE(WriteTiff(stampPath, {stamp}).ok());
    set(section::Info, "Authorization", QStringLiteral("S")), set(section::Info, "AuthorizationStamp", stampPath);
    for (const double dpi : {300.0, 200.0}) {
        const QString report = WriteReport(site.path(QStringLiteral("TR%1.TIF").arg(int(dpi), 6, 10, QLatin1Char('0'))), 1,
                                           int(8.5 * dpi), int(11 * dpi), dpi);
        IoResult<QString> made = SaveFile(s(), report, QStringLiteral("All"), 0, false, {});
        ASSERT_TRUE(made.ok()) << made.error().toStdString();
        const QImage page = ReadAll(*made).value(0);
        ASSERT_EQ(page.size(), QSize(int(8.5 * dpi), int(11 * dpi)));
        EXPECT_TRUE(!IsBlackAt(page, 49, 1) && std::abs(BlackRun(page, 50, 1) - dpi) <= 2) << dpi;  // one inch at any resolution
        // The page's square at (20, 20) stands under the stamp, squeezed.
        const double squeeze = page.height() / (page.height() + 0.2 * dpi);
        EXPECT_NEAR(FirstBlackRow(page, 21, 36, int(0.2 * dpi * squeeze) + 1), (0.2 * dpi + 20) * squeeze, 2) << dpi;
        EXPECT_TRUE(IsBlackAt(page, 100, page.height() - 1));  // the bottom is kept
    }
    // With the message block as well, the message stands above the stamp.
    set(section::Interface, "AddMessage", QStringLiteral("True"));
    MessageFields fields;
    fields.heat = QStringLiteral("H12345");
    IoResult<QString> made = SaveFile(s(), site.path(QStringLiteral("TR000300.TIF")), QStringLiteral("All"), 0, false, fields);
    ASSERT_TRUE(made.ok()) << made.error().toStdString();
    const QImage page = ReadAll(*made).value(0);
    const int textTop = FirstBlackRow(page, 50, page.width());
    const int stampTop = [&] {
        for (int y = 0; y < page.height(); ++y)
            if (BlackRun(page, 50, y) >= 290)
                return y;
        return -1;
    }();
    EXPECT_TRUE(textTop >= 0 && stampTop > textTop + TextHeight(page.width(), 8)) << textTop << ' ' << stampTop;
}

TEST_F(OutputPreparationTest, MessageRowsHoldWholeFieldsAndStringsKeepEveryKey)
{
    EXPECT_EQ(TextHeight(1700, 0), 24);
    const int width = 1700;
    const QStringList values = QStringLiteral("ACME Steel Distribution Incorporated|SO-778812|INV-2231|Twelve foot bar stock, cold drawn, 1018|"
                                              "PO-99812734|1,250 pieces|H7781234A|TAG-0001").split(QLatin1Char('|'));
    QStringList lines, texts;
    int index = 0;
    for (const QString& value : values) {
        AddTextToString(lines, QStringLiteral("Field"), value, index, width, 14);
        texts << QStringLiteral("Field: ") + value;
    }
    ASSERT_GT(index, 0);  // it wrapped
    QStringList seen;
    for (int i = 0; i <= index; ++i) {
        EXPECT_FALSE(CheckTextWidth(lines[i].trimmed(), width, 14)) << lines[i].toStdString();
        seen += lines[i].split(QStringLiteral("    "), Qt::SkipEmptyParts);
    }
    EXPECT_EQ(seen, texts);  // every field whole, in order
    // An empty value adds nothing, whatever its label.
    AddTextToString(lines, QStringLiteral("Qty"), QString(), index, width, 14);
    EXPECT_EQ(lines.join(QString()).count(QStringLiteral("Qty")), 0);
    MessageFields all;
    int n = 0;
    for (QString* f : {&all.to, &all.order, &all.invoice, &all.lineNum, &all.custPO, &all.part, &all.partDesc, &all.quantity,
                       &all.heat, &all.tag, &all.text})
        *f = QStringLiteral("v%1").arg(++n);
    EXPECT_EQ(std::tuple(ReadMessageString(BuildMessageString(all)), BuildMessageString({}), ReadMessageString(QString())),
              std::tuple(all, QStringLiteral("\"C\"D\"N\"L\"U\"P\"E\"Q\"H\"G\"K"), MessageFields{}));
    MessageFields quoted;
    quoted.partDesc = QStringLiteral("1/2\" bar");
    EXPECT_EQ(ReadMessageString(BuildMessageString(quoted)).partDesc, QStringLiteral("1/2'' bar"));
    quoted.heat = QStringLiteral("A;B");
    EXPECT_TRUE(CheckMessageFields(quoted).contains(QStringLiteral("Heat #")) && CheckMessageFields(all).isEmpty());
}

TEST_F(OutputPreparationTest, QueuesAskBeforeMergingSurviveARestartAndBecomeFilesUnlessStopped)
{
    const QueueItem a{QStringLiteral("/d/TR000001.TIF"), {}};
    MessageFields heat;
    heat.heat = QStringLiteral("H1");
    const QueueItem b{QStringLiteral("/d/TR000002.TIF"), heat};
    ASSERT_TRUE(BuildQueue(s(), QueueMode::Email, {a, a, b}).has_value());  // empty queue: no question
    const Queue first = ReadQueue(s(), QueueMode::Email);
    EXPECT_EQ(std::tuple(site.prompter().asked().isEmpty(), first.count(), first.files), std::tuple(true, 2, QStringLiteral("/d/TR000001.TIF;All;/d/TR000002.TIF;All")));

    struct Case { Answer answer; int count; };  // count: images queued afterwards
    for (const Case& c : {Case{Answer::Cancel, 2}, Case{Answer::Yes, 3}, Case{Answer::No, 1}}) {
        site.prompter().answer(c.answer);
        const auto result = BuildQueue(s(), QueueMode::Email, {QueueItem{QStringLiteral("/d/TR000003.TIF"), {}}});
        EXPECT_EQ(std::pair(result.has_value(), site.prompter().wasAsked(QStringLiteral("Email Queued Images?"))), std::pair(c.answer != Answer::Cancel, true));
        // Another start of the program reads the same queue.
        ScriptedPrompter other;
        auto again = site.openAnother(other);
        EXPECT_EQ(ReadQueue(*again, QueueMode::Email).count(), c.count);
    }
    EXPECT_TRUE(ReadQueue(s(), QueueMode::Fax).isEmpty());

    const QString one = WriteReport(site.path(QStringLiteral("TR000011.TIF")), 3);
    const QString two = WriteReport(site.path(QStringLiteral("TR000012.TIF")), 2);
    set(section::Info, "PDF", QStringLiteral("True"));
    Queue queue;
    AddFileAndMessage(queue, one, QStringLiteral("1,3"), {});
    AddFileAndMessage(queue, site.path(QStringLiteral("TR000099.TIF")), QStringLiteral("All"), {});  // gone
    AddFileAndMessage(queue, two, QStringLiteral("All"), {});
    IoResult<QStringList> made = SaveTempFiles(s(), queue.files, queue.messages, true);
    ASSERT_TRUE(made.ok() && made->size() == 2);  // the missing file is left out, the others go on
    EXPECT_EQ(std::pair(QFileInfo(made->at(0)).fileName(), QFileInfo(made->at(1)).fileName()), std::pair(QStringLiteral("TM000011_1.pdf"), QStringLiteral("TM000012_3.pdf")));
    EXPECT_TRUE(FileBytes(made->at(0)).startsWith("%PDF-"));  // written by the PDF writer, checked on its own
    for (const QString& file : *made)
        QFile::remove(file);

    int steps = 0;
    IoResult<QStringList> stopped =
        SaveTempFiles(s(), queue.files, queue.messages, false, [&](const QString&) { return ++steps < 4; });
    EXPECT_EQ(std::pair(stopped.error(), tempFiles()), std::pair(kOutputCancelled, QStringList()));
}

// What qpdf reads in a PDF: for each page its size and its images, top to bottom.
struct PdfImage { QByteArray data; QJsonObject parameters; };  // data: the stream's bytes as stored
struct PdfPageSeen { double width = 0; double height = 0; QList<PdfImage> images; };

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
TEST_F(PdfWriterTest, PagesKeepTheirGroup4DataSizeAndPixelsChosenPagesTheirOrder)
{
    enum Source { StoreFile, LibtiffFile, InMemory };
    struct Case { const char* name; Source source; int width, height, dpi; uint16_t photometric, fillOrder; int rowsPerStrip, expectedStrips; };
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
        ASSERT_TRUE(c.source == StoreFile ? WriteTiff(tiff, {page}).ok() : WriteG4WithLibtiff(tiff, page, c.dpi, c.photometric, c.fillOrder, c.rowsPerStrip));
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
        EXPECT_TRUE(rendered.width() - page.width() <= 1 && rendered.height() - page.height() <= 1) << rendered.width() << 'x' << rendered.height();
        EXPECT_TRUE(SamePixels(rendered.copy(0, 0, page.width(), page.height()), page));
    }

    // Chosen pages of a report, in their order.
    const QString tiff = path(QStringLiteral("TR000001.TIF"));
    const QList<QImage> pages = {TextPage(850, 1100, 1, 100), TextPage(850, 1100, 2, 100), TextPage(850, 1100, 3, 100)};
    ASSERT_TRUE(WriteTiff(tiff, pages).ok());

    ASSERT_TRUE(TiffToPdf(tiff, {2, 0}, path(QStringLiteral("two.pdf"))).ok() && TiffToPdf(tiff, {}, path(QStringLiteral("all.pdf"))).ok());
    EXPECT_EQ(ReadWithQpdf(path(QStringLiteral("all.pdf"))).size(), 3);
    const QList<PdfPageSeen> two = ReadWithQpdf(path(QStringLiteral("two.pdf")));
    ASSERT_EQ(two.size(), 2);
    EXPECT_TRUE(two[0].images[0].data == RawStrips(tiff, 2)[0] && two[1].images[0].data == RawStrips(tiff, 0)[0]);
}

TEST_F(PdfWriterTest, ArchiveFormPassesPreflight)
{
    const QString tiff = path(QStringLiteral("TR000001.TIF"));
    ASSERT_TRUE(WriteTiff(tiff, {TextPage(1700, 2200, 1, 200), TextPage(1700, 2200, 2, 200)}).ok());
    PdfOptions options;
    options.pdfa = true, options.title = QStringLiteral(u"Prüfbericht H1001 & <Nord>");
    options.created = QDateTime(QDate(2024, 3, 15), QTime(14, 30, 5, 250), QTimeZone(2 * 3600));
    const QString pdf = path(QStringLiteral("archive.pdf"));
    const IoStatus written = WritePdf(pdf, {PdfPage::fromTiff(tiff, 0), PdfPage::fromTiff(tiff, 1)}, options);
    ASSERT_TRUE(written.ok()) << written.error().toStdString();
    EXPECT_TRUE(QpdfFindsNoFault(pdf) && FileBytes(pdf).startsWith("%PDF-1.4"));

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
        EXPECT_EQ(std::pair(QDir(out.path()).entryList(QDir::Files | QDir::Hidden), FileBytes(target)), std::pair(QStringList{QStringLiteral("TM000001.pdf")}, before));
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
