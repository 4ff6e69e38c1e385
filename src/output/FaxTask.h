#pragma once

#include "output/BackgroundTask.h"

namespace tarlox {

// The fax engine's calls block on the network, so every one of them runs
// in the background and hands its result to done() on context's thread.
template <class Work, class Done>
void RunFaxTask(QObject* context, Work work, Done done)
{
    RunInBackground(context, std::move(work), std::move(done));
}

}  // namespace tarlox
