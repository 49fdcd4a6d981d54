#include "blindfold/model/json/json_string.h"

#include <gtest/gtest.h>

#include <string>
#include <string_view>

namespace blindfold {
namespace {
std::string written(std::string_view text) {
  std::string json;
  appendJSONString(json, text);
  return json;
}

TEST(JSONStringTest, PlainTextIsQuoted) {
  EXPECT_EQ(written("held"), "\"held\"");
}

TEST(JSONStringTest, EmptyTextIsAnEmptyString) {
  EXPECT_EQ(written(""), "\"\"");
}

TEST(JSONStringTest, QuotationMarkBackslashAndSlashAreEscaped) {
  EXPECT_EQ(written("\"\\/"), R"("\"\\\/")");
}

TEST(JSONStringTest, ControlCharactersWithALetterAreEscapedByIt) {
  EXPECT_EQ(written("\b\f\n\r\t"), R"("\b\f\n\r\t")");
}

TEST(JSONStringTest, OtherControlCharactersAreEscapedInLowerCase) {
  EXPECT_EQ(written(std::string_view("\0\x01\v\x1A\x1F", 5)),
            R"("\u0000\u0001\u000b\u001a\u001f")");
}

TEST(JSONStringTest, EverythingFromSpaceUpGoesOutAsItIs) {
  const std::string_view text = " !'<>&\x7F\u0080\u00E9\u2028\u20AC\U0001F4F7\U0010FFFF";
  EXPECT_EQ(written(text), '"' + std::string(text) + '"');
}

TEST(JSONStringTest, WhatIsNotUTF8GoesOutAsReplacementCharacters) {
  EXPECT_EQ(written("a\xFF/\xE2\x82"), "\"a\uFFFD\\/\uFFFD\"");
}

TEST(JSONStringTest, AStringWithoutEscapesStandsForItsContent) {
  const JSONString string{"h\u00E9ld"};
  EXPECT_FALSE(string.hasEscapes());
  EXPECT_EQ(string.text(), "h\u00E9ld");
}

TEST(JSONStringTest, EscapesStandForTheirCharacters) {
  const JSONString string{R"(\"\\\/\b\f\n\r\t)"};
  EXPECT_TRUE(string.hasEscapes());
  EXPECT_EQ(string.text(), "\"\\/\b\f\n\r\t");
}

TEST(JSONStringTest, UnicodeEscapesStandForTheirCodePoints) {
  EXPECT_EQ(JSONString{R"(\u0041\u00e9\u00E9\u20ac\uFFFF)"}.text(), "A\u00E9\u00E9\u20AC\uFFFF");
}

TEST(JSONStringTest, ASurrogatePairStandsForOneCodePoint) {
  EXPECT_EQ(JSONString{R"(\ud83d\udcf7\uD800\uDC00\uDBFF\uDFFF)"}.text(),
            "\U0001F4F7\U00010000\U0010FFFF");
}

TEST(JSONStringTest, AnEscapedNulIsPartOfTheText) {
  EXPECT_EQ(JSONString{R"(a\u0000b)"}.text(), std::string("a\0b", 3));
}

TEST(JSONEscapeTest, TellsHowLongItIs) {
  EXPECT_EQ(readJSONEscape(R"(\nabc)")->length, 2U);
  EXPECT_EQ(readJSONEscape(R"(\u0041abc)")->length, 6U);
  EXPECT_EQ(readJSONEscape(R"(\ud83d\udcf7abc)")->length, 12U);
}

TEST(JSONEscapeTest, OnlyTheLettersOfTheGrammarAreEscapes) {
  const std::string_view letters = R"("\/bfnrt)";
  for (int byte = 0; byte < 256; ++byte) {
    const auto letter = static_cast<char>(byte);
    if (letter == 'u') continue;
    const std::string text{'\\', letter};
    EXPECT_EQ(readJSONEscape(text).has_value(), letters.find(letter) != std::string_view::npos)
        << byte;
  }
}

TEST(JSONEscapeTest, NeedsFourHexadecimalDigits) {
  EXPECT_FALSE(readJSONEscape(R"(\u)"));
  EXPECT_FALSE(readJSONEscape(R"(\u004)"));
  EXPECT_FALSE(readJSONEscape(R"(\u004g)"));
  EXPECT_FALSE(readJSONEscape(R"(\u+041)"));
  EXPECT_FALSE(readJSONEscape(R"(\U0041)"));
}

TEST(JSONEscapeTest, HalfASurrogatePairIsNone) {
  EXPECT_FALSE(readJSONEscape(R"(\ud83d)"));
  EXPECT_FALSE(readJSONEscape(R"(\ud83dabcdef)"));
  EXPECT_FALSE(readJSONEscape(R"(\ud83d\n)"));
  EXPECT_FALSE(readJSONEscape(R"(\ud83d\u0041)"));
  EXPECT_FALSE(readJSONEscape(R"(\ud83d\ud83d)"));
  EXPECT_FALSE(readJSONEscape(R"(\udcf7)"));
}

TEST(JSONEscapeTest, NeedsABackslash) {
  EXPECT_FALSE(readJSONEscape("n"));
  EXPECT_FALSE(readJSONEscape("nn"));
  EXPECT_FALSE(readJSONEscape(""));
  EXPECT_FALSE(readJSONEscape("\\"));
}
}  // namespace
}  // namespace blindfold
