#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace blindfold {

/// Any bytes as one line of valid UTF-8 that a terminal shows as it stands: each run of line breaks
/// becomes one space, other control characters (bidirectional ones and the Unicode line and
/// paragraph separators included) are written as JSON escapes them (\u001b), and what is not UTF-8
/// becomes U+FFFD.
std::string oneLine(std::string_view bytes);

/// The same, cut to at most `maximumLength` bytes between two characters; what was cut off is
/// announced by "…" after them. Reads no further than it writes.
std::string oneLineExcerpt(std::string_view bytes, std::size_t maximumLength);

}  // namespace blindfold
