#include "store/OffThread.h"

#include <QCoreApplication>
#include <QEventLoop>
#include <QFutureWatcher>
#include <QThread>
#include <QThreadPool>
#include <QtConcurrent/QtConcurrentRun>

namespace tarlox {

namespace {

// Waits may nest (an event handled during one wait starts another), so
// they get threads of their own rather than the shared pool's few.
QThreadPool& waitPool()
{
    static QThreadPool* pool = [] {
        auto* p = new QThreadPool;
        p->setMaxThreadCount(32);
        p->setExpiryTimeout(10000);
        return p;
    }();
    return *pool;
}

}  // namespace

void RunOffThread(const std::function<void()>& work)
{
    WaitOffThread(StartOffThread(work));
}

QFuture<void> StartOffThread(const std::function<void()>& work)
{
    return QtConcurrent::run(&waitPool(), work);
}

void WaitOffThread(QFuture<void> future)
{
    QCoreApplication* app = QCoreApplication::instance();
    if (!app || QThread::currentThread() != app->thread()) {
        future.waitForFinished();
        return;
    }
    QEventLoop loop;
    QFutureWatcher<void> watcher;
    QObject::connect(&watcher, &QFutureWatcher<void>::finished, &loop, &QEventLoop::quit);
    watcher.setFuture(future);
    if (!future.isFinished())
        loop.exec();
    future.waitForFinished();
}

}  // namespace tarlox
