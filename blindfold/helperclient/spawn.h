#pragma once

#include "blindfold/helperclient/task.h"
#include "blindfold/platform/main_loop.h"

namespace blindfold {

/// Runs `task` on the main loop's thread, from the loop and not from inside this call, and keeps it
/// until it ends. An exception that leaves the task ends the process (`std::terminate`): there is
/// nobody to hand it to.
void spawn(MainLoop& mainLoop, Task<void> task);

}  // namespace blindfold
