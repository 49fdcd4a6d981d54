#pragma once

#include <stdexcept>
#include <string>

namespace blindfold {

/// Bytes that are not the JSON form of the record asked for. `what()` is one line of valid UTF-8
/// that names the place and the trouble
/// ("resolvedTargets[2].priority: expected an integer, found a string"), whatever the bytes hold.
class DecodingError : public std::runtime_error {
 public:
  enum class Kind {
    keyNotFound,    ///< A required key is missing.
    valueNotFound,  ///< A value is null where one is required.
    typeMismatch,   ///< A value is of another JSON type.
    dataCorrupted,  ///< The text is not JSON, or a value of the right type says nothing usable.
  };

  DecodingError(Kind kind, const std::string& text) : std::runtime_error(text), kind_(kind) {}

  Kind kind() const { return kind_; }

 private:
  Kind kind_;
};

}  // namespace blindfold
