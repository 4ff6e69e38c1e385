#pragma once

#include "base/IoResult.h"

#include <QString>
#include <QStringList>

#include <memory>

struct tiff;  // libtiff's TIFF

namespace tarlox {

// One open libtiff handle. libtiff's errors and warnings never reach stderr:
// the errors of each handle are collected and read through takeErrors(), so
// that they can become the message of a result. The private report tags are
// known to every handle, so they are read and written as text.
class TiffHandle {
public:
    // mode as for TIFFOpen: "r", "w" or "a". Failures and close() give
    // libtiff's reason alone; callers name the file.
    static IoResult<TiffHandle> open(const QString& path, const char* mode);

    TiffHandle(TiffHandle&& other) noexcept;
    TiffHandle& operator=(TiffHandle&& other) noexcept;
    ~TiffHandle();

    tiff* get() const { return tif_; }
    const QString& path() const { return path_; }

    // libtiff's error messages since the last call, joined; fallback when there were none.
    QString takeErrors(const QString& fallback = QString());
    const QStringList& peekErrors() const;

    // Flushes what was written and closes the handle; a failed write
    // (a full disk, say) comes back here at the latest.
    IoStatus close();

private:
    struct Messages {
        QStringList errors;
    };
    TiffHandle(tiff* tif, QString path, std::unique_ptr<Messages> messages);

    tiff* tif_ = nullptr;
    QString path_;
    std::unique_ptr<Messages> messages_;
};

// Registers the report tags with libtiff and silences its global handlers.
// Called by TiffHandle::open; safe to call any number of times.
void PrepareLibTiff();

}  // namespace tarlox
