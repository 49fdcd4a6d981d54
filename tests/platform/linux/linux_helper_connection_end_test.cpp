// The end of a connection: invalidating it, destroying it, and its handlers afterwards.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/socket.h>

#include <chrono>
#include <future>
#include <memory>
#include <string>
#include <thread>
#include <utility>

#include "blindfold/platform/linux/linux_helper_connection.h"
#include "tests/platform/linux/test_helper.h"
#include "tests/platform/linux/test_request.h"

namespace blindfold {
namespace {
using std::chrono::milliseconds;
using testing::ElementsAre;
using testing::IsEmpty;

TEST(LinuxHelperConnectionEndTest, InvalidatingClosesTheConnectionAtOnce) {
  const BoundService service(uniqueServiceName());
  service.listen(1);
  TestRequest request(service.name());
  const int before = openDescriptorCount();
  request.start();
  EXPECT_EQ(openDescriptorCount(), before + 1);
  request.invalidate();
  EXPECT_EQ(openDescriptorCount(), before);
}

TEST(LinuxHelperConnectionEndTest, InvalidatingIsHeardOnceAndNothingElseIs) {
  const TestHelper helper(answering({FrameKind::reply, "late"}));
  TestRequest request(helper.name());
  request.start();
  request.invalidate();
  request.invalidate();
  EXPECT_THAT(request.heardWithin(milliseconds(30)), ElementsAre("invalidated"));
}

TEST(LinuxHelperConnectionEndTest, AReplyThatHasArrivedIsDroppedByInvalidating) {
  const TestHelper helper(answering({FrameKind::reply, "late"}));
  TestRequest request(helper.name());
  request.start();
  std::this_thread::sleep_for(milliseconds(50));
  request.invalidate();
  EXPECT_THAT(request.heardWithin(milliseconds(20)), ElementsAre("invalidated"));
}

TEST(LinuxHelperConnectionEndTest, AConnectionThatIsInvalidatedFirstIsNeverMade) {
  const BoundService service(uniqueServiceName());
  service.listen(1);
  TestRequest request(service.name());
  const int before = openDescriptorCount();
  request.invalidate();
  request.resume();
  EXPECT_EQ(openDescriptorCount(), before);
  EXPECT_THAT(request.heardWithin(milliseconds(10)), ElementsAre("invalidated"));
}

TEST(LinuxHelperConnectionEndTest, AFailedConnectionIsInvalidatedOnlyOnce) {
  TestRequest request(uniqueServiceName());
  request.start();
  request.invalidate();
  EXPECT_THAT(request.heardWithin(milliseconds(10)), ElementsAre("invalidated"));
}

/// The captures of every handler of one connection, and whether all are destroyed.
struct HandlerProbe {
  std::shared_ptr<int> captured = std::make_shared<int>();
  std::weak_ptr<int> watcher = captured;

  void install(HelperConnection& connection) {
    connection.setInvalidationHandler([kept = captured] {});
    connection.setInterruptionHandler([kept = captured] {});
    connection.resume();
    const auto proxy = connection.remoteObjectProxy([kept = captured](const PlatformError&) {});
    proxy->send(anyMessage, [kept = captured](const Bytes&) {});
    captured.reset();
  }
};

TEST(LinuxHelperConnectionEndTest, HandlersAreLetGoOfOnceTheConnectionIsInvalid) {
  const TestHelper helper(awaitEnd);
  EventLoop loop;
  LinuxHelperConnectionProvider provider(loop);
  const auto connection = provider.makePrivilegedConnection(helper.name());
  HandlerProbe probe;
  probe.install(*connection);
  connection->invalidate();
  EXPECT_FALSE(probe.watcher.expired());
  loop.runRound();
  EXPECT_TRUE(probe.watcher.expired());
}

TEST(LinuxHelperConnectionEndTest, HandlersAreLetGoOfOnceTheConnectionHasFailed) {
  EventLoop loop;
  LinuxHelperConnectionProvider provider(loop);
  const auto connection = provider.makePrivilegedConnection(uniqueServiceName());
  HandlerProbe probe;
  probe.install(*connection);
  loop.runRound();
  EXPECT_TRUE(probe.watcher.expired());
}

TEST(LinuxHelperConnectionEndTest, AHandlerThatComesTooLateIsLetGoOfAtOnce) {
  EventLoop loop;
  LinuxHelperConnectionProvider provider(loop);
  const auto connection = provider.makePrivilegedConnection(uniqueServiceName());
  connection->resume();
  const auto proxy = connection->remoteObjectProxy([](const PlatformError&) {});
  loop.runRound();
  auto captured = std::make_shared<int>();
  const std::weak_ptr<int> watcher = captured;
  proxy->send(anyMessage, [kept = std::move(captured)](const Bytes&) {});
  EXPECT_TRUE(watcher.expired());
}

TEST(LinuxHelperConnectionEndTest, DestroyingAConnectionLetsGoOfItsHandlersWithoutCallingThem) {
  const TestHelper helper(awaitEnd);
  TestRequest request(helper.name());
  const int before = openDescriptorCount();
  HandlerProbe probe;
  probe.install(*request.connection());
  request.connection().reset();
  EXPECT_TRUE(probe.watcher.expired());
  EXPECT_LE(openDescriptorCount(), before + 1);  // the helper's end may not be closed yet
  EXPECT_THAT(request.heardWithin(milliseconds(20)), IsEmpty());
}

TEST(LinuxHelperConnectionEndTest, AnInvalidConnectionMayBeDestroyedBeforeItsHandlerHasRun) {
  TestRequest request(uniqueServiceName());
  request.start();
  request.invalidate();
  request.connection().reset();
  EXPECT_THAT(request.heardWithin(milliseconds(10)), IsEmpty());
}

TEST(LinuxHelperConnectionEndTest, AProxyKeepsItsConnection) {
  const TestHelper helper(answering({FrameKind::reply, "kept"}));
  EventLoop loop;
  LinuxHelperConnectionProvider provider(loop);
  auto connection = provider.makePrivilegedConnection(helper.name());
  connection->resume();
  const auto proxy = connection->remoteObjectProxy([](const PlatformError&) {});
  connection.reset();
  std::string reply;
  proxy->send(anyMessage, [&](Bytes bytes) { reply = std::move(bytes); });
  while (reply.empty()) loop.runRound();
  EXPECT_EQ(reply, "kept");
}

TEST(LinuxHelperConnectionEndTest, AHandlerMayInvalidateAndDestroyItsConnection) {
  for (const Frame& answer : {Frame{FrameKind::reply, "a"}, Frame{FrameKind::error, "a"}}) {
    const TestHelper helper(answering(answer));
    EventLoop loop;
    LinuxHelperConnectionProvider provider(loop);
    auto connection = provider.makePrivilegedConnection(helper.name());
    connection->resume();
    bool isOver = false;
    const auto end = [&] {
      connection->invalidate();
      connection.reset();
      isOver = true;
    };
    connection->remoteObjectProxy([&](const PlatformError&) { end(); })
        ->send(anyMessage, [&](const Bytes&) { end(); });
    while (!isOver) loop.runRound();
    EXPECT_EQ(connection, nullptr);
  }
}

TEST(LinuxHelperConnectionEndTest, AHandlerMayDestroyItsConnectionWhileTheMessageHasRoomToGoOn) {
  std::promise<void> isSent;
  std::promise<void> isAnsweredAndTaken;
  const TestHelper helper([&](int connection) {
    isSent.get_future().wait();
    sendBytes(connection, encodeFrame({FrameKind::reply, "too much"}));
    Bytes part(1U << 20U, '\0');
    while (recv(connection, part.data(), part.size(), MSG_DONTWAIT) > 0) {
    }
    isAnsweredAndTaken.set_value();
    awaitEnd(connection);
  });
  EventLoop loop;
  LinuxHelperConnectionProvider provider(loop);
  auto connection = provider.makePrivilegedConnection(helper.name());
  connection->resume();
  connection->remoteObjectProxy([](const PlatformError&) {})
      ->send({HelperMethod::hold, DataArgument{Bytes(8U << 20U, 'x')}},
             [&](const Bytes&) { connection.reset(); });
  isSent.set_value();
  isAnsweredAndTaken.get_future().wait();
  loop.runRound();
  EXPECT_EQ(connection, nullptr);
}

TEST(LinuxHelperConnectionEndTest, AnInterruptionHandlerMayDestroyItsConnection) {
  const TestHelper helper([](int) {});
  EventLoop loop;
  LinuxHelperConnectionProvider provider(loop);
  auto connection = provider.makePrivilegedConnection(helper.name());
  connection->setInterruptionHandler([&] { connection.reset(); });
  connection->resume();
  while (connection) loop.runRound();
  EXPECT_EQ(connection, nullptr);
}
}  // namespace
}  // namespace blindfold
