#pragma once

#include <functional>
#include <optional>
#include <ostream>
#include <string>

#include "blindfold/model/json/coding_error.h"

namespace blindfold {

/// The error of a failed decoding.
struct DecodingFailure {
  DecodingError::Kind kind;
  std::string text;

  bool operator==(const DecodingFailure&) const = default;
};

inline std::ostream& operator<<(std::ostream& stream, const DecodingFailure& failure) {
  return stream << "kind " << static_cast<int>(failure.kind) << ": " << failure.text;
}

/// The error that `decode` throws, or `std::nullopt` when it throws none.
inline std::optional<DecodingFailure> failureOf(const std::function<void()>& decode) {
  try {
    decode();
    return std::nullopt;
  } catch (const DecodingError& error) {
    return DecodingFailure{error.kind(), error.what()};
  }
}

}  // namespace blindfold
