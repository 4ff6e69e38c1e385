#include "store/ImageInput.h"

#include "store/PageImage.h"
#include "store/PageLimits.h"
#include "store/TiffReader.h"

#include <QFile>
#include <QFileInfo>
#include <QImageReader>

#include <poppler-qt6.h>

#include <cmath>
#include <mutex>
#include <optional>

namespace tarlox {

namespace {

enum class Signature { Tiff, Pdf, Other };

Signature signatureOf(const QByteArray& head)
{
    if (TiffSignature(head) != TiffHead::NotTiff)
        return Signature::Tiff;
    // PDF readers accept the header anywhere in the first kilobyte.
    if (head.left(1024).contains("%PDF-"))
        return Signature::Pdf;
    return Signature::Other;
}

void ignorePopplerMessage(const QString&, const QVariant&)
{
}

void quietPoppler()
{
    static std::once_flag once;
    std::call_once(once, [] { Poppler::setDebugErrorFunction(ignorePopplerMessage, QVariant()); });
}

int bitsInMemory(QImage::Format format)
{
    switch (format) {
    case QImage::Format_Mono:
    case QImage::Format_MonoLSB:
        return 1;
    case QImage::Format_Indexed8:
    case QImage::Format_Grayscale8:
    case QImage::Format_Alpha8:
        return 8;
    default:
        return 32;
    }
}

}  // namespace

struct ImageInput::Private {
    Kind kind = Kind::Picture;
    QString path;
    int pdfDpi = kDefaultPdfDpi;
    int pages = 0;
    std::optional<TiffReader> tiff;
    std::unique_ptr<Poppler::Document> pdf;

    QString pageName(int index) const
    {
        if (pages == 1)
            return QStringLiteral("\"%1\"").arg(path);
        return QStringLiteral("page %1 of \"%2\"").arg(index + 1).arg(path);
    }

    IoResult<QImage> readPicture();
    IoResult<QImage> renderPdfPage(int index);
};

ImageInput::ImageInput(std::unique_ptr<Private> d) : d(std::move(d))
{
}

ImageInput::ImageInput(ImageInput&&) noexcept = default;
ImageInput& ImageInput::operator=(ImageInput&&) noexcept = default;
ImageInput::~ImageInput() = default;

ImageInput::Kind ImageInput::kind() const
{
    return d->kind;
}

const QString& ImageInput::path() const
{
    return d->path;
}

int ImageInput::pageCount() const
{
    return d->pages;
}

IoResult<ImageInput> ImageInput::open(const QString& path, int pdfDpi)
{
    const QFileInfo info(path);
    if (!info.exists())
        return Failure(QStringLiteral("The file \"%1\" does not exist.").arg(path));
    if (!info.isFile())
        return Failure(QStringLiteral("\"%1\" is not a file.").arg(path));
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return Failure(QStringLiteral("Can't read \"%1\": %2").arg(path, file.errorString()));
    const QByteArray head = file.read(1024);
    file.close();
    if (head.isEmpty())
        return Failure(QStringLiteral("\"%1\" is empty.").arg(path));

    auto d = std::make_unique<Private>();
    d->path = path;
    d->pdfDpi = pdfDpi > 0 ? pdfDpi : kDefaultPdfDpi;

    switch (signatureOf(head)) {
    case Signature::Tiff: {
        auto reader = TiffReader::open(path);
        if (!reader)
            return reader.failure();
        d->kind = Kind::Tiff;
        d->pages = reader->pageCount();
        d->tiff.emplace(std::move(*reader));
        break;
    }
    case Signature::Pdf: {
        quietPoppler();
        d->kind = Kind::Pdf;
        d->pdf = Poppler::Document::load(path);
        if (!d->pdf)
            return Failure(QStringLiteral("Can't read \"%1\": it is not a readable PDF file.").arg(path));
        if (d->pdf->isLocked())
            return Failure(QStringLiteral("Can't read \"%1\": the PDF file is protected by a password.").arg(path));
        d->pages = d->pdf->numPages();
        if (d->pages <= 0)
            return Failure(QStringLiteral("\"%1\" has no pages.").arg(path));
        d->pdf->setRenderHint(Poppler::Document::Antialiasing);
        d->pdf->setRenderHint(Poppler::Document::TextAntialiasing);
        break;
    }
    case Signature::Other: {
        QImageReader reader(path);
        if (!reader.canRead())
            return Failure(QStringLiteral("Can't read \"%1\": it is not a picture file this program knows "
                                          "(TIFF, PDF, PNG, JPEG, BMP or GIF).")
                               .arg(path));
        d->kind = Kind::Picture;
        d->pages = 1;
        break;
    }
    }
    return ImageInput(std::move(d));
}

IoResult<QImage> ImageInput::page(int index)
{
    if (index < 0 || index >= d->pages) {
        return Failure(QStringLiteral("\"%1\" has %2 page(s); there is no page %3.").arg(d->path).arg(d->pages).arg(index + 1));
    }
    switch (d->kind) {
    case Kind::Tiff:
        return d->tiff->readPage(index);
    case Kind::Pdf:
        return d->renderPdfPage(index);
    case Kind::Picture:
        return d->readPicture();
    }
    return Failure(QStringLiteral("Can't read \"%1\".").arg(d->path));
}

IoResult<QImage> ImageInput::Private::readPicture()
{
    QImageReader reader(path);
    reader.setAutoTransform(true);
    const QSize size = reader.size();
    const QString what = pageName(0);
    if (size.isValid()) {
        if (auto fits = CheckPageSize(size.width(), size.height(), bitsInMemory(reader.imageFormat()), what); !fits)
            return fits.failure();
    }
    // Our own limit is the one that counts; Qt's is set just above it.
    reader.setAllocationLimit(int((kMaxPageBytes >> 20) + 16));
    QImage image = reader.read();
    if (image.isNull())
        return Failure(QStringLiteral("Can't read \"%1\": the file is damaged (%2).").arg(path, reader.errorString()));
    if (auto fits = CheckPageSize(image.width(), image.height(), image.depth(), what); !fits)
        return fits.failure();
    image = FlattenOnWhite(image);
    // A file without a resolution comes with the one every new QImage has
    // (the screen's); a scanned page without one is taken to be at the
    // usual scan resolution instead.
    const QImage fresh(1, 1, QImage::Format_Mono);
    if (image.dotsPerMeterX() == fresh.dotsPerMeterX() && image.dotsPerMeterY() == fresh.dotsPerMeterY())
        SetDpi(image, Dpi{kDefaultDpi, kDefaultDpi});
    return image;
}

IoResult<QImage> ImageInput::Private::renderPdfPage(int index)
{
    const QString what = pageName(index);
    const std::unique_ptr<Poppler::Page> pdfPage = pdf->page(index);
    if (!pdfPage)
        return Failure(QStringLiteral("Can't read %1: the page is damaged.").arg(what));
    const QSizeF points = pdfPage->pageSizeF();
    const double width = std::ceil(points.width() / 72.0 * pdfDpi);
    const double height = std::ceil(points.height() / 72.0 * pdfDpi);
    if (auto fits = CheckPageSize(qint64(width), qint64(height), 32, what); !fits)
        return fits.failure();
    QImage image = pdfPage->renderToImage(pdfDpi, pdfDpi);
    if (image.isNull())
        return Failure(QStringLiteral("Can't read %1: the page could not be rendered.").arg(what));
    image = FlattenOnWhite(image);
    SetDpi(image, Dpi{double(pdfDpi), double(pdfDpi)});
    return image;
}

}  // namespace tarlox
