#include "blindfold/text/unicode_escape.h"

#include <string_view>

namespace blindfold {

void appendUnicodeEscape(std::string& text, char16_t codeUnit) {
  constexpr std::string_view digits = "0123456789abcdef";
  text += "\\u";
  for (const unsigned shift : {12U, 8U, 4U, 0U}) text += digits[codeUnit >> shift & 0xFU];
}

}  // namespace blindfold
