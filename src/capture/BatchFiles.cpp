#include "capture/BatchFiles.h"

#include "base/TextTools.h"
#include "data/Session.h"
#include "data/Settings.h"
#include "store/ImageFiles.h"
#include "store/ImageInput.h"
#include "store/PageImage.h"
#include "store/PageLimits.h"
#include "store/TiffReader.h"
#include "store/TiffWriter.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <libwmf/api.h>
#include <libwmf/gd.h>

#include <cmath>
#include <mutex>

namespace tarlox {

namespace {

// The names each kind goes by.
const QList<QStringList>& extensionGroups()
{
    static const QList<QStringList> groups{
        {QStringLiteral("tif"), QStringLiteral("tiff")}, {QStringLiteral("jpg"), QStringLiteral("jpeg")},
        {QStringLiteral("bmp")}, {QStringLiteral("gif")}, {QStringLiteral("pdf")}, {QStringLiteral("wmf")}, {QStringLiteral("png")},
    };
    return groups;
}

bool isMetafile(const QString& path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return false;
    const QByteArray head = file.read(18);
    if (head.size() < 18)
        return false;
    // A placeable metafile starts with its key; a plain one with its type
    // (1 memory, 2 disk), the header size in words (9) and the version.
    if (head.startsWith(QByteArray::fromHex("d7cdc69a")))
        return true;
    const auto word = [&](int at) { return quint16(quint8(head[at]) | quint8(head[at + 1]) << 8); };
    return (word(0) == 1 || word(0) == 2) && word(2) == 9 && (word(4) == 0x0300 || word(4) == 0x0100);
}

}  // namespace

const QStringList& BatchExtensions()
{
    static const QStringList names = [] {
        QStringList all;
        for (const QStringList& group : extensionGroups())
            all += group;
        return all;
    }();
    return names;
}

QStringList ListBatchFiles(const QString& directory)
{
    if (directory.trimmed().isEmpty())
        return {};
    const QFileInfoList entries = QDir(directory).entryInfoList(QDir::Files | QDir::Hidden, QDir::Name | QDir::IgnoreCase);
    QStringList result;
    for (const QStringList& group : extensionGroups()) {
        for (const QFileInfo& entry : entries) {
            if (group.contains(entry.suffix().toLower()))
                result.append(entry.fileName());
        }
    }
    return result;
}

int BatchWorkDpi(Session& session)
{
    const QString high = GetLocal(session, section::Info, QStringLiteral("HighDPI")).trimmed();
    bool numeric = false;
    const int dpi = high.toInt(&numeric);
    return numeric && dpi >= 50 && dpi <= 1200 ? dpi : 300;
}

QString PageSizeCodeForInches(double width, double height)
{
    const double shortSide = std::min(width, height);
    const double longSide = std::max(width, height);
    if (longSide >= 13.0)
        return QStringLiteral("G");
    if (std::abs(shortSide - 8.27) < 0.12 && std::abs(longSide - 11.69) < 0.2)
        return QStringLiteral("A");
    return QStringLiteral(" ");
}

QString BatchWorkFile(Session& session)
{
    return BatchPageBufferPath(session.tempDir);
}

IoResult<QImage> ReadMetafile(const QString& path, int dpi)
{
    // libwmf keeps no state between files, but its font set-up is not
    // known to be safe on two threads at once.
    static std::mutex oneAtATime;
    const std::lock_guard lock(oneAtATime);
    const QString cannot = QStringLiteral("Can't read \"%1\": ").arg(path);
    wmfAPI* api = nullptr;
    wmfAPI_Options apiOptions{};
    apiOptions.function = wmf_gd_function;
    const unsigned long flags = WMF_OPT_FUNCTION | WMF_OPT_IGNORE_NONFATAL;
    if (wmf_api_create(&api, flags, &apiOptions) != wmf_E_None) {
        if (api)
            wmf_api_destroy(api);
        return Failure(cannot + QStringLiteral("the metafile reader could not start."));
    }
    struct Destroy {
        wmfAPI* api;
        ~Destroy() { wmf_api_destroy(api); }
    } destroy{api};
    const QByteArray name = QFile::encodeName(path);
    wmfD_Rect bbox{};
    if (wmf_file_open(api, name.constData()) != wmf_E_None || wmf_scan(api, 0, &bbox) != wmf_E_None)
        return Failure(cannot + QStringLiteral("it is not a readable Windows metafile."));
    unsigned int width = 0;
    unsigned int height = 0;
    if (wmf_display_size(api, &width, &height, dpi, dpi) != wmf_E_None || width == 0 || height == 0)
        return Failure(cannot + QStringLiteral("the metafile has no size."));
    if (auto fits = CheckPageSize(width, height, 32, QStringLiteral("\"%1\"").arg(path)); !fits)
        return fits.failure();
    wmf_gd_t* gd = WMF_GD_GetData(api);
    gd->type = wmf_gd_image;
    gd->bbox = bbox;
    gd->width = width;
    gd->height = height;
    if (wmf_play(api, 0, &bbox) != wmf_E_None || !gd->gd_image)
        return Failure(cannot + QStringLiteral("the metafile could not be drawn."));
    const int* pixels = wmf_gd_image_pixels(gd->gd_image);
    if (!pixels)
        return Failure(cannot + QStringLiteral("the metafile could not be drawn."));
    QImage image(int(width), int(height), QImage::Format_RGB32);
    if (image.isNull())
        return Failure(cannot + QStringLiteral("not enough memory for the page."));
    for (unsigned y = 0; y < height; ++y) {
        auto* line = reinterpret_cast<QRgb*>(image.scanLine(int(y)));
        for (unsigned x = 0; x < width; ++x) {
            // gd's true colour: 7 bits of transparency above red, green, blue.
            const int p = pixels[y * width + x];
            const int alpha = 127 - ((p >> 24) & 0x7f);
            const auto over = [alpha](int c) { return (c * alpha + 255 * (127 - alpha)) / 127; };
            line[x] = qRgb(over((p >> 16) & 0xff), over((p >> 8) & 0xff), over(p & 0xff));
        }
    }
    SetDpi(image, Dpi{double(dpi), double(dpi)});
    return image;
}

namespace {

// The pages of one input file, whatever its kind.
class InputPages {
public:
    static IoResult<InputPages> open(const QString& path, int dpi)
    {
        InputPages pages;
        pages.dpi_ = dpi;
        pages.path_ = path;
        if (isMetafile(path))
            return pages;
        auto input = ImageInput::open(path, dpi);
        if (!input)
            return input.failure();
        pages.input_ = std::make_shared<ImageInput>(std::move(input).value());
        return pages;
    }
    int count() const { return input_ ? input_->pageCount() : 1; }
    IoResult<QImage> page(int index) { return input_ ? input_->page(index) : ReadMetafile(path_, dpi_); }

private:
    QString path_;
    int dpi_ = 300;
    std::shared_ptr<ImageInput> input_;
};

}  // namespace

BatchReadResult ReadBatchFiles(const QStringList& files, const QString& workFile, int dpi,
                               const std::function<void(const BatchReadProgress&)>& progress, const std::atomic<bool>* cancel)
{
    BatchReadResult result;
    const auto stop = [&](const QString& step, const QString& error) {
        result.step = step;
        result.error = error;
        result.pages = 0;
        result.pageSizeCodes.clear();
        result.pagesPerFile.clear();
        return result;
    };
    const QString workName = QFileInfo(workFile).fileName();
    auto writer = TiffWriter::create(workFile);
    if (!writer)
        return stop(QStringLiteral("Deleting '%1' if it exists").arg(workName), writer.error());
    for (int f = 0; f < files.size(); ++f) {
        const QString& file = files[f];
        const QString name = QFileInfo(file).fileName();
        auto input = InputPages::open(file, dpi);
        if (!input)
            return stop(QStringLiteral("Setting Picture to '%1'").arg(file), input.error());
        const int count = input->count();
        result.pagesPerFile.append(count);
        for (int p = 0; p < count; ++p) {
            if (cancel && cancel->load()) {
                result.cancelled = true;
                result.pages = 0;
                result.pageSizeCodes.clear();
                result.pagesPerFile.clear();
                return result;
            }
            if (progress)
                progress(BatchReadProgress{f + 1, int(files.size()), p + 1, count, name});
            auto page = input->page(p);
            if (!page)
                return stop(count > 1 ? QStringLiteral("Setting page to %1 in '%2'").arg(p + 1).arg(file)
                                      : QStringLiteral("Resetting Picture to '%1'").arg(file),
                            page.error());
            const Dpi own = DpiOf(*page);
            const Dpi at = own.x > 0 && own.y > 0 ? own : Dpi{double(dpi), double(dpi)};
            if (const IoStatus added = writer->addPage(*page, at); !added)
                return stop(QStringLiteral("Saving page %1 to '%2'").arg(p + 1).arg(workName), added.error());
            result.pageSizeCodes.append(PageSizeCodeForInches(page->width() / at.x, page->height() / at.y));
            ++result.pages;
        }
    }
    if (result.pages == 0)
        return result;
    if (const IoStatus committed = writer->commit(); !committed)
        return stop(QStringLiteral("Saving page %1 to '%2'").arg(result.pages).arg(workName), committed.error());
    return result;
}

QStringList WorkFilePageSizes(const QString& workFile)
{
    QStringList codes;
    auto reader = TiffReader::open(workFile);
    if (!reader)
        return codes;
    for (int p = 0; p < reader->pageCount(); ++p) {
        auto info = reader->pageInfo(p);
        codes.append(info && info->dpi.x > 0 && info->dpi.y > 0 ? PageSizeCodeForInches(info->width / info->dpi.x, info->height / info->dpi.y)
                                                                 : QStringLiteral(" "));
    }
    return codes;
}

}  // namespace tarlox
