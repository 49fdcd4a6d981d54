#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace blindfold {

/// The most bytes of a word that a message quotes.
inline constexpr std::size_t maximumQuotation = 120;

/// The beginning of `word` between quotation marks, as part of a one-line message.
std::string quoted(std::string_view word);

/// The whole of `path` between quotation marks, as part of a one-line message.
std::string quotedPath(std::string_view path);

}  // namespace blindfold
