#pragma once

#include <memory>
#include <mutex>

namespace tarlox {

// SANE keeps global state and is not reentrant: every call into it that
// isn't on an open device's own handle holds this lock.
std::mutex& SaneLock();

// The running SANE library. It is started by the first acquire and ended
// when the last holder lets go, so an open scanner keeps it running while a
// device list taken in between sees a fresh start (new configuration, a
// scanner plugged in since).
class SaneLibrary {
public:
    // The running library, started when needed; null when SANE can't be started.
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
