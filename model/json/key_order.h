#pragma once

#include <compare>
#include <cstddef>
#include <string_view>

#include "model/text/ascii.h"
#include "model/text/case_folding.h"
#include "model/text/utf8.h"

namespace blindfold {

namespace detail {

/// What keys are compared by: a folded character, or a whole run of digits.
struct KeyElement {
  char32_t character;       ///< '0' stands for a run of digits.
  std::string_view digits;  ///< The run without leading zeros, so that a longer one is larger.

  constexpr std::strong_ordering operator<=>(const KeyElement& other) const {
    if (const auto order = character <=> other.character; order != 0) return order;
    if (const auto order = digits.size() <=> other.digits.size(); order != 0) return order;
    return digits <=> other.digits;
  }
};

/// Takes the first element off `key`, which must not be empty.
constexpr KeyElement takeKeyElement(std::string_view& key) {
  if (!isDigit(key.front())) {
    const CodePoint codePoint = readCodePoint(key, 0);
    key.remove_prefix(codePoint.length);
    return {foldCase(codePoint.value), {}};
  }
  std::size_t end = 0;
  while (end < key.size() && isDigit(key[end])) ++end;
  std::size_t begin = 0;
  while (begin < end && key[begin] == '0') ++begin;
  const std::string_view digits = key.substr(begin, end - begin);
  key.remove_prefix(end);
  return {U'0', digits};
}

}  // namespace detail

/// How keys of an object follow each other: letters regardless of case, runs of digits by their
/// value (at the place of the digits among other characters), a key before those it begins, and
/// byte by byte where that makes no difference. A total order, on any bytes.
constexpr std::strong_ordering compareKeys(std::string_view left, std::string_view right) {
  std::string_view leftRest = left;
  std::string_view rightRest = right;
  while (!leftRest.empty() && !rightRest.empty()) {
    const detail::KeyElement leftElement = detail::takeKeyElement(leftRest);
    const detail::KeyElement rightElement = detail::takeKeyElement(rightRest);
    if (const auto order = leftElement <=> rightElement; order != 0) return order;
  }
  if (const auto order = leftRest.size() <=> rightRest.size(); order != 0) return order;
  return left <=> right;
}

}  // namespace blindfold
