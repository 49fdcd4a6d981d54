#pragma once

#include <string>

namespace blindfold {

/// Makes the directory at `path`, whose parent exists, with mode 0755 whatever the process's mask;
/// an item that is there already stays as it is. Throws `PlatformError` with a one-line text.
void makeReadableDirectory(const std::string& path);

}  // namespace blindfold
