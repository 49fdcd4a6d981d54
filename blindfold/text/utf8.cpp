#include "blindfold/text/utf8.h"

#include <cstdint>
#include <cstring>

namespace blindfold {
namespace {
/// The number of ASCII characters at the beginning of `bytes`, rounded down to a multiple of eight.
std::size_t lengthOfASCII(std::string_view bytes) {
  constexpr std::uint64_t highBits = 0x8080808080808080;
  std::size_t length = 0;
  std::uint64_t word = 0;
  while (length + sizeof word <= bytes.size()) {
    std::memcpy(&word, bytes.data() + length, sizeof word);
    if ((word & highBits) != 0) break;
    length += sizeof word;
  }
  return length;
}
}  // namespace

bool isValidUTF8(std::string_view bytes) {
  for (std::size_t position = lengthOfASCII(bytes); position < bytes.size();) {
    const CodePoint codePoint = readCodePoint(bytes, position);
    if (!codePoint.isValid) return false;
    position += codePoint.length;
    position += lengthOfASCII(bytes.substr(position));
  }
  return true;
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
