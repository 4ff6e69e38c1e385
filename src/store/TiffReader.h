#pragma once

#include "base/IoResult.h"
#include "store/PageImage.h"
#include "store/ReportTags.h"
#include "store/TiffHandle.h"

#include <QImage>
#include <QString>

namespace tarlox {

// What a page of a TIFF file is, without decoding it.
struct TiffPageInfo {
    int width = 0;
    int height = 0;
    int bitsPerSample = 1;
    int samplesPerPixel = 1;
    int photometric = 0;   // TIFF Photometric value
    int compression = 1;   // TIFF Compression value
    bool tiled = false;
    Dpi dpi;               // kDefaultDpi on both axes when the file records none
    bool dpiRecorded = false;

    bool isBlackAndWhite() const { return bitsPerSample == 1 && samplesPerPixel == 1; }
};

// What the first bytes of a file say: not a TIFF, a TIFF without any page
// (its first directory offset is 0), or a TIFF with pages.
enum class TiffHead { NotTiff, NoPages, Pages };
TiffHead TiffSignature(const QByteArray& head);

// Reads the pages of a multi-page TIFF: black and white, grey or colour, in
// strips or tiles, in any encoding libtiff decodes. Pages count from 0.
class TiffReader {
public:
    // Fails for a missing, unreadable or damaged file and for one without pages.
    static IoResult<TiffReader> open(const QString& path);

    const QString& path() const { return handle_.path(); }
    int pageCount() const { return pageCount_; }

    // The first page's "SOFTWARE" tag and report tags; empty where absent.
    const ReportTags& tags() const { return tags_; }

    IoResult<TiffPageInfo> pageInfo(int page);

    // The page as a QImage carrying its resolution: black and white as
    // Format_Mono (see PageImage.h), 8-bit grey as Grayscale8, everything
    // else as RGB32 (alpha laid over white). Pages too large to hold in
    // memory are refused (PageLimits.h).
    IoResult<QImage> readPage(int page);

    // The open handle placed on a page, for copying its data as it is.
    IoResult<tiff*> selectPage(int page);
    // libtiff's errors on that handle since the last call.
    QString takeErrors(const QString& fallback = QString());

private:
    explicit TiffReader(TiffHandle handle);
    IoStatus select(int page);
    TiffPageInfo currentInfo() const;
    IoStatus readContiguous(const TiffPageInfo& info, QImage& image, int bitsPerPixel);
    IoResult<QImage> readRgba(const TiffPageInfo& info);
    QString pageName(int page) const;

    TiffHandle handle_;
    int pageCount_ = 0;
    ReportTags tags_;
};

}  // namespace tarlox
