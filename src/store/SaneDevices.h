#pragma once

#include <QList>
#include <QString>

#include <functional>

class QObject;

namespace tarlox {

// One scanner as SANE names it.
struct SaneDeviceEntry {
    QString name;  // "test:0", "genesys:libusb:001:004": what sane_open takes
    QString vendor;
    QString model;
    QString type;

    // "Noname frontend-tester"
    QString description() const;
    // "test:0 (Noname frontend-tester)", as the settings list shows it
    QString entry() const;
};

// The scanners SANE can reach now. Blocks, sometimes for seconds while the
// backends look on the buses and the network: run it off the interface thread.
QList<SaneDeviceEntry> ListSaneDevices();

// ListSaneDevices in a thread of its own; done gets the devices on the
// thread of context, and is never called once context is gone. The thread is
// never waited for, so a backend that hangs can't hold the program open.
void ProbeSaneDevices(QObject* context, std::function<void(const QList<SaneDeviceEntry>&)> done);

}  // namespace tarlox
