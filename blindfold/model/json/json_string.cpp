#include "blindfold/model/json/json_string.h"

#include <algorithm>

#include "blindfold/text/ascii.h"
#include "blindfold/text/plain_characters.h"
#include "blindfold/text/utf8.h"

namespace blindfold {
namespace {
/// A character that is escaped by a backslash and one letter.
struct ShortEscape {
  char character;
  char letter;
};

constexpr std::array<ShortEscape, 8> shortEscapes{{
    {'"', '"'},
    {'\\', '\\'},
    {'/', '/'},
    {'\b', 'b'},
    {'\f', 'f'},
    {'\n', 'n'},
    {'\r', 'r'},
    {'\t', 't'},
}};

constexpr std::size_t lengthOfShortEscape = 2;
constexpr std::size_t lengthOfUnicodeEscape = 6;

bool isHighSurrogate(char32_t codeUnit) {
  return codeUnit >= 0xD800 && codeUnit <= 0xDBFF;
}

bool isLowSurrogate(char32_t codeUnit) {
  return codeUnit >= 0xDC00 && codeUnit <= 0xDFFF;
}

/// The code unit of the \uXXXX at the beginning of `text`, or `std::nullopt`.
std::optional<char32_t> readCodeUnit(std::string_view text) {
  if (text.size() < lengthOfUnicodeEscape || text.substr(0, 2) != "\\u") return std::nullopt;
  char32_t codeUnit = 0;
  for (const char digit : text.substr(2, 4)) {
    const auto value = hexadecimalValue(digit);
    if (!value) return std::nullopt;
    codeUnit = codeUnit << 4U | *value;
  }
  return codeUnit;
}

std::optional<JSONEscape> readUnicodeEscape(std::string_view text) {
  const auto codeUnit = readCodeUnit(text);
  if (!codeUnit || isLowSurrogate(*codeUnit)) return std::nullopt;
  if (!isHighSurrogate(*codeUnit)) return JSONEscape{*codeUnit, lengthOfUnicodeEscape};
  const auto low = readCodeUnit(text.substr(lengthOfUnicodeEscape));
  if (!low || !isLowSurrogate(*low)) return std::nullopt;
  return JSONEscape{0x10000 + ((*codeUnit - 0xD800) << 10U) + (*low - 0xDC00),
                    2 * lengthOfUnicodeEscape};
}

/// Appends the escape sequence of `character`, an ASCII character that is not plain.
void appendEscape(std::string& json, char character) {
  const auto escape = std::find_if(shortEscapes.begin(), shortEscapes.end(),
                                   [&](const auto& each) { return each.character == character; });
  if (escape == shortEscapes.end()) {
    return appendUnicodeEscape(json, static_cast<unsigned char>(character));
  }
  json += '\\';
  json += escape->letter;
}
}  // namespace

std::optional<JSONEscape> readJSONEscape(std::string_view text) {
  if (text.size() < lengthOfShortEscape || text[0] != '\\') return std::nullopt;
  if (text[1] == 'u') return readUnicodeEscape(text);
  for (const ShortEscape& escape : shortEscapes) {
    if (escape.letter == text[1]) {
      return JSONEscape{static_cast<unsigned char>(escape.character), lengthOfShortEscape};
    }
  }
  return std::nullopt;
}

std::string JSONString::text() const {
  std::string text;
  text.reserve(content.size());
  for (std::string_view rest = content;;) {
    const std::string_view plain = rest.substr(0, rest.find('\\'));
    text += plain;
    rest.remove_prefix(plain.size());
    const auto escape = readJSONEscape(rest);
    if (!escape) return text;
    text += encodeUTF8(escape->codePoint).text();
    rest.remove_prefix(escape->length);
  }
}

void appendJSONString(std::string& json, std::string_view text) {
  json += '"';
  std::size_t begin = 0;  // of the text that is not yet in `json`
  for (std::size_t position = 0;;) {
    position += plainLength<'"', '\\', '/'>(text.substr(position));
    if (position == text.size()) break;
    const CodePoint codePoint = readCodePoint(text, position);
    const std::size_t end = position + codePoint.length;
    if (!codePoint.isValid || codePoint.length == 1) {
      json += text.substr(begin, position - begin);
      if (codePoint.isValid) {
        appendEscape(json, text[position]);
      } else {
        json += encodeUTF8(replacementCharacter).text();
      }
      begin = end;
    }
    position = end;
  }
  json += text.substr(begin);
  json += '"';
}

}  // namespace blindfold
