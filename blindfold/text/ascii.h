#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace blindfold {

/// Whether `character` is one of 0 to 9.
constexpr bool isDigit(char character) {
  return character >= '0' && character <= '9';
}

/// Whether `character` is white space between the tokens of a JSON text (RFC 8259, section 2) or of
/// an XML document (XML 1.0, production S): a space, a tab, a line feed or a carriage return.
constexpr bool isWhiteSpace(char character) {
  return character == ' ' || character == '\t' || character == '\n' || character == '\r';
}

/// The value of a hexadecimal digit in either case; `std::nullopt` for any other character.
constexpr std::optional<unsigned> hexadecimalValue(char digit) {
  if (isDigit(digit)) return static_cast<unsigned>(digit - '0');
  if (digit >= 'a' && digit <= 'f') return static_cast<unsigned>(digit - 'a' + 10);
  if (digit >= 'A' && digit <= 'F') return static_cast<unsigned>(digit - 'A' + 10);
  return std::nullopt;
}

/// Appends `\u` and the four lower-case hexadecimal digits of `codeUnit`, the escape sequence of a
/// JSON string.
inline void appendUnicodeEscape(std::string& text, char16_t codeUnit) {
  constexpr std::string_view digits = "0123456789abcdef";
  text += "\\u";
  for (const unsigned shift : {12U, 8U, 4U, 0U}) text += digits[codeUnit >> shift & 0xFU];
}

}  // namespace blindfold
