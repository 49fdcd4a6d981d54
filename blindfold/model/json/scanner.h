#pragma once

#include <cstddef>
#include <string_view>

#include "blindfold/model/json/json_value.h"

namespace blindfold {

/// Arrays and objects may lie so deep within each other.
inline constexpr std::size_t maximumNestingDepth = 512;

/// The one value that `bytes` hold. The whole text is checked here, once: it must be strict JSON
/// (RFC 8259) in valid UTF-8, without a byte-order mark, without half a surrogate pair, and nested
/// no deeper than `maximumNestingDepth`. Throws `DecodingError` (data corrupted) that tells the
/// byte at which it is not. The value borrows from `bytes`.
JSONValue scanJSON(std::string_view bytes);

}  // namespace blindfold
