#pragma once

#include <QObject>
#include <QThread>

#include <memory>
#include <optional>

namespace tarlox {

// Runs work() on a thread of its own and hands its result to done() on
// context's thread, unless context is gone by then. The fax engine's calls
// block on the network, so every one of them goes through here and the
// window stays responsive.
template <class Work, class Done>
void RunFaxTask(QObject* context, Work work, Done done)
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

}  // namespace tarlox
