#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace blindfold {

/// `bytes` as one line of valid UTF-8 on which a terminal does not act: each run of CR and LF
/// becomes one space, a control character other than TAB its JSON escape sequence (\u001b), and
/// bytes that are not UTF-8 become U+FFFD. All other text is unchanged.
std::string oneLine(std::string_view bytes);

/// The beginning of `bytes` as a quotation that shows each character: like `oneLine`, but escapes
/// every character that leaves no mark (TAB, spaces other than U+0020, a byte-order mark,
/// directional marks and the like). As many whole characters as fit into `maximumLength` bytes,
/// followed by "…" when any are left out. Reads no more of `bytes` than the result holds.
std::string oneLineExcerpt(std::string_view bytes, std::size_t maximumLength);

}  // namespace blindfold
