#pragma once

#include "data/GridData.h"

#include <QString>

namespace tarlox {

class Session;

// The machine rows of TarloxUsers; the one in work is session.machine.
bool ReadUser(Session& session, const QString& where);
bool AddUser(Session& session, bool retry);
bool UpdateUser(Session& session);
bool DeleteUser(Session& session, const QString& name);
// Head "Machine", "Name", "Scanner", "Create", "Login", "Interface"; ordered by machine.
bool LoadUsers(Session& session, GridData& grid);

}  // namespace tarlox
