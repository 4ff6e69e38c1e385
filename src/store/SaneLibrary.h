#pragma once

#include <memory>

namespace tarlox {

// The SANE library, started on first use and kept for the rest of the
// process: the device list, a scan in progress and the version display
// share it, and backends are not started again for every scan (some take
// seconds to find their devices, and not all of them start cleanly a
// second time in one process).
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
