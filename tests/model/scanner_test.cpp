#include "blindfold/model/json/json_value.h"

#include <gtest/gtest.h>

#include <optional>
#include <ostream>
#include <string>
#include <string_view>

#include "blindfold/text/utf8.h"
#include "tests/model/decoding_failure.h"

namespace blindfold {
namespace {
std::optional<DecodingFailure> failureOfScanning(std::string_view text) {
  return failureOf([text] { scanJSON(text); });
}

/// `text` with a NUL in place of each "@".
std::string withNul(std::string text) {
  for (char& character : text) {
    if (character == '@') character = '\0';
  }
  return text;
}

class AcceptedTextTest : public testing::TestWithParam<std::string_view> {};

TEST_P(AcceptedTextTest, IsJSON) {
  EXPECT_EQ(failureOfScanning(GetParam()), std::nullopt);
}

INSTANTIATE_TEST_SUITE_P(Literal, AcceptedTextTest, testing::Values("null", "true", "false"));
INSTANTIATE_TEST_SUITE_P(Number, AcceptedTextTest,
                         testing::Values("0", "-0", "1", "10", "1234567890", "-1", "0.0", "-0.50",
                                         "0e1", "0E0", "1e5", "1E5", "1e+5", "1e-5", "1e05",
                                         "1.25e-007", "1e400",
                                         "123456789012345678901234567890.123456789"));
INSTANTIATE_TEST_SUITE_P(String, AcceptedTextTest,
                         testing::Values(R"("")", R"("abc")", R"("\"\\\/\b\f\n\r\t")",
                                         R"("\u0000\u001f\uabcd\uABCD\uffff")", R"("\ud83d\udcf7")",
                                         R"("\\u12")", "\"\u00E9\u20AC\U0001F4F7\U0010FFFF\"",
                                         "\"\x7F\u0080\u2028\uFEFF\uFFFE\""));
INSTANTIATE_TEST_SUITE_P(Array, AcceptedTextTest,
                         testing::Values("[]", "[ ]", "[1]", "[1,2]", "[[],[[]],{}]",
                                         "[null, 1, \"1\", {}]", "[ 1 , 2 ]"));
INSTANTIATE_TEST_SUITE_P(Object, AcceptedTextTest,
                         testing::Values("{}", "{ }", R"({"a":1})", R"({"":0})", R"({"a":1,"a":2})",
                                         R"({"a":{"a":[{}]},"b":[]})", R"({"\u0000":"\u0000"})",
                                         R"({ "a" : 1 , "b" : 2 })"));
INSTANTIATE_TEST_SUITE_P(WhiteSpace, AcceptedTextTest,
                         testing::Values(" 1", "1 ", "\t\n\r 1 \r\n\t", "\n{\r\"a\"\t:\n1\r}\n",
                                         "[\n]\n"));

class RejectedTextTest : public testing::TestWithParam<std::string_view> {};

TEST_P(RejectedTextTest, IsCorruptedData) {
  const auto failure = failureOfScanning(GetParam());
  ASSERT_TRUE(failure);
  EXPECT_EQ(failure->kind, DecodingError::Kind::dataCorrupted);
}

INSTANTIATE_TEST_SUITE_P(Nothing, RejectedTextTest, testing::Values("", " ", "\n\t"));
INSTANTIATE_TEST_SUITE_P(Literal, RejectedTextTest,
                         testing::Values("nul", "tru", "fals", "nulL", "True", "NULL", "nullx",
                                         "truefalse", "undefined", "NaN", "nan", "Infinity",
                                         "-Infinity", "inf", "x"));
INSTANTIATE_TEST_SUITE_P(Number, RejectedTextTest,
                         testing::Values("-", "+1", "01", "-01", "00", "0123", "1.", ".5", "-.5",
                                         "1.e5", "1e", "1e+", "1e-", "1e5.5", "1E+-5", "--1", "1-",
                                         "0x10", "1_000", "1,5", "- 1", "1 2", "1f", "0b1",
                                         "\xEF\xBC\x91"));
INSTANTIATE_TEST_SUITE_P(String, RejectedTextTest,
                         testing::Values(R"(")", R"("abc)", R"("\")", R"(abc")", "'abc'", R"("\a")",
                                         R"("\v")", R"("\0")", R"("\x41")", R"("\'")", R"("\u")",
                                         R"("\u12")", R"("\u12")", R"("\u123g")", R"("\U0041")",
                                         R"("\u{41}")", "\"\\\n\"", R"("a" "b")", R"("a"b)"));
INSTANTIATE_TEST_SUITE_P(ControlCharacter, RejectedTextTest,
                         testing::Values("\"\n\"", "\"\t\"", "\"\r\"", "\"\x01\"", "\"\x1F\"",
                                         std::string_view("\"\0\"", 3)));
INSTANTIATE_TEST_SUITE_P(Surrogate, RejectedTextTest,
                         testing::Values(R"("\ud83d")", R"("\udcf7")", R"("\ud83d\ud83d")",
                                         R"("\udcf7\ud83d")", R"("\ud83dx")", R"("\ud83d\n")",
                                         R"("\ud83d\u0041")", R"({"\ud83d":1})"));
INSTANTIATE_TEST_SUITE_P(InvalidUTF8, RejectedTextTest,
                         testing::Values("\"\x80\"", "\"\xC3\"", "\"\xC0\x80\"", "\"\xED\xA0\x80\"",
                                         "\"\xF4\x90\x80\x80\"", "\"\xFF\"", "\"\xE2\x82\"",
                                         "{\"\xFE\":1}", "\xFF", "[\x80]"));
INSTANTIATE_TEST_SUITE_P(OtherEncoding, RejectedTextTest,
                         testing::Values("\xEF\xBB\xBF{}", "\xEF\xBB\xBF",
                                         std::string_view("{\0}\0", 4),
                                         std::string_view("\0{\0}", 4),
                                         std::string_view("\xFF\xFE{\0}\0", 6)));
INSTANTIATE_TEST_SUITE_P(Array, RejectedTextTest,
                         testing::Values("[", "]", "[1", "[1,", "[1,]", "[,1]", "[,]", "[1,,2]",
                                         "[1 2]", "[1;2]", "[1}", "[[]", "[]]", "[\"a\":1]",
                                         "(1)"));
INSTANTIATE_TEST_SUITE_P(Object, RejectedTextTest,
                         testing::Values("{", "}", "{\"a\"", "{\"a\":", "{\"a\":1", "{\"a\":1,",
                                         "{\"a\":1,}", "{,}", "{,\"a\":1}", "{\"a\" 1}",
                                         "{\"a\"::1}", "{\"a\",1}", "{\"a\"}", "{a:1}", "{'a':1}",
                                         "{1:1}", "{null:1}", "{[]:1}", "{\"a\":1]",
                                         "{\"a\":1 \"b\":2}", "{\"a\":1,,\"b\":2}", "{}}",
                                         "{\"a\"=1}"));
INSTANTIATE_TEST_SUITE_P(Comment, RejectedTextTest,
                         testing::Values("// x\n1", "/* x */1", "1 // x", "[1/**/]", "# x\n1"));
INSTANTIATE_TEST_SUITE_P(WhiteSpace, RejectedTextTest,
                         testing::Values("\v1", "\f1",
                                         "\u00A0"
                                         "1",
                                         "\u20281", "1\v", "[\u00A0]"));
INSTANTIATE_TEST_SUITE_P(MoreThanOneValue, RejectedTextTest,
                         testing::Values("{}{}", "{} {}", "[][]", "null null", "{},", "1,2", "{}x",
                                         std::string_view("{}\0", 3)));

TEST(ScannerTest, TheValueIsWithoutTheWhiteSpaceAroundIt) {
  EXPECT_EQ(scanJSON(" \n{ \"a\" : [ ] } \t").text, "{ \"a\" : [ ] }");
  EXPECT_EQ(scanJSON("\t-1.5e3\n").text, "-1.5e3");
}

TEST(ScannerTest, NulIsAllowedNowhere) {
  for (const char* text : {"@1", "1@", "[@]", "[1@]", "{@}", "{\"a\"@:1}", "tru@", "1.@", "-@"}) {
    EXPECT_TRUE(failureOfScanning(withNul(text))) << text;
  }
}

constexpr std::string_view openPair = "[{\"a\":";
constexpr std::size_t pairLength = openPair.size();

std::string nested(std::size_t depth, std::string_view open, std::string_view close) {
  std::string text;
  for (std::size_t level = 0; level < depth; ++level) text += open;
  for (std::size_t level = 0; level < depth; ++level) text += close;
  return text;
}

TEST(ScannerTest, ValuesMayNest512Deep) {
  EXPECT_EQ(failureOfScanning(nested(512, "[", "]")), std::nullopt);
  EXPECT_EQ(failureOfScanning(nested(256, openPair, "}]").insert(256 * pairLength, "1")),
            std::nullopt);
}

TEST(ScannerTest, ValuesMayNotNest513Deep) {
  EXPECT_EQ(failureOfScanning(nested(513, "[", "]")),
            (DecodingFailure{DecodingError::Kind::dataCorrupted,
                             "invalid JSON at byte 512: nested deeper than 512 levels"}));
  EXPECT_TRUE(failureOfScanning(nested(257, openPair, "}]").insert(257 * pairLength, "1")));
}

TEST(ScannerTest, DepthIsNotTheNumberOfContainers) {
  std::string text = "[";
  for (int count = 0; count < 2'000; ++count) text += "[{}],";
  EXPECT_EQ(failureOfScanning(text + "[]]"), std::nullopt);
}

TEST(ScannerTest, AMillionBracketsAreAnErrorAndNoCrash) {
  EXPECT_TRUE(failureOfScanning(std::string(1'000'000, '[')));
  EXPECT_TRUE(failureOfScanning(nested(1'000'000, "[", "]")));
  EXPECT_TRUE(failureOfScanning(nested(1'000'000, "{\"a\":", "}")));
}

/// A text and its error.
struct MessageCase {
  std::string_view text;
  std::string_view message;

  friend std::ostream& operator<<(std::ostream& stream, const MessageCase& each) {
    return stream << each.message;
  }
};

class ScannerMessageTest : public testing::TestWithParam<MessageCase> {};

TEST_P(ScannerMessageTest, NamesTheByteAndTheError) {
  const auto failure = failureOfScanning(GetParam().text);
  ASSERT_TRUE(failure);
  EXPECT_EQ(failure->text, GetParam().message);
}

INSTANTIATE_TEST_SUITE_P(
    Error, ScannerMessageTest,
    testing::Values(
        MessageCase{"", "invalid JSON at byte 0: expected a value, found the end of the text"},
        MessageCase{"  <html>\n<body>",
                    "invalid JSON at byte 2: expected a value, found <html> <body>"},
        MessageCase{"\xEF\xBB\xBF{}",
                    "invalid JSON at byte 0: expected a value, found a byte-order mark"},
        MessageCase{"\u00A0{}", "invalid JSON at byte 0: expected a value, found \\u00a0{}"},
        MessageCase{"[1,]", "invalid JSON at byte 3: expected a value, found ]"},
        MessageCase{"[1 2]", "invalid JSON at byte 3: expected a comma or ], found 2]"},
        MessageCase{"{\"a\":1]", "invalid JSON at byte 6: expected a comma or }, found ]"},
        MessageCase{"{1:1}", "invalid JSON at byte 1: expected a key, found 1:1}"},
        MessageCase{"{\"a\" 1}", "invalid JSON at byte 5: expected a colon, found 1}"},
        MessageCase{"[tru]", "invalid JSON at byte 1: expected true, found tru]"},
        MessageCase{"-x", "invalid JSON at byte 1: expected a digit, found x"},
        MessageCase{"\"ab",
                    "invalid JSON at byte 3: expected a quotation mark, found the end of the text"},
        MessageCase{"\"a\xFF\"", "invalid JSON at byte 2: invalid UTF-8"},
        MessageCase{"\"a\n\"", "invalid JSON at byte 2: a control character that is not escaped"},
        MessageCase{"\"a\\ud83d\"", "invalid JSON at byte 2: an invalid escape sequence"},
        MessageCase{"{} x", "invalid JSON at byte 3: expected the end of the text, found x"},
        MessageCase{
            "0123456789abcdefghijklmnop",
            "invalid JSON at byte 1: expected the end of the text, found 123456789abcdefg…"},
        MessageCase{"\x1B[2J\x80",
                    "invalid JSON at byte 0: expected a value, found \\u001b[2J\uFFFD"}));

TEST(ScannerTest, EveryTruncationOfADocumentIsAnError) {
  const std::string_view document = R"({"a":[1.5e-3,"\u00e9\n",true,null,{"b":{}}],"c":""})";
  ASSERT_EQ(failureOfScanning(document), std::nullopt);
  for (std::size_t length = 0; length < document.size(); ++length) {
    const auto failure = failureOfScanning(document.substr(0, length));
    ASSERT_TRUE(failure) << length;
    EXPECT_TRUE(isValidUTF8(failure->text)) << length;
  }
}
}  // namespace
}  // namespace blindfold
