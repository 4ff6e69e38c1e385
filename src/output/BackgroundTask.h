#pragma once

#include "output/OutputPreparation.h"

#include <QObject>
#include <QPointer>
#include <QThread>

#include <atomic>
#include <memory>
#include <optional>

namespace tarlox {

// Runs work() on a thread of its own and hands its result to done() on
// context's thread, unless context is gone by then. The window stays
// responsive: nothing waits for the thread.
template <class Work, class Done>
void RunInBackground(QObject* context, Work work, Done done)
{
    using Result = decltype(work());
    auto result = std::make_shared<std::optional<Result>>();
    QThread* thread = QThread::create([result, work = std::move(work)]() mutable { result->emplace(work()); });
    QObject::connect(thread, &QThread::finished, context, [result, done = std::move(done)]() mutable {
        if (*result)
            done(std::move(**result));
    });
    QObject::connect(thread, &QThread::finished, thread, &QObject::deleteLater);
    thread->start();
}

// The stop flag of a run in the background: the interface thread sets it,
// the worker reads it between pages.
using StopFlag = std::shared_ptr<std::atomic<bool>>;
inline StopFlag NewStopFlag() { return std::make_shared<std::atomic<bool>>(false); }

// A ProgressStep for the worker: each text goes to show() on context's
// thread; false once stop is set.
template <class Show>
ProgressStep RelayedStep(QObject* context, StopFlag stop, Show show)
{
    return [target = QPointer<QObject>(context), stop, show](const QString& doing) {
        if (QObject* receiver = target.data())
            QMetaObject::invokeMethod(receiver, [target, show, doing] {
                if (target)
                    show(doing);
            }, Qt::QueuedConnection);
        return !*stop;
    };
}

}  // namespace tarlox
