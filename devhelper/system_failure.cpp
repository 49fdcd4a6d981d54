#include "devhelper/system_failure.h"

#include <cerrno>
#include <system_error>

namespace blindfold {

PlatformError systemFailure(const std::string& what) {
  return PlatformError{what + ": " + std::generic_category().message(errno)};
}

}  // namespace blindfold
