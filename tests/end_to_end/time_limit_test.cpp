// The real time limits, against helpers that take their time. All runs of a test wait at once.

#include <gtest/gtest.h>

#include <chrono>
#include <csignal>
#include <string>
#include <thread>
#include <vector>

#include "tests/end_to_end/end_to_end_test.h"

namespace blindfold {
namespace {
using TimeLimitTest = EndToEndTest;

const std::string tookTooLong = "Protection service took too long to respond.";

/// How late a limit may be on a busy machine.
constexpr double slack = 1.5;

void expectTimeout(const ProgramResult& result, double seconds) {
  expectFailure(result, tookTooLong);
  EXPECT_GE(result.wallSeconds, seconds);
  EXPECT_LT(result.wallSeconds, seconds + slack);
}

TEST_F(TimeLimitTest, EveryCommandHasItsLimitAndALateReplyIsNotWaitedFor) {
  startHelper(
      "currentState: silent\n"
      R"(currentState: delay 6 reply {"mode":"late"})"
      "\n"
      R"(currentState: trickle 2000 reply {"mode":"trickled"})"
      "\n"
      "detectTargets: silent\n"
      R"(restoreAll: delay 6 reply {"success":true,"message":"in time"})"
      "\n"
      "restoreAll: silent\n"
      "release:withReply: silent\n"
      "renew:withReply: silent\n"
      "muteMic: silent\n"
      "unmuteMic: silent\n");

  std::vector<RunningProgram> statusRuns;
  for (int count = 0; count < 3; ++count) statusRuns.push_back(start({"status"}));
  RunningProgram detect = start({"detect"});
  RunningProgram hold = start({"hold-built-in"});
  RunningProgram restored = start({"restore"});
  waitForMessages("restoreAll:");
  std::vector<RunningProgram> controlRuns;
  controlRuns.push_back(start({"restore"}));
  controlRuns.push_back(start({"release"}));
  controlRuns.push_back(start({"renew", "LEASE"}));
  controlRuns.push_back(start({"mute"}));
  controlRuns.push_back(start({"unmute"}));

  for (RunningProgram& run : statusRuns) expectTimeout(run.wait(), 5.0);
  expectTimeout(detect.wait(), 5.0);
  expectTimeout(hold.wait(), 5.0);
  const ProgramResult answered = restored.wait();
  expectPrinted(answered, R"({"message":"in time","success":true})");
  EXPECT_GE(answered.wallSeconds, 6.0);
  for (RunningProgram& run : controlRuns) expectTimeout(run.wait(), 12.0);
}

TEST_F(TimeLimitTest, AHoldHasTwelveSecondsBehindItsDetection) {
  startHelper("hold:withReply: silent\n");
  RunningProgram hold = start({"hold-built-in"});
  expectTimeout(hold.wait(), 12.0);
}

TEST_F(TimeLimitTest, StopsAndSignalsNeitherEndNorStretchARequest) {
  startHelper("currentState: silent\n");
  RunningProgram status = start({"status"});
  for (int count = 0; count < 10; ++count) {
    std::this_thread::sleep_for(std::chrono::milliseconds(200));
    status.sendSignal(SIGSTOP);
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    status.sendSignal(SIGCONT);
    status.sendSignal(SIGWINCH);
  }
  expectTimeout(status.wait(), 5.0);
}
}  // namespace
}  // namespace blindfold
