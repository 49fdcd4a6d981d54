#include "blindfold/platform/linux/event_loop.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <functional>
#include <memory>
#include <thread>
#include <utility>
#include <vector>

#include "tests/platform/linux/event_loop_test.h"
#include "tests/platform/linux/signal_storm.h"

namespace blindfold {
namespace {
using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;
using std::chrono::nanoseconds;
using std::chrono::seconds;
using testing::ElementsAre;

TEST(EventLoopTest, PostedWorkRunsInTheOrderOfPosting) {
  EventLoop loop;
  std::vector<int> ran;
  for (int i = 0; i < 5; ++i) loop.post([&ran, i] { ran.push_back(i); });
  loop.runRound();
  EXPECT_THAT(ran, ElementsAre(0, 1, 2, 3, 4));
}

TEST(EventLoopTest, PostedWorkNeverRunsInsidePost) {
  EventLoop loop;
  bool ran = false;
  loop.post([&] { ran = true; });
  EXPECT_FALSE(ran);
}

TEST(EventLoopTest, WorkPostedByWorkRunsInTheNextRoundWithoutWaiting) {
  EventLoop loop;
  std::vector<int> ran;
  loop.post([&] {
    loop.post([&] { ran.push_back(2); });
    ran.push_back(1);
  });
  loop.runRound();
  EXPECT_THAT(ran, ElementsAre(1));
  loop.runRound();
  EXPECT_THAT(ran, ElementsAre(1, 2));
}

TEST(EventLoopTest, PostedWorkMayRunARoundOfItsOwn) {
  EventLoop loop;
  std::vector<int> ran;
  loop.post([&] {
    ran.push_back(1);
    loop.runRound();
    ran.push_back(3);
  });
  loop.post([&] { ran.push_back(2); });
  loop.runRound();
  EXPECT_THAT(ran, ElementsAre(1, 2, 3));
}

TEST(EventLoopTest, PostedWorkIsLetGoOfBeforeTheNextWorkRuns) {
  EventLoop loop;
  auto captured = std::make_shared<int>();
  const std::weak_ptr<int> watcher = captured;
  bool expired = false;
  loop.post([captured = std::move(captured)] {});
  loop.post([&] { expired = watcher.expired(); });
  loop.runRound();
  EXPECT_TRUE(expired);
}

TEST(EventLoopTest, TheLoopRunsUntilWorkEndsTheProcess) {
  const auto countToThree = [] {
    EventLoop loop;
    int rounds = 0;
    std::function<void()> work = [&] {
      if (++rounds == 3) std::_Exit(rounds);
      loop.post(work);
    };
    loop.post(work);
    loop.run();
  };
  EXPECT_EXIT(countToThree(), testing::ExitedWithCode(3), "");
}

TEST(EventLoopTest, TimedWorkRunsInTheOrderOfItsDeadlines) {
  EventLoop loop;
  std::vector<int> ran;
  loop.schedule(milliseconds(20), [&] { ran.push_back(2); });
  loop.schedule(milliseconds(10), [&] { ran.push_back(1); });
  while (ran.size() < 2) loop.runRound();
  EXPECT_THAT(ran, ElementsAre(1, 2));
}

TEST(EventLoopTest, TimedWorkNeverRunsEarly) {
  EventLoop loop;
  for (const int delay : {1, 3, 10, 25}) {
    bool ran = false;
    const auto start = Clock::now();
    loop.schedule(milliseconds(delay), [&] { ran = true; });
    while (!ran) loop.runRound();
    EXPECT_GE(Clock::now() - start, milliseconds(delay));
  }
}

TEST(EventLoopTest, TimedWorkNeverRunsInsideSchedule) {
  EventLoop loop;
  bool ran = false;
  loop.schedule(milliseconds(0), [&] { ran = true; });
  EXPECT_FALSE(ran);
}

TEST(EventLoopTest, AnItemRunsOnce) {
  EventLoop loop;
  int runs = 0;
  const auto item = loop.schedule(milliseconds(0), [&] { ++runs; });
  loop.runRound();
  loop.post([] {});
  loop.runRound();
  EXPECT_EQ(runs, 1);
}

TEST(EventLoopTest, ANegativeDelayIsNone) {
  for (const auto delay : {nanoseconds(0), nanoseconds(-1), nanoseconds::min()}) {
    EventLoop loop;
    bool ran = false;
    loop.schedule(delay, [&] { ran = true; });
    loop.runRound();
    EXPECT_TRUE(ran) << delay.count();
  }
}

TEST(EventLoopTest, TheLongestDelayNeitherRunsNorHoldsUpOtherWork) {
  for (const auto delay : {nanoseconds(maximumDelay), nanoseconds::max()}) {
    ImpatientLoop loop;
    bool ran = false;
    loop.loop.schedule(delay, [&] { ran = true; });
    loop.runRound();
    loop.runRound();
    EXPECT_FALSE(ran) << delay.count();
  }
}

TEST(EventLoopTest, ACancelledItemDoesNotRun) {
  ImpatientLoop loop;
  bool ran = false;
  const auto item = loop.loop.schedule(milliseconds(0), [&] { ran = true; });
  item->cancel();
  item->cancel();
  loop.runRound();
  EXPECT_FALSE(ran);
}

TEST(EventLoopTest, CancellingLetsGoOfTheWorkAtOnce) {
  EventLoop loop;
  auto captured = std::make_shared<int>();
  const std::weak_ptr<int> watcher = captured;
  const auto item = loop.schedule(seconds(12), [captured = std::move(captured)] {});
  item->cancel();
  EXPECT_TRUE(watcher.expired());
}

TEST(EventLoopTest, CancellingLetsGoOfTheItemAtOnce) {
  EventLoop loop;
  auto item = loop.schedule(seconds(12), [] {});
  const std::weak_ptr<WorkItem> watcher = item;
  item->cancel();
  item.reset();
  EXPECT_TRUE(watcher.expired());
}

TEST(EventLoopTest, AnItemIsLetGoOfOnceItHasRun) {
  EventLoop loop;
  auto captured = std::make_shared<int>();
  const std::weak_ptr<int> watcher = captured;
  const auto item = loop.schedule(milliseconds(0), [captured = std::move(captured)] {});
  loop.runRound();
  EXPECT_TRUE(watcher.expired());
}

TEST(EventLoopTest, WorkMayCancelItsOwnItem) {
  EventLoop loop;
  std::shared_ptr<WorkItem> item;
  auto captured = std::make_shared<int>(0);
  item = loop.schedule(milliseconds(0), [&item, captured] {
    item->cancel();
    ++*captured;
  });
  loop.runRound();
  EXPECT_EQ(*captured, 1);
}

TEST(EventLoopTest, WorkMayCancelAnotherItemThatIsDueInTheSameRound) {
  EventLoop loop;
  bool ran = false;
  std::shared_ptr<WorkItem> second;
  loop.schedule(milliseconds(0), [&] { second->cancel(); });
  second = loop.schedule(milliseconds(0), [&] { ran = true; });
  loop.runRound();
  EXPECT_FALSE(ran);
}

TEST(EventLoopTest, AnItemOutlivesItsLoop) {
  std::shared_ptr<WorkItem> item;
  auto captured = std::make_shared<int>();
  const std::weak_ptr<int> watcher = captured;
  {
    EventLoop loop;
    item = loop.schedule(seconds(12), [captured = std::move(captured)] {});
  }
  EXPECT_TRUE(watcher.expired());
  item->cancel();
}

TEST(EventLoopTest, TimedWorkRunsUnderAFloodOfPosts) {
  EventLoop loop;
  bool ran = false;
  std::function<void()> flood = [&] { loop.post(flood); };
  loop.post(flood);
  loop.schedule(milliseconds(10), [&] { ran = true; });
  const auto start = Clock::now();
  while (!ran && Clock::now() - start < std::chrono::seconds(5)) loop.runRound();
  EXPECT_TRUE(ran);
}

TEST(EventLoopTest, TheLoopLetsGoOfWorkAndHandlersWithoutCallingThem) {
  const Pipe pipe = makePipe();
  pipe.fill();
  bool ran = false;
  auto captured = std::make_shared<int>();
  const std::weak_ptr<int> watcher = captured;
  {
    EventLoop loop;
    const auto work = [captured = std::move(captured), &ran] { ran = true; };
    loop.post(work);
    loop.schedule(milliseconds(0), work);
    loop.watch(pipe.reader.get(), POLLIN, [work](short) { work(); });
    std::thread([&] { loop.perform(work); }).join();
  }
  EXPECT_TRUE(watcher.expired());
  EXPECT_FALSE(ran);
}

TEST(EventLoopTest, WhatALoopLetsGoOfMayCallItOnceMore) {
  const Pipe pipe = makePipe();
  int farewells = 0;
  {
    EventLoop loop;
    const auto item = loop.schedule(seconds(12), [] {});
    const auto sayFarewell = [&loop, &pipe, &farewells, item](void*) {
      loop.unwatch(pipe.reader.get());
      item->cancel();
      ++farewells;
    };
    int nothing = 0;
    std::shared_ptr<void> owner(&nothing, sayFarewell);
    loop.post([owner] {});
    std::shared_ptr<void> other(&nothing, sayFarewell);
    loop.watch(pipe.reader.get(), POLLIN, [other](short) {});
    owner.reset();
    other.reset();
  }
  EXPECT_EQ(farewells, 2);
}

TEST(EventLoopTest, SignalsDoNotEndAWaitEarly) {
  const SignalStorm storm;
  EventLoop loop;
  bool ran = false;
  const auto start = Clock::now();
  loop.schedule(milliseconds(100), [&] { ran = true; });
  while (!ran) loop.runRound();
  EXPECT_GE(Clock::now() - start, milliseconds(100));
  EXPECT_GT(storm.signalCount(), 0);
}

/// Runs `body` in a process that stops itself within it, calls `whileStopped`, lets it go on, and
/// returns its exit status.
template <class Body, class WhileStopped>
int runStoppingProcess(Body body, WhileStopped whileStopped) {
  const pid_t child = fork();
  if (child == 0) {
    prctl(PR_SET_PDEATHSIG, SIGKILL);  // or it would stay stopped behind a test that is killed
    std::_Exit(body());
  }
  int status = 0;
  EXPECT_EQ(waitpid(child, &status, WUNTRACED), child);
  EXPECT_TRUE(WIFSTOPPED(status));
  whileStopped();
  kill(child, SIGCONT);
  EXPECT_EQ(waitpid(child, &status, 0), child);
  return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

TEST(EventLoopTest, AStopAndAContinuationDoNotEndAWaitEarly) {
  const auto waitThroughAStop = [] {
    EventLoop loop;
    bool ran = false;
    const auto start = Clock::now();
    loop.schedule(milliseconds(100), [&] { ran = true; });
    loop.post([] { raise(SIGSTOP); });
    while (!ran) loop.runRound();
    return Clock::now() - start >= milliseconds(100) ? 0 : 1;
  };
  EXPECT_EQ(runStoppingProcess(waitThroughAStop, [] { usleep(10'000); }), 0);
}

TEST(EventLoopTest, WhatArrivedDuringAStopCountsBeforeTheTimeLimitThatPassedWithIt) {
  const Pipe pipe = makePipe();
  const auto tellWhichCameFirst = [&] {
    EventLoop loop;
    std::vector<int> came;
    loop.schedule(milliseconds(20), [&] { came.push_back(2); });
    loop.watch(pipe.reader.get(), POLLIN, [&](short) { came.push_back(1); });
    loop.post([] { raise(SIGSTOP); });
    while (came.empty()) loop.runRound();
    return came.front();
  };
  const auto answerLate = [&] {
    pipe.fill();
    usleep(50'000);
  };
  EXPECT_EQ(runStoppingProcess(tellWhichCameFirst, answerLate), 1);
}
}  // namespace
}  // namespace blindfold
