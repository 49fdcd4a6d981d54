#include <gtest/gtest.h>

#include <chrono>
#include <functional>
#include <string>

#include "blindfold/model/json/coding_error.h"
#include "blindfold/model/json/json_decoder.h"
#include "blindfold/model/json/json_encoder.h"
#include "tests/model/sample_records.h"

namespace blindfold {
namespace {
// Large and hostile inputs take time in proportion to their size: what is linear stays far below
// this limit even in a sanitized build, what is quadratic would take hours.
constexpr std::chrono::seconds limit{20};

void expectWithinLimit(const std::function<void()>& work) {
  const auto begin = std::chrono::steady_clock::now();
  work();
  EXPECT_LT(std::chrono::steady_clock::now() - begin, limit);
}

template <Record T>
void expectRoundTripWithinLimit(const T& record) {
  expectWithinLimit([&] {
    const std::string text = makeJSONEncoder().encode(record);
    EXPECT_TRUE(JSONDecoder().decode<T>(text) == record);
  });
}

std::string repeated(std::string_view piece, std::size_t count) {
  std::string text;
  for (std::size_t index = 0; index < count; ++index) text += piece;
  return text;
}

TEST(LargeInputTest, ManyCameras) {
  DetectionResult result;
  result.cameras.assign(100'000, sample::camera());
  expectRoundTripWithinLimit(result);
}

TEST(LargeInputTest, ManyServiceStates) {
  DetectionResult result;
  result.serviceStates.assign(100'000, sample::serviceState());
  expectRoundTripWithinLimit(result);
}

TEST(LargeInputTest, ManyHeldTargets) {
  HoldState state = sample::holdState();
  state.heldTargets.assign(100'000, sample::heldTarget());
  expectRoundTripWithinLimit(OperationResult{.success = true, .message = "", .holdState = state});
}

TEST(LargeInputTest, LabelsOfMegabytes) {
  DetectionResult result = sample::detection();
  result.resolvedTargets[0].label = repeated("com.apple.\u00E9/\n", 500'000);
  result.serviceStates[0].label = std::string(8'000'000, '1');
  expectRoundTripWithinLimit(result);
}

TEST(LargeInputTest, ManyKeysOfASnapshot) {
  HoldRequest request = sample::holdRequest();
  for (std::int64_t index = 0; index < 100'000; ++index) {
    request.correlationSnapshot["com.apple.service" + std::to_string(index * 7'919)] = index;
  }
  expectWithinLimit([&] {
    const auto copy = JSONDecoder().decode<HoldRequest>(makeJSONEncoder().encode(request));
    EXPECT_TRUE(copy.correlationSnapshot == request.correlationSnapshot);
  });
}

TEST(LargeInputTest, LongKeysOfASnapshotThatBeginAlike) {
  HoldRequest request = sample::holdRequest();
  const std::string beginning = repeated("\u00C9", 500);
  for (std::int64_t index = 0; index < 2'000; ++index) {
    request.correlationSnapshot[beginning + std::to_string(index)] = index;
  }
  expectWithinLimit([&] { EXPECT_GT(makeJSONEncoder().encode(request).size(), 2'000'000U); });
}

/// A text of an operation result whose unknown key holds `value`.
std::string withUnknownValue(const std::string& value) {
  return R"({"unknown":)" + value + R"(,"success":true,"message":"x"})";
}

void expectDecodedWithinLimit(const std::string& text) {
  expectWithinLimit([&] { EXPECT_EQ(JSONDecoder().decode<OperationResult>(text).message, "x"); });
}

TEST(LargeInputTest, ManyEmptyArraysUnderAnUnknownKey) {
  expectDecodedWithinLimit(withUnknownValue("[" + repeated("[],", 5'000'000) + "[]]"));
}

TEST(LargeInputTest, ManyDeepArraysUnderAnUnknownKey) {
  const std::string deep = repeated("[", 500) + repeated("]", 500);
  expectDecodedWithinLimit(withUnknownValue("[" + repeated(deep + ",", 10'000) + "0]"));
}

TEST(LargeInputTest, ManyUnknownKeys) {
  expectDecodedWithinLimit("{" + repeated(R"("k":0,)", 2'000'000) +
                           R"("success":true,"message":"x"})");
}

TEST(LargeInputTest, ManyTimesTheSameKey) {
  expectDecodedWithinLimit(R"({"success":true,"message":"x")" +
                           repeated(R"(,"message":"y")", 1'000'000) + "}");
}

TEST(LargeInputTest, AKeyOfMegabytes) {
  expectDecodedWithinLimit(R"({")" + repeated("\\u006d", 1'000'000) +
                           R"(":1,"success":true,"message":"x"})");
}

TEST(LargeInputTest, AStringOfNothingButEscapes) {
  const std::string text =
      R"({"success":true,"message":")" + repeated(R"(\ud83d\udcf7\n)", 500'000) + R"("})";
  expectWithinLimit(
      [&] { EXPECT_EQ(JSONDecoder().decode<OperationResult>(text).message.size(), 2'500'000U); });
}

TEST(LargeInputTest, ANumberOfMegabytes) {
  const std::string digits(8'000'000, '7');
  expectWithinLimit([&] {
    EXPECT_THROW(JSONDecoder().decode<LaunchdServiceState>(R"({"label":"","domain":"gui","pid":)" +
                                                           digits + "}"),
                 DecodingError);
  });
  expectWithinLimit([&] {
    const auto request = JSONDecoder().decode<HoldRequest>(
        R"({"cameraID":"","kind":"builtIn","targets":[],"correlationSnapshot":{},"durationHint":)" +
        digits + "e-8000000}");
    EXPECT_EQ(request.durationHint, 7.0 / 9.0);
  });
}

TEST(LargeInputTest, MuchWhiteSpace) {
  expectDecodedWithinLimit(repeated(" \n", 2'000'000) + R"({"success")" +
                           repeated("\t", 2'000'000) + R"(:true,"message":"x"})" +
                           repeated("\r", 2'000'000));
}

TEST(LargeInputTest, ManyNotesWithTheLastOneWrong) {
  const std::string text = R"({"cameras":[],"resolvedTargets":[],"serviceStates":[],"notes":[)" +
                           repeated(R"("",)", 1'000'000) + "0]}";
  expectWithinLimit([&] {
    try {
      JSONDecoder().decode<DetectionResult>(text);
      ADD_FAILURE() << "a number was taken for a note";
    } catch (const DecodingError& error) {
      EXPECT_STREQ(error.what(), "notes[1000000]: expected a string, found a number");
    }
  });
}
}  // namespace
}  // namespace blindfold
