#pragma once

#include "app/exit_status.h"

namespace tess {

class Application;

// Start-up, in order: single-instance test, splash, number formats, Tessarolle.INI, the main
// window plan, the update timer. Returns 0, or kExitAlreadyRunning when another instance
// runs in the same folder. When a quit was asked for during start-up, it shuts down at its end.
int Main(Application& app);

} // namespace tess
