#include "tests/support/program.h"
#include "tests/support/temporary_directory.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iostream>
#include <iterator>
#include <string>
#include <system_error>
#include <thread>

#include "blindfold/platform/posix/file_descriptor.h"

namespace blindfold {
namespace {
using std::chrono::milliseconds;

TEST(ProgramTest, StatusAndBothStreamsComeBackExactly) {
  const auto result = runProgram({"/bin/sh", "-c", R"(printf 'a\n\0b'; printf 'c\n' >&2; exit 3)"});
  EXPECT_EQ(result.exitStatus, 3);
  EXPECT_EQ(result.signal, std::nullopt);
  EXPECT_EQ(result.standardOutput, std::string("a\n\0b", 4));
  EXPECT_EQ(result.standardError, "c\n");
  EXPECT_FALSE(result.deadlineExpired);
}

TEST(ProgramTest, ASignalThatEndsTheChildIsTold) {
  const auto result = runProgram({"/bin/sh", "-c", "kill -TERM $$"});
  EXPECT_EQ(result.signal, SIGTERM);
  EXPECT_EQ(result.exitStatus, std::nullopt);
}

TEST(ProgramTest, MoreOutputThanAPipeHoldsIsReadWhole) {
  const auto result = runProgram({"/usr/bin/head", "-c", "1000000", "/dev/zero"});
  EXPECT_EQ(result.standardOutput, std::string(1'000'000, '\0'));
}

TEST(ProgramTest, AChildThatWaitsTooLongIsKilledAtItsDeadline) {
  const auto result = runProgram({"/bin/sleep", "60"}, {.deadline = milliseconds{100}});
  EXPECT_TRUE(result.deadlineExpired);
  EXPECT_EQ(result.signal, SIGKILL);
  EXPECT_GE(result.wallSeconds, 0.1);
  EXPECT_LT(result.wallSeconds, 10);
}

TEST(ProgramTest, AChildThatNeverStopsWritingIsKilledAtItsDeadline) {
  const auto result = runProgram({"/usr/bin/yes"}, {.deadline = milliseconds{100}});
  EXPECT_TRUE(result.deadlineExpired);
  EXPECT_FALSE(result.standardOutput.empty());
}

TEST(ProgramTest, AClosedStandardOutputIsClosedInTheChild) {
  const auto result =
      runProgram({"/bin/sh", "-c", "test -e /dev/fd/1"}, {.standardOutput = ClosedOutput{}});
  EXPECT_EQ(result.exitStatus, 1);
}

TEST(ProgramTest, StandardOutputCanGoToAPath) {
  const TemporaryDirectory directory;
  const auto path = directory.path() + "/output";
  const std::ofstream made(path);
  const auto result = runProgram({"/bin/echo", "a"}, {.standardOutput = OutputToPath{path}});
  EXPECT_EQ(result.standardOutput, "");
  std::ifstream output(path);
  EXPECT_EQ(std::string(std::istreambuf_iterator<char>(output), {}), "a\n");
}

TEST(ProgramTest, TheGivenEnvironmentIsTheWholeEnvironment) {
  const auto result =
      runProgram({"/usr/bin/env"}, {.environment = {{{"A", "1"}, {"B", "two words"}}}});
  EXPECT_EQ(result.standardOutput, "A=1\nB=two words\n");
}

TEST(ProgramTest, TheProgramRunsInTheGivenDirectory) {
  const TemporaryDirectory directory;
  const auto result = runProgram({"/bin/pwd", "-P"}, {.workingDirectory = directory.path()});
  EXPECT_EQ(result.standardOutput, directory.path() + "\n");
}

TEST(ProgramTest, NoDescriptorOfThisProcessIsInherited) {
  const FileDescriptor inheritable(dup(STDIN_FILENO));
  ASSERT_GT(inheritable.get(), STDERR_FILENO);
  const auto result = runProgram(
      {"/bin/sh", "-c",
       "n=0; while [ $n -lt 64 ]; do test ! -e /dev/fd/$n || echo $n; n=$((n+1)); done"});
  EXPECT_EQ(result.standardOutput, "0\n1\n2\n");
}

TEST(ProgramTest, AProgramThatDoesNotExistThrows) {
  EXPECT_THROW(runProgram({"/nonexistent"}), std::system_error);
}

TEST(RunningProgramTest, AWrittenLineIsWaitedFor) {
  RunningProgram program({"/bin/sh", "-c", "echo not ready; sleep 0.05; echo ready; sleep 60"});
  EXPECT_TRUE(program.waitForOutputLine("ready"));
  program.sendSignal(SIGTERM);
  const auto result = program.wait();
  EXPECT_EQ(result.signal, SIGTERM);
  EXPECT_EQ(result.standardOutput, "not ready\nready\n");
}

TEST(RunningProgramTest, APartOfALineIsNotThatLine) {
  RunningProgram program({"/bin/sh", "-c", "echo not ready; echo ready now; printf ready"});
  EXPECT_FALSE(program.waitForOutputLine("ready"));
}

TEST(RunningProgramTest, TheWaitForALineIsLimited) {
  RunningProgram program({"/bin/sleep", "60"});
  EXPECT_FALSE(program.waitForOutputLine("ready", milliseconds{50}));
}

TEST(RunningProgramTest, TheDestructorKillsAndReapsTheChild) {
  pid_t pid = -1;
  {
    const RunningProgram program({"/bin/sleep", "60"});
    pid = program.pid();
    ASSERT_EQ(kill(pid, 0), 0);
  }
  EXPECT_EQ(kill(pid, 0), -1);
}

/// Whether the process has not ended. Nobody may reap it, so that Linux is asked for its state
/// (proc(5)).
bool isRunning(pid_t pid) {
#ifdef __linux__
  std::ifstream file("/proc/" + std::to_string(pid) + "/stat");
  const std::string text(std::istreambuf_iterator<char>(file), {});
  return !text.empty() && text.find(") Z ") == std::string::npos;
#else
  return kill(pid, 0) == 0;
#endif
}

TEST(RunningProgramTest, AChildDiesWithTheProcessThatStartedIt) {
  const auto result = runInChild([] {
    const RunningProgram program({"/bin/sleep", "60"});
    std::cout << program.pid() << std::flush;
    raise(SIGKILL);
  });
  ASSERT_EQ(result.signal, SIGKILL);
  const pid_t pid = std::stoi(result.standardOutput);
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(10);
  while (isRunning(pid)) {
    ASSERT_LT(std::chrono::steady_clock::now(), deadline);
    std::this_thread::sleep_for(milliseconds(5));
  }
}

TEST(RunInChildTest, WhatAFunctionWritesIsCaptured) {
  const auto result = runInChild([] {
    std::cout << "from a stream";
    std::fputs("from a file", stderr);
  });
  EXPECT_EQ(result.exitStatus, 0);
  EXPECT_EQ(result.standardOutput, "from a stream");
  EXPECT_EQ(result.standardError, "from a file");
}

TEST(RunInChildTest, AFunctionMayExitItself) {
  const auto result = runInChild([] { std::_Exit(7); });
  EXPECT_EQ(result.exitStatus, 7);
}

TEST(RunInChildTest, AFunctionThatThrowsIsAborted) {
  const auto result = runInChild([] { throw 1; });
  EXPECT_EQ(result.signal, SIGABRT);
}
}  // namespace
}  // namespace blindfold
