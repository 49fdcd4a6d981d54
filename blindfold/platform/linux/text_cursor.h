#pragma once

#include <algorithm>
#include <array>
#include <charconv>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>
#include <system_error>

#include "blindfold/text/plain_characters.h"

namespace blindfold {

/// A set of bytes.
class CharacterSet {
 public:
  consteval explicit CharacterSet(std::string_view characters) {
    for (const char each : characters) contains_[static_cast<unsigned char>(each)] = true;
  }
  bool contains(char each) const { return contains_[static_cast<unsigned char>(each)]; }

 private:
  std::array<bool, 256> contains_{};
};

/// The white space of XML.
inline constexpr CharacterSet whiteSpace(" \t\r\n");
inline constexpr CharacterSet decimalDigits("0123456789");

/// The number that `digits` are to `base`; `std::nullopt` when they are none, and when it has more
/// than 64 bits.
inline std::optional<std::uint64_t> numberOf(std::string_view digits, int base) {
  std::uint64_t value = 0;
  const char* const begin = digits.data();
  const char* const end = begin + digits.size();
  const auto [stop, error] = std::from_chars(begin, end, value, base);
  if (error != std::errc() || stop != end) return std::nullopt;
  return value;
}

/// The rest of a text that is being read. Borrows the text.
class TextCursor {
 public:
  explicit TextCursor(std::string_view text) : rest_(text) {}

  std::string_view rest() const { return rest_; }
  bool isAtEnd() const { return rest_.empty(); }

  /// Takes `mark` if it is next, and returns whether it is.
  bool take(std::string_view mark) {
    if (!rest_.starts_with(mark)) return false;
    rest_.remove_prefix(mark.size());
    return true;
  }

  /// Takes the literal `mark`. Its size is a constant, so comparing takes a few instructions.
  template <std::size_t size>
  bool take(const char (&mark)[size]) {
    constexpr std::size_t length = size - 1;
    if (rest_.size() < length || !std::equal(mark, mark + length, rest_.begin())) return false;
    rest_.remove_prefix(length);
    return true;
  }

  /// Takes `count` bytes, or as many as there are.
  std::string_view takeCount(std::size_t count) {
    const std::string_view taken = rest_.substr(0, count);
    rest_.remove_prefix(count);
    return taken;
  }

  std::string_view takeWhile(const CharacterSet& set) {
    std::size_t count = 0;
    while (count < rest_.size() && set.contains(rest_[count])) ++count;
    return takeCount(count);
  }

  /// Takes the ASCII characters that stand for themselves in every text, lines of them.
  std::string_view takePlainText() {
    for (std::size_t count = 0;; ++count) {
      count += plainLength<'<', '&', ']'>(rest_.substr(count));
      const bool isPlainControl =
          count < rest_.size() && (rest_[count] == '\n' || rest_[count] == '\t');
      if (!isPlainControl) return takeCount(count);
    }
  }

 private:
  std::string_view rest_;
};

}  // namespace blindfold
