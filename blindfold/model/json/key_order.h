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

/// A key of an object, ready to be put in order: letters count regardless of case, runs of digits
/// by their value (at the place of the digits among other characters), and a key comes before those
/// that it begins; keys that differ in nothing else are told apart byte by byte.
///
/// It borrows the key, and holds bytes (the collation) whose plain order is that order: a long key
/// is worked through once, however many others it is compared with. The order is total, on any
/// bytes.
class SortableKey {
 public:
  constexpr explicit SortableKey(std::string_view key) : key_(key) {
    collation_.reserve(key.size());
    while (!key.empty()) isDigit(key.front()) ? collateNumber(key) : collateCharacter(key);
  }

  constexpr std::string_view key() const { return key_; }

  constexpr std::strong_ordering operator<=>(const SortableKey&) const = default;

 private:
  /// Takes a run of digits off `rest`. It collates as a digit, the number's length and the number,
  /// without leading zeros.
  constexpr void collateNumber(std::string_view& rest) {
    const auto end = std::find_if_not(rest.begin(), rest.end(), isDigit);
    const auto first = std::find_if(rest.begin(), end, [](char digit) { return digit != '0'; });
    collation_.push_back('0');
    collateLength(static_cast<std::uint64_t>(end - first));
    collation_.insert(collation_.end(), first, end);
    rest.remove_prefix(static_cast<std::size_t>(end - rest.begin()));
  }

  /// A length is one byte if that is enough, and 0xFF and eight bytes if it is not.
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

  /// Takes a character off `rest`. It collates as the UTF-8 form of what it folds to: the bytes of
  /// UTF-8 are in the order of the code points.
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
