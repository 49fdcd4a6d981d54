#include "blindfold/platform/linux/linux_helper_connection.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdlib>
#include <future>
#include <memory>
#include <string>
#include <thread>
#include <variant>
#include <vector>

#include "blindfold/platform/linux/frame.h"
#include "tests/platform/linux/signal_storm.h"
#include "tests/platform/linux/test_helper.h"
#include "tests/platform/linux/test_request.h"
#include "tests/support/program.h"

namespace blindfold {
namespace {
using namespace std::string_literals;
using std::chrono::milliseconds;
using testing::ElementsAre;

TEST(LinuxHelperConnectionTest, AReplyReachesTheReplyHandler) {
  const TestHelper helper(answering({FrameKind::reply, "{\"success\":true}"}));
  TestRequest request(helper.name());
  request.start();
  EXPECT_THAT(request.outcome(), ElementsAre("reply {\"success\":true}"));
}

TEST(LinuxHelperConnectionTest, AnEmptyReplyIsAReply) {
  const TestHelper helper(answering({FrameKind::reply, ""}));
  TestRequest request(helper.name());
  request.start();
  EXPECT_THAT(request.outcome(), ElementsAre("reply "));
}

TEST(LinuxHelperConnectionTest, TheMessageArrivesAsItWasSent) {
  for (const HelperMessage& message : {HelperMessage{HelperMethod::detectTargets, NoArgument{}},
                                       HelperMessage{HelperMethod::hold, DataArgument{"{\0\xff}"s}},
                                       HelperMessage{HelperMethod::renew, TextArgument{"A1"}},
                                       HelperMessage{HelperMethod::release, TextArgument{}}}) {
    std::promise<HelperMessage> arrived;
    const TestHelper helper([&](int connection) { arrived.set_value(receiveMessage(connection)); });
    TestRequest request(helper.name());
    request.start(message);
    request.outcome();
    EXPECT_EQ(arrived.get_future().get(), message);
  }
}

TEST(LinuxHelperConnectionTest, AReplyIsTakenHoweverItIsCutIntoPieces) {
  const TestHelper helper([](int connection) {
    receiveMessage(connection);
    for (const char byte : encodeFrame({FrameKind::reply, "a reply"})) {
      sendBytes(connection, {&byte, 1});
      std::this_thread::sleep_for(milliseconds(1));
    }
    awaitEnd(connection);
  });
  TestRequest request(helper.name());
  request.start();
  EXPECT_THAT(request.outcome(), ElementsAre("reply a reply"));
}

TEST(LinuxHelperConnectionTest, AReplyThatTricklesInDoesNotHoldUpTimedWork) {
  const TestHelper helper([](int connection) {
    for (const char byte : encodeFrame({FrameKind::reply, Bytes(100'000, 'x')})) {
      if (send(connection, &byte, 1, MSG_NOSIGNAL) < 0) return;
      std::this_thread::sleep_for(milliseconds(1));
    }
  });
  TestRequest request(helper.name());
  request.start();
  request.loop().schedule(milliseconds(50), [&] { request.invalidate(); });
  EXPECT_THAT(request.outcome(), ElementsAre("invalidated"));
}

TEST(LinuxHelperConnectionTest, WhatFollowsTheReplyIsNotRead) {
  const TestHelper helper([](int connection) {
    receiveMessage(connection);
    sendBytes(connection, encodeFrame({FrameKind::reply, "first"}) + "garbage, of all things");
    awaitEnd(connection);
  });
  TestRequest request(helper.name());
  request.start();
  EXPECT_THAT(request.outcome(), ElementsAre("reply first"));
  request.invalidate();
  EXPECT_THAT(request.heardWithin(milliseconds(20)), ElementsAre("reply first", "invalidated"));
}

TEST(LinuxHelperConnectionTest, AConnectionIsResumedOnce) {
  const TestHelper helper(answering({FrameKind::reply, "{}"}));
  TestRequest request(helper.name());
  request.resume();
  request.resume();
  request.send(anyMessage);
  EXPECT_THAT(request.outcome(), ElementsAre("reply {}"));
}

TEST(LinuxHelperConnectionTest, MessagesAndRepliesOfManyMegabytesPass) {
  const Bytes large(48U << 20U, 'x');
  std::atomic<std::size_t> arrived = 0;
  const TestHelper helper([&](int connection) {
    arrived = std::get<DataArgument>(receiveMessage(connection).argument).bytes.size();
    sendBytes(connection, encodeFrame({FrameKind::reply, large}));
  });
  TestRequest request(helper.name());
  request.start({HelperMethod::hold, DataArgument{large}});
  EXPECT_THAT(request.outcome(), ElementsAre("reply " + large));
  EXPECT_EQ(arrived, large.size());
}

TEST(LinuxHelperConnectionTest, AMessageThatIsNotTakenDoesNotHoldUpTimedWork) {
  const BoundService service(uniqueServiceName());
  service.listen(1);
  TestRequest request(service.name());
  request.start({HelperMethod::hold, DataArgument{Bytes(8U << 20U, 'x')}});
  request.loop().schedule(milliseconds(20), [&] { request.invalidate(); });
  EXPECT_THAT(request.outcome(), ElementsAre("invalidated"));
}

TEST(LinuxHelperConnectionTest, AReplyBeforeTheMessageIsTakenCounts) {
  const TestHelper helper([](int connection) {
    sendBytes(connection, encodeFrame({FrameKind::reply, "too much"}));
    awaitEnd(connection);
  });
  TestRequest request(helper.name());
  request.start({HelperMethod::hold, DataArgument{Bytes(8U << 20U, 'x')}});
  EXPECT_THAT(request.outcome(), ElementsAre("reply too much"));
}

TEST(LinuxHelperConnectionTest, AReplyFromAHelperThatStoppedListeningCounts) {
  const TestHelper helper(
      [](int connection) { sendBytes(connection, encodeFrame({FrameKind::reply, "too much"})); });
  TestRequest request(helper.name());
  request.start({HelperMethod::hold, DataArgument{Bytes(8U << 20U, 'x')}});
  EXPECT_THAT(request.outcome(), ElementsAre("reply too much"));
}

TEST(LinuxHelperConnectionTest, AMessageThatIsTooLargeIsRefusedAtOnceByItsName) {
  const TestHelper helper(awaitEnd);
  TestRequest request(helper.name());
  request.resume();
  try {
    request.send({HelperMethod::hold, DataArgument{Bytes(maximumFramePayload, 'x')}});
    FAIL() << "it was sent";
  } catch (const PlatformError& error) {
    EXPECT_STREQ(error.what(), "The request hold:withReply: is larger than 64 MiB.");
  }
}

TEST(LinuxHelperConnectionDeathTest, ASecondMessageStopsADebugBuild) {
  const TestHelper helper(awaitEnd);
  TestRequest request(helper.name());
  request.start();
  EXPECT_DEBUG_DEATH(request.send(anyMessage), "one message");
}

TEST(LinuxHelperConnectionTest, ManyConnectionsAreServedAtOnce) {
  const TestHelper helper(answering({FrameKind::reply, "done"}));
  EventLoop loop;
  LinuxHelperConnectionProvider provider(loop);
  std::vector<std::shared_ptr<HelperConnection>> connections;
  int replies = 0;
  for (int i = 0; i < 64; ++i) {
    connections.push_back(provider.makePrivilegedConnection(helper.name()));
    connections.back()->resume();
    connections.back()
        ->remoteObjectProxy([](const PlatformError&) {})
        ->send(anyMessage, [&](const Bytes&) { ++replies; });
  }
  while (replies < 64) loop.runRound();
  EXPECT_EQ(replies, 64);
}

TEST(LinuxHelperConnectionTest, TenThousandRequestsLeaveNoDescriptorBehind) {
  const TestHelper helper(answering({FrameKind::reply, "done"}));
  const int before = openDescriptorCount();
  for (int i = 0; i < 10'000; ++i) {
    TestRequest request(helper.name());
    request.start();
    ASSERT_THAT(request.outcome(), ElementsAre("reply done"));
    request.invalidate();
  }
  EXPECT_LE(openDescriptorCount(), before + 1);  // the helper's last end may not be closed yet
}

TEST(LinuxHelperConnectionTest, SignalsDoNotEndARequest) {
  const TestHelper helper([](int connection) {
    receiveMessage(connection);
    std::this_thread::sleep_for(milliseconds(100));
    sendBytes(connection, encodeFrame({FrameKind::reply, "all the same"}));
  });
  const SignalStorm storm;
  TestRequest request(helper.name());
  request.start();
  EXPECT_THAT(request.outcome(), ElementsAre("reply all the same"));
  EXPECT_GT(storm.signalCount(), 0);
}

/// Closes the standard streams and makes a request. 0 when the streams stay closed and the reply
/// comes.
int requestWithoutStandardStreams() {
  const BoundService service(uniqueServiceName());
  service.listen(1);
  TestRequest request(service.name());
  for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) close(stream);
  request.resume();
  for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
    if (fcntl(stream, F_GETFD) >= 0) return 1;
  }
  request.send(anyMessage);
  answering({FrameKind::reply, "heard"})(service.accept().get());
  return request.outcome() == std::vector<std::string>{"reply heard"} ? 0 : 2;
}

TEST(LinuxHelperConnectionTest, ASocketNeverTakesThePlaceOfAClosedStandardStream) {
  const auto result = runInChild([] { std::_Exit(requestWithoutStandardStreams()); });
  EXPECT_EQ(result.exitStatus, 0);
}
}  // namespace
}  // namespace blindfold
