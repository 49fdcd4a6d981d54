#include "model/text/utf8.h"

namespace blindfold {

void appendUTF8(std::string& text, char32_t codePoint) {
  const auto append = [&](char32_t byte) { text += static_cast<char>(byte); };
  const auto appendContinuation = [&](unsigned shift) {
    append(0x80U | (codePoint >> shift & 0x3FU));
  };
  if (codePoint < 0x80) return append(codePoint);
  if (codePoint < 0x800) {
    append(0xC0U | codePoint >> 6U);
    return appendContinuation(0);
  }
  if (codePoint < 0x10000) {
    append(0xE0U | codePoint >> 12U);
    appendContinuation(6);
    return appendContinuation(0);
  }
  append(0xF0U | codePoint >> 18U);
  appendContinuation(12);
  appendContinuation(6);
  appendContinuation(0);
}

bool isValidUTF8(std::string_view bytes) {
  for (std::size_t position = 0; position < bytes.size();) {
    const CodePoint codePoint = readCodePoint(bytes, position);
    if (!codePoint.isValid) return false;
    position += codePoint.length;
  }
  return true;
}

std::string repairUTF8(std::string_view bytes) {
  std::string text;
  text.reserve(bytes.size());
  for (std::size_t position = 0; position < bytes.size();) {
    const CodePoint codePoint = readCodePoint(bytes, position);
    appendUTF8(text, codePoint.value);
    position += codePoint.length;
  }
  return text;
}

}  // namespace blindfold
