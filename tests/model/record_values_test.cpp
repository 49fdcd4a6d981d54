// Values at the edges of their fields: empty and negative ones, ones with unusual characters, and
// null where a list or a map has no place for it.

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <string>
#include <vector>

#include "blindfold/model/detection.h"
#include "blindfold/model/hold.h"
#include "blindfold/model/json/json_decoder.h"
#include "blindfold/model/json/json_encoder.h"
#include "tests/model/decoding_failure.h"

namespace blindfold {
namespace {
template <class T>
T decoded(const std::string& json) {
  return JSONDecoder{}.decode<T>(json);
}

template <class T>
std::string recoded(const std::string& json) {
  return makeJSONEncoder().encode(decoded<T>(json));
}

/// Whether the decoder refuses `json`.
template <class T>
bool fails(const std::string& json) {
  return failureOf([&] { decoded<T>(json); }).has_value();
}

TEST(OptionalValueTest, AnEmptyTextIsAValue) {
  const std::string json =
      R"({"heldTargets":[],"lastRestoreReason":"","leaseID":"","micMuted":false,"mode":"",)"
      R"("sourceCameraID":""})";
  const auto state = decoded<HoldState>(json);
  EXPECT_EQ(state.leaseID, "");
  EXPECT_EQ(state.sourceCameraID, "");
  EXPECT_EQ(state.lastRestoreReason, "");
  EXPECT_EQ(recoded<HoldState>(json), json);
}

TEST(OptionalValueTest, AnEmptySelectedCameraIsAValue) {
  const std::string json =
      R"({"cameras":[],"notes":[""],"resolvedTargets":[],"selectedCameraID":"","serviceStates":[]})";
  EXPECT_EQ(decoded<DetectionResult>(json).selectedCameraID, "");
  EXPECT_EQ(recoded<DetectionResult>(json), json);
}

TEST(OptionalValueTest, AnyPidIsAValue) {
  for (const std::int64_t pid :
       {std::int64_t{0}, std::int64_t{-1}, std::int64_t{-512},
        std::numeric_limits<std::int64_t>::min(), std::numeric_limits<std::int64_t>::max()}) {
    const std::string number = std::to_string(pid);
    const std::string service = R"({"domain":"gui","label":"","pid":)" + number + "}";
    EXPECT_EQ(decoded<LaunchdServiceState>(service).pid, pid);
    EXPECT_EQ(recoded<LaunchdServiceState>(service), service);
    const std::string held =
        R"({"controlMode":"sigstop","domain":"gui","label":"","pid":)" + number + "}";
    EXPECT_EQ(decoded<HeldTarget>(held).pid, pid);
    EXPECT_EQ(recoded<HeldTarget>(held), held);
    const std::string target = R"({"controlMode":"sigtermDebug","domain":"gui","label":"","pid":)" +
                               number + R"(,"priority":)" + number + "}";
    EXPECT_EQ(decoded<TargetService>(target).pid, pid);
    EXPECT_EQ(recoded<TargetService>(target), target);
  }
}

TEST(OptionalValueTest, ATextOfWhiteSpaceIsAValue) {
  const std::string json =
      R"({"heldTargets":[],"lastRestoreReason":"\n","leaseID":" ","micMuted":false,"mode":" ",)"
      R"("sourceCameraID":"\t "})";
  EXPECT_EQ(decoded<HoldState>(json).leaseID, " ");
  EXPECT_EQ(recoded<HoldState>(json), json);
}

TEST(OptionalValueTest, AnyDateIsAValue) {
  for (const std::string date : {"0000-01-01T00:00:00Z", "1969-12-31T23:59:59Z",
                                 "1970-01-01T00:00:00Z", "9999-12-31T23:59:59Z"}) {
    const std::string json = R"({"heldTargets":[],"lastHeartbeatAt":")" + date +
                             R"(","micMuted":false,"mode":"","startedAt":")" + date + "\"}";
    EXPECT_EQ(recoded<HoldState>(json), json);
  }
}

TEST(OptionalValueTest, AnEmptyHoldStateIsAValue) {
  EXPECT_EQ(recoded<OperationResult>(R"({"success":false,"message":"","holdState":{"mode":""}})"),
            R"({"holdState":{"heldTargets":[],"micMuted":false,"mode":""},"message":"",)"
            R"("success":false})");
}

TEST(OptionalValueTest, ANullIsNoValue) {
  const auto state = decoded<HoldState>(
      R"({"mode":"m","leaseID":null,"heldTargets":null,"startedAt":null,"lastHeartbeatAt":null,)"
      R"("sourceCameraID":null,"lastRestoreReason":null,"micMuted":null})");
  EXPECT_EQ(state, HoldState{.mode = "m"});
}

TEST(RequiredValueTest, AFieldOfAListIsReadInEachElement) {
  const auto state = decoded<HoldState>(
      R"({"mode":"","heldTargets":[{"label":"a","domain":"system","controlMode":"sigstop"},)"
      R"({"label":"b","domain":"gui","pid":-2,"controlMode":"sigtermDebug"}]})");
  EXPECT_EQ(
      state.heldTargets,
      (std::vector<HeldTarget>{
          {.label = "a", .domain = ServiceDomain::system, .controlMode = ControlMode::sigstop},
          {.label = "b",
           .domain = ServiceDomain::gui,
           .pid = -2,
           .controlMode = ControlMode::sigtermDebug}}));
}

TEST(ListElementTest, ANullIsNoElement) {
  EXPECT_TRUE(fails<HoldState>(R"({"mode":"","heldTargets":[null]})"));
  for (const std::string list : {"cameras", "resolvedTargets", "serviceStates", "notes"}) {
    std::string json = R"({"cameras":[],"resolvedTargets":[],"serviceStates":[],"notes":[]})";
    EXPECT_FALSE(fails<DetectionResult>(json));
    json.replace(json.find("\"" + list + "\":[]"), list.size() + 5, "\"" + list + "\":[null]");
    EXPECT_TRUE(fails<DetectionResult>(json)) << json;
  }
}

TEST(ListElementTest, ANullIsNoElementOfARequest) {
  const auto request = [](const std::string& targets, const std::string& snapshot) {
    return R"({"cameraID":"","kind":"builtIn","durationHint":0,"targets":)" + targets +
           R"(,"correlationSnapshot":)" + snapshot + "}";
  };
  EXPECT_FALSE(fails<HoldRequest>(request("[]", R"({"a":0})")));
  EXPECT_TRUE(fails<HoldRequest>(request("[null]", R"({"a":0})")));
  EXPECT_TRUE(fails<HoldRequest>(request("[]", R"({"a":null})")));
}

TEST(ListElementTest, AListIsWholeHoweverLongAndWithEqualElements) {
  std::string notes = "\"first\"";
  for (int count = 0; count < 5000; ++count) notes += ",\"note\"";
  const std::string json =
      R"({"cameras":[],"notes":[)" + notes + R"(],"resolvedTargets":[],"serviceStates":[]})";
  EXPECT_EQ(decoded<DetectionResult>(json).notes.size(), 5001U);
  EXPECT_TRUE(recoded<DetectionResult>(json) == json);
}

TEST(TextValueTest, ANULCharacterEndsNoText) {
  const std::string json = R"({"domain":"system","label":"a\u0000b\u0000"})";
  const auto state = decoded<LaunchdServiceState>(json);
  EXPECT_EQ(state.label, std::string("a\0b\0", 4));
  EXPECT_EQ(recoded<LaunchdServiceState>(json), json);
  EXPECT_EQ(state.id(), std::string("system:a\0b\0", 11));
}

TEST(TextValueTest, ANULCharacterEndsNoKey) {
  const std::string json =
      R"({"cameraID":"\u0000","captureWasActiveAtRequestTime":false,"correlationSnapshot":)"
      R"({"a":1,"a\u0000b":2,"a\u0000c":3},"durationHint":0,"kind":"builtIn","targets":[]})";
  EXPECT_EQ(decoded<HoldRequest>(json).correlationSnapshot.size(), 3U);
  EXPECT_EQ(recoded<HoldRequest>(json), json);
}

TEST(TextValueTest, ALongTextIsWhole) {
  const std::string text(3'000'000, 'x');
  const std::string json = R"({"message":")" + text + R"(","success":true})";
  EXPECT_EQ(decoded<OperationResult>(json).message, text);
  EXPECT_TRUE(recoded<OperationResult>(json) == json);
}

TEST(TextValueTest, SpaceAroundATextIsPartOfIt) {
  const std::string json = R"({"message":" \t a\n ","success":true})";
  EXPECT_EQ(decoded<OperationResult>(json).message, " \t a\n ");
  EXPECT_EQ(recoded<OperationResult>(json), json);
}
}  // namespace
}  // namespace blindfold
