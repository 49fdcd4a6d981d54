// The rules of single records and fields.

#include <gtest/gtest.h>

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "blindfold/model/detection.h"
#include "blindfold/model/hold.h"
#include "tests/model/decoding_failure.h"
#include "tests/model/record_texts.h"
#include "tests/model/sample_records.h"

namespace blindfold {
namespace {
using Kind = DecodingError::Kind;

// Detection records

TEST(JSONDecoderTest, ASelectedCameraIDOfNullIsNoValue) {
  const auto result = decode<DetectionResult>(replaced(detectionText, "\"CAM-0002\"", "null"));
  EXPECT_EQ(result.selectedCameraID, std::nullopt);
}

TEST(JSONDecoderTest, ADetectionMayBeEmpty) {
  EXPECT_EQ(decode<DetectionResult>(
                R"({"cameras":[],"resolvedTargets":[],"serviceStates":[],"notes":[]})"),
            DetectionResult{});
}

TEST(JSONDecoderTest, ADetectionMayNotLackItsNotes) {
  EXPECT_EQ(failureOfDecoding<DetectionResult>(
                R"({"cameras":[],"resolvedTargets":[],"serviceStates":[]})"),
            (DecodingFailure{Kind::keyNotFound, "notes: the key is missing"}));
}

TEST(JSONDecoderTest, ACameraThatLacksABooleanMakesTheWholeDetectionFail) {
  EXPECT_EQ(
      failureOfDecoding<DetectionResult>(replaced(detectionText, R"(,"isExperimental":false)", "")),
      (DecodingFailure{Kind::keyNotFound, "cameras[0].isExperimental: the key is missing"}));
}

TEST(JSONDecoderTest, ANullInAListIsAMissingValue) {
  EXPECT_EQ(failureOfDecoding<DetectionResult>(replaced(detectionText, R"("second")", "null")),
            (DecodingFailure{Kind::valueNotFound, "notes[1]: expected a string, found null"}));
}

TEST(JSONDecoderTest, AListKeepsItsOrder) {
  const auto result =
      decode<DetectionResult>(replaced(detectionText, R"(["first","second"])", R"(["b","a","b"])"));
  EXPECT_EQ(result.notes, (std::vector<std::string>{"b", "a", "b"}));
}

// Hold records

TEST(JSONDecoderTest, AModeIsEnoughForAHoldState) {
  EXPECT_EQ(decode<HoldState>(R"({"mode":"idle"})"), HoldState{.mode = "idle"});
}

TEST(JSONDecoderTest, AHoldStatesNullsAreItsDefaults) {
  EXPECT_EQ(
      decode<HoldState>(R"({"mode":"idle","leaseID":null,"heldTargets":null,"startedAt":null,)"
                        R"("lastHeartbeatAt":null,"sourceCameraID":null,"lastRestoreReason":null,)"
                        R"("micMuted":null})"),
      HoldState{.mode = "idle"});
}

TEST(JSONDecoderTest, AHeldTargetThatDoesNotDecodeIsNotSkipped) {
  EXPECT_EQ(
      failureOfDecoding<OperationResult>(replaced(operationResultText, "sigtermDebug", "sigterm")),
      (DecodingFailure{
          Kind::dataCorrupted,
          R"(holdState.heldTargets[0].controlMode: expected a ControlMode, found "sigterm")"}));
}

TEST(JSONDecoderTest, ADateWithAnOffsetIsTheInstantThatItNames) {
  EXPECT_EQ(decode<HoldState>(R"({"mode":"","startedAt":"2025-03-04T12:15:00+02:00"})").startedAt,
            sample::instant(2025, 3, 4, 10, 15, 0));
}

TEST(JSONDecoderTest, ATextThatIsNoDateIsCorruptedData) {
  EXPECT_EQ(failureOfDecoding<HoldState>(R"({"mode":"","startedAt":"2025-03-04T10:15:30.250Z"})"),
            (DecodingFailure{
                Kind::dataCorrupted,
                R"(startedAt: expected an ISO-8601 date, found "2025-03-04T10:15:30.250Z")"}));
}

TEST(JSONDecoderTest, ADateOutsideTheYearsIsCorruptedData) {
  EXPECT_EQ(
      failureOfDecoding<HoldState>(R"({"mode":"","lastHeartbeatAt":"9999-12-31T23:59:59-00:01"})")
          ->kind,
      Kind::dataCorrupted);
}

TEST(JSONDecoderTest, ADateWrittenWithEscapesIsTheSame) {
  EXPECT_EQ(decode<HoldState>(R"({"mode":"","startedAt":"2025-03-04T10:15:00\u005a"})").startedAt,
            sample::instant(2025, 3, 4, 10, 15, 0));
}

TEST(JSONDecoderTest, AHoldRequestMayLackItsCaptureActivity) {
  const auto request = decode<HoldRequest>(
      replaced(holdRequestText, R"("captureWasActiveAtRequestTime":true,)", ""));
  EXPECT_FALSE(request.captureWasActiveAtRequestTime);
}

TEST(JSONDecoderTest, AHoldRequestMayNotLackItsDuration) {
  EXPECT_EQ(
      failureOfDecoding<HoldRequest>(replaced(holdRequestText, R"("durationHint":30.5,)", "")),
      (DecodingFailure{Kind::keyNotFound, "durationHint: the key is missing"}));
}

TEST(JSONDecoderTest, ADurationMayBeAnInteger) {
  EXPECT_EQ(decode<HoldRequest>(replaced(holdRequestText, "30.5", "30")).durationHint, 30.0);
}

TEST(JSONDecoderTest, ADurationMustBeFinite) {
  EXPECT_EQ(failureOfDecoding<HoldRequest>(replaced(holdRequestText, "30.5", "1e400")),
            (DecodingFailure{Kind::dataCorrupted,
                             "durationHint: expected a finite number, found 1e400"}));
}

TEST(JSONDecoderTest, OfEqualKeysOfASnapshotTheFirstCounts) {
  const auto request = decode<HoldRequest>(
      replaced(holdRequestText, R"("two":2)", R"("two":2,"two":3,"\u0074wo":"x")"));
  EXPECT_EQ(request.correlationSnapshot,
            (std::map<std::string, std::int64_t>{{"one", 1}, {"two", 2}}));
}

TEST(JSONDecoderTest, ASnapshotMayHoldAnyKeys) {
  const auto request =
      decode<HoldRequest>(replaced(holdRequestText, R"("two":2)", R"("":2,"a\/\u0000b":3)"));
  EXPECT_EQ(request.correlationSnapshot, (std::map<std::string, std::int64_t>{
                                             {"one", 1}, {"", 2}, {std::string("a/\0b", 4), 3}}));
}

TEST(JSONDecoderTest, ASnapshotValueMustBeAnInteger) {
  EXPECT_EQ(failureOfDecoding<HoldRequest>(replaced(holdRequestText, R"("two":2)", R"("two":2.5)")),
            (DecodingFailure{Kind::dataCorrupted,
                             R"(correlationSnapshot["two"]: expected an integer, found 2.5)"}));
  EXPECT_EQ(
      failureOfDecoding<HoldRequest>(replaced(holdRequestText, R"("two":2)", R"("two":"2")")),
      (DecodingFailure{Kind::typeMismatch,
                       R"(correlationSnapshot["two"]: expected an integer, found a string)"}));
  EXPECT_EQ(
      failureOfDecoding<HoldRequest>(replaced(holdRequestText, R"("two":2)", R"("two":null)")),
      (DecodingFailure{Kind::valueNotFound,
                       R"(correlationSnapshot["two"]: expected an integer, found null)"}));
}
}  // namespace
}  // namespace blindfold
