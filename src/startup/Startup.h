#pragma once

#include "base/Status.h"

#include <QString>
#include <QStringList>

namespace tarlox {

class Session;

// The program directory: $TARLOX when set, else the per-user data
// directory. Never the executable's directory, so that a rebuild or an
// upgrade can't touch a site's files. Ends in a separator.
QString DefaultProgramDirectory();

// What to do on a machine without a local settings file.
enum class FirstStart {
    Ask,         // "Initialize Tarlox Settings"
    Initialize,  // initialize without asking
    Refuse,      // fail with NoSettingsFile, without asking
};

// Loads the whole session: settings files, database, options, this
// machine's row, version check, session values. A failure that a person
// can cure (server file missing, database not answering) is offered for
// another try (Session::retry) and otherwise returned; ok() when the
// program may go on.
Status GetInfo(Session& session, FirstStart firstStart = FirstStart::Ask);

// Finds the files and the database; the first part of GetInfo.
Status GetIniInfo(Session& session, FirstStart firstStart = FirstStart::Ask);

// Creates a first local settings file, the DATA directory and an empty
// file database on this machine; false when the user declines (when asked)
// or something can't be made.
bool MakeIni(Session& session, FirstStart firstStart = FirstStart::Ask);

// Reads the session values that are held for the whole run.
void ReadSessionSettings(Session& session);

// The trace switch of the command line: "/d=PATH" anywhere, or "--trace=PATH".
struct TraceSwitch {
    bool requested = false;
    QString path;
};
TraceSwitch ParseTraceSwitch(const QStringList& arguments);

// Switches the trace on: opens the file, writes "Main" and tells the user.
void StartTrace(Session& session, const TraceSwitch& traceSwitch);

// GetInfo, and a machine row for a machine that has none yet.
Status StartSession(Session& session, FirstStart firstStart = FirstStart::Ask);

}  // namespace tarlox
