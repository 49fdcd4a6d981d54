#include <gtest/gtest.h>

#include <chrono>
#include <random>
#include <string>

#include "blindfold/model/json/json_decoder.h"
#include "blindfold/model/json/json_encoder.h"
#include "blindfold/text/utf8.h"
#include "tests/model/sample_records.h"

namespace blindfold {
namespace {
template <Record T>
std::string encode(const T& record) {
  return makeJSONEncoder().encode(record);
}

template <Record T>
T decode(const std::string& text) {
  return JSONDecoder().decode<T>(text);
}

template <class T>
class RoundTripTest : public testing::Test {};

using EquatableRecords = testing::Types<CameraInfo, TargetService, LaunchdServiceState,
                                        DetectionResult, HeldTarget, HoldState, OperationResult>;
TYPED_TEST_SUITE(RoundTripTest, EquatableRecords);

TYPED_TEST(RoundTripTest, WhatIsWrittenIsReadBack) {
  const auto record = sample::record<TypeParam>();
  EXPECT_EQ(decode<TypeParam>(encode(record)), record);
}

TYPED_TEST(RoundTripTest, WhatIsReadBackIsWrittenTheSame) {
  const std::string text = encode(sample::record<TypeParam>());
  EXPECT_EQ(encode(decode<TypeParam>(text)), text);
}

TEST(HoldRequestRoundTripTest, WhatIsReadBackIsWrittenTheSame) {
  const std::string text = encode(sample::holdRequest());
  EXPECT_EQ(encode(decode<HoldRequest>(text)), text);
}

TEST(RoundTripTest, UnknownKeysAreNotReproduced) {
  EXPECT_EQ(encode(decode<OperationResult>(
                R"({"extra":[1,{"a":null}],"success":true,"message":"","holdState":null})")),
            R"({"message":"","success":true})");
}

TEST(RoundTripTest, AModeAloneComesBackWithTheDefaults) {
  EXPECT_EQ(encode(decode<HoldState>(R"({"mode":"idle"})")),
            R"({"heldTargets":[],"micMuted":false,"mode":"idle"})");
}

TEST(RoundTripTest, AnOffsetComesBackAsTheSameInstantInUTC) {
  EXPECT_EQ(encode(decode<HoldState>(R"({"mode":"","startedAt":"2025-03-04T12:15:30+02:00"})")),
            R"({"heldTargets":[],"micMuted":false,"mode":"","startedAt":"2025-03-04T10:15:30Z"})");
}

TEST(RoundTripTest, ASlashIsBareAgain) {
  const OperationResult result{.success = true, .message = "a/b\\/c"};
  EXPECT_EQ(decode<OperationResult>(encode(result)), result);
}

TEST(RoundTripTest, AnIntegerInAnotherFormComesBackPlain) {
  EXPECT_EQ(encode(decode<LaunchdServiceState>(R"({"label":"","domain":"gui","pid":5.12e2})")),
            R"({"domain":"gui","label":"","pid":512})");
}

TEST(RoundTripTest, EveryCharacterComesBack) {
  OperationResult result{.success = true, .message = ""};
  for (char32_t codePoint = 0; codePoint <= 0x10FFFF; ++codePoint) {
    if (codePoint >= 0xD800 && codePoint <= 0xDFFF) continue;
    result.message += encodeUTF8(codePoint).text();
  }
  EXPECT_EQ(decode<OperationResult>(encode(result)), result);
}

TEST(RoundTripTest, AnyBytesComeBackAsTheirRepairedText) {
  std::mt19937 random(4);
  for (int round = 0; round < 2'000; ++round) {
    OperationResult result{.success = true, .message = ""};
    for (auto length = random() % 20; length > 0; --length) {
      result.message += static_cast<char>(random());
    }
    ASSERT_EQ(decode<OperationResult>(encode(result)).message, repairUTF8(result.message));
  }
}
}  // namespace
}  // namespace blindfold
