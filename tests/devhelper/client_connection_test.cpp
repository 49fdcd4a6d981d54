#include "devhelper/linux/client_connection.h"

#include <gtest/gtest.h>
#include <sys/socket.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstddef>
#include <string>
#include <utility>

#include "blindfold/platform/linux/event_loop.h"
#include "blindfold/platform/linux/frame.h"

namespace blindfold {
namespace {
/// Sends one request to a connection that answers with `size` bytes and may keep `budgetSize`.
/// Returns what it sends.
Bytes answerWithin(std::size_t budgetSize, std::size_t size) {
  std::array<int, 2> ends{};
  EXPECT_EQ(socketpair(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0, ends.data()), 0);
  const FileDescriptor client(ends[0]);
  const Bytes request =
      encodeFrame({FrameKind::request, encodeMessage({HelperMethod::currentState, NoArgument{}})});
  EXPECT_EQ(write(client.get(), request.data(), request.size()), std::ssize(request));
  EventLoop loop;
  ByteBudget budget(budgetSize);
  const ClientConnection connection(
      loop, FileDescriptor(ends[1]), budget,
      [&](const HelperMessage&) {
        return Answer{.ending = Answer::Ending::reply, .bytes = Bytes(size, 'x')};
      },
      [] {});
  for (int round = 0; round < 5; ++round) {
    loop.schedule(std::chrono::milliseconds(1), [] {});
    loop.runRound();
  }
  Bytes answer(1000, '\0');
  const ssize_t count = read(client.get(), answer.data(), answer.size());
  answer.resize(static_cast<std::size_t>(std::max<ssize_t>(count, 0)));
  return answer;
}

TEST(ClientConnectionTest, AnAnswerThatTheBudgetDoesNotHoldEndsTheConnection) {
  EXPECT_EQ(answerWithin(100, 100), encodeFrame({FrameKind::reply, Bytes(100, 'x')}));
  EXPECT_EQ(answerWithin(100, 101), "");
}
}  // namespace
}  // namespace blindfold
