#pragma once

#include <stdexcept>
#include <string>

namespace blindfold {

/// Bytes that are not the JSON form of a record. `what()` is one line of valid UTF-8, whatever the
/// bytes are. It names the coding path and the error
/// ("resolvedTargets[2].priority: expected an integer, found a string").
class DecodingError : public std::runtime_error {
 public:
  enum class Kind {
    keyNotFound,    ///< A required key is absent.
    valueNotFound,  ///< A value is null where one is required.
    typeMismatch,   ///< A value is of another JSON type.
    dataCorrupted,  ///< The text is not JSON, or a value of the right type is not valid.
  };

  DecodingError(Kind kind, const std::string& text) : std::runtime_error(text), kind_(kind) {}

  Kind kind() const { return kind_; }

 private:
  Kind kind_;
};

/// A record that has no JSON form, because a number in it is not finite. `what()` is one line of
/// UTF-8.
class EncodingError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

}  // namespace blindfold
