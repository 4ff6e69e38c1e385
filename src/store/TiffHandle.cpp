#include "store/TiffHandle.h"

#include "store/ReportTags.h"

#include <QFile>

#include <tiffio.h>

#include <fcntl.h>

#include <cstdarg>
#include <cstdio>
#include <mutex>

namespace tarlox {

namespace {

// libtiff allocates no single buffer larger than this for one handle; a
// damaged file that claims a giant strip fails cleanly instead.
constexpr tmsize_t kMaxSingleAllocation = tmsize_t(1) << 30;

// libtiff keeps one chain of tag extenders for the process; ours is put in
// front once, and whatever was there before still runs after it.
TIFFExtendProc previousExtender = nullptr;

// The report tags as ASCII fields of any length; the names are those the
// files of older installations were written with.
const TIFFFieldInfo kReportFields[] = {
    {ttag_t(kTagHeat), TIFF_VARIABLE, TIFF_VARIABLE, TIFF_ASCII, FIELD_CUSTOM, 1, 0, const_cast<char*>("TIFF_TAG_8761")},
    {ttag_t(kTagPart), TIFF_VARIABLE, TIFF_VARIABLE, TIFF_ASCII, FIELD_CUSTOM, 1, 0, const_cast<char*>("TIFF_TAG_8762")},
    {ttag_t(kTagPurchaseOrder), TIFF_VARIABLE, TIFF_VARIABLE, TIFF_ASCII, FIELD_CUSTOM, 1, 0, const_cast<char*>("TIFF_TAG_8763")},
    {ttag_t(kTagVendor), TIFF_VARIABLE, TIFF_VARIABLE, TIFF_ASCII, FIELD_CUSTOM, 1, 0, const_cast<char*>("TIFF_TAG_8764")},
    {ttag_t(kTagManufacturer), TIFF_VARIABLE, TIFF_VARIABLE, TIFF_ASCII, FIELD_CUSTOM, 1, 0, const_cast<char*>("TIFF_TAG_8765")},
};

void extendTags(TIFF* tif)
{
    TIFFMergeFieldInfo(tif, kReportFields, sizeof kReportFields / sizeof kReportFields[0]);
    if (previousExtender)
        previousExtender(tif);
}

int collectError(TIFF*, void* userData, const char*, const char* format, va_list args)
{
    char text[1024];
    std::vsnprintf(text, sizeof text, format, args);
    auto* errors = static_cast<QStringList*>(userData);
    const QString message = QString::fromLocal8Bit(text).trimmed();
    if (!message.isEmpty() && !errors->contains(message))
        errors->append(message);
    return 1;  // handled: nothing goes to the global handler
}

int ignoreWarning(TIFF*, void*, const char*, const char*, va_list)
{
    return 1;
}

struct OpenOptions {
    TIFFOpenOptions* options = TIFFOpenOptionsAlloc();
    ~OpenOptions() { TIFFOpenOptionsFree(options); }
};

}  // namespace

void PrepareLibTiff()
{
    static std::once_flag once;
    std::call_once(once, [] {
        previousExtender = TIFFSetTagExtender(extendTags);
        TIFFSetErrorHandler(nullptr);
        TIFFSetWarningHandler(nullptr);
    });
}

TiffHandle::TiffHandle(tiff* tif, QString path, std::unique_ptr<Messages> messages)
    : tif_(tif), path_(std::move(path)), messages_(std::move(messages))
{
}

TiffHandle::TiffHandle(TiffHandle&& other) noexcept
    : tif_(std::exchange(other.tif_, nullptr)), path_(std::move(other.path_)), messages_(std::move(other.messages_))
{
}

TiffHandle& TiffHandle::operator=(TiffHandle&& other) noexcept
{
    if (this != &other) {
        if (tif_)
            TIFFClose(tif_);
        tif_ = std::exchange(other.tif_, nullptr);
        path_ = std::move(other.path_);
        messages_ = std::move(other.messages_);
    }
    return *this;
}

TiffHandle::~TiffHandle()
{
    if (tif_)
        TIFFClose(tif_);
}

IoResult<TiffHandle> TiffHandle::open(const QString& path, const char* mode)
{
    PrepareLibTiff();
    auto messages = std::make_unique<Messages>();
    OpenOptions opts;
    TIFFOpenOptionsSetMaxSingleMemAlloc(opts.options, kMaxSingleAllocation);
    TIFFOpenOptionsSetErrorHandlerExtR(opts.options, collectError, &messages->errors);
    TIFFOpenOptionsSetWarningHandlerExtR(opts.options, ignoreWarning, nullptr);
    TIFF* tif = TIFFOpenExt(QFile::encodeName(path).constData(), mode, opts.options);
    if (!tif) {
        return Failure(messages->errors.isEmpty() ? QStringLiteral("it is not a readable TIFF file")
                                                  : messages->errors.join(QStringLiteral("; ")));
    }
    return TiffHandle(tif, path, std::move(messages));
}

QString TiffHandle::takeErrors(const QString& fallback)
{
    if (!messages_ || messages_->errors.isEmpty())
        return fallback;
    const QString text = messages_->errors.join(QStringLiteral("; "));
    messages_->errors.clear();
    return text;
}

const QStringList& TiffHandle::peekErrors() const
{
    static const QStringList none;
    return messages_ ? messages_->errors : none;
}

IoStatus TiffHandle::close()
{
    if (!tif_)
        return {};
    bool flushed = true;
    if (TIFFGetMode(tif_) != O_RDONLY)
        flushed = TIFFFlush(tif_) == 1;
    TIFFClose(tif_);
    tif_ = nullptr;
    if (!flushed || (messages_ && !messages_->errors.isEmpty()))
        return Failure(takeErrors(QStringLiteral("the data could not be written")));
    return {};
}

}  // namespace tarlox
