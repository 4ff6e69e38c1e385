#include "output/PdfWriter.h"

#include "output/PdfArchive.h"
#include "store/FileReplacement.h"
#include "store/TiffPageCopy.h"
#include "store/TiffReader.h"
#include "store/TiffWriter.h"

#include <QFile>
#include <QTemporaryDir>

#include <qpdf/QPDF.hh>
#include <qpdf/QPDFPageDocumentHelper.hh>
#include <qpdf/QPDFPageObjectHelper.hh>
#include <qpdf/QPDFWriter.hh>

#include <tiffio.h>

#include <cerrno>
#include <cstdio>
#include <exception>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace tarlox {

namespace {

using Object = QPDFObjectHandle;

// One strip of a Group 4 page, as the CCITTFaxDecode filter reads it.
struct G4Strip {
    std::string data;
    int rows = 0;
};

struct G4Page {
    int width = 0;
    int height = 0;
    Dpi dpi;
    bool blackIs1 = false;          // stored MinIsBlack: the coded black runs are white
    bool uncompressedMode = false;  // the coder was allowed uncompressed mode
    std::vector<G4Strip> strips;    // top to bottom
};

QString PageName(int page, const QString& path)
{
    return QStringLiteral("page %1 of \"%2\"").arg(page + 1).arg(path);
}

// The strips of the current page of tif, which CanCopyRaw accepted, as they are stored.
IoResult<G4Page> ReadStrips(tiff* tif, const TiffPageInfo& info, const QString& what)
{
    const auto damaged = [&](const QString& why) { return Failure(QStringLiteral("Can't read %1: %2.").arg(what, why)); };
    if (info.width <= 0 || info.height <= 0)
        return damaged(QStringLiteral("the page has no size"));

    G4Page page;
    page.width = info.width;
    page.height = info.height;
    page.dpi = info.dpi;
    page.blackIs1 = info.photometric == PHOTOMETRIC_MINISBLACK;
    uint32_t options = 0;
    if (TIFFGetField(tif, TIFFTAG_GROUP4OPTIONS, &options) == 1)
        page.uncompressedMode = (options & GROUP4OPT_UNCOMPRESSED) != 0;
    uint16_t fillOrder = FILLORDER_MSB2LSB;
    TIFFGetFieldDefaulted(tif, TIFFTAG_FILLORDER, &fillOrder);
    uint32_t rowsPerStrip = 0;
    TIFFGetFieldDefaulted(tif, TIFFTAG_ROWSPERSTRIP, &rowsPerStrip);
    if (rowsPerStrip == 0 || rowsPerStrip > uint32_t(info.height))
        rowsPerStrip = uint32_t(info.height);

    const uint32_t strips = TIFFNumberOfStrips(tif);
    int rows = 0;
    for (uint32_t strip = 0; strip < strips && rows < info.height; ++strip) {
        const tmsize_t size = TIFFRawStripSize(tif, strip);
        if (size <= 0)
            return damaged(QStringLiteral("strip %1 is missing").arg(strip + 1));
        G4Strip band;
        band.rows = std::min(int(rowsPerStrip), info.height - rows);
        band.data.resize(size_t(size));
        const tmsize_t got = TIFFReadRawStrip(tif, strip, band.data.data(), size);
        if (got <= 0)
            return damaged(QStringLiteral("strip %1 can't be read").arg(strip + 1));
        band.data.resize(size_t(got));
        // The filter reads the most significant bit first.
        if (fillOrder == FILLORDER_LSB2MSB)
            TIFFReverseBits(reinterpret_cast<uint8_t*>(band.data.data()), got);
        rows += band.rows;
        page.strips.push_back(std::move(band));
    }
    if (rows < info.height)
        return damaged(QStringLiteral("its strips hold fewer rows than the page"));
    return page;
}

// Gives the pages as Group 4 strips: TIFF pages read as stored where they
// can be, everything else encoded once through a scratch TIFF.
class PageSource {
public:
    IoResult<G4Page> read(const PdfPage& page)
    {
        if (page.tiff.isEmpty()) {
            if (page.image.isNull())
                return Failure(QStringLiteral("A page for the PDF is empty."));
            return encode(page.image, page.dpi.x > 0 && page.dpi.y > 0 ? page.dpi : DpiOf(page.image));
        }
        if (!reader_ || reader_->path() != page.tiff) {
            reader_.reset();
            auto opened = TiffReader::open(page.tiff);
            if (!opened)
                return opened.failure();
            reader_ = std::make_unique<TiffReader>(std::move(*opened));
        }
        return fromTiff(*reader_, page.page);
    }

private:
    IoResult<G4Page> fromTiff(TiffReader& reader, int page)
    {
        if (page < 0 || page >= reader.pageCount())
            return Failure(QStringLiteral("\"%1\" has no page %2.").arg(reader.path()).arg(page + 1));
        auto info = reader.pageInfo(page);
        if (!info)
            return info.failure();
        auto tif = reader.selectPage(page);
        if (!tif)
            return tif.failure();
        if (CanCopyRaw(*tif))
            return ReadStrips(*tif, *info, PageName(page, reader.path()));
        auto image = reader.readPage(page);
        if (!image)
            return image.failure();
        return encode(*image, info->dpi);
    }

    IoResult<G4Page> encode(const QImage& image, Dpi dpi)
    {
        if (!scratch_)
            scratch_.emplace();
        if (!scratch_->isValid())
            return Failure(QStringLiteral("Can't make a temporary folder for the pages of the PDF: %1").arg(scratch_->errorString()));
        const QString path = scratch_->filePath(QStringLiteral("page.tif"));
        auto writer = TiffWriter::create(path);
        if (!writer)
            return writer.failure();
        if (auto added = writer->addPage(image, dpi); !added)
            return added.failure();
        if (auto written = writer->commit(); !written)
            return written.failure();
        auto reader = TiffReader::open(path);
        if (!reader)
            return reader.failure();
        return fromTiff(*reader, 0);
    }

    std::unique_ptr<TiffReader> reader_;  // the file of the last TIFF page
    std::optional<QTemporaryDir> scratch_;
};

std::string Number(double value)
{
    QByteArray text = QByteArray::number(value, 'f', 4);
    while (text.endsWith('0'))
        text.chop(1);
    if (text.endsWith('.'))
        text.chop(1);
    return text.toStdString();
}

std::string ToStd(const QByteArray& bytes)
{
    return std::string(bytes.constData(), size_t(bytes.size()));
}

Object Integer(int value)
{
    return Object::newInteger(value);
}

Object Name(const char* name)
{
    return Object::newName(name);
}

// One image for each strip, stacked from the top of the page down; at the
// page's own resolution each strip covers whole device pixels.
// A PDF string of Latin-1 text; what Latin-1 can't hold becomes "?".
std::string PdfString(const QString& text)
{
    std::string out = "(";
    for (const char c : text.toLatin1()) {
        if (c == '(' || c == ')' || c == '\\')
            out += '\\';
        out += c;
    }
    return out + ")";
}

void AddPage(QPDF& pdf, QPDFPageDocumentHelper& document, const G4Page& page, const QList<PdfTextRun>& text)
{
    const double scaleX = 72.0 / page.dpi.x;
    const double scaleY = 72.0 / page.dpi.y;
    const double width = page.width * scaleX;
    const double height = page.height * scaleY;
    Object images = Object::newDictionary();
    std::string content;
    int top = 0;
    for (size_t i = 0; i < page.strips.size(); ++i) {
        const G4Strip& strip = page.strips[i];
        Object parameters = Object::newDictionary({{"/K", Integer(-1)}, {"/Columns", Integer(page.width)}, {"/Rows", Integer(strip.rows)}});
        if (page.blackIs1)
            parameters.replaceKey("/BlackIs1", Object::newBool(true));
        if (page.uncompressedMode)
            parameters.replaceKey("/Uncompressed", Object::newBool(true));
        Object image = pdf.newStream();
        image.replaceDict(Object::newDictionary({{"/Type", Name("/XObject")},
                                                 {"/Subtype", Name("/Image")},
                                                 {"/Width", Integer(page.width)},
                                                 {"/Height", Integer(strip.rows)},
                                                 {"/ColorSpace", Name("/DeviceGray")},
                                                 {"/BitsPerComponent", Integer(1)}}));
        image.replaceStreamData(strip.data, Name("/CCITTFaxDecode"), parameters);
        const std::string key = "/Im" + std::to_string(i);
        images.replaceKey(key, image);
        top += strip.rows;
        content += "q " + Number(width) + " 0 0 " + Number(strip.rows * scaleY) + " 0 " + Number((page.height - top) * scaleY)
                   + " cm " + key + " Do Q\n";
    }
    Object resources = Object::newDictionary({{"/XObject", images}});
    if (!text.isEmpty()) {
        // Render mode 3: neither filled nor stroked, as the text layer of a scan.
        resources.replaceKey("/Font", Object::newDictionary({{"/F1", Object::newDictionary({{"/Type", Name("/Font")},
                                                                                             {"/Subtype", Name("/Type1")},
                                                                                             {"/BaseFont", Name("/Helvetica")},
                                                                                             {"/Encoding", Name("/WinAnsiEncoding")}})}}));
        content += "BT 3 Tr\n";
        for (const PdfTextRun& run : text)
            content += "/F1 " + Number(run.size * scaleY) + " Tf 1 0 0 1 " + Number(run.x * scaleX) + " " + Number((page.height - run.y) * scaleY)
                       + " Tm " + PdfString(run.text) + " Tj\n";
        content += "ET\n";
    }
    Object pageObject = Object::newDictionary(
        {{"/Type", Name("/Page")},
         {"/MediaBox", Object::newArray({Integer(0), Integer(0), Object::newReal(Number(width)), Object::newReal(Number(height))})},
         {"/Resources", resources},
         {"/Contents", pdf.newStream(content)}});
    document.addPage(QPDFPageObjectHelper(pdf.makeIndirectObject(pageObject)), false);
}

QString ProducerName()
{
    return QStringLiteral("Tarlox %1.%2.%3").arg(TARLOX_VERSION_MAJOR).arg(TARLOX_VERSION_MINOR).arg(TARLOX_VERSION_PATCH);
}

// The information dictionary and, for PDF/A, the XMP metadata and the sRGB
// output intent that PDF/A-1b asks for, with the same values in both.
void AddDocumentInfo(QPDF& pdf, const PdfOptions& options)
{
    QDateTime created = options.created.isValid() ? options.created : QDateTime::currentDateTime();
    created = created.addMSecs(-created.time().msec());  // both forms hold whole seconds
    const QString producer = ProducerName();
    const std::string date = ToStd(PdfDate(created));
    Object info = Object::newDictionary({{"/Producer", Object::newUnicodeString(producer.toStdString())},
                                         {"/CreationDate", Object::newString(date)},
                                         {"/ModDate", Object::newString(date)}});
    if (!options.title.isEmpty())
        info.replaceKey("/Title", Object::newUnicodeString(options.title.toStdString()));
    pdf.getTrailer().replaceKey("/Info", pdf.makeIndirectObject(info));
    if (!options.pdfa)
        return;

    Object root = pdf.getRoot();
    Object metadata = pdf.newStream(ToStd(XmpPacket(options.title, producer, created)));
    metadata.getDict().replaceKey("/Type", Name("/Metadata"));
    metadata.getDict().replaceKey("/Subtype", Name("/XML"));
    root.replaceKey("/Metadata", metadata);

    Object profile = pdf.newStream(ToStd(SrgbIccProfile()));
    profile.getDict().replaceKey("/N", Integer(3));
    const std::string condition = "sRGB IEC61966-2.1";
    Object intent = Object::newDictionary({{"/Type", Name("/OutputIntent")},
                                           {"/S", Name("/GTS_PDFA1")},
                                           {"/OutputConditionIdentifier", Object::newString(condition)},
                                           {"/Info", Object::newString(condition)},
                                           {"/RegistryName", Object::newString("http://www.color.org")},
                                           {"/DestOutputProfile", profile}});
    root.replaceKey("/OutputIntents", Object::newArray({intent}));
}

// The bookmarks as one level of outline items, each opening its page whole.
void AddOutline(QPDF& pdf, const QList<PdfBookmark>& outline)
{
    const std::vector<QPDFPageObjectHelper> pages = QPDFPageDocumentHelper(pdf).getAllPages();
    Object outlines = pdf.makeIndirectObject(Object::newDictionary({{"/Type", Name("/Outlines")}}));
    std::vector<Object> items;
    for (const PdfBookmark& bookmark : outline) {
        if (bookmark.page < 0 || size_t(bookmark.page) >= pages.size())
            continue;
        const Object page = pages[size_t(bookmark.page)].getObjectHandle();
        items.push_back(pdf.makeIndirectObject(Object::newDictionary({{"/Title", Object::newUnicodeString(bookmark.title.toStdString())},
                                                                      {"/Parent", outlines},
                                                                      {"/Dest", Object::newArray({page, Name("/Fit")})}})));
    }
    if (items.empty())
        return;
    for (size_t i = 0; i + 1 < items.size(); ++i) {
        items[i].replaceKey("/Next", items[i + 1]);
        items[i + 1].replaceKey("/Prev", items[i]);
    }
    outlines.replaceKey("/First", items.front());
    outlines.replaceKey("/Last", items.back());
    outlines.replaceKey("/Count", Integer(int(items.size())));
    pdf.getRoot().replaceKey("/Outlines", outlines);
    pdf.getRoot().replaceKey("/PageMode", Name("/UseOutlines"));
}

// Writes the document to path. Image data is written as it was given; the
// small streams (page contents, the profile) are compressed. PDF 1.4 without
// object streams, as PDF/A-1 wants; the file ID is a digest of the content.
// The file is closed here, not by qpdf, which would not report a write that
// fails only when the last buffer goes out (a full disk).
IoStatus WriteDocument(QPDF& pdf, const QString& path)
{
    const auto failed = [](int error) { return Failure(qt_error_string(error)); };
    std::unique_ptr<FILE, int (*)(FILE*)> file(std::fopen(QFile::encodeName(path).constData(), "wb"), std::fclose);
    if (!file)
        return failed(errno);
    QPDFWriter writer(pdf);
    writer.setOutputFile("PDF", file.get(), false);
    writer.setDecodeLevel(qpdf_dl_none);
    writer.setCompressStreams(true);
    writer.setObjectStreamMode(qpdf_o_disable);
    writer.setMinimumPDFVersion("1.4");
    writer.setDeterministicID(true);
    writer.setNewlineBeforeEndstream(true);
    errno = 0;  // a buffered write that failed leaves its reason here
    writer.write();
    if (std::fflush(file.get()) != 0 || std::ferror(file.get()))
        return failed(errno != 0 ? errno : EIO);
    if (std::fclose(file.release()) != 0)
        return failed(errno);
    return {};
}

}  // namespace

IoStatus WritePdf(const QString& target, const QList<PdfPage>& pages, const PdfOptions& options)
{
    if (pages.isEmpty())
        return Failure(QStringLiteral("No pages to write to \"%1\".").arg(target));
    auto file = FileReplacement::begin(target, false);
    if (!file)
        return file.failure();
    try {
        QPDF pdf;
        pdf.setSuppressWarnings(true);
        pdf.emptyPDF();
        QPDFPageDocumentHelper document(pdf);
        PageSource source;
        for (const PdfPage& page : pages) {
            auto g4 = source.read(page);
            if (!g4)
                return g4.failure();
            AddPage(pdf, document, *g4, page.text);
        }
        AddDocumentInfo(pdf, options);
        if (!options.outline.isEmpty())
            AddOutline(pdf, options.outline);
        if (auto written = WriteDocument(pdf, file->workPath()); !written)
            return Failure(QStringLiteral("Can't write \"%1\": %2").arg(target, written.error()));
    } catch (const std::exception& error) {
        return Failure(QStringLiteral("Can't write \"%1\": %2").arg(target, QString::fromLocal8Bit(error.what())));
    }
    return file->commit();
}

IoStatus TiffToPdf(const QString& tiff, const QList<int>& pages, const QString& target, const PdfOptions& options)
{
    QList<PdfPage> chosen;
    if (pages.isEmpty()) {
        auto reader = TiffReader::open(tiff);
        if (!reader)
            return reader.failure();
        for (int page = 0; page < reader->pageCount(); ++page)
            chosen.append(PdfPage::fromTiff(tiff, page));
    } else {
        for (int page : pages)
            chosen.append(PdfPage::fromTiff(tiff, page));
    }
    return WritePdf(target, chosen, options);
}

}  // namespace tarlox
