#pragma once

#include <QList>
#include <QString>
#include <QStringList>

namespace tarlox {

// One scanner SANE can reach.
struct SaneDeviceEntry {
    QString name;    // "test:0", what sane_open takes
    QString vendor;  // "Noname"
    QString model;   // "frontend-tester"

    // "Noname frontend-tester"
    QString description() const;
    // "test:0 (Noname frontend-tester)", as the settings list shows it
    QString entry() const;
};

QList<SaneDeviceEntry> ListSaneDeviceEntries();

// The scanners SANE can reach, one entry each: the device name, a blank and
// vendor and model in brackets ("test:0 (Noname frontend-tester)").
QStringList ListSaneDevices();

// The device name of such an entry ("test:0").
QString SaneDeviceName(const QString& entry);

// The version of the SANE library as its initialisation reports it
// ("1.2.1"), or empty when SANE can't be started. Read once per process.
QString SaneVersionText();

}  // namespace tarlox
