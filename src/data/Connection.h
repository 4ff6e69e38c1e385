#pragma once

#include <QString>

namespace tarlox {

class Session;

// Builds the connection string and its display form (password as "******")
// from the session values and hands them to the session's database. False
// when the database type is neither "Access" nor "SQL".
bool SetConnection(Session& session);

// Reads the "Data" section of the server file into the session and calls SetConnection.
void GetServerInfo(Session& session);

// Upper-cased name of the machine that holds the database.
QString GetHostName(Session& session);

}  // namespace tarlox
