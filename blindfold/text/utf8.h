#pragma once

#include <array>
#include <cassert>
#include <cstddef>
#include <string>
#include <string_view>

namespace blindfold {

/// The code point that replaces bytes that are not valid UTF-8.
inline constexpr char32_t replacementCharacter = 0xFFFD;

/// A code point of a text, or a sequence of bytes that encodes none.
struct CodePoint {
  char32_t value;      ///< `replacementCharacter` when the bytes are not valid UTF-8.
  std::size_t length;  ///< In bytes, at least 1. An invalid sequence is a maximal subpart.
  bool isValid;
};

/// The code point at `position`, which must be less than the size of `text`.
constexpr CodePoint readCodePoint(std::string_view text, std::size_t position);

/// The UTF-8 encoding of one code point.
struct UTF8Form {
  std::array<char, 4> bytes;
  std::size_t length;

  constexpr std::string_view text() const { return {bytes.data(), length}; }
};

/// The UTF-8 encoding of `codePoint`, which must be a Unicode scalar value.
constexpr UTF8Form encodeUTF8(char32_t codePoint);

/// Whether `bytes` are well-formed UTF-8 (The Unicode Standard, table 3-7): no surrogates, no
/// overlong forms.
bool isValidUTF8(std::string_view bytes);

/// Whether `bytes` are well-formed UTF-8 and every code point satisfies `isAllowed`.
bool isValidUTF8(std::string_view bytes, bool (*isAllowed)(char32_t codePoint));

/// `bytes` with each maximal invalid subpart replaced by one U+FFFD.
std::string repairUTF8(std::string_view bytes);

namespace detail {

/// A row of the table of well-formed sequences (The Unicode Standard, table 3-7): the lead bytes
/// from `first` to `last`, the length of their sequences, and the range of the second byte. Further
/// bytes are 80 to BF.
struct LeadBytes {
  unsigned char first;
  unsigned char last;
  std::size_t length;
  unsigned char secondFirst;
  unsigned char secondLast;
};

inline constexpr std::array<LeadBytes, 8> leadBytes{{
    {0xC2, 0xDF, 2, 0x80, 0xBF},
    {0xE0, 0xE0, 3, 0xA0, 0xBF},
    {0xE1, 0xEC, 3, 0x80, 0xBF},
    {0xED, 0xED, 3, 0x80, 0x9F},
    {0xEE, 0xEF, 3, 0x80, 0xBF},
    {0xF0, 0xF0, 4, 0x90, 0xBF},
    {0xF1, 0xF3, 4, 0x80, 0xBF},
    {0xF4, 0xF4, 4, 0x80, 0x8F},
}};

constexpr CodePoint readSequence(std::string_view bytes, const LeadBytes& lead) {
  char32_t value = static_cast<unsigned char>(bytes[0]) & (0xFFU >> (lead.length + 1));
  for (std::size_t index = 1; index < lead.length; ++index) {
    if (index == bytes.size()) return {replacementCharacter, index, false};
    const auto byte = static_cast<unsigned char>(bytes[index]);
    const unsigned char lowest = index == 1 ? lead.secondFirst : 0x80;
    const unsigned char highest = index == 1 ? lead.secondLast : 0xBF;
    if (byte < lowest || byte > highest) return {replacementCharacter, index, false};
    value = value << 6U | (byte & 0x3FU);
  }
  return {value, lead.length, true};
}

}  // namespace detail

constexpr CodePoint readCodePoint(std::string_view text, std::size_t position) {
  assert(position < text.size());
  const auto byte = static_cast<unsigned char>(text[position]);
  if (byte < 0x80) return {byte, 1, true};
  for (const detail::LeadBytes& lead : detail::leadBytes) {
    if (byte >= lead.first && byte <= lead.last) {
      return detail::readSequence(text.substr(position), lead);
    }
  }
  return {replacementCharacter, 1, false};
}

constexpr UTF8Form encodeUTF8(char32_t codePoint) {
  assert(codePoint < 0xD800 || (codePoint > 0xDFFF && codePoint <= 0x10FFFF));
  const auto leading = [codePoint](char32_t mark, unsigned shift) {
    return static_cast<char>(mark | codePoint >> shift);
  };
  const auto continuing = [codePoint](unsigned shift) {
    return static_cast<char>(0x80U | (codePoint >> shift & 0x3FU));
  };
  if (codePoint < 0x80) return {{leading(0, 0)}, 1};
  if (codePoint < 0x800) return {{leading(0xC0, 6), continuing(0)}, 2};
  if (codePoint < 0x10000) return {{leading(0xE0, 12), continuing(6), continuing(0)}, 3};
  return {{leading(0xF0, 18), continuing(12), continuing(6), continuing(0)}, 4};
}

}  // namespace blindfold
