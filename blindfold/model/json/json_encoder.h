#pragma once

#include <string>

namespace blindfold {

/// Encodes records as JSON in one fixed form: compact, keys sorted, slashes escaped, dates as
/// ISO-8601 text in UTC, absent optional values omitted. Equal records have equal encodings.
class JSONEncoder {
 public:
  /// Returns the record's JSON text, without a line break. It is valid UTF-8: bytes of a string
  /// that are not UTF-8 become U+FFFD. `T` is a record of model/detection.h or model/hold.h.
  ///
  /// Throws `EncodingError` when a number is not finite. May be called on any thread.
  template <class T>
  std::string encode(const T& record) const;
};

/// Returns a new encoder, for one use.
inline JSONEncoder makeJSONEncoder() {
  return {};
}

}  // namespace blindfold
