#include "store/SaneLibrary.h"

#include <sane/sane.h>

namespace tarlox {

std::mutex& SaneLock()
{
    static std::mutex lock;
    return lock;
}

std::shared_ptr<SaneLibrary> SaneLibrary::acquire()
{
    static std::weak_ptr<SaneLibrary> running;
    const std::lock_guard guard(SaneLock());
    if (auto library = running.lock())
        return library;
    SANE_Int code = 0;
    if (sane_init(&code, nullptr) != SANE_STATUS_GOOD)
        return nullptr;
    std::shared_ptr<SaneLibrary> library(new SaneLibrary(code), [](SaneLibrary* ended) {
        const std::lock_guard guard(SaneLock());
        sane_exit();
        delete ended;
    });
    running = library;
    return library;
}

}  // namespace tarlox
