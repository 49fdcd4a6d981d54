#pragma once

#include <algorithm>
#include <compare>
#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

#include "blindfold/text/ascii.h"
#include "blindfold/text/case_folding.h"
#include "blindfold/text/utf8.h"

namespace blindfold {

/// A key of an object in the order of encoded keys: letters compare without regard to case, runs of
/// digits by their value (among other characters like the digit 0), and a prefix precedes what it
/// begins. Keys that are equal in all this compare byte by byte. The order is total on any bytes.
///
/// Borrows the key, and holds a collation, bytes whose lexicographic order is that order: a long
/// key is processed once, whatever the number of comparisons.
class SortableKey {
 public:
  constexpr explicit SortableKey(std::string_view key) : key_(key) {
    collation_.reserve(key.size());
    while (!key.empty()) isDigit(key.front()) ? collateNumber(key) : collateCharacter(key);
  }

  constexpr std::string_view key() const { return key_; }

  constexpr std::strong_ordering operator<=>(const SortableKey&) const = default;

 private:
  /// Removes a run of digits from `rest`. Its collation is a digit, and the length and the digits
  /// of the number without leading zeros.
  constexpr void collateNumber(std::string_view& rest) {
    const auto end = std::find_if_not(rest.begin(), rest.end(), isDigit);
    const auto first = std::find_if(rest.begin(), end, [](char digit) { return digit != '0'; });
    collation_.push_back('0');
    collateLength(static_cast<std::uint64_t>(end - first));
    collation_.insert(collation_.end(), first, end);
    rest.remove_prefix(static_cast<std::size_t>(end - rest.begin()));
  }

  /// The collation of a length is one byte if that suffices, otherwise 0xFF and eight bytes.
  constexpr void collateLength(std::uint64_t length) {
    constexpr unsigned char lengthFollows = 0xFF;
    if (length < lengthFollows) {
      collation_.push_back(static_cast<unsigned char>(length));
      return;
    }
    collation_.push_back(lengthFollows);
    for (unsigned shift = 64; shift > 0; shift -= 8) {
      collation_.push_back(static_cast<unsigned char>(length >> (shift - 8) & 0xFFU));
    }
  }

  /// Removes a character from `rest`. Its collation is the UTF-8 encoding of its case folding, as
  /// UTF-8 preserves the order of code points.
  constexpr void collateCharacter(std::string_view& rest) {
    const CodePoint codePoint = readCodePoint(rest, 0);
    const UTF8Form folded = encodeUTF8(foldCase(codePoint.value));
    collation_.insert(collation_.end(), folded.text().begin(), folded.text().end());
    rest.remove_prefix(codePoint.length);
  }

  std::vector<unsigned char> collation_;
  std::string_view key_;
};

}  // namespace blindfold
