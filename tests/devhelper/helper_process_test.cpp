#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <system_error>
#include <thread>
#include <vector>

#include "blindfold/model/detection.h"
#include "blindfold/model/hold.h"
#include "blindfold/model/json/json_decoder.h"
#include "blindfold/model/json/json_encoder.h"
#include "blindfold/platform/linux/frame.h"
#include "blindfold/platform/linux/service_socket.h"
#include "tests/devhelper/raw_client.h"
#include "tests/devhelper/running_helper.h"
#include "tests/support/program.h"
#include "tests/support/temporary_directory.h"

// The helper without a script, and its life as a process.
namespace blindfold {
namespace {
using namespace std::chrono_literals;

const HelperMessage status{HelperMethod::currentState, NoArgument{}};

const std::string usage =
    "usage: blindfold-devhelper [--service NAME] [--script FILE] [--record FILE] "
    "[--camera-in-use] [--kind builtIn|externalUSB|continuity|unknown] [--help]";

class HelperProcessTest : public testing::Test {
 protected:
  template <class Record>
  Record ask(HelperMethod method, MessageArgument argument = NoArgument{}) const {
    RawClient client(service_.text());
    client.sendMessage({method, std::move(argument)});
    const auto frame = client.receiveFrame().value();
    EXPECT_EQ(frame.kind, FrameKind::reply);
    return JSONDecoder{}.decode<Record>(frame.payload);
  }

  OperationResult hold(double durationHint) const {
    const auto detection = ask<DetectionResult>(HelperMethod::detectTargets);
    const HoldRequest request(detection.selectedCameraID.value(), CameraKind::builtIn,
                              detection.resolvedTargets, false, durationHint, {});
    return ask<OperationResult>(HelperMethod::hold,
                                DataArgument{makeJSONEncoder().encode(request)});
  }

  std::string socketPath() const { return serviceSocketPath(service_.text()); }

  TestServiceName service_;
};

std::string contents(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

mode_t modeOf(const std::string& path) {
  struct stat item{};
  return lstat(path.c_str(), &item) == 0 ? item.st_mode & 07777U : 0;
}

TEST_F(HelperProcessTest, AHoldLivesThroughItsWholeLife) {
  const RunningHelper helper(service_.text());
  const auto held = hold(30);
  ASSERT_TRUE(held.success);
  const auto lease = held.holdState.value().leaseID.value();
  EXPECT_EQ(ask<HoldState>(HelperMethod::currentState), held.holdState);
  EXPECT_TRUE(ask<OperationResult>(HelperMethod::renew, TextArgument{lease}).success);
  EXPECT_FALSE(ask<OperationResult>(HelperMethod::renew, TextArgument{"other"}).success);
  EXPECT_FALSE(hold(30).success);
  EXPECT_TRUE(ask<OperationResult>(HelperMethod::release, TextArgument{}).success);
  EXPECT_FALSE(ask<OperationResult>(HelperMethod::release, TextArgument{}).success);
  EXPECT_TRUE(ask<OperationResult>(HelperMethod::restoreAll).success);
}

TEST_F(HelperProcessTest, ALeaseExpiresByTheClock) {
  const RunningHelper helper(service_.text());
  ASSERT_TRUE(hold(1).success);
  EXPECT_EQ(ask<HoldState>(HelperMethod::currentState).mode, "held");
  std::this_thread::sleep_for(1s);
  EXPECT_EQ(ask<HoldState>(HelperMethod::currentState).lastRestoreReason, "leaseExpired");
}

TEST_F(HelperProcessTest, DatesAreOfToday) {
  const RunningHelper helper(service_.text());
  const auto started = hold(30).holdState.value().startedAt.value();
  EXPECT_LT(std::chrono::abs(std::chrono::system_clock::now() - started), 1min);
}

TEST_F(HelperProcessTest, MicrophonesAreMutedAndUnmuted) {
  const RunningHelper helper(service_.text());
  ask<OperationResult>(HelperMethod::muteMic);
  EXPECT_TRUE(ask<HoldState>(HelperMethod::currentState).micMuted);
  ask<OperationResult>(HelperMethod::unmuteMic);
  EXPECT_FALSE(ask<HoldState>(HelperMethod::currentState).micMuted);
}

TEST_F(HelperProcessTest, TheOptionsChooseTheCamera) {
  const RunningHelper helper(service_.text(), {"--kind", "continuity", "--camera-in-use"});
  const auto detection = ask<DetectionResult>(HelperMethod::detectTargets);
  const auto& selected = detection.cameras.back();
  EXPECT_EQ(selected.id, detection.selectedCameraID);
  EXPECT_EQ(selected.kind, CameraKind::continuity);
  EXPECT_TRUE(selected.isInUseByAnotherApplication);
}

TEST_F(HelperProcessTest, EveryMessageIsRecordedBeforeItIsAnswered) {
  const TemporaryDirectory directory;
  const auto path = directory.path() + "/record";
  const RunningHelper helper(service_.text(), {"--record", path});
  ask<HoldState>(HelperMethod::currentState);
  EXPECT_EQ(contents(path), "currentState:\tnone\t\n");
  ask<OperationResult>(HelperMethod::renew, TextArgument{"two\nlines"});
  ask<OperationResult>(HelperMethod::release, TextArgument{});
  ask<OperationResult>(HelperMethod::hold, DataArgument{"{\\"});
  EXPECT_EQ(contents(path),
            "currentState:\tnone\t\n"
            "renew:withReply:\ttext\ttwo\\nlines\n"
            "release:withReply:\tabsent\t\n"
            "hold:withReply:\tdata\t{\\\\\n");
}

TEST_F(HelperProcessTest, ARecordThatCannotBeOpenedIsOneLineAndStatus1) {
  const auto result =
      runProgram(helperArguments(service_.text(), {"--record", "/nonexistent/record"}));
  EXPECT_EQ(result.exitStatus, 1);
  EXPECT_EQ(result.standardOutput, "");
  EXPECT_EQ(result.standardError,
            "blindfold-devhelper: cannot record to '/nonexistent/record': "
            "No such file or directory\n");
  EXPECT_FALSE(std::filesystem::exists(socketPath()));
}

TEST_F(HelperProcessTest, ARecordThatIsFullEndsTheHelperWithStatus1) {
  RunningHelper helper(service_.text(), {"--record", "/dev/full"});
  RawClient client(service_.text());
  client.sendMessage(status);
  EXPECT_EQ(client.receiveToEnd(), "");
  const auto result = helper.program().wait();
  EXPECT_EQ(result.exitStatus, 1);
  EXPECT_EQ(result.standardError,
            "blindfold-devhelper: cannot record to '/dev/full': No space left on device\n");
}

TEST_F(HelperProcessTest, ReadyIsAllThatItPrints) {
  RunningHelper helper(service_.text());
  ask<HoldState>(HelperMethod::currentState);
  helper.program().sendSignal(SIGTERM);
  const auto result = helper.program().wait();
  EXPECT_EQ(result.standardOutput, "ready\n");
  EXPECT_EQ(result.standardError, "");
}

TEST_F(HelperProcessTest, ASecondStartIsRefusedAndTheFirstGoesOn) {
  const RunningHelper helper(service_.text());
  const auto result = runProgram(helperArguments(service_.text(), {}));
  EXPECT_EQ(result.exitStatus, 1);
  EXPECT_EQ(result.standardOutput, "");
  EXPECT_EQ(result.standardError,
            "blindfold-devhelper: '" + service_.text() + "' is already served\n");
  EXPECT_EQ(ask<HoldState>(HelperMethod::currentState).mode, "idle");
}

TEST_F(HelperProcessTest, OfManyStartsAtOnceOneWins) {
  std::vector<RunningProgram> starts;
  starts.reserve(20);
  for (int i = 0; i < 20; ++i) starts.emplace_back(helperArguments(service_.text(), {}));
  const auto ready = std::count_if(starts.begin(), starts.end(), [](RunningProgram& program) {
    return program.waitForOutputLine("ready");
  });
  EXPECT_EQ(ready, 1);
  EXPECT_EQ(ask<HoldState>(HelperMethod::currentState).mode, "idle");
}

TEST_F(HelperProcessTest, AKilledHelperLeavesNothingInTheWayOfTheNext) {
  {
    RunningHelper helper(service_.text());
    helper.program().sendSignal(SIGKILL);
    helper.program().wait();
    ASSERT_TRUE(std::filesystem::exists(socketPath()));
  }
  const RunningHelper helper(service_.text());
  EXPECT_EQ(ask<HoldState>(HelperMethod::currentState).mode, "idle");
}

TEST_F(HelperProcessTest, WhatIsNoSocketIsNotRemoved) {
  std::filesystem::create_directories(systemDomainDirectory);
  std::ofstream(socketPath()) << "precious";
  const auto result = runProgram(helperArguments(service_.text(), {}));
  EXPECT_EQ(result.exitStatus, 1);
  EXPECT_EQ(result.standardError, "blindfold-devhelper: '" + socketPath() + "' is in the way\n");
  EXPECT_EQ(contents(socketPath()), "precious");
}

TEST_F(HelperProcessTest, EveryUserMayConnect) {
  const auto oldMask = umask(077);
  const RunningHelper helper(service_.text());
  umask(oldMask);
  EXPECT_EQ(modeOf(socketPath()), 0666);
}

TEST_F(HelperProcessTest, AnUnknownOptionIsOneLineTheUsageAndStatus2) {
  const auto result = runProgram(helperArguments(service_.text(), {"--loud"}));
  EXPECT_EQ(result.exitStatus, 2);
  EXPECT_EQ(result.standardOutput, "");
  EXPECT_EQ(result.standardError, "blindfold-devhelper: unknown option '--loud'\n" + usage + "\n");
}

TEST_F(HelperProcessTest, ANameThatNoServiceCanHaveIsAWrongOption) {
  for (const std::string name : {"a/b", ""}) {
    const auto result = runProgram(helperArguments(name, {}));
    EXPECT_EQ(result.exitStatus, 2);
    EXPECT_EQ(result.standardError, "blindfold-devhelper: '" + name +
                                        "' cannot be the name of a service\n" + usage + "\n");
  }
}

TEST_F(HelperProcessTest, HelpIsPrintedInsteadOfServing) {
  const auto result = runProgram(helperArguments(service_.text(), {"--help"}));
  EXPECT_EQ(result.exitStatus, 0);
  EXPECT_THAT(result.standardOutput, testing::StartsWith(usage + "\n"));
  EXPECT_EQ(result.standardError, "");
}

TEST_F(HelperProcessTest, HelpThatCannotBeWrittenIsOneLineAndStatus1) {
  const auto result = runProgram(helperArguments(service_.text(), {"--help"}),
                                 {.standardOutput = OutputToPath{"/dev/full"}});
  EXPECT_EQ(result.exitStatus, 1);
  EXPECT_EQ(result.standardError,
            "blindfold-devhelper: cannot write to standard output: No space left on device\n");
}

TEST_F(HelperProcessTest, AStandardOutputThatTakesNothingIsOneLineAndStatus1) {
  for (const OutputTarget& output :
       {OutputTarget{OutputToPath{"/dev/full"}}, OutputTarget{ClosedOutput{}}}) {
    const auto result =
        runProgram(helperArguments(service_.text(), {}), {.standardOutput = output});
    EXPECT_EQ(result.exitStatus, 1);
    EXPECT_THAT(result.standardError,
                testing::StartsWith("blindfold-devhelper: cannot write to standard output: "));
    EXPECT_FALSE(std::filesystem::exists(socketPath()));
  }
}
}  // namespace
}  // namespace blindfold
