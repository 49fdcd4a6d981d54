#include "blindfold/text/utf8.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <string>
#include <vector>

namespace blindfold {
namespace {
constexpr bool isSurrogate(char32_t codePoint) {
  return codePoint >= 0xD800 && codePoint <= 0xDFFF;
}

TEST(UTF8Test, EveryScalarValueIsReadBackFromItsForm) {
  for (char32_t codePoint = 0; codePoint <= 0x10FFFF; ++codePoint) {
    if (isSurrogate(codePoint)) continue;
    const UTF8Form form = encodeUTF8(codePoint);
    const CodePoint read = readCodePoint(form.text(), 0);
    ASSERT_TRUE(read.isValid) << static_cast<unsigned>(codePoint);
    ASSERT_EQ(read.value, codePoint);
    ASSERT_EQ(read.length, form.length);
  }
}

TEST(UTF8Test, FormsAreAsLongAsTheStandardSays) {
  EXPECT_EQ(encodeUTF8(0x7F).text(), "\x7F");
  EXPECT_EQ(encodeUTF8(0x80).text(), "\xC2\x80");
  EXPECT_EQ(encodeUTF8(0x7FF).text(), "\xDF\xBF");
  EXPECT_EQ(encodeUTF8(0x800).text(), "\xE0\xA0\x80");
  EXPECT_EQ(encodeUTF8(0xFFFF).text(), "\xEF\xBF\xBF");
  EXPECT_EQ(encodeUTF8(0x10000).text(), "\xF0\x90\x80\x80");
  EXPECT_EQ(encodeUTF8(0x10FFFF).text(), "\xF4\x8F\xBF\xBF");
}

TEST(UTF8Test, ReadsTheCodePointAtThePositionGiven) {
  EXPECT_EQ(readCodePoint("a\xC3\xA9z", 1).value, char32_t{0xE9});
  EXPECT_EQ(readCodePoint("a\xC3\xA9z", 3).value, U'z');
}

TEST(UTF8Test, ValidTextIsValid) {
  EXPECT_TRUE(isValidUTF8(""));
  EXPECT_TRUE(isValidUTF8(std::string_view("a\0b", 3)));
  EXPECT_TRUE(isValidUTF8("\xC3\xA9\xE2\x82\xAC\xF0\x9F\x93\xB7"));
}

/// Bytes that are not valid, and what they are repaired to ("?" stands for U+FFFD).
struct InvalidCase {
  std::string_view bytes;
  std::string_view repaired;
};

const std::vector<InvalidCase> invalidCases{
    {"\x80", "?"},                              // a continuation alone
    {"\xBF\x80", "??"},                         // two of them
    {"\xC0\x80", "??"},                         // NUL in two bytes
    {"\xC1\xBF", "??"},                         // DEL in two bytes
    {"\xC3", "?"},                              // cut short
    {"\xC3z", "?z"},                            // no continuation
    {"\xE0\x80\x80", "???"},                    // NUL in three bytes
    {"\xE0\x9F\xBF", "???"},                    // U+07FF in three bytes
    {"\xE2\x82", "?"},                          // cut short: one maximal subpart
    {"\xE2\x82z", "?z"},                        // interrupted
    {"\xE2\x82\xE2\x82\xAC", "?\xE2\x82\xAC"},  // begun twice
    {"\xED\xA0\x80", "???"},                    // U+D800
    {"\xED\xBF\xBF", "???"},                    // U+DFFF
    {"\xF0\x80\x80\x80", "????"},               // NUL in four bytes
    {"\xF0\x9F\x93", "?"},                      // cut short
    {"\xF0\x9F\x93z", "?z"},                    // interrupted
    {"\xF4\x90\x80\x80", "????"},               // U+110000
    {"\xF5\x80\x80\x80", "????"},               // beyond that
    {"\xFE\xFF", "??"},                         // bytes that never occur
    {"a\xF0\x90\x80z\xFF", "a?z?"},
};

std::string withReplacementCharacters(std::string_view text) {
  std::string result;
  for (const char character : text) {
    character == '?' ? result += "\xEF\xBF\xBD" : result += character;
  }
  return result;
}

TEST(UTF8Test, ACodePointThatIsNotAllowedIsFound) {
  const auto isNotNUL = [](char32_t codePoint) { return codePoint != 0; };
  EXPECT_TRUE(isValidUTF8("abc", isNotNUL));
  EXPECT_FALSE(isValidUTF8(std::string_view("a\0c", 3), isNotNUL));
}

TEST(UTF8Test, InvalidTextIsNotValid) {
  for (const InvalidCase& each : invalidCases) {
    EXPECT_FALSE(isValidUTF8(each.bytes)) << testing::PrintToString(each.bytes);
  }
}

TEST(UTF8Test, AByteIsExaminedAtEveryPosition) {
  for (std::size_t position = 0; position < 20; ++position) {
    for (int byte = 0; byte < 256; ++byte) {
      std::string text(20, 'a');
      text[position] = static_cast<char>(byte);
      EXPECT_EQ(isValidUTF8(text), byte < 0x80) << position << " " << byte;
    }
    EXPECT_TRUE(isValidUTF8(std::string(20, 'a').insert(position, "\xE2\x82\xAC")));
  }
}

TEST(UTF8Test, EachMaximalInvalidSubpartIsRepairedToOneReplacementCharacter) {
  for (const InvalidCase& each : invalidCases) {
    EXPECT_EQ(repairUTF8(each.bytes), withReplacementCharacters(each.repaired))
        << testing::PrintToString(each.bytes);
  }
}

TEST(UTF8Test, RepairLeavesValidTextAlone) {
  const std::string text = "a\xC3\xA9\xE2\x82\xAC\xF0\x9F\x93\xB7\x7F";
  EXPECT_EQ(repairUTF8(text), text);
}

TEST(UTF8Test, EveryPairOfBytesIsRepairedToValidText) {
  for (int first = 0; first < 256; ++first) {
    for (int second = 0; second < 256; ++second) {
      const std::string bytes{static_cast<char>(first), static_cast<char>(second)};
      ASSERT_TRUE(isValidUTF8(repairUTF8(bytes))) << first << " " << second;
    }
  }
}
}  // namespace
}  // namespace blindfold
