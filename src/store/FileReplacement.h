#pragma once

#include "store/IoResult.h"

#include <QString>

namespace tarlox {

// A new version of a file, written under a hidden work name in the same
// directory and put in place by one rename, so no half-written file ever
// stands under the final name. The work file is removed unless commit()
// succeeds.
class FileReplacement {
public:
    // Starts the work file. With keepContent the work file begins as a copy
    // of the target (when the target exists), for appending to it.
    static IoResult<FileReplacement> begin(const QString& target, bool keepContent);

    FileReplacement(FileReplacement&& other) noexcept;
    FileReplacement& operator=(FileReplacement&& other) noexcept;
    ~FileReplacement();

    const QString& target() const { return target_; }
    const QString& workPath() const { return work_; }
    // The target existed when the work began.
    bool replacesExisting() const { return replacesExisting_; }

    // Makes the work file durable and renames it onto the target.
    IoStatus commit();
    // Removes the work file; the target is untouched.
    void discard();

private:
    FileReplacement(QString target, QString work, bool replacesExisting);

    QString target_;
    QString work_;
    bool replacesExisting_ = false;
    bool done_ = false;
};

}  // namespace tarlox
