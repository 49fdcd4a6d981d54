// Every command of the tool against the development helper's simulated Mac, and what the helper
// hears of it.

#include <gtest/gtest.h>
#include <sys/resource.h>

#include <string>
#include <vector>

#include "blindfold/model/detection.h"
#include "blindfold/model/hold.h"
#include "blindfold/model/json/json_decoder.h"
#include "blindfold/model/json/json_encoder.h"
#include "tests/end_to_end/end_to_end_test.h"

namespace blindfold {
namespace {
using CommandRunTest = EndToEndTest;

template <class Record>
Record printed(const ProgramResult& result) {
  EXPECT_EQ(result.exitStatus, 0) << result.standardError;
  EXPECT_EQ(result.standardError, "");
  EXPECT_TRUE(result.standardOutput.ends_with('\n'));
  EXPECT_EQ(result.standardOutput.find('\n'), result.standardOutput.size() - 1);
  return JSONDecoder{}.decode<Record>(result.standardOutput);
}

TEST_F(CommandRunTest, StatusPrintsTheHoldState) {
  startHelper();
  const auto state = printed<HoldState>(run({"status"}));
  EXPECT_TRUE(state.heldTargets.empty());
  EXPECT_FALSE(state.leaseID);
}

TEST_F(CommandRunTest, TheStackOfAThreadIsEnough) {
  startHelper("currentState: silent\n");
  const RunningProgram tool = start({"status"});
  rlimit limit{};
  ASSERT_EQ(prlimit(tool.pid(), RLIMIT_STACK, nullptr, &limit), 0);
  EXPECT_EQ(limit.rlim_cur, stackSize);
}

TEST_F(CommandRunTest, WithoutAWordTheStatusIsPrinted) {
  startHelper();
  EXPECT_EQ(run({}).standardOutput, run({"status"}).standardOutput);
  EXPECT_EQ(record(), "currentState:\tnone\t\ncurrentState:\tnone\t\n");
}

TEST_F(CommandRunTest, DetectPrintsTheDetection) {
  startHelper();
  const auto detection = printed<DetectionResult>(run({"detect"}));
  ASSERT_FALSE(detection.cameras.empty());
  EXPECT_EQ(detection.cameras[0].id, detection.selectedCameraID);
  EXPECT_FALSE(detection.resolvedTargets.empty());
}

TEST_F(CommandRunTest, DetectPrintsARealReplyByteForByte) {
  const std::string reply =
      R"({"cameras":[{"id":"CAM-0001","isConnected":true,"isExperimental":false,)"
      R"("isInUseByAnotherApplication":false,"isSuspended":false,"kind":"builtIn",)"
      R"("localizedName":"Front Camera","modelID":"MODEL-1","transportType":"builtIn",)"
      R"("uniqueID":"CAM-0001"}],"notes":[],"resolvedTargets":[{"controlMode":"sigstop",)"
      R"("domain":"system","label":"com.apple.appleh13camerad","pid":512,"priority":0}],)"
      R"("selectedCameraID":"CAM-0001","serviceStates":[{"domain":"system",)"
      R"("label":"com.apple.appleh13camerad","pid":512}]})";
  startHelper("detectTargets: reply " + reply + "\n");
  expectPrinted(run({"detect"}), reply);
}

TEST_F(CommandRunTest, AHoldIsTakenRenewedAndReleased) {
  startHelper();
  const auto held = printed<OperationResult>(run({"hold-built-in"}));
  ASSERT_TRUE(held.success) << held.message;
  ASSERT_TRUE(held.holdState && held.holdState->leaseID);
  EXPECT_FALSE(held.holdState->heldTargets.empty());

  EXPECT_TRUE(printed<OperationResult>(run({"renew", *held.holdState->leaseID})).success);
  EXPECT_FALSE(printed<OperationResult>(run({"renew", "another lease"})).success);
  EXPECT_TRUE(printed<OperationResult>(run({"release"})).success);
  EXPECT_FALSE(printed<HoldState>(run({"status"})).leaseID);
}

TEST_F(CommandRunTest, RestoreEndsAHold) {
  startHelper();
  printed<OperationResult>(run({"hold-built-in"}));
  EXPECT_TRUE(printed<OperationResult>(run({"restore"})).success);
  EXPECT_TRUE(printed<HoldState>(run({"status"})).heldTargets.empty());
}

TEST_F(CommandRunTest, MuteAndUnmuteMoveTheMicrophones) {
  startHelper();
  EXPECT_TRUE(printed<OperationResult>(run({"mute"})).success);
  EXPECT_TRUE(printed<HoldState>(run({"status"})).micMuted);
  EXPECT_TRUE(printed<OperationResult>(run({"unmute"})).success);
  EXPECT_FALSE(printed<HoldState>(run({"status"})).micMuted);
}

TEST_F(CommandRunTest, TheHelperHearsOneMessageACommandAndTwoForAHold) {
  startHelper();
  const auto detection = printed<DetectionResult>(run({"detect"}));
  run({"hold-built-in"});
  run({"renew", "LEASE", "ignored"});
  run({"renew", ""});
  run({"release", "ignored"});
  run({"restore"});
  run({"mute"});
  run({"unmute"});

  HoldRequest request(*detection.selectedCameraID, CameraKind::builtIn, detection.resolvedTargets,
                      true, 30.0, {});
  for (const LaunchdServiceState& state : detection.serviceStates) {
    if (state.pid) request.correlationSnapshot[state.label] = *state.pid;
  }
  EXPECT_EQ(record(),
            "detectTargets:\tnone\t\n"
            "detectTargets:\tnone\t\n"
            "hold:withReply:\tdata\t" +
                makeJSONEncoder().encode(request) +
                "\n"
                "renew:withReply:\ttext\tLEASE\n"
                "renew:withReply:\ttext\t\n"
                "release:withReply:\tabsent\t\n"
                "restoreAll:\tnone\t\n"
                "muteMic:\tnone\t\n"
                "unmuteMic:\tnone\t\n");
}

TEST_F(CommandRunTest, AHoldIsOfTheSelectedCameraAndTellsOfAllItsTargets) {
  const auto camera = [](const std::string& id, const std::string& kind, const std::string& use) {
    return R"({"id":")" + id + R"(","localizedName":"n","modelID":"m","uniqueID":"u",)" +
           R"("transportType":"t","isConnected":true,"isSuspended":false,)" +
           R"("isInUseByAnotherApplication":)" + use + R"(,"kind":")" + kind +
           R"(","isExperimental":false})";
  };
  startHelper(R"(detectTargets: reply {"cameras":[)" + camera("USB", "externalUSB", "true") + "," +
              camera("MAC", "builtIn", "false") + "," + camera("PHONE", "continuity", "true") +
              R"(],"selectedCameraID":"MAC","notes":[],"resolvedTargets":[)"
              R"({"label":"z","domain":"gui","priority":0,"pid":-1,"controlMode":"sigtermDebug"},)"
              R"({"label":"a","domain":"system","priority":-1,"pid":0,"controlMode":"sigstop"}],)"
              R"("serviceStates":[{"label":"z","domain":"gui","pid":-1},)"
              R"({"label":"a","domain":"system","pid":0},{"label":"z","domain":"system"}]})"
              "\nhold:withReply: reply {\"success\":false,\"message\":\"\"}\n");
  expectPrinted(run({"hold-built-in", "and", "more"}), R"({"message":"","success":false})");
  EXPECT_EQ(record(),
            "detectTargets:\tnone\t\nhold:withReply:\tdata\t"
            R"({"cameraID":"MAC","captureWasActiveAtRequestTime":false,)"
            R"("correlationSnapshot":{"a":0,"z":-1},"durationHint":30,"kind":"builtIn",)"
            R"("targets":[{"controlMode":"sigtermDebug","domain":"gui","label":"z","pid":-1,)"
            R"("priority":0},{"controlMode":"sigstop","domain":"system","label":"a","pid":0,)"
            R"("priority":-1}]})"
            "\n");
}

TEST_F(CommandRunTest, EmptyAndUnusualValuesArePrintedAsTheyCame) {
  const std::string state =
      R"({"heldTargets":[{"controlMode":"sigtermDebug","domain":"gui","label":"a\u0000b","pid":-3}],)"
      R"("lastRestoreReason":"","leaseID":"","micMuted":true,"mode":"","sourceCameraID":""})";
  startHelper("currentState: reply " + state + "\n");
  expectPrinted(run({"status"}), state);
}

TEST_F(CommandRunTest, ACameraOfAnotherKindIsNotHeld) {
  for (const std::string kind : {"externalUSB", "continuity", "unknown"}) {
    startHelper("", {"--kind", kind});
    expectFailure(run({"hold-built-in"}),
                  "Selected camera path is " + kind +
                      ". Blindfold only automates built-in Mac camera hold from the CLI.");
    EXPECT_EQ(record().find("hold:withReply:"), std::string::npos);
    stopHelper();
  }
}

TEST_F(CommandRunTest, ADetectionWithoutTargetsIsNotHeld) {
  startHelper(
      R"(detectTargets: reply {"cameras":[{"id":"C","localizedName":"","modelID":"","uniqueID":"",)"
      R"("transportType":"","isConnected":true,"isSuspended":false,)"
      R"("isInUseByAnotherApplication":false,"kind":"builtIn","isExperimental":false}],)"
      R"("selectedCameraID":"C","resolvedTargets":[],"serviceStates":[],"notes":[]})"
      "\n");
  expectFailure(run({"hold-built-in"}), "No built-in camera targets were resolved.");
}

TEST_F(CommandRunTest, AnUnknownWordLeavesTheHelperAlone) {
  startHelper();
  for (const std::string word : {"Status", "", "--version"}) {
    const ProgramResult result = run({word});
    EXPECT_EQ(result.exitStatus, 64);
    EXPECT_EQ(result.standardError,
              "usage: blindfoldctl "
              "[status|detect|hold-built-in|release|restore|renew <lease-id>|mute|unmute]\n");
    EXPECT_EQ(result.standardOutput, "");
  }
  EXPECT_EQ(record(), "");
}

TEST_F(CommandRunTest, AnUnsuccessfulResultIsPrintedWithStatusZero) {
  startHelper(R"(restoreAll: reply {"success":false,"message":"1/2 restored","extra":[1]})"
              "\n");
  expectPrinted(run({"restore"}), R"({"message":"1\/2 restored","success":false})");
}
}  // namespace
}  // namespace blindfold
