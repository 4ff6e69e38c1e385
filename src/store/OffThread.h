#pragma once

#include <functional>

namespace tarlox {

// Runs work on another thread and returns when it is done. Meanwhile the
// calling thread's events are processed (when the program has an event
// loop), so the window stays responsive; callers keep their own controls
// from starting a second piece of work in that time.
void RunOffThread(const std::function<void()>& work);

}  // namespace tarlox
