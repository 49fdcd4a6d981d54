#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include "text/one_line.h"

namespace blindfold {

/// The most bytes of a word that a message quotes.
inline constexpr std::size_t maximumQuotation = 120;

/// The beginning of `word` between quotation marks, as part of a one-line message.
inline std::string quoted(std::string_view word) {
  return "'" + oneLineExcerpt(word, maximumQuotation) + "'";
}

/// The whole of `path` between quotation marks, as part of a one-line message.
inline std::string quotedPath(std::string_view path) {
  return "'" + oneLine(path) + "'";
}

}  // namespace blindfold
