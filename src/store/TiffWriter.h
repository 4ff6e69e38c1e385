#pragma once

#include "base/IoResult.h"
#include "store/PageImage.h"
#include "store/ReportTags.h"

#include <QImage>
#include <QList>
#include <QString>

#include <memory>
#include <optional>

namespace tarlox {

class TiffReader;

// Writes black-and-white multi-page TIFF files: every page CCITT Group 4,
// FillOrder MSB2LSB, Photometric MinIsWhite, the whole page in one strip,
// resolution in dots per inch. Report tags, when given, go on the first
// page of a new file.
//
// The writer works on a hidden file beside the target and renames it onto
// the target in commit(); until then, and whenever anything fails, the
// target stands as it was and the work file is removed.
class TiffWriter {
public:
    // A new file, replacing the target if there is one.
    static IoResult<TiffWriter> create(const QString& target, const std::optional<ReportTags>& tags = std::nullopt);
    // Pages added after those of the target; when the target doesn't exist
    // yet it is created, with the tags on its first page.
    static IoResult<TiffWriter> append(const QString& target, const std::optional<ReportTags>& tags = std::nullopt);

    TiffWriter(TiffWriter&&) noexcept;
    TiffWriter& operator=(TiffWriter&&) noexcept;
    ~TiffWriter();

    // Adds a page. A grey or colour page is reduced to black and white first
    // (ReduceToBlackAndWhite). The resolution is the image's own unless given.
    IoStatus addPage(const QImage& page);
    IoStatus addPage(const QImage& page, Dpi dpi);

    // Adds page (from 0) of another TIFF. A Group 4 page in strips is copied
    // as it is stored, without decoding; any other page is decoded and encoded.
    IoStatus addPageFrom(TiffReader& source, int page);

    // Pages added through this writer.
    int pagesAdded() const;
    // Pages added without decoding (a subset of pagesAdded).
    int pagesCopiedRaw() const;

    // Puts the file in place. The writer can't be used afterwards.
    IoStatus commit();

private:
    struct Private;
    explicit TiffWriter(std::unique_ptr<Private> d);
    static IoResult<TiffWriter> start(const QString& target, bool append, const std::optional<ReportTags>& tags);
    IoStatus usable() const;
    IoStatus finishPage();

    std::unique_ptr<Private> d;
};

// Writes pages as a new file in one go.
IoStatus WriteTiff(const QString& target, const QList<QImage>& pages, const std::optional<ReportTags>& tags = std::nullopt);

// Writes the report tags anew on the first page of an existing file, its
// pages copied as they are stored; the file is replaced in one rename, so it
// is afterwards either as it was or whole with the new tags.
IoStatus RewriteReportTags(const QString& path, const ReportTags& tags);

// Adds one page at the end of a file (creating it when absent).
IoStatus AppendPage(const QString& target, const QImage& page);

// Adds page (from 0) of source at the end of target, without decoding when it can.
IoStatus CopyPage(const QString& source, int page, const QString& target);

}  // namespace tarlox
