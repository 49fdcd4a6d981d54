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
#include "tests/model/sample_records.h"

namespace blindfold {
namespace {
using Kind = DecodingError::Kind;

template <Record T>
T decode(std::string_view text) {
  return JSONDecoder().decode<T>(text);
}

template <Record T>
std::optional<DecodingFailure> failureOfDecoding(std::string_view text) {
  return failureOf([text] { decode<T>(text); });
}

std::string replaced(std::string text, std::string_view old, std::string_view with) {
  const std::size_t position = text.find(old);
  EXPECT_NE(position, std::string::npos) << old;
  return text.replace(position, old.size(), with);
}

const std::string cameraText =
    R"({"id":"CAM-0001","localizedName":"Front Camera","modelID":"MODEL-1","uniqueID":"UNIQUE-1",)"
    R"("transportType":"usb","isConnected":true,"isSuspended":false,)"
    R"("isInUseByAnotherApplication":true,"kind":"continuity","isExperimental":false})";
const std::string targetText =
    R"({"label":"com.apple.appleh13camerad","domain":"gui","priority":-3,"pid":512,)"
    R"("controlMode":"sigtermDebug"})";
const std::string serviceStateText =
    R"({"label":"com.apple.appleh14camerad","domain":"gui","pid":513})";
const std::string detectionText =
    R"({"cameras":[)" + cameraText + R"(],"selectedCameraID":"CAM-0002","resolvedTargets":[)" +
    targetText + R"(],"serviceStates":[)" + serviceStateText + R"(],"notes":["first","second"]})";
const std::string holdRequestText = R"({"cameraID":"CAM-0003","kind":"externalUSB","targets":[)" +
                                    targetText +
                                    R"(],"captureWasActiveAtRequestTime":true,"durationHint":30.5,)"
                                    R"("correlationSnapshot":{"one":1,"two":2}})";
const std::string heldTargetText =
    R"({"label":"com.apple.appleh15camerad","domain":"gui","pid":514,"controlMode":"sigtermDebug"})";
const std::string holdStateText =
    R"({"mode":"held","leaseID":"LEASE-1","heldTargets":[)" + heldTargetText +
    R"(],"startedAt":"2025-03-04T10:15:00Z","lastHeartbeatAt":"2025-03-04T10:15:30Z",)"
    R"("sourceCameraID":"CAM-0004","lastRestoreReason":"lease expired","micMuted":true})";
const std::string operationResultText =
    R"({"success":true,"message":"Camera is held.","holdState":)" + holdStateText + "}";

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

// Presence: each field of each record, a value of it, and a value of another JSON type.

struct DocumentedField {
  std::string_view name;
  std::string_view value;
  Presence presence;
  std::string_view wrongValue;
};

template <class T>
std::vector<DocumentedField> documentedFields();

template <>
std::vector<DocumentedField> documentedFields<CameraInfo>() {
  return {{"id", R"("a")", Presence::required, "1"},
          {"localizedName", R"("a")", Presence::required, "true"},
          {"modelID", R"("a")", Presence::required, "[]"},
          {"uniqueID", R"("a")", Presence::required, "{}"},
          {"transportType", R"("a")", Presence::required, "1"},
          {"isConnected", "true", Presence::required, "1"},
          {"isSuspended", "true", Presence::required, R"("true")"},
          {"isInUseByAnotherApplication", "true", Presence::required, "0"},
          {"kind", R"("builtIn")", Presence::required, "0"},
          {"isExperimental", "true", Presence::required, "[]"}};
}

template <>
std::vector<DocumentedField> documentedFields<TargetService>() {
  return {{"label", R"("a")", Presence::required, "1"},
          {"domain", R"("gui")", Presence::required, "1"},
          {"priority", "1", Presence::required, R"("1")"},
          {"pid", "1", Presence::optional, R"("1")"},
          {"controlMode", R"("sigstop")", Presence::required, "false"}};
}

template <>
std::vector<DocumentedField> documentedFields<LaunchdServiceState>() {
  return {{"label", R"("a")", Presence::required, "1"},
          {"domain", R"("gui")", Presence::required, "[]"},
          {"pid", "1", Presence::optional, "true"}};
}

template <>
std::vector<DocumentedField> documentedFields<DetectionResult>() {
  return {{"cameras", "[]", Presence::required, "{}"},
          {"selectedCameraID", R"("a")", Presence::optional, "1"},
          {"resolvedTargets", "[]", Presence::required, R"("")"},
          {"serviceStates", "[]", Presence::required, "0"},
          {"notes", "[]", Presence::required, "false"}};
}

template <>
std::vector<DocumentedField> documentedFields<HoldRequest>() {
  return {{"cameraID", R"("a")", Presence::required, "1"},
          {"kind", R"("builtIn")", Presence::required, "{}"},
          {"targets", "[]", Presence::required, "{}"},
          {"captureWasActiveAtRequestTime", "true", Presence::defaulted, R"("false")"},
          {"durationHint", "30", Presence::required, R"("30")"},
          {"correlationSnapshot", "{}", Presence::required, "[]"}};
}

template <>
std::vector<DocumentedField> documentedFields<HeldTarget>() {
  return {{"label", R"("a")", Presence::required, "1"},
          {"domain", R"("gui")", Presence::required, "1"},
          {"pid", "1", Presence::optional, R"("1")"},
          {"controlMode", R"("sigstop")", Presence::required, "1"}};
}

template <>
std::vector<DocumentedField> documentedFields<HoldState>() {
  return {{"mode", R"("held")", Presence::required, "1"},
          {"leaseID", R"("a")", Presence::optional, "1"},
          {"heldTargets", "[]", Presence::defaulted, "{}"},
          {"startedAt", R"("2025-03-04T10:15:30Z")", Presence::optional, "1741083330"},
          {"lastHeartbeatAt", R"("2025-03-04T10:15:30Z")", Presence::optional, "true"},
          {"sourceCameraID", R"("a")", Presence::optional, "1"},
          {"lastRestoreReason", R"("a")", Presence::optional, "[]"},
          {"micMuted", "true", Presence::defaulted, R"("true")"}};
}

template <>
std::vector<DocumentedField> documentedFields<OperationResult>() {
  return {{"success", "true", Presence::required, "1"},
          {"message", R"("a")", Presence::required, "1"},
          {"holdState", R"({"mode":"held"})", Presence::optional, R"("held")"}};
}

/// The record's text, with `value` for the field `name`, or without that field when it is empty.
template <class T>
std::string textWith(std::string_view name, std::string_view value) {
  std::string text;
  for (const DocumentedField& field : documentedFields<T>()) {
    const std::string_view chosen = field.name == name ? value : field.value;
    if (chosen.empty()) continue;
    text += text.empty() ? "{\"" : ",\"";
    text += field.name;
    text += "\":";
    text += chosen;
  }
  return text.empty() ? "{}" : text + "}";
}

template <class T>
class PresenceTest : public testing::Test {
 public:
  static std::optional<Kind> kindOfFailure(std::string_view name, std::string_view value) {
    const auto failure = failureOfDecoding<T>(textWith<T>(name, value));
    return failure ? std::optional(failure->kind) : std::nullopt;
  }

  static bool isRequired(const DocumentedField& field) {
    return field.presence == Presence::required;
  }
};

using AllRecords = testing::Types<CameraInfo, TargetService, LaunchdServiceState, DetectionResult,
                                  HoldRequest, HeldTarget, HoldState, OperationResult>;
TYPED_TEST_SUITE(PresenceTest, AllRecords);

TYPED_TEST(PresenceTest, ARecordWithAllItsFieldsDecodes) {
  EXPECT_EQ(failureOfDecoding<TypeParam>(textWith<TypeParam>("", "")), std::nullopt);
}

TYPED_TEST(PresenceTest, AnAbsentKeyIsNotFoundWhereItIsRequired) {
  for (const DocumentedField& field : documentedFields<TypeParam>()) {
    EXPECT_EQ(this->kindOfFailure(field.name, ""),
              this->isRequired(field) ? std::optional(Kind::keyNotFound) : std::nullopt)
        << field.name;
  }
}

TYPED_TEST(PresenceTest, ANullIsNoValueWhereOneIsRequired) {
  for (const DocumentedField& field : documentedFields<TypeParam>()) {
    EXPECT_EQ(this->kindOfFailure(field.name, "null"),
              this->isRequired(field) ? std::optional(Kind::valueNotFound) : std::nullopt)
        << field.name;
  }
}

TYPED_TEST(PresenceTest, AValueOfAnotherTypeIsAMismatchWhateverThePresence) {
  for (const DocumentedField& field : documentedFields<TypeParam>()) {
    EXPECT_EQ(this->kindOfFailure(field.name, field.wrongValue), Kind::typeMismatch) << field.name;
  }
}

TYPED_TEST(PresenceTest, TheTableListsTheFieldsInTheDocumentedOrder) {
  const auto documented = documentedFields<TypeParam>();
  ASSERT_EQ(fieldNames<TypeParam>.size(), documented.size());
  for (std::size_t index = 0; index < documented.size(); ++index) {
    EXPECT_EQ(fieldNames<TypeParam>[index], documented[index].name);
  }
}

TYPED_TEST(PresenceTest, UnknownKeysAreIgnored) {
  const std::string text = textWith<TypeParam>("", "");
  const std::string unknown = R"({"unknown":{"id":[1,"}"],"mode":null},"Label":1,"":2,)";
  EXPECT_EQ(failureOfDecoding<TypeParam>(unknown + text.substr(1)), std::nullopt);
}

TYPED_TEST(PresenceTest, TheValueOfAnUnknownKeyMustBeJSON) {
  const std::string text = textWith<TypeParam>("", "");
  const auto failure = failureOfDecoding<TypeParam>(R"({"unknown":nul,)" + text.substr(1));
  ASSERT_TRUE(failure);
  EXPECT_EQ(failure->kind, Kind::dataCorrupted);
}

TYPED_TEST(PresenceTest, TheDocumentMustBeAnObject) {
  for (const char* text : {"[]", "1", "\"\"", "true"}) {
    const auto failure = failureOfDecoding<TypeParam>(text);
    ASSERT_TRUE(failure) << text;
    EXPECT_EQ(failure->kind, Kind::typeMismatch) << text;
  }
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

// Enumerations

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
  const auto failure = failureOfEnumeration<CameraKind>(std::string(1'000'000, 'x'));
  EXPECT_EQ(failure->text, "kind: expected a CameraKind, found \"" + std::string(48, 'x') + "…\"");
}

TEST(JSONDecoderTest, TextOfTheInputCannotBreakTheLineOfAnError) {
  const auto failure =
      failureOfEnumeration<CameraKind>("\\n\\u001b\x7F\u0085\u2028\u202E\U0001F4F7");
  EXPECT_EQ(failure->text,
            "kind: expected a CameraKind, found "
            "\"\\n\\u001b\\u007f\\u0085\\u2028\\u202e\U0001F4F7\"");
}
}  // namespace
}  // namespace blindfold
