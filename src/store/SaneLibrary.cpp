#include "store/SaneLibrary.h"

#include <sane/sane.h>

#include <pthread.h>
#include <unistd.h>

namespace tarlox {

std::mutex& SaneLock()
{
    static std::mutex lock;
    return lock;
}

namespace {

// A backend ends its reader thread from a signal handler, at whatever point
// the thread has reached. The C library loads its unwinder the first time a
// thread ends that way, under the loader's lock; a reader stopped inside
// that load dies holding the lock, and the program hangs at its next
// library load or at exit. Cancelling one thread of our own first has the
// library load the unwinder now, while nothing else is going on.
void PrepareThreadUnwinding()
{
    pthread_t thread;
    if (pthread_create(&thread, nullptr, [](void*) -> void* {
            for (;;)
                pause();
        }, nullptr) != 0)
        return;
    pthread_cancel(thread);
    pthread_join(thread, nullptr);
}

}  // namespace

std::shared_ptr<SaneLibrary> SaneLibrary::acquire()
{
    // Never ended: backends are not all able to start twice in one process,
    // and some take seconds to look for their devices.
    static std::shared_ptr<SaneLibrary> running;
    const std::lock_guard guard(SaneLock());
    if (!running) {
        PrepareThreadUnwinding();
        SANE_Int code = 0;
        if (sane_init(&code, nullptr) != SANE_STATUS_GOOD)
            return nullptr;
        running.reset(new SaneLibrary(code));
    }
    return running;
}

}  // namespace tarlox
