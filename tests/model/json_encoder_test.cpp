#include "blindfold/model/json/json_encoder.h"

#include <gtest/gtest.h>

#include <chrono>
#include <limits>
#include <string>

#include "blindfold/model/json/coding_error.h"
#include "tests/model/sample_records.h"

namespace blindfold {
namespace {
template <Record T>
std::string encode(const T& record) {
  return makeJSONEncoder().encode(record);
}

TEST(JSONEncoderTest, WritesAHoldStateInOneLine) {
  const HoldState state{.mode = "held",
                        .leaseID = "7D3E2A10-5B4C-4F6E-8A9B-0C1D2E3F4A5B",
                        .heldTargets = {{.label = "com.apple.appleh13camerad",
                                         .domain = ServiceDomain::system,
                                         .pid = 512,
                                         .controlMode = ControlMode::sigstop}},
                        .startedAt = sample::instant(2025, 3, 4, 10, 15, 0),
                        .lastHeartbeatAt = sample::instant(2025, 3, 4, 10, 15, 30),
                        .sourceCameraID = "CAM-0001"};
  EXPECT_EQ(
      encode(state),
      R"({"heldTargets":[{"controlMode":"sigstop","domain":"system","label":"com.apple.appleh13camerad","pid":512}],"lastHeartbeatAt":"2025-03-04T10:15:30Z","leaseID":"7D3E2A10-5B4C-4F6E-8A9B-0C1D2E3F4A5B","micMuted":false,"mode":"held","sourceCameraID":"CAM-0001","startedAt":"2025-03-04T10:15:00Z"})");
}

TEST(JSONEncoderTest, WritesADetectionResultInOneLine) {
  const DetectionResult result{
      .cameras = {{.id = "CAM-0001",
                   .localizedName = "Front Camera",
                   .modelID = "MODEL-1",
                   .uniqueID = "CAM-0001",
                   .transportType = "builtIn",
                   .isConnected = true,
                   .isSuspended = false,
                   .isInUseByAnotherApplication = false,
                   .kind = CameraKind::builtIn,
                   .isExperimental = false}},
      .selectedCameraID = "CAM-0001",
      .resolvedTargets = {{"com.apple.appleh13camerad", ServiceDomain::system, 0, 512,
                           ControlMode::sigstop}},
      .serviceStates = {{.label = "com.apple.appleh13camerad",
                         .domain = ServiceDomain::system,
                         .pid = 512}},
      .notes = {}};
  EXPECT_EQ(
      encode(result),
      R"({"cameras":[{"id":"CAM-0001","isConnected":true,"isExperimental":false,"isInUseByAnotherApplication":false,"isSuspended":false,"kind":"builtIn","localizedName":"Front Camera","modelID":"MODEL-1","transportType":"builtIn","uniqueID":"CAM-0001"}],"notes":[],"resolvedTargets":[{"controlMode":"sigstop","domain":"system","label":"com.apple.appleh13camerad","pid":512,"priority":0}],"selectedCameraID":"CAM-0001","serviceStates":[{"domain":"system","label":"com.apple.appleh13camerad","pid":512}]})");
}

TEST(JSONEncoderTest, WritesTheFieldsOfCameraInfoInKeyOrder) {
  EXPECT_EQ(
      encode(sample::camera()),
      R"({"id":"CAM-0001","isConnected":true,"isExperimental":false,"isInUseByAnotherApplication":true,"isSuspended":false,"kind":"continuity","localizedName":"Front Camera","modelID":"MODEL-1","transportType":"usb","uniqueID":"UNIQUE-1"})");
}

TEST(JSONEncoderTest, WritesTheFieldsOfTargetServiceInKeyOrder) {
  EXPECT_EQ(
      encode(sample::target()),
      R"({"controlMode":"sigtermDebug","domain":"gui","label":"com.apple.appleh13camerad","pid":512,"priority":-3})");
}

TEST(JSONEncoderTest, WritesTheFieldsOfLaunchdServiceStateInKeyOrder) {
  EXPECT_EQ(encode(sample::serviceState()),
            R"({"domain":"gui","label":"com.apple.appleh14camerad","pid":513})");
}

TEST(JSONEncoderTest, WritesTheFieldsOfHeldTargetInKeyOrder) {
  EXPECT_EQ(
      encode(sample::heldTarget()),
      R"({"controlMode":"sigtermDebug","domain":"gui","label":"com.apple.appleh15camerad","pid":514})");
}

TEST(JSONEncoderTest, WritesTheFieldsOfHoldRequestInKeyOrder) {
  EXPECT_EQ(
      encode(sample::holdRequest()),
      R"({"cameraID":"CAM-0003","captureWasActiveAtRequestTime":true,"correlationSnapshot":{"one":1,"two":2},"durationHint":30.5,"kind":"externalUSB","targets":[{"controlMode":"sigtermDebug","domain":"gui","label":"com.apple.appleh13camerad","pid":512,"priority":-3}]})");
}

TEST(JSONEncoderTest, WritesTheFieldsOfHoldStateInKeyOrder) {
  HoldState state = sample::holdState();
  state.heldTargets.clear();
  EXPECT_EQ(
      encode(state),
      R"({"heldTargets":[],"lastHeartbeatAt":"2025-03-04T10:15:30Z","lastRestoreReason":"lease expired","leaseID":"LEASE-1","micMuted":true,"mode":"held","sourceCameraID":"CAM-0004","startedAt":"2025-03-04T10:15:00Z"})");
}

TEST(JSONEncoderTest, NestsTheHoldStateOfAnOperationResult) {
  EXPECT_EQ(
      encode(OperationResult{
          .success = true, .message = "Held.", .holdState = HoldState{.mode = "held"}}),
      R"({"holdState":{"heldTargets":[],"micMuted":false,"mode":"held"},"message":"Held.","success":true})");
}

TEST(JSONEncoderTest, LeavesAnAbsentHoldStateOut) {
  EXPECT_EQ(encode(OperationResult{.success = false, .message = "No lease."}),
            R"({"message":"No lease.","success":false})");
}

TEST(JSONEncoderTest, LeavesAnAbsentPidOut) {
  TargetService target = sample::target();
  target.pid = std::nullopt;
  EXPECT_EQ(
      encode(target),
      R"({"controlMode":"sigtermDebug","domain":"gui","label":"com.apple.appleh13camerad","priority":-3})");
}

TEST(JSONEncoderTest, LeavesAnAbsentSelectedCameraIDOut) {
  EXPECT_EQ(encode(DetectionResult{}),
            R"({"cameras":[],"notes":[],"resolvedTargets":[],"serviceStates":[]})");
}

TEST(JSONEncoderTest, AlwaysWritesTheDefaultedFieldsOfAHoldState) {
  EXPECT_EQ(encode(HoldState{.mode = "idle"}),
            R"({"heldTargets":[],"micMuted":false,"mode":"idle"})");
}

TEST(JSONEncoderTest, AlwaysWritesTheSixFieldsOfAHoldRequest) {
  EXPECT_EQ(
      encode(HoldRequest{}),
      R"({"cameraID":"","captureWasActiveAtRequestTime":false,"correlationSnapshot":{},"durationHint":0,"kind":"builtIn","targets":[]})");
}

TEST(JSONEncoderTest, KeepsTheOrderOfLists) {
  DetectionResult result;
  result.notes = {"b", "a", "b"};
  EXPECT_EQ(encode(result),
            R"({"cameras":[],"notes":["b","a","b"],"resolvedTargets":[],"serviceStates":[]})");
}

std::string encodedSnapshot(const std::map<std::string, std::int64_t>& snapshot) {
  HoldRequest request{};
  request.correlationSnapshot = snapshot;
  const std::string json = encode(request);
  const std::size_t begin = json.find("\"correlationSnapshot\":") + 22;
  return json.substr(begin, json.find('}', begin) + 1 - begin);
}

TEST(JSONEncoderTest, SortsTheKeysOfTheCorrelationSnapshot) {
  EXPECT_EQ(encodedSnapshot({{"b", 1}, {"A", 2}, {"a10", 3}, {"a9", 4}}),
            R"({"A":2,"a9":4,"a10":3,"b":1})");
}

TEST(JSONEncoderTest, EscapesTheKeysOfTheCorrelationSnapshot) {
  EXPECT_EQ(encodedSnapshot({{"a/\"b\n", -1}}), R"({"a\/\"b\n":-1})");
}

TEST(JSONEncoderTest, WritesIntegersOf64BitsWhole) {
  EXPECT_EQ(encodedSnapshot({{"max", std::numeric_limits<std::int64_t>::max()},
                             {"min", std::numeric_limits<std::int64_t>::min()}}),
            R"({"max":9223372036854775807,"min":-9223372036854775808})");
}

TEST(JSONEncoderTest, EscapesTheSlashesOfAMessage) {
  EXPECT_EQ(encode(OperationResult{.success = true, .message = "a/b"}),
            R"({"message":"a\/b","success":true})");
}

TEST(JSONEncoderTest, WritesTextBeyondASCIIAsUTF8) {
  EXPECT_EQ(encode(OperationResult{.success = true, .message = "Kam\u00E9ra \U0001F4F7"}),
            "{\"message\":\"Kam\u00E9ra \U0001F4F7\",\"success\":true}");
}

TEST(JSONEncoderTest, DropsTheFractionOfAnInstant) {
  HoldState state{.mode = "held"};
  state.startedAt = sample::instant(2025, 3, 4, 10, 15, 0) + std::chrono::microseconds(750'000);
  EXPECT_EQ(
      encode(state),
      R"({"heldTargets":[],"micMuted":false,"mode":"held","startedAt":"2025-03-04T10:15:00Z"})");
}

std::string encodedDuration(double durationHint) {
  HoldRequest request{};
  request.durationHint = durationHint;
  const std::string json = encode(request);
  const std::size_t begin = json.find("\"durationHint\":") + 15;
  return json.substr(begin, json.find(',', begin) - begin);
}

TEST(JSONEncoderTest, WritesAWholeDurationWithoutAFraction) {
  EXPECT_EQ(encodedDuration(30.0), "30");
}

TEST(JSONEncoderTest, WritesTheShortestDurationThatReadsBack) {
  EXPECT_EQ(encodedDuration(0.1), "0.1");
  EXPECT_EQ(encodedDuration(1e-05), "1e-05");
  EXPECT_EQ(encodedDuration(1e+20), "1e+20");
}

TEST(JSONEncoderTest, RefusesADurationThatIsNotFinite) {
  EXPECT_THROW(encodedDuration(std::numeric_limits<double>::infinity()), EncodingError);
  EXPECT_THROW(encodedDuration(-std::numeric_limits<double>::infinity()), EncodingError);
  EXPECT_THROW(encodedDuration(std::numeric_limits<double>::quiet_NaN()), EncodingError);
}

TEST(JSONEncoderTest, RefusesInOneLine) {
  try {
    encodedDuration(std::numeric_limits<double>::infinity());
    FAIL() << "infinity was written";
  } catch (const EncodingError& error) {
    EXPECT_STREQ(error.what(), "a number that is not finite has no JSON form");
  }
}

TEST(JSONEncoderTest, GivesTheSameBytesEachTime) {
  EXPECT_EQ(encode(sample::detection()), encode(sample::detection()));
  EXPECT_EQ(encode(sample::holdRequest()), encode(sample::holdRequest()));
}

TEST(JSONEncoderTest, MayBeUsedAgain) {
  const JSONEncoder encoder = makeJSONEncoder();
  EXPECT_EQ(encoder.encode(sample::holdState()), encoder.encode(sample::holdState()));
}
}  // namespace
}  // namespace blindfold
