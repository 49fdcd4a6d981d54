#pragma once

#include <cstddef>
#include <string>

#include "blindfold/platform/helper_connection.h"

namespace blindfold {

/// The bytes of the file at `path`, which may be anything that can be read to an end. Throws
/// `PlatformError` with a one-line text when it cannot be read or holds more than `maximumSize`.
Bytes readFile(const std::string& path, std::size_t maximumSize);

}  // namespace blindfold
