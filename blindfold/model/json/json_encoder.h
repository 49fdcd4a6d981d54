#pragma once

#include <string>

#include "blindfold/model/record.h"

namespace blindfold {

/// Writes records in their one JSON form: compact, keys sorted, slashes escaped, dates as ISO-8601
/// text in UTC, absent optional values left out. The same record always gives the same bytes.
class JSONEncoder {
 public:
  /// The record's JSON text, without a line break; valid UTF-8 (what is not UTF-8 in a string of
  /// the record comes out as U+FFFD). Throws `EncodingError` when a number is not finite. `T` is a
  /// record of model/detection.h or model/hold.h. Any thread may call.
  template <Record T>
  std::string encode(const T& record) const;
};

/// A new encoder, for one use.
JSONEncoder makeJSONEncoder();

}  // namespace blindfold
