#include "shell/SystemSettings.h"

#include "data/OptionsData.h"
#include "shell/DriveMap.h"
#include "data/Session.h"
#include "data/Settings.h"
#include "base/TextTools.h"

namespace tarlox {

namespace {
const QString NextName = QStringLiteral("NextName");
}  // namespace

bool LoadSystemSettings(Session& s)
{
    s.traceCall(QStringLiteral("LoadValues"));
    const bool read = ReadOptions(s);
    PutLocal(s, section::Info, NextName, QString::number(s.options.nextName));
    return read || s.options.status == 1;
}

bool SystemSettingsDiffer(const Session& s, const SystemSettingsChoices& choices)
{
    QStringList entries = choices.drvMapEntries;
    entries.removeAll(QString());
    return entries != SplitDriveMap(s.drvMap) || choices.printer != s.printer || choices.serverPrinter != s.serverPrinter;
}

bool SaveSystemSettings(Session& s, const std::function<bool()>& saveFields, const SystemSettingsChoices& choices)
{
    s.traceCall(QStringLiteral("Save"));
    ReadOptions(s);
    const bool counterChanged = IntVal(choices.nextName) != s.options.nextName;
    bool ok = saveFields ? saveFields() : true;
    if (counterChanged) {
        s.options.nextName = IntVal(GetLocal(s, section::Info, NextName));
        ok = UpdateOptions(s) && ok;
    }
    s.drvMap = JoinDriveMap(choices.drvMapEntries);
    PutLocal(s, section::Info, QStringLiteral("DrvMap"), s.drvMap);
    s.printer = choices.printer;
    PutLocal(s, section::Info, QStringLiteral("Printer"), s.printer);
    s.serverPrinter = choices.serverPrinter;
    PutLocal(s, section::Info, QStringLiteral("ServerPrinter"), s.serverPrinter);
    return ok;
}

}  // namespace tarlox
