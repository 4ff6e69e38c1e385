#pragma once

namespace tarlox {

class Session;

// The single Options row: shared image counter, data version, system options.
bool ReadOptions(Session& session, bool keepOpen);
bool UpdateOptions(Session& session, bool keepOpen, bool noRetry = false);
bool AddOptions(Session& session, bool retry, bool keepOpen);

}  // namespace tarlox
