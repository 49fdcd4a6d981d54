// Helpers that go, that answer with an error, and whose answers are malformed.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <chrono>
#include <cstddef>
#include <future>
#include <string>
#include <utility>
#include <vector>

#include "blindfold/platform/linux/frame.h"
#include "blindfold/platform/linux/linux_helper_connection.h"
#include "tests/platform/linux/test_helper.h"
#include "tests/platform/linux/test_request.h"

namespace blindfold {
namespace {
using namespace std::string_literals;
using std::chrono::milliseconds;
using testing::ElementsAre;

std::string errorWith(FrameFault fault) {
  return "error "s + platformError(fault).what();
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
}  // namespace
}  // namespace blindfold
