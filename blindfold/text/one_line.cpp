#include "blindfold/text/one_line.h"

#include <algorithm>
#include <array>

#include "blindfold/text/ascii.h"
#include "blindfold/text/utf8.h"

namespace blindfold {
namespace {
constexpr std::string_view lineBreaks = "\n\r";
constexpr std::string_view ellipsis = "\xE2\x80\xA6";

struct CodePointRange {
  char32_t first;
  char32_t last;
};

/// The control characters (general category Cc) other than TAB.
constexpr std::array<CodePointRange, 3> controlCharacters{{
    {0x0000, 0x0008},  // C0 up to TAB
    {0x000A, 0x001F},  // C0 after TAB
    {0x007F, 0x009F},  // DEL and C1
}};

/// The other characters that leave no mark: white space other than U+0020, and the code points with
/// Unicode's property Default_Ignorable_Code_Point.
constexpr std::array<CodePointRange, 21> invisibleCharacters{{
    {0x0009, 0x0009},    // TAB
    {0x00A0, 0x00A0},    // no-break space
    {0x00AD, 0x00AD},    // soft hyphen
    {0x034F, 0x034F},    // combining grapheme joiner
    {0x061C, 0x061C},    // Arabic letter mark
    {0x115F, 0x1160},    // Hangul fillers
    {0x1680, 0x1680},    // Ogham space mark
    {0x17B4, 0x17B5},    // Khmer inherent vowels
    {0x180B, 0x180F},    // Mongolian variation selectors and vowel separator
    {0x2000, 0x200F},    // spaces of all widths, joiners, directional marks
    {0x2028, 0x202F},    // separators, bidirectional embeddings and overrides, narrow space
    {0x205F, 0x206F},    // mathematical space, invisible operators, bidirectional isolates
    {0x3000, 0x3000},    // ideographic space
    {0x3164, 0x3164},    // Hangul filler
    {0xFE00, 0xFE0F},    // variation selectors
    {0xFEFF, 0xFEFF},    // byte-order mark
    {0xFFA0, 0xFFA0},    // halfwidth Hangul filler
    {0xFFF0, 0xFFFB},    // unassigned, interlinear annotation
    {0x1BCA0, 0x1BCA3},  // shorthand format controls
    {0x1D173, 0x1D17A},  // musical format controls
    {0xE0000, 0xE0FFF},  // tags and variation selectors
}};

template <std::size_t count>
bool contains(const std::array<CodePointRange, count>& ranges, char32_t codePoint) {
  return std::any_of(ranges.begin(), ranges.end(), [codePoint](const CodePointRange& range) {
    return codePoint >= range.first && codePoint <= range.last;
  });
}

bool isControlCharacter(char32_t codePoint) {
  return contains(controlCharacters, codePoint);
}

bool leavesNoMark(char32_t codePoint) {
  return isControlCharacter(codePoint) || contains(invisibleCharacters, codePoint);
}

/// Appends the JSON escape sequence of `codePoint`: beyond U+FFFF, those of both its surrogates.
void appendEscape(std::string& line, char32_t codePoint) {
  constexpr char32_t firstOfPairs = 0x10000;
  if (codePoint < firstOfPairs) {
    appendUnicodeEscape(line, static_cast<char16_t>(codePoint));
    return;
  }
  const char32_t offset = codePoint - firstOfPairs;
  appendUnicodeEscape(line, static_cast<char16_t>(0xD800 + (offset >> 10U)));
  appendUnicodeEscape(line, static_cast<char16_t>(0xDC00 + (offset & 0x3FFU)));
}

/// Appends one space for the run of line breaks at `position`, or the character there, escaped when
/// `isEscaped` holds for it. Returns the position after it.
std::size_t appendPiece(std::string& line, std::string_view bytes, std::size_t position,
                        bool (*isEscaped)(char32_t)) {
  if (lineBreaks.find(bytes[position]) != std::string_view::npos) {
    line += ' ';
    return std::min(bytes.find_first_not_of(lineBreaks, position), bytes.size());
  }
  const CodePoint codePoint = readCodePoint(bytes, position);
  if (isEscaped(codePoint.value)) {
    appendEscape(line, codePoint.value);
  } else {
    line += encodeUTF8(codePoint.value).text();
  }
  return position + codePoint.length;
}
}  // namespace

std::string oneLine(std::string_view bytes) {
  std::string line;
  for (std::size_t position = 0; position < bytes.size();) {
    position = appendPiece(line, bytes, position, isControlCharacter);
  }
  return line;
}

std::string oneLineExcerpt(std::string_view bytes, std::size_t maximumLength) {
  std::string line;
  for (std::size_t position = 0; position < bytes.size();) {
    const std::size_t lengthSoFar = line.size();
    position = appendPiece(line, bytes, position, leavesNoMark);
    if (line.size() > maximumLength) {
      line.resize(lengthSoFar);
      line += ellipsis;
      break;
    }
  }
  return line;
}

}  // namespace blindfold
