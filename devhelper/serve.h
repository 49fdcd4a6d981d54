#pragma once

#include "devhelper/options.h"

namespace blindfold {

/// Serves the options' service until a signal ends the process, and prints "ready" once clients can
/// reach it. Throws `UsageError` for options or a script that cannot be used, and `PlatformError`
/// with a one-line text when the system refuses. Each platform defines it once.
[[noreturn]] void serve(const Options& options);

}  // namespace blindfold
