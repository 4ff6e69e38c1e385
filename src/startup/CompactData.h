#pragma once

#include <QString>

namespace tarlox {

class Session;

// Rebuilds the file database: a compact copy under the name with the
// extension "NDB", then the current file becomes the "ODB" file and the copy
// takes its name. The previous state thus stays beside the database until
// the next rebuild. Refuses while any other connection or process has the
// database open. True when the database was rebuilt.
bool CompactData(Session& session);

// The names beside the database: "Tarlox.db" -> "Tarlox.NDB" / "Tarlox.ODB".
QString CompactNewName(const QString& database);
QString CompactOldName(const QString& database);

}  // namespace tarlox
