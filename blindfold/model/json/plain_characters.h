#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>

namespace blindfold {

/// Whether the slash counts as a plain character. It stands for itself in a JSON text, but is
/// written as an escape sequence.
enum class SlashIs { plain, escaped };

/// Whether `character` is ASCII and stands for itself in a JSON string (RFC 8259, section 7).
template <SlashIs slash = SlashIs::plain>
constexpr bool isPlainCharacter(char character) {
  const bool isEscapedSlash = slash == SlashIs::escaped && character == '/';
  return static_cast<signed char>(character) >= ' ' && character != '"' && character != '\\' &&
         !isEscapedSlash;
}

/// The number of plain characters at the beginning of `text`. Examines eight at a time.
template <SlashIs slash = SlashIs::plain>
std::size_t plainLength(std::string_view text) {
  constexpr std::uint64_t lowBits = 0x0101010101010101;
  constexpr std::uint64_t highBits = 0x8080808080808080;
  std::size_t length = 0;
  if constexpr (std::endian::native == std::endian::little) {
    for (; length + sizeof(std::uint64_t) <= text.size(); length += sizeof(std::uint64_t)) {
      std::uint64_t word = 0;
      std::memcpy(&word, text.data() + length, sizeof word);
      // Sets the high bit of each byte that is `character`, and perhaps of bytes after it.
      const auto bytesThatAre = [word](char character) {
        const std::uint64_t difference = word ^ lowBits * static_cast<unsigned char>(character);
        return (difference - lowBits) & ~difference;
      };
      // A byte below a space borrows, so that only the lowest bit found is certain: it is enough.
      std::uint64_t found = word | (word - lowBits * ' ') | bytesThatAre('"') | bytesThatAre('\\');
      if constexpr (slash == SlashIs::escaped) found |= bytesThatAre('/');
      found &= highBits;
      if (found != 0) return length + static_cast<std::size_t>(std::countr_zero(found)) / 8;
    }
  }
  while (length < text.size() && isPlainCharacter<slash>(text[length])) ++length;
  return length;
}

}  // namespace blindfold
