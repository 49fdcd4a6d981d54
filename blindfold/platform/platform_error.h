#pragma once

#include <stdexcept>

namespace blindfold {

/// A failure that the platform reports in its own words. `what()` is the platform's localized
/// description, unchanged: UTF-8, possibly empty.
class PlatformError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

}  // namespace blindfold
