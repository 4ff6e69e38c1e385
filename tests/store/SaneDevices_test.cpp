#include "store/SaneDevices.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QThread>
#include <QTimer>
#include <QTemporaryDir>

#include <gtest/gtest.h>

using namespace tarlox;

namespace {

// SANE reads where its configuration is once per process.
QTemporaryDir& saneDir()
{
    static QTemporaryDir dir;
    static const bool set = qputenv("SANE_CONFIG_DIR", QFile::encodeName(dir.path()));
    Q_UNUSED(set);
    return dir;
}

void useBackend(const char* backend)
{
    QFile dll(saneDir().filePath(QStringLiteral("dll.conf")));
    ASSERT_TRUE(dll.open(QIODevice::WriteOnly | QIODevice::Truncate));
    dll.write(backend);
    dll.write("\n");
    QFile test(saneDir().filePath(QStringLiteral("test.conf")));
    ASSERT_TRUE(test.open(QIODevice::WriteOnly | QIODevice::Truncate));
    test.write("number_of_devices 2\n");
}

}  // namespace

TEST(SaneDevices, ListsWhatTheBackendsFind)
{
    useBackend("test");
    const QList<SaneDeviceEntry> devices = ListSaneDevices();
    ASSERT_EQ(devices.size(), 2);
    EXPECT_EQ(devices.first().name, QStringLiteral("test:0"));
    EXPECT_FALSE(devices.first().vendor.isEmpty());
    EXPECT_EQ(devices.first().entry(), devices.first().name + QStringLiteral(" (") + devices.first().description() + QLatin1Char(')'));
    // Asked again, the backends answer again.
    EXPECT_EQ(ListSaneDevices().size(), 2);
}

TEST(SaneDevices, ProbeAnswersOnTheCallersThreadAndNeverAfterItsContextIsGone)
{
    useBackend("test");
    QCoreApplication* app = QCoreApplication::instance();
    ASSERT_NE(app, nullptr);

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
    ASSERT_TRUE(done);
    EXPECT_EQ(answer.size(), 2);
    EXPECT_EQ(thread, QThread::currentThreadId());
    // The first probe, whose context went first, has had time to finish: it said nothing.
    QThread::msleep(200);
    QCoreApplication::processEvents();
    EXPECT_FALSE(calledAfterGone);
}
