#include "blindfold/text/ascii.h"

#include <gtest/gtest.h>

#include <string>
#include <string_view>

namespace blindfold {
namespace {
/// The characters for which `matches` holds, in ascending order.
template <class Predicate>
std::string charactersThat(const Predicate& matches) {
  std::string characters;
  for (int byte = 0; byte < 256; ++byte) {
    if (matches(static_cast<char>(byte))) characters += static_cast<char>(byte);
  }
  return characters;
}

TEST(ASCIITest, DigitsAreTheTenOfASCII) {
  EXPECT_EQ(charactersThat(isDigit), "0123456789");
}

TEST(ASCIITest, WhiteSpaceIsTabLineFeedCarriageReturnAndSpace) {
  EXPECT_EQ(charactersThat(isWhiteSpace), "\t\n\r ");
}

TEST(ASCIITest, HexadecimalDigitsHaveTheirValuesInEitherCase) {
  constexpr std::string_view digits = "0123456789abcdef";
  constexpr std::string_view upperCaseDigits = "0123456789ABCDEF";
  for (unsigned value = 0; value < 16; ++value) {
    EXPECT_EQ(hexadecimalValue(digits[value]), value);
    EXPECT_EQ(hexadecimalValue(upperCaseDigits[value]), value);
  }
}

TEST(ASCIITest, NoOtherCharacterIsAHexadecimalDigit) {
  EXPECT_EQ(charactersThat([](char each) { return hexadecimalValue(each).has_value(); }),
            "0123456789ABCDEFabcdef");
}

TEST(ASCIITest, AUnicodeEscapeHasFourLowerCaseDigits) {
  std::string text = "a";
  appendUnicodeEscape(text, 0x001F);
  appendUnicodeEscape(text, 0xABCD);
  EXPECT_EQ(text, "a\\u001f\\uabcd");
}
}  // namespace
}  // namespace blindfold
