#pragma once

#include <QString>

namespace tarlox {

class Session;

enum class VersionOutcome { Continue, EndProgram };

// Runs when the data version and the program version differ: a newer
// program upgrades the data (RevUp) and records its version; an older one
// offers to start the upgrade program from the server directory.
VersionOutcome DifferentServerVersion(Session& session);

// Version text without its revision: "7.00.0006" -> "7.00".
QString VersionWithoutRevision(const QString& version);

// The upgrade program as it lies on this system: the name as given, or the
// same name without ".exe" when that is an executable file; case is ignored
// when nothing has exactly that name. Empty when there is none.
QString ExistingUpgradeProgram(const QString& path);

}  // namespace tarlox
