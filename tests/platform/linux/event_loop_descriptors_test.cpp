// The descriptors that a loop watches.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <poll.h>

#include <array>
#include <cstddef>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "blindfold/platform/linux/event_loop.h"
#include "tests/platform/linux/event_loop_test.h"

namespace blindfold {
namespace {
using testing::ElementsAre;

TEST(EventLoopTest, ADescriptorIsServedUnderAFloodOfPosts) {
  EventLoop loop;
  const Pipe pipe = makePipe();
  pipe.fill();
  bool served = false;
  std::function<void()> flood = [&] { loop.post(flood); };
  loop.post(flood);
  loop.watch(pipe.reader.get(), POLLIN, [&](short) { served = true; });
  runRounds(loop, 2);
  EXPECT_TRUE(served);
}

TEST(EventLoopTest, AHandlerIsToldWhatItsDescriptorIsReadyFor) {
  EventLoop loop;
  const Pipe pipe = makePipe();
  pipe.fill();
  short told = 0;
  loop.watch(pipe.reader.get(), POLLIN, [&](short revents) { told = revents; });
  loop.runRound();
  EXPECT_EQ(told, POLLIN);
}

TEST(EventLoopTest, AHandlerIsToldThatTheOtherEndHasGone) {
  EventLoop loop;
  Pipe pipe = makePipe();
  short told = 0;
  loop.watch(pipe.reader.get(), POLLIN, [&](short revents) { told = revents; });
  pipe.writer.reset();
  loop.runRound();
  EXPECT_EQ(told, POLLHUP);
}

TEST(EventLoopTest, AHandlerIsCalledAgainWhileItsDescriptorStaysReady) {
  EventLoop loop;
  const Pipe pipe = makePipe();
  pipe.fill();
  int calls = 0;
  loop.watch(pipe.reader.get(), POLLIN, [&](short) { ++calls; });
  runRounds(loop, 3);
  EXPECT_EQ(calls, 3);
}

TEST(EventLoopTest, WatchingAgainReplacesEventsAndHandler) {
  EventLoop loop;
  const Pipe pipe = makePipe();
  std::vector<std::string> called;
  loop.watch(pipe.writer.get(), POLLIN, [&](short) { called.emplace_back("replaced"); });
  loop.watch(pipe.writer.get(), POLLOUT, [&](short) { called.emplace_back("present"); });
  loop.runRound();
  EXPECT_THAT(called, ElementsAre("present"));
}

TEST(EventLoopTest, AnUnwatchedDescriptorIsNotServed) {
  ImpatientLoop loop;
  const Pipe pipe = makePipe();
  pipe.fill();
  bool served = false;
  loop.loop.watch(pipe.reader.get(), POLLIN, [&](short) { served = true; });
  loop.loop.unwatch(pipe.reader.get());
  loop.loop.unwatch(pipe.reader.get());
  loop.runRound();
  EXPECT_FALSE(served);
}

TEST(EventLoopTest, AHandlerMayUnwatchItsOwnDescriptorAndGoOn) {
  ImpatientLoop loop;
  const Pipe pipe = makePipe();
  pipe.fill();
  const auto calls = std::make_shared<int>(0);
  loop.loop.watch(pipe.reader.get(), POLLIN, [&loop, &pipe, calls](short) {
    loop.loop.unwatch(pipe.reader.get());
    ++*calls;
  });
  loop.runRound();
  loop.runRound();
  EXPECT_EQ(*calls, 1);
  EXPECT_EQ(calls.use_count(), 1);
}

TEST(EventLoopTest, AHandlerMayUnwatchAnotherReadyDescriptorOfTheSameRound) {
  EventLoop loop;
  const std::array<Pipe, 2> pipes{makePipe(), makePipe()};
  std::vector<int> served;
  for (int own = 0; own < 2; ++own) {
    pipes.at(static_cast<std::size_t>(own)).fill();
    const int other = pipes.at(static_cast<std::size_t>(1 - own)).reader.get();
    loop.watch(pipes.at(static_cast<std::size_t>(own)).reader.get(), POLLIN,
               [&loop, &served, own, other](short) {
                 served.push_back(own);
                 loop.unwatch(other);
               });
  }
  loop.runRound();
  EXPECT_EQ(served.size(), 1U);
}

TEST(EventLoopTest, AWatchMadeDuringARoundDoesNotHearOfItsPredecessorsReadiness) {
  EventLoop loop;
  const std::array<Pipe, 2> pipes{makePipe(), makePipe()};
  bool heard = false;
  const auto replaceBoth = [&](short) {
    for (const auto& each : pipes) {
      loop.watch(each.reader.get(), POLLIN, [&](short) { heard = true; });
    }
  };
  for (const auto& each : pipes) {
    each.fill();
    loop.watch(each.reader.get(), POLLIN, replaceBoth);
  }
  loop.runRound();
  EXPECT_FALSE(heard);
  loop.runRound();
  EXPECT_TRUE(heard);
}
}  // namespace
}  // namespace blindfold
