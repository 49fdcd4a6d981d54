#pragma once

#include <string_view>

namespace blindfold {

/// Decodes records from JSON: strict JSON (RFC 8259) in UTF-8 with an object at the top, nested at
/// most 512 levels deep. Unknown keys are ignored; of equal keys the first counts.
class JSONDecoder {
 public:
  /// Returns the record that `bytes` encode. `T` is a record of model/detection.h or model/hold.h.
  ///
  /// Throws `DecodingError`. The whole text is checked first, then the fields in the order of their
  /// declaration; the error is the first one found. Takes time and memory linear in the size of
  /// `bytes`. May be called on any thread.
  template <class T>
  T decode(std::string_view bytes) const;
};

}  // namespace blindfold
