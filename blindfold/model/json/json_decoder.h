#pragma once

#include <string_view>

#include "blindfold/model/record.h"

namespace blindfold {

/// Reads records from their JSON form. The text must be strict JSON in UTF-8 with an object at the
/// top; keys that a record does not have are ignored, and of equal keys the first counts.
class JSONDecoder {
 public:
  /// The record that `bytes` hold. Throws `DecodingError`: the whole text is checked first, then
  /// the fields are read in the order of their declaration, and the first trouble is the one
  /// reported. `T` is a record of model/detection.h or model/hold.h. Takes time and memory linear
  /// in the length of `bytes`, whatever they hold. Any thread may call.
  template <Record T>
  T decode(std::string_view bytes) const;
};

}  // namespace blindfold
