#pragma once

#include <memory>
#include <mutex>

namespace tarlox {

// SANE keeps global state and is not reentrant: every call into it that
// isn't on an open device's own handle holds this lock.
std::mutex& SaneLock();

// The SANE library, started on first use and kept for the rest of the
// process: the device list, a scan in progress and the version display
// share it. A device list asks the backends afresh for their devices, so a
// scanner plugged in since is found; a changed SANE configuration is read
// at the next start of the program.
class SaneLibrary {
public:
    // The running library, started when first asked for; null when SANE
    // can't be started (asked again next time).
    static std::shared_ptr<SaneLibrary> acquire();

    SaneLibrary(const SaneLibrary&) = delete;
    SaneLibrary& operator=(const SaneLibrary&) = delete;

    // The version code sane_init reported.
    int versionCode() const { return versionCode_; }

private:
    explicit SaneLibrary(int versionCode) : versionCode_(versionCode) {}
    int versionCode_;
};

}  // namespace tarlox
