#include "blindfold/text/one_line.h"

#include <algorithm>
#include <array>

#include "blindfold/text/unicode_escape.h"
#include "blindfold/text/utf8.h"

namespace blindfold {

namespace {

constexpr std::string_view lineBreaks = "\n\r";
constexpr std::string_view ellipsis = "\xE2\x80\xA6";

struct CodePointRange {
  char32_t first;
  char32_t last;
};

/// What a terminal acts on instead of showing it.
constexpr std::array<CodePointRange, 6> controlCharacters{{
    {0x0000, 0x001F},  // C0
    {0x007F, 0x009F},  // delete and C1
    {0x061C, 0x061C},  // Arabic letter mark
    {0x200E, 0x200F},  // left-to-right and right-to-left mark
    {0x2028, 0x202E},  // line and paragraph separator, bidirectional embeddings and overrides
    {0x2066, 0x2069},  // bidirectional isolates
}};

bool isControlCharacter(char32_t codePoint) {
  return std::any_of(controlCharacters.begin(), controlCharacters.end(), [&](const auto& range) {
    return codePoint >= range.first && codePoint <= range.last;
  });
}

/// Adds to `line` what becomes of the run of line breaks or the one character at `position`, and
/// returns the position behind it.
std::size_t appendPiece(std::string& line, std::string_view bytes, std::size_t position) {
  if (lineBreaks.find(bytes[position]) != std::string_view::npos) {
    line += ' ';
    return std::min(bytes.find_first_not_of(lineBreaks, position), bytes.size());
  }
  const CodePoint codePoint = readCodePoint(bytes, position);
  if (isControlCharacter(codePoint.value)) {
    appendUnicodeEscape(line, static_cast<char16_t>(codePoint.value));
  } else {
    line += encodeUTF8(codePoint.value).text();
  }
  return position + codePoint.length;
}

}  // namespace

std::string oneLine(std::string_view bytes) {
  return oneLineExcerpt(bytes, std::string::npos);
}

std::string oneLineExcerpt(std::string_view bytes, std::size_t maximumLength) {
  std::string line;
  for (std::size_t position = 0; position < bytes.size();) {
    const std::size_t lengthSoFar = line.size();
    position = appendPiece(line, bytes, position);
    if (line.size() > maximumLength) {
      line.resize(lengthSoFar);
      line += ellipsis;
      break;
    }
  }
  return line;
}

}  // namespace blindfold
