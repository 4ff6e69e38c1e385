#pragma once

#include "base/IoResult.h"

#include <QString>

#include <chrono>

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
    // Puts a work file in place that the caller has already made durable
    // (several files at once, SyncFileSystem), without flushing it again.
    // With Existing::Keep a target that exists by then is left as it is and
    // the call fails. The caller flushes the directory (SyncDirectory).
    enum class Existing { Replace, Keep };
    IoStatus commitFlushed(Existing existing);
    // Removes the work file; the target is untouched.
    void discard();

private:
    FileReplacement(QString target, QString work, bool replacesExisting);
    // begin()'s work file, left open for writing in *fd.
    static IoResult<FileReplacement> create(const QString& target, int* fd);
    friend IoResult<FileReplacement> BeginCopy(const QString& source, const QString& target);

    QString target_;
    QString work_;
    bool replacesExisting_ = false;
    bool done_ = false;
};

// Copies source onto target through a replacement: target is afterwards
// either as it was or a complete copy.
IoStatus ReplaceWithCopy(const QString& source, const QString& target);

// A replacement whose work file holds a copy of source, not yet flushed:
// for copying many files and making them durable together.
IoResult<FileReplacement> BeginCopy(const QString& source, const QString& target);

// Puts a file that was written completely under a name of the caller's
// (beside target) in place of target: flushed, then one rename.
IoStatus CommitWrittenFile(const QString& written, const QString& target);

// Whether a file name is that of a replacement's work file.
bool IsReplacementWorkFile(const QString& fileName);

// Removes the work files of replacements that never finished (the program
// was killed, the machine lost power) from directory, when they are older
// than maxAge: a replacement in progress in a running program is never that
// old. Returns how many were removed.
int RemoveStaleWorkFiles(const QString& directory, std::chrono::seconds maxAge);

}  // namespace tarlox
