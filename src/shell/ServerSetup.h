#pragma once

#include "data/GridData.h"

#include <QString>

#include <functional>

namespace tarlox {

class Session;

// The server setup of a machine: which server settings file it uses, the
// database that file names, the connection timeout, who uses the machine,
// and the machines the installation knows. The screen holds the entries;
// everything that reads, tests or writes them is here.

struct ServerEntries {
    QString serverIni;
    bool sql = false;  // the PostgreSQL server; otherwise the file database
    QString timeout;
    QString database;
    QString databasePassword;
    QString server;
    QString userId;
    QString password;
};

// The values in force in the session, in the screen's form.
ServerEntries StoredServerEntries(const Session& session);

// True when any entry differs from the stored one: texts exactly, the
// timeout by its numeric value, the type by which one is chosen.
bool ServerEntriesDiffer(const ServerEntries& screen, const ServerEntries& stored);

// What the screen loads: the Options row (made when missing), this
// machine's row and the machine list. newMachine is true when this machine
// has no row yet; userName is its stored user name otherwise.
struct ServerSetupState {
    bool newMachine = false;
    QString userName;
    GridData machines;
};
bool LoadServerSetup(Session& session, ServerSetupState& state);

// Reads the Options row on the connection in force; while that fails, asks
// Retry/Cancel. With anyFailure false only a database that can't be reached
// at all counts as failure. False after Cancel.
bool TestConnection(Session& session, const QString& title, bool anyFailure);

// Tests the server settings file at path: its keys, then a connection to
// the database it names. The session takes its values when the keys pass.
bool CheckServerIni(Session& session, const QString& path);

// CheckServerIni, then on success the local file and the session take the
// path; on failure "Invalid Server Configuration File!". The session re-reads
// the server file in force either way.
bool ReadServerIni(Session& session, const QString& path);

// Tests the screen's entries: required fields, then a connection. The
// session takes the entries (without any override connection).
bool CheckServerEntries(Session& session, const ServerEntries& entries);

// Writes ServerIni to the local file and the Data keys to the server file,
// then re-reads the server file into the session.
bool SaveServerInfo(Session& session, const ServerEntries& entries);

// The user name must be filled in.
bool ValidateUserInfo(Session& session, const QString& userName);
// Adds this machine's row (new machine) or updates its user name.
bool SaveUserInfo(Session& session, const QString& userName, bool newMachine);

// The whole update: validate the name, test the entries, save both, reload
// the session with GetInfo. The connection is closed in any case.
bool UpdateServerSetup(Session& session, const ServerEntries& entries, const QString& userName, bool newMachine);

// Leaves no trace of what was tried: re-reads the server file and the Options row.
void CancelServerSetup(Session& session);

// Removes a machine's row after asking; this machine's own row can't go.
enum class RemoveOutcome { Removed, OwnMachine, Declined, Failed };
RemoveOutcome RemoveMachine(Session& session, const QString& machineName);

// Start-up: GetInfo, then for a machine without a row the server setup
// screen that the front end passes in. True when the program may go on,
// that is when the machine has its row.
bool StartSessionWithSetup(Session& session, const std::function<void()>& serverSetup);

}  // namespace tarlox
