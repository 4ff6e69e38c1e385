#include "store/SaneLibrary.h"

#include <sane/sane.h>

#include <mutex>

namespace tarlox {

std::shared_ptr<SaneLibrary> SaneLibrary::acquire()
{
    static std::mutex lock;
    static std::shared_ptr<SaneLibrary> running;
    std::lock_guard<std::mutex> guard(lock);
    if (!running) {
        SANE_Int code = 0;
        if (sane_init(&code, nullptr) != SANE_STATUS_GOOD)
            return nullptr;
        running.reset(new SaneLibrary(code));
    }
    return running;
}

}  // namespace tarlox
