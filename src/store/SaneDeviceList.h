#pragma once

#include <QString>
#include <QStringList>

namespace tarlox {

// The scanners SANE can reach, one entry each: the device name, a blank and
// vendor and model in brackets ("test:0 (Noname frontend-tester)").
QStringList ListSaneDeviceEntries();

// The device name of such an entry ("test:0").
QString SaneDeviceName(const QString& entry);

// The version of the SANE library as its initialisation reports it
// ("1.2.1"), or empty when SANE can't be started. Read once per process.
QString SaneVersionText();

}  // namespace tarlox
