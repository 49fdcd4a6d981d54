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
  EXPECT_EQ(oneLine(std::string_view("\0\t\v\f\x1B[2J\x1F", 9)),
            "\\u0000\\u0009\\u000b\\u000c\\u001b[2J\\u001f");
}

TEST(OneLineTest, DeleteAndC1AreEscaped) {
  EXPECT_EQ(oneLine("\x7F\xC2\x80\xC2\x85\xC2\x9F\xC2\xA0"),
            "\\u007f\\u0080\\u0085\\u009f\xC2\xA0");
}

TEST(OneLineTest, LineAndParagraphSeparatorsAreEscaped) {
  EXPECT_EQ(oneLine("\u2027\u2028\u2029"), "\u2027\\u2028\\u2029");
}

TEST(OneLineTest, BidirectionalControlsAreEscaped) {
  EXPECT_EQ(oneLine("\u061C\u200E\u200F"), "\\u061c\\u200e\\u200f");
  EXPECT_EQ(oneLine("\u202A\u202B\u202C\u202D\u202E\u202F"),
            "\\u202a\\u202b\\u202c\\u202d\\u202e\u202F");
  EXPECT_EQ(oneLine("\u2065\u2066\u2067\u2068\u2069\u206A"),
            "\u2065\\u2066\\u2067\\u2068\\u2069\u206A");
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

TEST(OneLineExcerptTest, ARunOfLineBreaksCountsAsOneSpace) {
  EXPECT_EQ(oneLineExcerpt("a\n\n\n\nb", 3), "a b");
}

TEST(OneLineExcerptTest, AMaximumOfNothingLeavesTheEllipsis) {
  EXPECT_EQ(oneLineExcerpt("a", 0), "…");
  EXPECT_EQ(oneLineExcerpt("", 0), "");
}

}  // namespace
}  // namespace blindfold
