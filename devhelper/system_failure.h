#pragma once

#include <string>

#include "blindfold/platform/platform_error.h"

namespace blindfold {

/// The error of the system call that has just failed, as one line: "WHAT: the system's words".
PlatformError systemFailure(const std::string& what);

}  // namespace blindfold
