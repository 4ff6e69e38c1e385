#include "store/SaneDevices.h"
#include "support/SaneTestBackend.h"

#include <QCoreApplication>
#include <QThread>
#include <QTimer>

#include <gtest/gtest.h>

using namespace tarlox;
using namespace tarlox::test;

TEST(SaneDevices, ProbeAnswersOnTheCallersThreadAndNeverAfterItsContextIsGone)
{
    UseSaneTestBackend(2);
    QCoreApplication* app = QCoreApplication::instance();
    auto* gone = new QObject;
    bool calledAfterGone = false;
    ProbeSaneDevices(gone, [&](const QList<SaneDeviceEntry>&) { calledAfterGone = true; });
    delete gone;

    QObject context;
    QList<SaneDeviceEntry> answer;
    bool done = false;
    Qt::HANDLE thread = nullptr;
    ProbeSaneDevices(&context, [&](const QList<SaneDeviceEntry>& devices) {
        answer = devices;
        done = true;
        thread = QThread::currentThreadId();
        QCoreApplication::quit();
    });
    QTimer::singleShot(30000, app, &QCoreApplication::quit);
    QCoreApplication::exec();
    ASSERT_TRUE(done && answer.size() == 2);
    EXPECT_EQ(std::tuple(answer.first().name, answer.first().entry(), thread),
              std::tuple(QStringLiteral("test:0"), QStringLiteral("test:0 (") + answer.first().description() + QLatin1Char(')'), QThread::currentThreadId()));
    // The first probe, whose context went first, has had time to finish: it said nothing.
    QThread::msleep(200);
    QCoreApplication::processEvents();
    EXPECT_FALSE(calledAfterGone);
}
