#include "blindfold/platform/linux/linux_helper_connection.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <future>
#include <memory>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "blindfold/platform/linux/frame.h"
#include "blindfold/platform/linux/service_socket.h"
#include "tests/platform/linux/signal_storm.h"
#include "tests/platform/linux/test_helper.h"
#include "tests/platform/linux/test_request.h"
#include "tests/support/program.h"

namespace blindfold {
namespace {
using namespace std::string_literals;
using std::chrono::milliseconds;
using testing::ElementsAre;
using testing::IsEmpty;

std::string errorWith(FrameFault fault) {
  return "error "s + platformError(fault).what();
}

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

TEST(LinuxHelperConnectionTest, NothingMoreIsSentOnceTheAnswerIsMalformed) {
  std::promise<void> refused;
  const TestHelper helper([&](int connection) {
    sendBytes(connection, std::string(64, 'x'));
    // Room for more of the request.
    std::vector<char> bytes(1'000'000);
    EXPECT_GT(read(connection, bytes.data(), bytes.size()), 0);
    refused.set_value();
    awaitEnd(connection);
  });
  TestRequest request(helper.name());
  request.start({HelperMethod::hold, DataArgument{Bytes(8'000'000, 'x')}});
  refused.get_future().wait();
  EXPECT_THAT(request.outcome(), ElementsAre(errorWith(FrameFault::wrongMark)));
}

TEST(LinuxHelperConnectionTest, AServiceThatIsNotThereInvalidates) {
  TestRequest request(uniqueServiceName());
  request.start();
  EXPECT_THAT(request.outcome(), ElementsAre("invalidated"));
}

TEST(LinuxHelperConnectionTest, ASocketThatNobodyListensAtInvalidates) {
  const BoundService service(uniqueServiceName());
  TestRequest request(service.name());
  request.start();
  EXPECT_THAT(request.outcome(), ElementsAre("invalidated"));
}

TEST(LinuxHelperConnectionTest, AFileThatIsNoSocketInvalidates) {
  const std::string name = uniqueServiceName();
  std::filesystem::create_directories(systemDomainDirectory);
  std::ofstream(serviceSocketPath(name)) << "no socket";
  TestRequest request(name);
  request.start();
  EXPECT_THAT(request.outcome(), ElementsAre("invalidated"));
  std::filesystem::remove(serviceSocketPath(name));
}

TEST(LinuxHelperConnectionTest, ANameThatCannotBeAServicesInvalidates) {
  for (const std::string& name : {""s, "a/b"s, "../a"s, "a\0b"s, std::string(200, 'x'), "."s}) {
    TestRequest request(name);
    request.start();
    EXPECT_THAT(request.outcome(), ElementsAre("invalidated")) << name;
  }
}

/// Connections that wait at a service until none more finds room.
std::vector<FileDescriptor> fillBacklog(const std::string& name) {
  std::vector<FileDescriptor> waiting;
  const ServiceSocketAddress address(name);
  for (;;) {
    FileDescriptor next(socket(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0));
    if (connect(next.get(), address.get(), address.size()) != 0) {
      EXPECT_EQ(errno, EAGAIN);
      return waiting;
    }
    waiting.push_back(std::move(next));
  }
}

TEST(LinuxHelperConnectionTest, AFullBacklogIsTriedAgainUntilThereIsRoom) {
  const BoundService service(uniqueServiceName());
  service.listen(1);
  const auto waiting = fillBacklog(service.name());
  TestRequest request(service.name());
  request.start();
  EXPECT_THAT(request.heardWithin(milliseconds(35)), IsEmpty());
  std::thread helper([&] {
    for (std::size_t i = 0; i < waiting.size(); ++i) service.accept();
    const FileDescriptor connection = service.accept();
    answering({FrameKind::reply, "at last"})(connection.get());
  });
  EXPECT_THAT(request.outcome(), ElementsAre("reply at last"));
  helper.join();
}

TEST(LinuxHelperConnectionTest, AFullBacklogIsTriedAgainUntilTheConnectionIsInvalidated) {
  const BoundService service(uniqueServiceName());
  service.listen(1);
  const auto waiting = fillBacklog(service.name());
  TestRequest request(service.name());
  request.start();
  EXPECT_THAT(request.heardWithin(milliseconds(25)), IsEmpty());
  request.invalidate();
  EXPECT_THAT(request.heardWithin(milliseconds(25)), ElementsAre("invalidated"));
}

TEST(LinuxHelperConnectionTest, AConnectionDestroyedWhileItTriesAgainTriesNoMore) {
  const BoundService service(uniqueServiceName());
  service.listen(1);
  const auto waiting = fillBacklog(service.name());
  TestRequest request(service.name());
  request.start();
  request.connection().reset();
  EXPECT_THAT(request.heardWithin(milliseconds(25)), IsEmpty());
}

TEST(LinuxHelperConnectionTest, AServiceThatGoesWhileItIsTriedAgainInvalidates) {
  std::vector<FileDescriptor> waiting;
  std::unique_ptr<TestRequest> request;
  {
    const BoundService service(uniqueServiceName());
    service.listen(1);
    waiting = fillBacklog(service.name());
    request = std::make_unique<TestRequest>(service.name());
    request->start();
    EXPECT_THAT(request->heardWithin(milliseconds(15)), IsEmpty());
  }
  EXPECT_THAT(request->outcome(), ElementsAre("invalidated"));
}

TEST(LinuxHelperConnectionTest, AHelperThatGoesWithoutAnAnswerInterrupts) {
  const TestHelper helper([](int connection) { receiveMessage(connection); });
  TestRequest request(helper.name());
  request.start();
  EXPECT_THAT(request.outcome(), ElementsAre("interrupted"));
}

TEST(LinuxHelperConnectionTest, AHelperThatGoesWithoutReadingTheRequestInterrupts) {
  const TestHelper helper([](int connection) {
    char byte = 0;
    EXPECT_EQ(read(connection, &byte, 1), 1);  // the rest is unread, so the connection is reset
  });
  TestRequest request(helper.name());
  request.start();
  EXPECT_THAT(request.outcome(), ElementsAre("interrupted"));
}

TEST(LinuxHelperConnectionTest, AHelperThatGoesBeforeTheMessageIsSentInterrupts) {
  const TestHelper helper([](int) {});
  TestRequest request(helper.name());
  request.resume();
  EXPECT_THAT(request.outcome(), ElementsAre("interrupted"));
  request.send(anyMessage);
  EXPECT_THAT(request.heardWithin(milliseconds(10)), ElementsAre("interrupted"));
}

TEST(LinuxHelperConnectionTest, AHelperThatHasGoneWhenTheMessageIsSentInterrupts) {
  const BoundService service(uniqueServiceName());
  service.listen(1);
  TestRequest request(service.name());
  request.resume();
  service.accept().reset();
  request.send(anyMessage);
  EXPECT_THAT(request.outcome(), ElementsAre("interrupted"));
}

TEST(LinuxHelperConnectionTest, AHelperThatSpeaksBeforeItIsAskedInterrupts) {
  const TestHelper helper([](int connection) {
    sendBytes(connection, encodeFrame({FrameKind::reply, "well"}));
    awaitEnd(connection);
  });
  TestRequest request(helper.name());
  request.resume();
  EXPECT_THAT(request.outcome(), ElementsAre("interrupted"));
}

TEST(LinuxHelperConnectionTest, AReplyThatIsCutShortAnywhereInterrupts) {
  const Bytes reply = encodeFrame({FrameKind::reply, "reply"});
  for (std::size_t size = 0; size < reply.size(); ++size) {
    const TestHelper helper(answeringBytes(reply.substr(0, size)));
    TestRequest request(helper.name());
    request.start();
    EXPECT_THAT(request.outcome(), ElementsAre("interrupted")) << size;
  }
}

TEST(LinuxHelperConnectionTest, AHelperThatGoesAfterItsReplyInterruptsAnOpenConnection) {
  const TestHelper helper(answering({FrameKind::reply, "bye"}));
  TestRequest request(helper.name());
  request.start();
  EXPECT_THAT(request.outcome(2), ElementsAre("reply bye", "interrupted"));
}

TEST(LinuxHelperConnectionTest, AnErrorReachesTheErrorHandlerUnchanged) {
  const std::string text = "Le capot est ferm\u00e9.\nVraiment.";
  const TestHelper helper(answering({FrameKind::error, text}));
  TestRequest request(helper.name());
  request.start();
  EXPECT_THAT(request.outcome(), ElementsAre("error " + text));
}

TEST(LinuxHelperConnectionTest, AnErrorMayHaveAnEmptyText) {
  const TestHelper helper(answering({FrameKind::error, ""}));
  TestRequest request(helper.name());
  request.start();
  EXPECT_THAT(request.outcome(), ElementsAre("error "));
}

TEST(LinuxHelperConnectionTest, AnErrorThatIsNoTextIsAMalformedFrame) {
  for (const Bytes& text : {"\xff"s, "\xc3"s, "a\0b"s}) {
    const TestHelper helper(answering({FrameKind::error, text}));
    TestRequest request(helper.name());
    request.start();
    EXPECT_THAT(request.outcome(), ElementsAre(errorWith(FrameFault::errorNotText)));
  }
}

TEST(LinuxHelperConnectionTest, AMalformedFrameEndsInItsOwnError) {
  const std::vector<std::pair<Bytes, FrameFault>> answers{
      {"HTTP/1.1 400 Bad Request\r\n\r\n", FrameFault::wrongMark},
      {"BLFD\x02\x02\0\0\0\0\0\0"s, FrameFault::unsupportedVersion},
      {"BLFD\x01\x07\0\0\0\0\0\0"s, FrameFault::unknownKind},
      {"BLFD\x01\x02\0\x01\0\0\0\0"s, FrameFault::reservedNotZero},
      {"BLFD\x01\x02\0\0\xff\xff\xff\xff"s, FrameFault::payloadTooLarge},
      {encodeFrame({FrameKind::request, encodeMessage(anyMessage)}), FrameFault::notAnAnswer},
  };
  for (const auto& [bytes, fault] : answers) {
    const TestHelper helper(answeringBytes(bytes));
    TestRequest request(helper.name());
    request.start();
    EXPECT_THAT(request.outcome(), ElementsAre(errorWith(fault)));
    EXPECT_EQ(request.heardWithin(milliseconds(5)).size(), 1U);
  }
}

TEST(LinuxHelperConnectionTest, AMalformedFrameClosesTheConnection) {
  std::promise<void> closed;
  const TestHelper helper([&](int connection) {
    receiveMessage(connection);
    sendBytes(connection, "this is no frame");
    awaitEnd(connection);
    closed.set_value();
  });
  TestRequest request(helper.name());
  request.start();
  request.outcome();
  EXPECT_EQ(closed.get_future().wait_for(std::chrono::seconds(10)), std::future_status::ready);
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

TEST(LinuxHelperConnectionTest, AHelperThatStopsListeningWithoutAnAnswerInterruptsThoughItStays) {
  std::promise<void> stopped;
  const TestHelper helper([&](int connection) {
    shutdown(connection, SHUT_RD);
    stopped.set_value();
    pollfd end{connection, POLLHUP, 0};
    poll(&end, 1, /*timeout=*/-1);
  });
  TestRequest request(helper.name());
  request.resume();
  ASSERT_EQ(stopped.get_future().wait_for(std::chrono::seconds(10)), std::future_status::ready);
  request.send(anyMessage);
  EXPECT_THAT(request.outcome(), ElementsAre("interrupted"));
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
