#include "blindfold/model/json/json_decoder.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "blindfold/model/detection.h"
#include "blindfold/model/hold.h"
#include "tests/model/decoding_failure.h"
#include "tests/model/record_texts.h"
#include "tests/model/sample_records.h"

namespace blindfold {
namespace {
using Kind = DecodingError::Kind;

TEST(JSONDecoderTest, ReadsEveryField) {
  EXPECT_EQ(decode<CameraInfo>(cameraText), sample::camera());
  EXPECT_EQ(decode<TargetService>(targetText), sample::target());
  EXPECT_EQ(decode<LaunchdServiceState>(serviceStateText), sample::serviceState());
  EXPECT_EQ(decode<DetectionResult>(detectionText), sample::detection());
  EXPECT_EQ(decode<HeldTarget>(heldTargetText), sample::heldTarget());
  EXPECT_EQ(decode<HoldState>(holdStateText), sample::holdState());
  EXPECT_EQ(decode<OperationResult>(operationResultText), sample::operationResult());
}

TEST(JSONDecoderTest, ReadsEachBooleanOfACameraByItsOwnKey) {
  const std::vector<std::pair<std::string, bool CameraInfo::*>> booleans{
      {"isConnected", &CameraInfo::isConnected},
      {"isSuspended", &CameraInfo::isSuspended},
      {"isInUseByAnotherApplication", &CameraInfo::isInUseByAnotherApplication},
      {"isExperimental", &CameraInfo::isExperimental}};
  for (const auto& set : booleans) {
    std::string text = R"({"id":"","localizedName":"","modelID":"","uniqueID":"",)"
                       R"("transportType":"","kind":"builtIn")";
    for (const auto& each : booleans) {
      text += ",\"" + each.first + "\":" + (each == set ? "true" : "false");
    }
    const auto camera = decode<CameraInfo>(text + "}");
    for (const auto& each : booleans) {
      EXPECT_EQ(camera.*each.second, each == set) << set.first << ' ' << each.first;
    }
  }
}

TEST(JSONDecoderTest, ReadsEveryFieldOfAHoldRequest) {
  const auto request = decode<HoldRequest>(holdRequestText);
  const HoldRequest expected = sample::holdRequest();
  EXPECT_EQ(request.cameraID, expected.cameraID);
  EXPECT_EQ(request.kind, expected.kind);
  EXPECT_EQ(request.targets, expected.targets);
  EXPECT_EQ(request.captureWasActiveAtRequestTime, expected.captureWasActiveAtRequestTime);
  EXPECT_EQ(request.durationHint, expected.durationHint);
  EXPECT_EQ(request.correlationSnapshot, expected.correlationSnapshot);
}

TEST(JSONDecoderTest, KeysAreCaseSensitive) {
  EXPECT_EQ(failureOfDecoding<HoldState>(R"({"Mode":"held"})"),
            (DecodingFailure{Kind::keyNotFound, "mode: the key is missing"}));
}

TEST(JSONDecoderTest, WhiteSpaceMayStandBetweenTokens) {
  EXPECT_EQ(decode<HoldState>("\n{ \"mode\" :\t\"held\"\r\n, \"heldTargets\" : [ ] } "),
            HoldState{.mode = "held"});
}

TEST(JSONDecoderTest, OfEqualKeysTheFirstCounts) {
  EXPECT_EQ(decode<HoldState>(R"({"mode":"first","mode":"second","mode":1})").mode, "first");
}

TEST(JSONDecoderTest, AFirstKeyWithNullHidesTheSecond) {
  EXPECT_EQ(decode<HoldState>(R"({"mode":"held","micMuted":null,"micMuted":true})").micMuted,
            false);
  EXPECT_EQ(failureOfDecoding<HoldState>(R"({"mode":null,"mode":"held"})")->kind,
            Kind::valueNotFound);
}

TEST(JSONDecoderTest, AKeyWrittenWithEscapesIsTheSameKey) {
  EXPECT_EQ(decode<HoldState>(R"({"\u006dod\u0065":"held"})").mode, "held");
  EXPECT_EQ(decode<HoldState>(R"({"\u006dode":"first","mode":"second"})").mode, "first");
}

TEST(JSONDecoderTest, AKeyIsCheckedOnlyAfterTheWholeText) {
  EXPECT_EQ(failureOfDecoding<HoldState>(R"({"mode":1)")->kind, Kind::dataCorrupted);
}

TEST(JSONDecoderTest, TheFirstFailureInTheOrderOfTheTableIsReported) {
  const auto failure =
      failureOfDecoding<TargetService>(R"({"controlMode":1,"pid":"x","priority":"x","label":""})");
  EXPECT_EQ(failure, (DecodingFailure{Kind::keyNotFound, "domain: the key is missing"}));
}

TEST(JSONDecoderTest, TheFirstFailureOfAListIsReported) {
  const auto failure = failureOfDecoding<DetectionResult>(
      R"({"notes":["",1,null],"serviceStates":[],"resolvedTargets":[],"cameras":[]})");
  EXPECT_EQ(failure,
            (DecodingFailure{Kind::typeMismatch, "notes[1]: expected a string, found a number"}));
}

// Numbers

std::optional<std::int64_t> decodedPriority(std::string_view number) {
  const std::string text = replaced(targetText, "-3", number);
  const auto failure = failureOfDecoding<TargetService>(text);
  if (failure) {
    EXPECT_EQ(failure->kind, Kind::dataCorrupted) << number;
    return std::nullopt;
  }
  return decode<TargetService>(text).priority;
}

TEST(JSONDecoderTest, AnIntegerMayBeAnyNumberThatIsWhole) {
  EXPECT_EQ(decodedPriority("512"), 512);
  EXPECT_EQ(decodedPriority("512.0"), 512);
  EXPECT_EQ(decodedPriority("5.12e2"), 512);
  EXPECT_EQ(decodedPriority("-0"), 0);
  EXPECT_EQ(decodedPriority("9007199254740993.0"), 9007199254740993);
  EXPECT_EQ(decodedPriority("-9223372036854775808"), std::numeric_limits<std::int64_t>::min());
}

TEST(JSONDecoderTest, AnIntegerMayBeNothingElse) {
  EXPECT_EQ(decodedPriority("1.5"), std::nullopt);
  EXPECT_EQ(decodedPriority("9223372036854775808"), std::nullopt);
  EXPECT_EQ(decodedPriority("1.0000000000000000001"), std::nullopt);
}

// Texts of errors

TEST(JSONDecoderTest, AnErrorNamesItsPathAndTheMismatch) {
  const std::string targets = targetText + "," + targetText + "," +
                              replaced(targetText, R"("priority":-3)", R"("priority":"high")");
  EXPECT_EQ(failureOfDecoding<DetectionResult>(replaced(detectionText, targetText, targets)),
            (DecodingFailure{Kind::typeMismatch,
                             "resolvedTargets[2].priority: expected an integer, found a string"}));
}

TEST(JSONDecoderTest, AnErrorOfTheDocumentNamesIt) {
  EXPECT_EQ(
      failureOfDecoding<HoldState>("[]"),
      (DecodingFailure{Kind::typeMismatch, "the document: expected an object, found an array"}));
  EXPECT_EQ(failureOfDecoding<HoldState>("null"),
            (DecodingFailure{Kind::valueNotFound, "the document: expected an object, found null"}));
}

TEST(JSONDecoderTest, AnErrorInTheTextNamesTheByte) {
  EXPECT_EQ(failureOfDecoding<HoldState>(R"({"mode":held})"),
            (DecodingFailure{Kind::dataCorrupted,
                             "invalid JSON at byte 8: expected a value, found held}"}));
}

TEST(JSONDecoderTest, TextOfTheInputIsCutInErrors) {
  const auto failure = failureOfDecoding<CameraInfo>(
      replaced(cameraText, "continuity", std::string(1'000'000, 'x')));
  EXPECT_EQ(failure->text, "kind: expected a CameraKind, found \"" + std::string(48, 'x') + "…\"");
}

TEST(JSONDecoderTest, TextOfTheInputCannotBreakTheLineOfAnError) {
  const auto failure = failureOfDecoding<CameraInfo>(
      replaced(cameraText, "continuity", "\\n\\u001b\x7F\u0085\u2028\u202E\U0001F4F7"));
  EXPECT_EQ(failure->text,
            "kind: expected a CameraKind, found "
            "\"\\n\\u001b\\u007f\\u0085\\u2028\\u202e\U0001F4F7\"");
}
}  // namespace
}  // namespace blindfold
