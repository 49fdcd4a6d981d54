#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace blindfold {

/// What stands in for text that cannot be read.
inline constexpr char32_t replacementCharacter = 0xFFFD;

/// What stands at one position of a text: a code point, or bytes that are none.
struct CodePoint {
  char32_t value;      ///< `replacementCharacter` when the bytes are not valid UTF-8.
  std::size_t length;  ///< In bytes, at least 1; of bytes that are not valid, the maximal subpart.
  bool isValid;
};

/// The code point at `position`, which must be within `text`.
constexpr CodePoint readCodePoint(std::string_view text, std::size_t position);

/// Adds the UTF-8 form of `codePoint`, a Unicode scalar value, to `text`.
void appendUTF8(std::string& text, char32_t codePoint);

bool isValidUTF8(std::string_view bytes);

/// `bytes` as valid UTF-8: each maximal invalid subpart becomes one U+FFFD.
std::string repairUTF8(std::string_view bytes);

}  // namespace blindfold
