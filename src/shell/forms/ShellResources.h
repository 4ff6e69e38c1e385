#pragma once

// Makes the shell's resources (toolbar icons, the manual) reachable under
// ":/icons" and ":/manual". The library is linked statically, so its
// resources must be registered by a call.
void InitShellResources();
