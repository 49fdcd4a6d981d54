#pragma once

#include <algorithm>
#include <cstddef>
#include <iterator>

#include "blindfold/text/case_folding_table.h"

namespace blindfold {

/// `codePoint` under Unicode's simple case folding, which depends on no language and maps each code
/// point to one code point; `codePoint` itself when it has no folding.
constexpr char32_t foldCase(char32_t codePoint) {
  if (codePoint < 0x80) {
    return codePoint >= U'A' && codePoint <= U'Z' ? codePoint + (U'a' - U'A') : codePoint;
  }
  static_assert(caseFoldings.front().first < 0x80, "a folding comes before every other code point");
  const auto next = std::upper_bound(
      caseFoldings.begin(), caseFoldings.end(), codePoint,
      [](char32_t value, const CaseFolding& folding) { return value < folding.first; });
  const CaseFolding& folding = *std::prev(next);
  const bool isFolded =
      codePoint <= folding.last && (codePoint - folding.first) % folding.step == 0;
  return isFolded ? codePoint + static_cast<char32_t>(folding.offset) : codePoint;
}

}  // namespace blindfold
