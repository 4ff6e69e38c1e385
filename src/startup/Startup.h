#pragma once

#include <QString>
#include <QStringList>

namespace tarlox {

class Session;

// The program directory: $TARLOX when set, else the per-user data
// directory. Never the executable's directory, so that a rebuild or an
// upgrade can't touch a site's files. Ends in a separator.
QString DefaultProgramDirectory();

// Loads the whole session: settings files, database, options, this
// machine's row, version check, session values. True when the program may go on.
bool GetInfo(Session& session);

// Finds the files and the database. With initialize true and no local file,
// offers MakeIni and stores the answer in initialize.
bool GetIniInfo(Session& session, bool& initialize);

// Creates a first local settings file, the DATA directory and an empty
// file database on this machine; false when the user declines.
bool MakeIni(Session& session);

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
bool StartSession(Session& session);

}  // namespace tarlox
