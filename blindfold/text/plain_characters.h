#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>

namespace blindfold {

/// Whether `character` is ASCII, neither a control character nor one of `special`. DEL counts as no
/// control character, as in JSON and XML.
template <char... special>
constexpr bool isPlainCharacter(char character) {
  return static_cast<signed char>(character) >= ' ' && ((character != special) && ...);
}

/// The number of plain characters at the beginning of `text`. Examines eight at a time.
template <char... special>
std::size_t plainLength(std::string_view text) {
  constexpr std::uint64_t lowBits = 0x0101010101010101;
  constexpr std::uint64_t highBits = 0x8080808080808080;
  std::size_t length = 0;
  if constexpr (std::endian::native == std::endian::little) {
    for (; length + sizeof(std::uint64_t) <= text.size(); length += sizeof(std::uint64_t)) {
      std::uint64_t word = 0;
      std::memcpy(&word, text.data() + length, sizeof word);
      // Sets the high bit of each byte that is `character`.
      const auto bytesThatAre = [word](char character) {
        return (word ^ lowBits * static_cast<unsigned char>(character)) - lowBits;
      };
      // A byte that is found may borrow from those after it, and a byte that is not ASCII is found
      // anyhow, so that only the lowest bit found is certain: it is enough.
      const std::uint64_t found =
          ((word | (word - lowBits * ' ')) | ... | bytesThatAre(special)) & highBits;
      if (found != 0) return length + static_cast<std::size_t>(std::countr_zero(found)) / 8;
    }
  }
  while (length < text.size() && isPlainCharacter<special...>(text[length])) ++length;
  return length;
}

}  // namespace blindfold
