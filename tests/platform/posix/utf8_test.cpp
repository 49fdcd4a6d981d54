#include "platform/posix/utf8.h"

#include <gtest/gtest.h>

#include <string>

namespace blindfold {
namespace {

bool isUTF8OfAnyKind(std::string_view text) {
  return isUTF8(text, [](char32_t) { return true; });
}

// Encoded on its own, by the definition's ranges.
std::string encoded(char32_t value) {
  const auto byte = [](char32_t bits) { return static_cast<char>(bits); };
  if (value < 0x80) return {byte(value)};
  if (value < 0x800) return {byte(0xc0 + value / 64), byte(0x80 + value % 64)};
  if (value < 0x10000) {
    return {byte(0xe0 + value / 4096), byte(0x80 + value / 64 % 64), byte(0x80 + value % 64)};
  }
  return {byte(0xf0 + value / 262144), byte(0x80 + value / 4096 % 64), byte(0x80 + value / 64 % 64),
          byte(0x80 + value % 64)};
}

TEST(UTF8Test, EveryScalarValueIsReadFromItsOwnFormAndNoSurrogateIs) {
  for (char32_t value = 0; value <= 0x10ffff; ++value) {
    const bool isSurrogate = value >= 0xd800 && value < 0xe000;
    const auto scalar = firstScalar(encoded(value));
    ASSERT_EQ(scalar.has_value(), !isSurrogate) << std::hex << static_cast<unsigned>(value);
    if (isSurrogate) continue;
    ASSERT_EQ(scalar->value, value);
    ASSERT_EQ(scalar->size, encoded(value).size());
  }
}

TEST(UTF8Test, EveryScalarValueIsWrittenInItsOwnForm) {
  for (char32_t value = 0; value <= 0x10ffff; ++value) {
    std::string text = "-";
    appendUTF8(text, value);
    ASSERT_EQ(text, '-' + encoded(value)) << std::hex << static_cast<unsigned>(value);
  }
}

TEST(UTF8Test, OnlyTheFirstScalarIsRead) {
  const auto scalar = firstScalar("\u00e9\xff");
  ASSERT_TRUE(scalar);
  EXPECT_EQ(scalar->size, 2U);
}

TEST(UTF8Test, AnEmptyTextIsUTF8) {
  EXPECT_TRUE(isUTF8OfAnyKind(""));
}

TEST(UTF8Test, AnythingElseIsNotUTF8) {
  for (const std::string_view text : {
           "\x80",              // a continuation without a beginning
           "\xc3",              // cut short
           "\xe2\x82",          //
           "\xf0\x9f\x98",      //
           "\xc3(",             // a beginning without its continuation
           "\xe2\x82(",         //
           "\xf0\x9f\x98(",     //
           "\xc0\xaf",          // longer than need be
           "\xe0\x80\xaf",      //
           "\xf0\x80\x80\xaf",  //
           "\xed\xa0\x80",      // a surrogate
           "\xf4\x90\x80\x80",  // beyond the last
           "\xf8\x88\x80\x80\x80",
           "\xfe",
           "\xff",
       }) {
    EXPECT_FALSE(isUTF8OfAnyKind(text)) << testing::PrintToString(text);
    EXPECT_FALSE(isUTF8OfAnyKind("good" + std::string(text) + "good"))
        << testing::PrintToString(text);
  }
}

TEST(UTF8Test, AValueThatIsNotAllowedIsFound) {
  const auto isNotNUL = [](char32_t value) { return value != 0; };
  EXPECT_TRUE(isUTF8("abc", isNotNUL));
  EXPECT_FALSE(isUTF8(std::string_view("a\0c", 3), isNotNUL));
}

}  // namespace
}  // namespace blindfold
