#pragma once

#include <stdexcept>

namespace blindfold {

/// A record that has no JSON form: a number in it is not finite. `what()` is one line of UTF-8.
class EncodingError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

}  // namespace blindfold
