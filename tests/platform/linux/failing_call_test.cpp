// Programs whose system calls fail.

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <future>
#include <string>
#include <string_view>
#include <system_error>
#include <thread>
#include <vector>

#include "blindfold/platform/linux/event_loop.h"
#include "blindfold/platform/linux/linux_bundle.h"
#include "blindfold/platform/platform_error.h"
#include "blindfold/platform/posix/file_descriptor.h"
#include "blindfold/platform/standard_stream.h"
#include "tests/platform/linux/test_helper.h"
#include "tests/platform/linux/test_request.h"
#include "tests/support/failing_call.h"
#include "tests/support/program.h"
#include "tests/support/temporary_directory.h"

namespace blindfold {
namespace {
using std::chrono::milliseconds;
using testing::ElementsAre;

TEST(ReadToEndTest, AnInterruptedReadIsTriedAgain) {
  const FailingCall failing("read", EINTR, 2);
  EXPECT_EQ(readToEnd(FileDescriptor(open("/dev/null", O_RDONLY)), 1), "");
  EXPECT_EQ(failing.failures(), 2);
}

/// The error of `write` in a process whose standard output is a pipe, while a call fails.
int errorOfWriting(std::string_view call, int error,
                   const std::function<std::error_code()>& write) {
  const auto result = runInChild([&] {
    const FailingCall failing(call, error);
    std::_Exit(write().value());
  });
  return result.exitStatus.value_or(-1);
}

std::error_code writeLine() {
  return writeAll(StandardStream::output, "line\n");
}

std::error_code closeOutput() {
  return closeStream(StandardStream::output);
}

TEST(StandardStreamFailureTest, AnInterruptedWriteIsTriedAgain) {
  EXPECT_EQ(errorOfWriting("write", EINTR, writeLine), 0);
}

TEST(StandardStreamFailureTest, AWriteThatFailsIsToldByTheSystemsError) {
  EXPECT_EQ(errorOfWriting("write", ENOSPC, writeLine), ENOSPC);
}

TEST(StandardStreamFailureTest, AnInterruptedCloseHasTakenTheBytes) {
  EXPECT_EQ(errorOfWriting("close", EINTR, closeOutput), 0);
  EXPECT_EQ(errorOfWriting("close", EDQUOT, closeOutput), EDQUOT);
}

TEST(StandardStreamFailureTest, AnInterruptedWaitForRoomIsTriedAgain) {
  const auto writeToAStreamThatIsFull = [] {
    const FailingCall full("write", EAGAIN, 2);
    return writeLine();
  };
  EXPECT_EQ(errorOfWriting("poll", EINTR, writeToAStreamThatIsFull), 0);
  EXPECT_EQ(errorOfWriting("poll", ENOMEM, writeToAStreamThatIsFull), ENOMEM);
}

TEST(MainBundleFailureTest, WithoutTheNameOfItsExecutableTheBundleIsTheRoot) {
  const LinuxBundleProvider bundles;
  const FailingCall failing("readlink", ENOMEM, 2);
  EXPECT_EQ(bundles.mainBundle().executableURL(), std::nullopt);
  EXPECT_EQ(bundles.mainBundle().bundleURL(), FileURL("/"));
}

TEST(MainBundleFailureTest, ABundleThatCannotBeOpenedDeclaresNothing) {
  const auto result = runInChild([] {
    const FailingCall failing("open", EMFILE);
    const bool isEmpty = !LinuxBundleProvider().mainBundle().bundleIdentifier();
    std::_Exit(isEmpty && failing.failures() == 1 ? EXIT_SUCCESS : EXIT_FAILURE);
  });
  EXPECT_EQ(result.exitStatus, EXIT_SUCCESS);
}

TEST(DirectoryBundleFailureTest, AListThatCannotBeLookedAtDeclaresNothing) {
  const TemporaryDirectory directory;
  std::filesystem::create_directories(directory.path() + "/Contents");
  std::ofstream(directory.path() + "/Contents/Info.plist")
      << "<plist><dict><key>CFBundleIdentifier</key><string>a</string></dict></plist>";
  const LinuxBundleProvider bundles;
  EXPECT_EQ(bundles.bundleWithURL(FileURL(directory.path()))->bundleIdentifier(), "a");
  const FailingCall failing("fstat", EIO);
  EXPECT_EQ(bundles.bundleWithURL(FileURL(directory.path()))->bundleIdentifier(), std::nullopt);
}

// The event loop.

TEST(EventLoopFailureTest, AWaitThatFailsIsTriedAgainAfterAPause) {
  EventLoop loop;
  bool ran = false;
  loop.schedule(milliseconds(50), [&] { ran = true; });
  const FailingCall failing("poll", ENOMEM, 2);
  const auto begin = std::chrono::steady_clock::now();
  while (failing.failures() < 2) loop.runRound();
  EXPECT_GE(std::chrono::steady_clock::now() - begin, milliseconds(20));
  while (!ran) loop.runRound();
}

/// Runs a loop whose thread is not woken when another one posts work, and returns whether the work
/// runs once a deadline has ended the wait.
bool runsPostedWorkAtTheNextDeadline(std::string_view call, int error, int count = 1) {
  EventLoop loop;
  bool ran = false;
  std::promise<void> waits;
  // The loop's second wait, from which on there are two threads.
  std::thread poster([&] {
    waits.get_future().wait();
    std::this_thread::sleep_for(milliseconds(20));
    loop.post([&] { ran = true; });
  });
  const FailingCall failing(call, error, count);
  loop.post([&] { waits.set_value(); });
  loop.runRound();
  for (int round = 0; round < 3 && !ran; ++round) {
    loop.schedule(milliseconds(100), [] {});
    loop.runRound();
  }
  poster.join();
  EXPECT_GT(failing.failures(), 0) << call;
  return ran;
}

TEST(EventLoopFailureTest, ALoopThatCannotBeWokenLooksForWorkAtItsNextDeadline) {
  EXPECT_TRUE(runsPostedWorkAtTheNextDeadline("eventfd", EMFILE, 10));
  EXPECT_TRUE(runsPostedWorkAtTheNextDeadline("write", EAGAIN));
}

TEST(EventLoopFailureTest, AnInterruptedWakeIsTriedAgain) {
  EXPECT_TRUE(runsPostedWorkAtTheNextDeadline("write", EINTR));
}

// A connection.

/// Everything that the handlers of a request hear when one of its system calls fails once.
std::vector<std::string> heardWhileFailing(std::string_view call, int error) {
  const TestHelper helper([](int connection) {
    try {
      answering({FrameKind::reply, "{}"})(connection);
    } catch (const PlatformError&) {
      // The client has gone.
    }
  });
  TestRequest request(helper.name());
  const FailingCall failing(call, error);
  request.start();
  auto heard = request.outcome();
  EXPECT_EQ(failing.failures(), 1) << call;
  return heard;
}

TEST(LinuxHelperConnectionFailureTest, WithoutASocketTheConnectionIsInvalid) {
  EXPECT_THAT(heardWhileFailing("socket", EMFILE), ElementsAre("invalidated"));
}

TEST(LinuxHelperConnectionFailureTest, AnUnknownPeerIsNotTrusted) {
  EXPECT_THAT(heardWhileFailing("getsockopt", ENOBUFS), ElementsAre("invalidated"));
}

TEST(LinuxHelperConnectionFailureTest, WhatIsInterruptedOrWouldHaveToWaitIsTriedAgain) {
  for (const int error : {EINTR, EAGAIN}) {
    EXPECT_THAT(heardWhileFailing("send", error), ElementsAre("reply {}"));
    EXPECT_THAT(heardWhileFailing("recv", error), ElementsAre("reply {}"));
  }
}

TEST(LinuxHelperConnectionFailureTest, AFailureToReceiveInterrupts) {
  EXPECT_THAT(heardWhileFailing("recv", ENOMEM), ElementsAre("interrupted"));
}
}  // namespace
}  // namespace blindfold
