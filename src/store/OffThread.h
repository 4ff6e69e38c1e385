#pragma once

#include <QFuture>

#include <functional>

namespace tarlox {

// Runs work on another thread and returns when it is done. Meanwhile the
// calling thread's events are processed (when the program has an event
// loop), so the window stays responsive; callers keep their own controls
// from starting a second piece of work in that time.
void RunOffThread(const std::function<void()>& work);

// The same in two halves, for work that runs while the caller goes on:
// StartOffThread returns at once; WaitOffThread returns when the work is
// done, serving the calling thread's events meanwhile.
QFuture<void> StartOffThread(const std::function<void()>& work);
void WaitOffThread(QFuture<void> future);

}  // namespace tarlox
