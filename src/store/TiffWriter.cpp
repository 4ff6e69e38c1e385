#include "store/TiffWriter.h"

#include "store/FileReplacement.h"
#include "store/PageProcessing.h"
#include "store/TagText.h"
#include "store/TiffHandle.h"
#include "store/TiffPageCopy.h"
#include "store/TiffReader.h"

#include <QFile>
#include <QFileInfo>

#include <tiffio.h>

#include <cerrno>
#include <cstring>
#include <vector>

namespace tarlox {

struct TiffWriter::Private {
    Private(FileReplacement file, TiffHandle handle, bool newFile, std::optional<ReportTags> tags)
        : file(std::move(file)), handle(std::move(handle)), newFile(newFile), tags(std::move(tags))
    {
    }

    // Declared in this order so the handle closes before the work file goes.
    FileReplacement file;
    TiffHandle handle;
    bool newFile;
    std::optional<ReportTags> tags;  // for the first page of a new file
    int added = 0;
    int copiedRaw = 0;
    QString failure;  // set once something went wrong; the writer refuses all else
    bool finished = false;
    std::vector<uint8_t> rows;  // packed scanlines of the page being written

    // Gives up the file at once: the work file goes, the target stays as it was.
    // systemError is the errno of a failed write (a full disk says so).
    IoError fail(const QString& why, int systemError = 0)
    {
        failure = QStringLiteral("Can't write \"%1\": %2").arg(file.target(), why);
        if (systemError != 0)
            failure += QStringLiteral(" (%1)").arg(qt_error_string(systemError));
        static_cast<void>(handle.close());
        file.discard();
        return IoError{failure};
    }
};

namespace {

void setTagText(TIFF* tif, ttag_t tag, const QString& text)
{
    const QByteArray bytes = EncodeTagText(text);
    TIFFSetField(tif, tag, bytes.constData());
}

void setReportTags(TIFF* tif, const ReportTags& tags)
{
    if (!tags.software.isEmpty())
        setTagText(tif, TIFFTAG_SOFTWARE, tags.software);
    setTagText(tif, kTagHeat, tags.heat);
    setTagText(tif, kTagPart, tags.part);
    setTagText(tif, kTagPurchaseOrder, tags.purchaseOrder);
    setTagText(tif, kTagVendor, tags.vendor);
    setTagText(tif, kTagManufacturer, tags.manufacturer);
}

void setGroup4Fields(TIFF* tif, const QImage& page, Dpi dpi)
{
    TIFFSetField(tif, TIFFTAG_SUBFILETYPE, uint32_t(FILETYPE_PAGE));
    TIFFSetField(tif, TIFFTAG_IMAGEWIDTH, uint32_t(page.width()));
    TIFFSetField(tif, TIFFTAG_IMAGELENGTH, uint32_t(page.height()));
    TIFFSetField(tif, TIFFTAG_BITSPERSAMPLE, 1);
    TIFFSetField(tif, TIFFTAG_SAMPLESPERPIXEL, 1);
    TIFFSetField(tif, TIFFTAG_COMPRESSION, COMPRESSION_CCITTFAX4);
    TIFFSetField(tif, TIFFTAG_PHOTOMETRIC, PHOTOMETRIC_MINISWHITE);
    TIFFSetField(tif, TIFFTAG_FILLORDER, FILLORDER_MSB2LSB);
    TIFFSetField(tif, TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG);
    TIFFSetField(tif, TIFFTAG_ORIENTATION, ORIENTATION_TOPLEFT);
    TIFFSetField(tif, TIFFTAG_ROWSPERSTRIP, uint32_t(page.height()));
    TIFFSetField(tif, TIFFTAG_XRESOLUTION, dpi.x > 0 ? dpi.x : kDefaultDpi);
    TIFFSetField(tif, TIFFTAG_YRESOLUTION, dpi.y > 0 ? dpi.y : kDefaultDpi);
    TIFFSetField(tif, TIFFTAG_RESOLUTIONUNIT, RESUNIT_INCH);
}

}  // namespace

TiffWriter::TiffWriter(std::unique_ptr<Private> d) : d(std::move(d))
{
}

TiffWriter::TiffWriter(TiffWriter&&) noexcept = default;
TiffWriter& TiffWriter::operator=(TiffWriter&&) noexcept = default;
TiffWriter::~TiffWriter() = default;

IoResult<TiffWriter> TiffWriter::create(const QString& target, const std::optional<ReportTags>& tags)
{
    return start(target, false, tags);
}

IoResult<TiffWriter> TiffWriter::append(const QString& target, const std::optional<ReportTags>& tags)
{
    return start(target, true, tags);
}

IoResult<TiffWriter> TiffWriter::start(const QString& target, bool append, const std::optional<ReportTags>& tags)
{
    if (append && QFileInfo::exists(target)) {
        QFile existing(target);
        if (existing.open(QIODevice::ReadOnly) && TiffSignature(existing.read(16)) != TiffHead::Pages)
            return Failure(QStringLiteral("Can't add pages to \"%1\": it is not a TIFF file with pages.").arg(target));
    }
    auto file = FileReplacement::begin(target, append);
    if (!file)
        return file.failure();
    const bool newFile = !(append && file->replacesExisting());
    auto handle = TiffHandle::open(file->workPath(), newFile ? "w" : "a");
    if (!handle) {
        return Failure(newFile ? QStringLiteral("Can't write \"%1\": %2").arg(target, handle.error())
                               : QStringLiteral("Can't add pages to \"%1\": %2").arg(target, handle.error()));
    }
    return TiffWriter(std::make_unique<Private>(std::move(*file), std::move(*handle), newFile, newFile ? tags : std::nullopt));
}

IoStatus TiffWriter::usable() const
{
    if (!d)
        return Failure(QStringLiteral("The file writer was moved away."));
    if (!d->failure.isEmpty())
        return IoError{d->failure};
    if (d->finished)
        return Failure(QStringLiteral("\"%1\" was already written.").arg(d->file.target()));
    return {};
}

int TiffWriter::pagesAdded() const
{
    return d ? d->added : 0;
}

int TiffWriter::pagesCopiedRaw() const
{
    return d ? d->copiedRaw : 0;
}

IoStatus TiffWriter::addPage(const QImage& page)
{
    return addPage(page, DpiOf(page));
}

IoStatus TiffWriter::addPage(const QImage& page, Dpi dpi)
{
    if (auto ready = usable(); !ready)
        return ready;
    if (page.isNull() || page.width() <= 0 || page.height() <= 0)
        return Failure(QStringLiteral("Can't add an empty page to \"%1\".").arg(d->file.target()));

    QImage mono;
    if (IsBlackAndWhite(page)) {
        mono = ToStoreMono(page);
    } else {
        auto reduced = ReduceToBlackAndWhite(page);
        if (!reduced)
            return Failure(QStringLiteral("Can't add a page to \"%1\": %2").arg(d->file.target(), reduced.error()));
        mono = std::move(*reduced);
    }

    TIFF* tif = d->handle.get();
    setGroup4Fields(tif, mono, dpi);
    if (d->tags && d->added == 0)
        setReportTags(tif, *d->tags);

    // The scanlines of a Format_Mono image are the bytes of a MinIsWhite
    // MSB2LSB row; only the padding to 32 bits goes.
    const size_t rowBytes = size_t(mono.width() + 7) / 8;
    const size_t total = rowBytes * size_t(mono.height());
    const uint8_t* data = mono.constBits();
    if (size_t(mono.bytesPerLine()) != rowBytes) {
        d->rows.resize(total);
        for (int row = 0; row < mono.height(); ++row)
            std::memcpy(d->rows.data() + rowBytes * size_t(row), mono.constScanLine(row), rowBytes);
        data = d->rows.data();
    }
    errno = 0;
    if (TIFFWriteEncodedStrip(tif, 0, const_cast<uint8_t*>(data), tmsize_t(total)) < 0) {
        const int error = errno;
        return d->fail(d->handle.takeErrors(QStringLiteral("the page could not be written")), error);
    }
    return finishPage();
}

IoStatus TiffWriter::addPageFrom(TiffReader& source, int page)
{
    if (auto ready = usable(); !ready)
        return ready;
    auto selected = source.selectPage(page);
    if (!selected)
        return selected.failure();
    if (!CanCopyRaw(*selected)) {
        auto image = source.readPage(page);
        if (!image)
            return image.failure();
        return addPage(*image, DpiOf(*image));
    }

    TIFF* tif = d->handle.get();
    if (d->tags && d->added == 0)
        setReportTags(tif, *d->tags);
    errno = 0;
    if (auto copied = CopyRawPage(*selected, tif); !copied) {
        const int error = errno;
        const QString readErrors = source.takeErrors();
        if (!readErrors.isEmpty()) {
            return d->fail(QStringLiteral("page %1 of \"%2\" could not be read: %3").arg(page + 1).arg(source.path(), readErrors));
        }
        return d->fail(d->handle.takeErrors(copied.error()), error);
    }
    if (auto finished = finishPage(); !finished)
        return finished;
    ++d->copiedRaw;
    return {};
}

IoStatus TiffWriter::finishPage()
{
    errno = 0;
    if (TIFFWriteDirectory(d->handle.get()) != 1) {
        const int error = errno;
        return d->fail(d->handle.takeErrors(QStringLiteral("the page could not be written")), error);
    }
    ++d->added;
    return {};
}

IoStatus TiffWriter::commit()
{
    if (auto ready = usable(); !ready)
        return ready;
    d->finished = true;
    if (d->added == 0) {
        static_cast<void>(d->handle.close());
        d->file.discard();
        if (d->newFile)
            return Failure(QStringLiteral("No pages to write to \"%1\".").arg(d->file.target()));
        return {};
    }
    errno = 0;
    if (auto closed = d->handle.close(); !closed) {
        const int error = errno;
        return d->fail(closed.error(), error);
    }
    if (auto moved = d->file.commit(); !moved)
        return moved;
    return {};
}

IoStatus WriteTiff(const QString& target, const QList<QImage>& pages, const std::optional<ReportTags>& tags)
{
    auto writer = TiffWriter::create(target, tags);
    if (!writer)
        return writer.failure();
    for (const QImage& page : pages) {
        if (auto added = writer->addPage(page); !added)
            return added;
    }
    return writer->commit();
}

IoStatus RewriteReportTags(const QString& path, const ReportTags& tags)
{
    auto reader = TiffReader::open(path);
    if (!reader)
        return reader.failure();
    auto writer = TiffWriter::create(path, tags);
    if (!writer)
        return writer.failure();
    for (int page = 0; page < reader->pageCount(); ++page)
        if (auto added = writer->addPageFrom(*reader, page); !added)
            return added;
    return writer->commit();
}

IoStatus AppendPage(const QString& target, const QImage& page)
{
    auto writer = TiffWriter::append(target);
    if (!writer)
        return writer.failure();
    if (auto added = writer->addPage(page); !added)
        return added;
    return writer->commit();
}

IoStatus CopyPage(const QString& source, int page, const QString& target)
{
    auto reader = TiffReader::open(source);
    if (!reader)
        return reader.failure();
    auto writer = TiffWriter::append(target);
    if (!writer)
        return writer.failure();
    if (auto added = writer->addPageFrom(*reader, page); !added)
        return added;
    return writer->commit();
}

}  // namespace tarlox
