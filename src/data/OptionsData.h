#pragma once

namespace tarlox {

class Session;

// The single Options row: shared image counter, data version, system options.
bool ReadOptions(Session& session);
bool UpdateOptions(Session& session);
bool AddOptions(Session& session, bool retry);

}  // namespace tarlox
