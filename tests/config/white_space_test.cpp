#include "blindfold/config/info_dictionary.h"

#include <gtest/gtest.h>

#include <set>
#include <string>

namespace blindfold {
namespace {
std::string utf8(unsigned codePoint) {
  const auto byte = [](unsigned value) { return static_cast<char>(value); };
  if (codePoint < 0x80) return {byte(codePoint)};
  if (codePoint < 0x800) return {byte(0xC0 | codePoint >> 6), byte(0x80 | (codePoint & 0x3F))};
  return {byte(0xE0 | codePoint >> 12), byte(0x80 | (codePoint >> 6 & 0x3F)),
          byte(0x80 | (codePoint & 0x3F))};
}

TEST(WhiteSpaceTest, ExactlyTheWhiteSpaceAndNewlineCharactersAreTrimmed) {
  std::set<unsigned> expected{0x20, 0x85, 0xA0, 0x1680, 0x2028, 0x2029, 0x202F, 0x205F, 0x3000};
  for (unsigned each = 0x09; each <= 0x0D; ++each) expected.insert(each);
  for (unsigned each = 0x2000; each <= 0x200B; ++each) expected.insert(each);

  std::set<unsigned> trimmed;
  for (unsigned each = 0; each <= 0xFFFF; ++each) {
    if (trimmingWhiteSpace(utf8(each)).empty()) trimmed.insert(each);
  }
  EXPECT_EQ(trimmed, expected);
}

TEST(WhiteSpaceTest, BothEndsAreTrimmed) {
  EXPECT_EQ(trimmingWhiteSpace(" \r\n\u3000label\u2003\t\u0085"), "label");
}

TEST(WhiteSpaceTest, InnerWhiteSpaceStays) {
  EXPECT_EQ(trimmingWhiteSpace(" a  b\u00A0c\n"), "a  b\u00A0c");
}

TEST(WhiteSpaceTest, NothingIsLeftOfWhiteSpaceAlone) {
  EXPECT_EQ(trimmingWhiteSpace(""), "");
  EXPECT_EQ(trimmingWhiteSpace("\u2028 \v\f\u1680"), "");
}

TEST(WhiteSpaceTest, ANulByteIsNoWhiteSpace) {
  const std::string text(" \0 ", 3);
  EXPECT_EQ(trimmingWhiteSpace(text), std::string_view("\0", 1));
}

TEST(WhiteSpaceTest, CharactersThatOnlyShareBytesWithWhiteSpaceStay) {
  EXPECT_EQ(trimmingWhiteSpace("\u00C5"), "\u00C5");  // ends in the byte that ends U+0085
  EXPECT_EQ(trimmingWhiteSpace("\u0120"), "\u0120");  // ends in the byte that ends U+00A0
}

TEST(WhiteSpaceTest, BytesThatAreNotUTF8Stay) {
  EXPECT_EQ(trimmingWhiteSpace(" \x85 "), "\x85");
  EXPECT_EQ(trimmingWhiteSpace(" \xE2\x80 "), "\xE2\x80");
  EXPECT_EQ(trimmingWhiteSpace("\xFF\u2003"), "\xFF");
  EXPECT_EQ(trimmingWhiteSpace("\xC2"), "\xC2");
}

TEST(WhiteSpaceTest, AMegabyteOfWhiteSpaceIsTrimmed) {
  std::string text;
  for (int count = 0; count < 170'000; ++count) text += "\u3000";
  EXPECT_EQ(trimmingWhiteSpace(text + "x" + text), "x");
}
}  // namespace
}  // namespace blindfold
