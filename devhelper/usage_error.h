#pragma once

#include <stdexcept>

namespace blindfold {

/// A command line or a script that cannot be used. `what()` is one line that names the trouble.
class UsageError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

}  // namespace blindfold
