#pragma once

namespace tarlox {

// Call first thing in main, before any thread starts. While TZ is unset the
// C library looks at /etc/localtime again on every local-time conversion
// (a file status each, dozens for every report a long run takes in);
// naming that file in TZ has it read once.
void ReadLocalTimeZoneOnce();

}  // namespace tarlox
