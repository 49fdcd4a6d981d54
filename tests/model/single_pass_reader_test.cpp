#include "blindfold/model/json/single_pass_reader.h"

#include <gtest/gtest.h>

#include <optional>
#include <random>
#include <string>
#include <string_view>
#include <vector>

#include "blindfold/model/json/coding_error.h"
#include "blindfold/model/json/json_encoder.h"
#include "blindfold/model/json/record_decoding.h"
#include "tests/model/sample_records.h"

namespace blindfold {
namespace {
/// The record that a decoding gave, as its JSON text; `std::nullopt` when it gave none.
template <class T>
std::optional<std::string> textOf(const std::optional<T>& record) {
  return record ? std::optional(makeJSONEncoder().encode(*record)) : std::nullopt;
}

template <class T>
std::optional<T> decodeCarefullyIfSound(std::string_view text) {
  try {
    return decodeCarefully<T>(text);
  } catch (const DecodingError&) {
    return std::nullopt;
  }
}

template <class T>
void expectSameRecord(std::string_view text) {
  ASSERT_EQ(textOf(decodeInOnePass<T>(text)), textOf(decodeCarefullyIfSound<T>(text))) << text;
}

template <class T>
void expectAccepted(std::string_view text) {
  EXPECT_TRUE(decodeInOnePass<T>(text)) << text;
  expectSameRecord<T>(text);
}

template <class T>
void expectDeclined(std::string_view text) {
  EXPECT_FALSE(decodeInOnePass<T>(text)) << text;
  expectSameRecord<T>(text);
}

template <class T>
class SinglePassReaderTest : public testing::Test {
 protected:
  const std::string text_ = makeJSONEncoder().encode(sample::record<T>());
};

using AllRecords = testing::Types<CameraInfo, TargetService, LaunchdServiceState, DetectionResult,
                                  HoldRequest, HeldTarget, HoldState, OperationResult>;
TYPED_TEST_SUITE(SinglePassReaderTest, AllRecords);

TYPED_TEST(SinglePassReaderTest, AcceptsWhatTheEncoderWrites) {
  expectAccepted<TypeParam>(this->text_);
}

TYPED_TEST(SinglePassReaderTest, DeclinesEveryTruncation) {
  for (std::size_t length = 0; length < this->text_.size(); ++length) {
    expectDeclined<TypeParam>(std::string_view(this->text_).substr(0, length));
  }
}

TYPED_TEST(SinglePassReaderTest, AcceptsWhiteSpaceBetweenAllTokens) {
  std::string spaced;
  bool isInString = false;
  for (const char character : this->text_) {
    if (character == '"') isInString = !isInString;
    const bool isPunctuation =
        !isInString && std::string_view("{}[]:,").find(character) != std::string_view::npos;
    if (isPunctuation) spaced += "\n ";
    spaced += character;
    if (isPunctuation) spaced += "\t\r";
  }
  expectAccepted<TypeParam>(spaced);
}

TYPED_TEST(SinglePassReaderTest, AgreesOnEveryTextWithOneOtherByte) {
  for (std::size_t position = 0; position < this->text_.size(); ++position) {
    for (const char byte : std::string_view("\0 \"\\/{}[]:,-.0eEtn\x1F\x80\xC3\xFFx", 24)) {
      std::string text = this->text_;
      text[position] = byte;
      expectSameRecord<TypeParam>(text);
    }
  }
}

TYPED_TEST(SinglePassReaderTest, AgreesOnEveryTextWithOneByteMore) {
  for (std::size_t position = 0; position <= this->text_.size(); ++position) {
    for (const char byte : std::string_view(" \"\\{}[]:,-0")) {
      std::string text = this->text_;
      text.insert(position, 1, byte);
      expectSameRecord<TypeParam>(text);
    }
  }
}

TYPED_TEST(SinglePassReaderTest, AgreesOnEveryTextWithOneByteLess) {
  for (std::size_t position = 0; position < this->text_.size(); ++position) {
    std::string text = this->text_;
    text.erase(position, 1);
    expectSameRecord<TypeParam>(text);
  }
}

TYPED_TEST(SinglePassReaderTest, AgreesOnRandomlySplicedTexts) {
  const std::vector<std::string_view> pieces{"null",
                                             "true",
                                             "{}",
                                             "[]",
                                             "\"\"",
                                             "1.5",
                                             "1e3",
                                             "-0",
                                             "\"\\/\"",
                                             "\"\\u0061\"",
                                             "[{}]",
                                             ",",
                                             "\"id\":1,",
                                             "{\"a\":1}",
                                             "\"\xC3\xBC\"",
                                             "\"\xC3\"",
                                             "99999999999999999999"};
  std::mt19937 random(7);
  for (int round = 0; round < 5'000; ++round) {
    std::string text = this->text_;
    const std::size_t position = random() % text.size();
    text.replace(position, random() % 8, pieces[random() % pieces.size()]);
    expectSameRecord<TypeParam>(text);
  }
}

TEST(SinglePassReaderTest, AcceptsKeysInAnyOrder) {
  expectAccepted<TargetService>(
      R"({"priority":-3,"label":"a","pid":512,"controlMode":"sigstop","domain":"gui"})");
}

TEST(SinglePassReaderTest, AcceptsUnknownKeysEverywhere) {
  expectAccepted<HoldState>(
      R"({"a":[1,{"b":"}"}],"heldTargets":[],"b":null,"micMuted":true,"mode":"x","zz":"\u0000"})");
}

TEST(SinglePassReaderTest, AcceptsKeysAndValuesWithEscapeSequences) {
  expectAccepted<TargetService>(
      R"({"\u0064omain":"\u0067ui","controlMode":"sig\u0073top","label":"a\/\ud83d\udcf7","priority":0})");
}

TEST(SinglePassReaderTest, AcceptsNullsOfOptionalAndDefaultedFields) {
  expectAccepted<HoldState>(
      R"({"mode":"idle","leaseID":null,"heldTargets":null,"startedAt":null,"micMuted":null})");
}

TEST(SinglePassReaderTest, DeclinesNullsOfRequiredFields) {
  expectDeclined<HoldState>(R"({"mode":null})");
}

TEST(SinglePassReaderTest, TakesTheFirstOfEqualKeys) {
  expectAccepted<HoldState>(R"({"mode":"first","mode":"second","mode":1})");
  expectAccepted<HoldState>(R"({"mode":"x","micMuted":null,"micMuted":true})");
  expectDeclined<HoldState>(R"({"mode":"first","mode":nul})");
}

TEST(SinglePassReaderTest, ChecksTheValuesThatItSkips) {
  const std::string beginning = R"({"mode":"held","unknown":)";
  for (const char* value : {"01", "[1,]", "{1:1}", "\"\xFF\"", "\"\\ud83d\"", "tru", "\"\n\""}) {
    expectDeclined<HoldState>(beginning + value + "}");
  }
}

TEST(SinglePassReaderTest, CountsTheDepthOfSkippedValuesFromTheDocument) {
  const auto withUnknown = [](std::size_t depth) {
    return R"({"mode":"held","unknown":)" + std::string(depth, '[') + std::string(depth, ']') + "}";
  };
  expectAccepted<HoldState>(withUnknown(511));
  expectDeclined<HoldState>(withUnknown(512));
  const auto withNested = [](std::size_t depth) {
    return R"({"success":true,"message":"","holdState":{"mode":"held","unknown":)" +
           std::string(depth, '[') + std::string(depth, ']') + "}}";
  };
  expectAccepted<OperationResult>(withNested(510));
  expectDeclined<OperationResult>(withNested(511));
}

TEST(SinglePassReaderTest, ReadsEveryFormOfAnInteger) {
  for (const char* number : {"0",
                             "-0",
                             "7",
                             "-7",
                             "123456789012345678",
                             "-123456789012345678",
                             "1234567890123456789",
                             "9223372036854775807",
                             "-9223372036854775808",
                             "9223372036854775808",
                             "512.0",
                             "5.12e2",
                             "1.5",
                             "01",
                             "-01",
                             "-",
                             "1.",
                             "1e",
                             "1e400",
                             "+1",
                             "0.0",
                             "00",
                             "1 2",
                             "0x1"}) {
    expectSameRecord<LaunchdServiceState>(R"({"label":"","domain":"gui","pid":)" +
                                          std::string(number) + "}");
  }
}

TEST(SinglePassReaderTest, ReadsAnExponentWithEitherSignOrNone) {
  for (const std::string_view exponent : {"e2", "E2", "e+2", "e-2", "e+", "e-", "e", "e++2"}) {
    expectSameRecord<HoldRequest>(
        R"({"cameraID":"C","kind":"builtIn","targets":[],"correlationSnapshot":{},"durationHint":1)" +
        std::string(exponent) + "}");
  }
}

TEST(SinglePassReaderTest, TakesTheFirstOfEqualKeysOfAMap) {
  const std::string beginning =
      R"({"cameraID":"","kind":"builtIn","targets":[],"durationHint":1,"correlationSnapshot":)";
  expectAccepted<HoldRequest>(beginning + R"({"a":1,"b":2,"a":3,"\u0061":"x"}})");
  expectDeclined<HoldRequest>(beginning + R"({"a":1,"a":01}})");
}
}  // namespace
}  // namespace blindfold
