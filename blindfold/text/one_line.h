#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace blindfold {

/// Any bytes as one line of valid UTF-8 on which a terminal does not act: each run of CR and LF
/// becomes one space, a control character other than TAB is written as JSON escapes it (\u001b),
/// and a byte that is not UTF-8 becomes U+FFFD. All other text stays as it is.
std::string oneLine(std::string_view bytes);

/// The same for a quotation that shows each character: one that leaves no mark (TAB, a space other
/// than U+0020, a byte-order mark, directional marks and the like) is escaped too. Cut to at most
/// `maximumLength` bytes between two characters; "…" stands for the rest. Reads no further than it
/// writes.
std::string oneLineExcerpt(std::string_view bytes, std::size_t maximumLength);

}  // namespace blindfold
