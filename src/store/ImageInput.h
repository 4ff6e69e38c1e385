#pragma once

#include "base/IoResult.h"

#include <QImage>
#include <QString>

#include <memory>

namespace tarlox {

// The pages of an input file taken into the store: a TIFF (every page), a
// PNG, JPEG, BMP or GIF (one page), or a PDF (every page, rendered at a
// chosen resolution). The kind is told by the file's content, not its name.
// Pages come out as read, in colour or grey where the file has it, with
// their resolution; ReduceToBlackAndWhite makes them ready for storing.
class ImageInput {
public:
    enum class Kind { Tiff, Pdf, Picture };

    // Resolution at which PDF pages are rendered unless told otherwise.
    static constexpr int kDefaultPdfDpi = 200;

    // Fails with a message for a missing, unreadable, damaged or empty file.
    static IoResult<ImageInput> open(const QString& path, int pdfDpi = kDefaultPdfDpi);

    ImageInput(ImageInput&&) noexcept;
    ImageInput& operator=(ImageInput&&) noexcept;
    ~ImageInput();

    Kind kind() const;
    const QString& path() const;
    int pageCount() const;

    // Page from 0. Pages too large for memory are refused (PageLimits.h).
    IoResult<QImage> page(int index);

private:
    struct Private;
    explicit ImageInput(std::unique_ptr<Private> d);
    std::unique_ptr<Private> d;
};

}  // namespace tarlox
