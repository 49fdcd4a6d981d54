#include "blindfold/text/one_line.h"

#include <gtest/gtest.h>

#include <string>
#include <string_view>

#include "blindfold/text/utf8.h"

namespace blindfold {
namespace {
TEST(OneLineTest, PlainTextStaysAsItIs) {
  EXPECT_EQ(oneLine("Protection service: \xC3\xA9 \"\\/\" \xF0\x9F\x93\xB7"),
            "Protection service: \xC3\xA9 \"\\/\" \xF0\x9F\x93\xB7");
}

TEST(OneLineTest, EmptyTextStaysEmpty) {
  EXPECT_EQ(oneLine(""), "");
}

TEST(OneLineTest, ARunOfLineBreaksBecomesOneSpace) {
  EXPECT_EQ(oneLine("one\ntwo\r\nthree\n\r\n\nfour\rfive\n"), "one two three four five ");
}

TEST(OneLineTest, SpacesAreNotJoined) {
  EXPECT_EQ(oneLine("a  \n  b"), "a     b");
}

TEST(OneLineTest, ControlCharactersAreEscaped) {
  EXPECT_EQ(oneLine(std::string_view("\0\b\v\f\x1B[2J\x1F", 9)),
            "\\u0000\\u0008\\u000b\\u000c\\u001b[2J\\u001f");
}

TEST(OneLineTest, DeleteAndC1AreEscaped) {
  EXPECT_EQ(oneLine("\x7F\xC2\x80\xC2\x85\xC2\x9F\xC2\xA0"),
            "\\u007f\\u0080\\u0085\\u009f\xC2\xA0");
}

TEST(OneLineTest, ATabStays) {
  EXPECT_EQ(oneLine("\ta\t"), "\ta\t");
}

TEST(OneLineTest, TextThatLeavesNoMarkStays) {
  for (const std::string text :
       {"\u061C\u200E\u200F", "\u202A\u202B\u202C\u202D\u202E", "\u2066\u2067\u2068\u2069",
        "\u2028\u2029", "\uFEFF\u200B\u00AD"}) {
    EXPECT_EQ(oneLine(text), text);
  }
}

TEST(OneLineTest, WhatIsNotUTF8BecomesReplacementCharacters) {
  EXPECT_EQ(oneLine("a\xFF\xE2\x82z"), "a\uFFFD\uFFFDz");
}

TEST(OneLineTest, EveryByteBecomesOneLineOfValidUTF8) {
  for (int byte = 0; byte < 256; ++byte) {
    const std::string line = oneLine(std::string(1, static_cast<char>(byte)));
    EXPECT_TRUE(isValidUTF8(line)) << byte;
    EXPECT_EQ(line.find_first_of("\n\r\v\f"), std::string::npos) << byte;
  }
}

TEST(OneLineExcerptTest, ATextOfTheMaximumLengthIsNotCut) {
  EXPECT_EQ(oneLineExcerpt("12345", 5), "12345");
}

TEST(OneLineExcerptTest, ALongerTextIsCutAndSaysSo) {
  EXPECT_EQ(oneLineExcerpt("123456", 5), "12345…");
}

TEST(OneLineExcerptTest, CutsBetweenCharacters) {
  EXPECT_EQ(oneLineExcerpt("1234\u20AC", 5), "1234…");
  EXPECT_EQ(oneLineExcerpt("1234\u20AC", 6), "1234…");
  EXPECT_EQ(oneLineExcerpt("1234\u20AC", 7), "1234\u20AC");
}

TEST(OneLineExcerptTest, CutsBetweenEscapes) {
  EXPECT_EQ(oneLineExcerpt("12\x1B", 7), "12…");
  EXPECT_EQ(oneLineExcerpt("12\x1B", 8), "12\\u001b");
}

TEST(OneLineExcerptTest, CharactersThatLeaveNoMarkAreEscaped) {
  EXPECT_EQ(oneLineExcerpt("\t\u00A0\uFEFF", 100), "\\u0009\\u00a0\\ufeff");
  EXPECT_EQ(oneLineExcerpt("\u2027\u2028\u202E\u2030", 100), "\u2027\\u2028\\u202e\u2030");
  EXPECT_EQ(oneLineExcerpt("\u2010\u2065\u2066\u2070", 100), "\u2010\\u2065\\u2066\u2070");
}

TEST(OneLineExcerptTest, BeyondTheFirstPlaneAnEscapeIsOfBothSurrogates) {
  EXPECT_EQ(oneLineExcerpt("\U000E0001\U0001F4F7", 100), "\\udb40\\udc01\U0001F4F7");
}

TEST(OneLineExcerptTest, AControlCharacterIsEscaped) {
  EXPECT_EQ(oneLineExcerpt("a\x1F\x7F\xC2\x9F z", 100), "a\\u001f\\u007f\\u009f z");
}

TEST(OneLineExcerptTest, ARunOfLineBreaksCountsAsOneSpace) {
  EXPECT_EQ(oneLineExcerpt("a\n\n\n\nb", 3), "a b");
}

TEST(OneLineExcerptTest, AMaximumOfNothingLeavesTheEllipsis) {
  EXPECT_EQ(oneLineExcerpt("a", 0), "…");
  EXPECT_EQ(oneLineExcerpt("", 0), "");
}
}  // namespace
}  // namespace blindfold
