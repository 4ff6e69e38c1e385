#pragma once

#include <QList>
#include <QString>

#include <functional>
#include <mutex>

class QObject;

namespace tarlox {

// One scanner as SANE names it.
struct SaneDevice {
    QString name;  // "test:0", "genesys:libusb:001:004"
    QString vendor;
    QString model;
    QString type;
};

// SANE keeps global state and is not reentrant: every caller in the
// program holds this lock from sane_init to sane_exit.
std::mutex& SaneLock();

// The scanners SANE can reach now. Blocks, sometimes for seconds while the
// backends look on the buses and the network: run it off the interface thread.
QList<SaneDevice> ListSaneDevices();

// ListSaneDevices in a thread of its own; done gets the devices on the
// thread of context, and is never called once context is gone. The thread is
// never waited for, so a backend that hangs can't hold the program open.
void ProbeSaneDevices(QObject* context, std::function<void(const QList<SaneDevice>&)> done);

}  // namespace tarlox
