// The tool's output when the helper is absent, goes away or sends malformed replies.

#include <gtest/gtest.h>

#include <csignal>
#include <string>
#include <vector>

#include "tests/end_to_end/end_to_end_test.h"

namespace blindfold {
namespace {
using FailureRunTest = EndToEndTest;

const std::string unavailable = "Protection service is unavailable.";

/// Well below every time limit: the failure came at once.
constexpr double atOnce = 2.0;

const std::vector<std::vector<std::string>>& everyCommand() {
  static const std::vector<std::vector<std::string>> commands{
      {"status"},  {"detect"},         {"hold-built-in"}, {"release"},
      {"restore"}, {"renew", "LEASE"}, {"mute"},          {"unmute"}};
  return commands;
}

/// A script in which every message of the tool ends by `action`.
std::string everyMethod(const std::string& action) {
  std::string script;
  for (const std::string selector :
       {"detectTargets:", "hold:withReply:", "renew:withReply:", "release:withReply:",
        "restoreAll:", "muteMic:", "unmuteMic:", "currentState:"}) {
    script += selector + " " + action + "\n";
  }
  return script;
}

TEST_F(FailureRunTest, TheShippedToolSaysWhenNoHelperIsInstalled) {
  expectFailure(runProgram({BLINDFOLD_SHIPPED_TOOL, "status"}),
                "Protection service is not set up.");
}

TEST_F(FailureRunTest, RenewWithoutALeaseNeedsNoHelper) {
  expectFailure(run({"renew"}), "usage: blindfoldctl renew <lease-id>");
}

TEST_F(FailureRunTest, AHelperThatDoesNotRunIsUnavailableAtOnce) {
  for (const auto& command : everyCommand()) {
    const ProgramResult result = run(command);
    expectFailure(result, unavailable);
    EXPECT_LT(result.wallSeconds, atOnce);
  }
}

TEST_F(FailureRunTest, AHelperThatLeftItsSocketBehindIsUnavailableAtOnce) {
  startHelper();
  sendHelper(SIGKILL);
  const ProgramResult result = run({"status"});
  expectFailure(result, unavailable);
  EXPECT_LT(result.wallSeconds, atOnce);
}

TEST_F(FailureRunTest, AConnectionThatDropsIsUnavailable) {
  startHelper(everyMethod("close"));
  for (const auto& command : everyCommand()) expectFailure(run(command), unavailable);
}

TEST_F(FailureRunTest, AReplyThatIsCutShortIsUnavailable) {
  startHelper(everyMethod(R"(truncate 20 reply {"success":true,"message":"whole"})"));
  for (const auto& command : everyCommand()) expectFailure(run(command), unavailable);
}

TEST_F(FailureRunTest, AHelperThatDiesInTheMiddleOfARequestIsUnavailableAtOnce) {
  startHelper(everyMethod("silent"));
  RunningProgram waiting = start({"restore"});
  waitForMessages("restoreAll:");
  sendHelper(SIGKILL);
  const ProgramResult result = waiting.wait();
  expectFailure(result, unavailable);
  EXPECT_LT(result.wallSeconds, atOnce);
}

TEST_F(FailureRunTest, AnErrorOfTheProxyIsReportedInItsOwnWords) {
  startHelper(everyMethod("error Couldn’t communicate with a helper application."));
  for (const auto& command : everyCommand()) {
    expectFailure(run(command), "Couldn’t communicate with a helper application.");
  }
}

TEST_F(FailureRunTest, AnErrorWithoutWordsIsAnEmptyLine) {
  startHelper("currentState: error \n");
  expectFailure(run({"status"}), "");
}

TEST_F(FailureRunTest, ALongErrorIsReportedWhole) {
  const std::string text(1'000'000, 'e');
  startHelper("currentState: error " + text + "\n");
  expectFailure(run({"status"}), text);
}

TEST_F(FailureRunTest, ANullInAListOfRecordsIsNoRecord) {
  startHelper(R"(currentState: reply {"mode":"held","heldTargets":[null]})"
              "\n");
  const ProgramResult result = run({"status"});
  EXPECT_EQ(result.exitStatus, 1);
  EXPECT_EQ(result.standardOutput, "");
  EXPECT_NE(result.standardError.find("heldTargets[0]"), std::string::npos) << result.standardError;
}

TEST_F(FailureRunTest, ADetectionThatAllowsNoHoldIsRefusedBeforeItsServicesAreLookedAt) {
  startHelper(
      R"(detectTargets: reply {"cameras":[],"resolvedTargets":[],"notes":[],"serviceStates":[)"
      R"({"label":"twice","domain":"system","pid":1},{"label":"twice","domain":"gui","pid":2}]})"
      "\n");
  expectFailure(run({"hold-built-in"}), "No camera detected.");
}

TEST_F(FailureRunTest, AHostileErrorStaysOneLine) {
  startHelper("currentState: error red \x1b[31m alert\n");
  expectFailure(run({"status"}), "red \\u001b[31m alert");
}

TEST_F(FailureRunTest, AnErrorThatIsNoTextIsAMalformedFrame) {
  startHelper("currentState: error \xff\n");
  expectFailure(run({"status"}), "Malformed frame: its error is not a text.");
}

TEST_F(FailureRunTest, BytesThatAreNotJSONAreReportedInTheDecodersWords) {
  startHelper(everyMethod("reply this is not JSON"));
  for (const auto& command : everyCommand()) {
    const ProgramResult result = run(command);
    EXPECT_EQ(result.exitStatus, 1);
    EXPECT_EQ(result.standardOutput, "");
    EXPECT_NE(result.standardError, "Protection service returned an invalid response.\n");
    EXPECT_NE(result.standardError.find("JSON"), std::string::npos) << result.standardError;
    EXPECT_EQ(result.standardError.find('\n'), result.standardError.size() - 1);
  }
}

TEST_F(FailureRunTest, AReplyOfTheWrongShapeNamesThePlace) {
  startHelper(R"(currentState: reply {"mode":"held","heldTargets":[{"label":"a",)"
              R"("domain":"system","pid":"512","controlMode":"sigstop"}]})"
              "\n");
  expectFailure(
      run({"status"}),
      "The reply cannot be read: heldTargets[0].pid: expected an integer, found a string");
}

TEST_F(FailureRunTest, AnEmptyReplyIsReported) {
  startHelper("currentState: reply \n");
  const ProgramResult result = run({"status"});
  EXPECT_EQ(result.exitStatus, 1);
  EXPECT_EQ(result.standardOutput, "");
  EXPECT_GT(result.standardError.size(), 1U);
}

TEST_F(FailureRunTest, AFailedHoldBehindAGoodDetectionIsTheHoldsFailure) {
  startHelper("hold:withReply: close\n");
  expectFailure(run({"hold-built-in"}), unavailable);
}

TEST_F(FailureRunTest, TwoRunningServicesWithOneLabelStopTheHold) {
  startHelper(
      R"(detectTargets: reply {"cameras":[{"id":"C","localizedName":"","modelID":"","uniqueID":"",)"
      R"("transportType":"","isConnected":true,"isSuspended":false,)"
      R"("isInUseByAnotherApplication":false,"kind":"builtIn","isExperimental":false}],)"
      R"("selectedCameraID":"C","resolvedTargets":[{"label":"twice","domain":"gui","priority":1,)"
      R"("controlMode":"sigstop"}],"serviceStates":[{"label":"twice","domain":"system","pid":1},)"
      R"({"label":"twice","domain":"gui","pid":2}],"notes":[]})"
      "\n");
  const ProgramResult result = run({"hold-built-in"});
  EXPECT_EQ(result.signal, SIGABRT);
  EXPECT_EQ(result.standardError, "Duplicate values for key: 'twice'\n");
  EXPECT_EQ(result.standardOutput, "");
  EXPECT_EQ(record(), "detectTargets:\tnone\t\n");
}

TEST_F(FailureRunTest, AHelperThatIsSlowButFastEnoughIsAnswered) {
  startHelper(R"(currentState: delay 0.3 trickle 1 reply {"mode":"slow"})"
              "\n");
  expectPrinted(run({"status"}), R"({"heldTargets":[],"micMuted":false,"mode":"slow"})");
}
}  // namespace
}  // namespace blindfold
