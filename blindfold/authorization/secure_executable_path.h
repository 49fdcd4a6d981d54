#pragma once

#include "blindfold/authorization/bundle_execution_context.h"
#include "blindfold/platform/file_manager.h"

namespace blindfold {

/// Whether the three directories and the executable of `context` are what they should be, and none
/// of them a symbolic link or writable by its group or by others. Owners, other bits and the
/// directories above the application do not matter. Reads each item once, now, from the
/// application down to the executable, and stops at the first that fails; an item that cannot be
/// read fails.
bool hasSecureExecutablePath(const BundleExecutionContext& context, const FileManager& fileManager);

}  // namespace blindfold
