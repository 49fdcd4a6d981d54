#include "blindfold/text/unicode_escape.h"

#include <gtest/gtest.h>

namespace blindfold {
namespace {

TEST(UnicodeEscapeTest, AddsFourLowerCaseDigits) {
  std::string text = "a";
  appendUnicodeEscape(text, 0x001F);
  appendUnicodeEscape(text, 0xABCD);
  EXPECT_EQ(text, "a\\u001f\\uabcd");
}

}  // namespace
}  // namespace blindfold
