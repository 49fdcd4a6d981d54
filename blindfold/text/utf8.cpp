#include "blindfold/text/utf8.h"

namespace blindfold {

bool isValidUTF8(std::string_view bytes) {
  return isValidUTF8(bytes, [](char32_t) { return true; });
}

bool isValidUTF8(std::string_view bytes, bool (*isAllowed)(char32_t codePoint)) {
  for (std::size_t position = 0; position < bytes.size();) {
    const CodePoint codePoint = readCodePoint(bytes, position);
    if (!codePoint.isValid || !isAllowed(codePoint.value)) return false;
    position += codePoint.length;
  }
  return true;
}

std::string repairUTF8(std::string_view bytes) {
  std::string text;
  text.reserve(bytes.size());
  for (std::size_t position = 0; position < bytes.size();) {
    const CodePoint codePoint = readCodePoint(bytes, position);
    text += encodeUTF8(codePoint.value).text();
    position += codePoint.length;
  }
  return text;
}

}  // namespace blindfold
