// Each enumeration in the record that has it.

#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <string_view>

#include "blindfold/model/detection.h"
#include "blindfold/model/enumerations.h"
#include "blindfold/model/hold.h"
#include "tests/model/decoding_failure.h"
#include "tests/model/record_texts.h"

namespace blindfold {
namespace {
using Kind = DecodingError::Kind;

template <Enumeration E>
std::optional<DecodingFailure> failureOfEnumeration(std::string_view value);

template <>
std::optional<DecodingFailure> failureOfEnumeration<CameraKind>(std::string_view value) {
  return failureOfDecoding<CameraInfo>(
      replaced(cameraText, R"("continuity")", '"' + std::string(value) + '"'));
}

template <>
std::optional<DecodingFailure> failureOfEnumeration<ServiceDomain>(std::string_view value) {
  return failureOfDecoding<TargetService>(
      replaced(targetText, R"("gui")", '"' + std::string(value) + '"'));
}

template <>
std::optional<DecodingFailure> failureOfEnumeration<ControlMode>(std::string_view value) {
  return failureOfDecoding<TargetService>(
      replaced(targetText, R"("sigtermDebug")", '"' + std::string(value) + '"'));
}

template <class E>
class EnumerationDecodingTest : public testing::Test {};

using Enumerations = testing::Types<CameraKind, ServiceDomain, ControlMode>;
TYPED_TEST_SUITE(EnumerationDecodingTest, Enumerations);

TYPED_TEST(EnumerationDecodingTest, EveryRawValueDecodes) {
  for (const auto& each : EnumerationCoding<TypeParam>::rawValues) {
    EXPECT_EQ(failureOfEnumeration<TypeParam>(each.text), std::nullopt) << each.text;
  }
}

TYPED_TEST(EnumerationDecodingTest, AnyOtherWordIsCorruptedData) {
  for (const char* word : {"builtin", "Unknown", "virtual", "user", "System", "sigterm", "SIGSTOP",
                           " gui", "sigstop ", ""}) {
    const auto failure = failureOfEnumeration<TypeParam>(word);
    ASSERT_TRUE(failure) << word;
    EXPECT_EQ(failure->kind, Kind::dataCorrupted) << word;
  }
}

TEST(EnumerationDecodingTest, BuiltInDecodes) {
  EXPECT_EQ(decode<CameraInfo>(replaced(cameraText, "continuity", "builtIn")).kind,
            CameraKind::builtIn);
}

TEST(EnumerationDecodingTest, UnknownIsAKindLikeTheOthers) {
  EXPECT_EQ(decode<CameraInfo>(replaced(cameraText, "continuity", "unknown")).kind,
            CameraKind::unknown);
}

TEST(EnumerationDecodingTest, GuiDecodes) {
  EXPECT_EQ(decode<TargetService>(targetText).domain, ServiceDomain::gui);
}

TEST(EnumerationDecodingTest, SigtermDebugDecodes) {
  EXPECT_EQ(decode<TargetService>(targetText).controlMode, ControlMode::sigtermDebug);
}

TEST(EnumerationDecodingTest, ARawValueWrittenWithEscapesIsTheSame) {
  EXPECT_EQ(decode<TargetService>(replaced(targetText, "gui", "\\u0067ui")).domain,
            ServiceDomain::gui);
}

TEST(EnumerationDecodingTest, TheEnumerationAndTheWordAreNamed) {
  EXPECT_EQ(failureOfEnumeration<CameraKind>("virtual")->text,
            R"(kind: expected a CameraKind, found "virtual")");
}

TEST(EnumerationDecodingTest, AnUnknownKindMakesTheWholeDetectionFail) {
  const auto failure =
      failureOfDecoding<DetectionResult>(replaced(detectionText, "continuity", "virtual"));
  EXPECT_EQ(failure,
            (DecodingFailure{Kind::dataCorrupted,
                             R"(cameras[0].kind: expected a CameraKind, found "virtual")"}));
}
}  // namespace
}  // namespace blindfold
