#pragma once

#include "blindfold/authorization/bundle_execution_context.h"
#include "blindfold/platform/file_manager.h"

namespace blindfold {

/// Whether the three directories of `context` are directories and its executable is a regular file,
/// none of them a symbolic link nor writable by its group or by others. Owners, other mode bits and
/// the directories above the application do not count. Reads the attributes of each item once, from
/// the application down to the executable, up to the first that fails; an item that cannot be read
/// fails.
bool hasSecureExecutablePath(const BundleExecutionContext& context, const FileManager& fileManager);

}  // namespace blindfold
