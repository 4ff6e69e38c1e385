#pragma once

#include <QString>
#include <QStringList>

#include <functional>

namespace tarlox {

class Session;

// The steps of the system settings dialog that reach past its controls:
// the shared image counter, the drive map and the chosen printers.

// Reads the Options row and writes its counter to NextName of the local
// file, where the screen's counter field finds it. The local key only
// carries the value and is overwritten each time.
bool LoadSystemSettings(Session& session);

// What the screen holds beside its bound controls. An empty printer means
// the system's default printer.
struct SystemSettingsChoices {
    QString nextName;  // the image counter as the screen shows it
    QStringList drvMapEntries;
    QString printer;
    QString serverPrinter;
};

// True when the choices differ from what is in force.
bool SystemSettingsDiffer(const Session& session, const SystemSettingsChoices& choices);

// Saves in this order: reads the Options row and notes whether the counter
// on the screen differs from it (edited, or another machine went on since
// the screen loaded); runs saveFields (the bound controls, which write the
// counter to the local file); when the counter differed, writes the local
// value to the Options row; then the drive map and the printers, to the
// local file and into the session. A screen left open while other machines
// scan thus puts the counter back to what it showed; taking the next number
// checks the highest stored image and repairs that.
bool SaveSystemSettings(Session& session, const std::function<bool()>& saveFields, const SystemSettingsChoices& choices);

}  // namespace tarlox
