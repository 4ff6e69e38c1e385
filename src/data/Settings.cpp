#include "data/Settings.h"

#include "base/ErrorReport.h"
#include "base/IniFile.h"
#include "data/Session.h"
#include "base/TextTools.h"

namespace tarlox {

QString GetIni(Session& session, const QString& file, const QString& section, const QString& key)
{
    session.traceCall(QStringLiteral("GetIni"), {file, section, key});
    const IniResult result = ReadIniValue(file, section, key);
    if (!result.ok) {
        ReportError(session.prompter(), ErrorDetails{QStringLiteral("ReadIniValue"), result.error, 75, QStringLiteral("Path/File access error")});
        return {};
    }
    return result.value;
}

bool PutIni(Session& session, const QString& file, const QString& section, const QString& key, const QString& value)
{
    session.traceCall(QStringLiteral("PutIni"), {file, section, key, value});
    const IniResult result = WriteIniValue(file, section, key, value);
    if (!result.ok)
        ReportError(session.prompter(), ErrorDetails{QStringLiteral("WriteIniValue"), result.error, 75, QStringLiteral("Path/File access error")});
    return result.ok;
}

QString GetLocal(Session& session, const QString& section, const QString& key)
{
    return GetIni(session, session.localIni, section, key);
}

bool PutLocal(Session& session, const QString& section, const QString& key, const QString& value)
{
    return PutIni(session, session.localIni, section, key, value);
}

bool GetLocalBool(Session& session, const QString& section, const QString& key)
{
    return BoolFromIni(GetLocal(session, section, key));
}

}  // namespace tarlox
