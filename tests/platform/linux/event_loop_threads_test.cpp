// The event loop and its connections under several threads. Built with the thread sanitizer this
// shows that no state is touched unguarded.

#include <gtest/gtest.h>
#include <poll.h>
#include <sched.h>
#include <sys/eventfd.h>

#include <atomic>
#include <chrono>
#include <filesystem>
#include <functional>
#include <future>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "blindfold/platform/linux/event_loop.h"
#include "blindfold/platform/linux/linux_helper_connection.h"
#include "blindfold/platform/posix/file_descriptor.h"
#include "tests/platform/linux/test_helper.h"

namespace blindfold {
namespace {
using namespace std::chrono_literals;

constexpr auto deadline = 10s;
/// The time after which a thread that waits is taken to be asleep.
constexpr auto untilAsleep = 20ms;

/// Runs `act` on another thread once the calling thread is asleep.
std::thread later(std::function<void()> act) {
  return std::thread([act = std::move(act)] {
    std::this_thread::sleep_for(untilAsleep);
    act();
  });
}

/// The number of this process's threads.
int threadCount() {
  int count = 0;
  for ([[maybe_unused]] const auto& thread :
       std::filesystem::directory_iterator("/proc/self/task")) {
    ++count;
  }
  return count;
}

bool isReady(const std::future<void>& future) {
  return future.wait_for(deadline) == std::future_status::ready;
}

TEST(EventLoopThreadsTest, PostedWorkWakesASleepingLoop) {
  EventLoop loop;
  bool ran = false;
  std::thread other = later([&] { loop.post([&] { ran = true; }); });
  while (!ran) loop.runRound();
  other.join();
}

TEST(EventLoopThreadsTest, TimedWorkWakesASleepingLoop) {
  EventLoop loop;
  bool ran = false;
  std::thread other = later([&] { loop.schedule(1ms, [&] { ran = true; }); });
  while (!ran) loop.runRound();
  other.join();
}

TEST(EventLoopThreadsTest, PerformedWorkWakesASleepingLoopAndRunsOnItsServer) {
  EventLoop loop;
  std::thread::id thread;
  std::thread other = later([&] { loop.perform([&] { thread = std::this_thread::get_id(); }); });
  while (thread == std::thread::id()) loop.runRound();
  EXPECT_EQ(thread, std::this_thread::get_id());
  other.join();
}

TEST(EventLoopThreadsTest, TheServerPerformsWorkAtOnce) {
  EventLoop loop;
  bool ran = false;
  loop.perform([&] { ran = true; });
  EXPECT_TRUE(ran);
}

TEST(EventLoopThreadsTest, TimedWorkThatAnotherThreadCancelsDoesNotRun) {
  EventLoop loop;
  bool ran = false;
  const auto item = loop.schedule(200ms, [&] { ran = true; });
  bool isOver = false;
  loop.schedule(300ms, [&] { isOver = true; });
  std::thread other = later([&] { item->cancel(); });
  while (!isOver) loop.runRound();
  other.join();
  EXPECT_FALSE(ran);
}

TEST(EventLoopThreadsTest, ALoopThatNobodyServesStartsAThreadForItsWork) {
  EventLoop loop(EventLoop::Server::firstToServe);
  std::promise<std::thread::id> performed;
  std::promise<std::thread::id> timed;
  loop.perform([&] { performed.set_value(std::this_thread::get_id()); });
  loop.schedule(1ms, [&] { timed.set_value(std::this_thread::get_id()); });
  const std::thread::id thread = performed.get_future().get();
  EXPECT_NE(thread, std::this_thread::get_id());
  EXPECT_EQ(timed.get_future().get(), thread);
}

TEST(EventLoopThreadsTest, TimedWorkStartsTheThreadOfALoopThatNobodyServes) {
  EventLoop loop(EventLoop::Server::firstToServe);
  std::promise<void> timed;
  loop.schedule(1ms, [&] { timed.set_value(); });
  EXPECT_TRUE(isReady(timed.get_future()));
}

TEST(EventLoopThreadsTest, PostedWorkStartsNoThread) {
  EventLoop loop(EventLoop::Server::firstToServe);
  std::atomic<bool> ran = false;
  loop.post([&] { ran = true; });
  std::this_thread::sleep_for(untilAsleep);
  EXPECT_FALSE(ran);
}

/// Keeps the calling thread, and those that it starts meanwhile, on one processor.
class OneProcessor {
 public:
  OneProcessor() {
    EXPECT_EQ(sched_getaffinity(0, sizeof before_, &before_), 0);
    cpu_set_t one;
    CPU_ZERO(&one);
    CPU_SET(sched_getcpu(), &one);
    EXPECT_EQ(sched_setaffinity(0, sizeof one, &one), 0);
  }
  OneProcessor(const OneProcessor&) = delete;
  OneProcessor& operator=(const OneProcessor&) = delete;
  ~OneProcessor() { EXPECT_EQ(sched_setaffinity(0, sizeof before_, &before_), 0); }

 private:
  cpu_set_t before_{};
};

/// Lets the calling thread run only while no other thread on its processor does.
void runOnlyWhenNoOtherThreadDoes() {
  const sched_param priority{};
  EXPECT_EQ(sched_setscheduler(0, SCHED_IDLE, &priority), 0);
}

/// A loop whose main thread is one that never ends.
class ServedLoop {
 public:
  ServedLoop() {
    std::thread([loop = loop_] { loop->run(); }).detach();
  }

  EventLoop& operator*() const { return *loop_; }
  EventLoop* operator->() const { return loop_; }

  /// Runs `work` as posted work and waits for its end.
  bool run(const std::function<void()>& work) const {
    std::promise<void> ended;
    loop_->post([&] {
      work();
      ended.set_value();
    });
    return isReady(ended.get_future());
  }

 private:
  // Never destroyed: `run` does not return.
  EventLoop* const loop_ = std::make_unique<EventLoop>(EventLoop::Server::firstToServe).release();
};

TEST(EventLoopThreadsTest, TheThreadThatRunsTheLoopServesIt) {
  const ServedLoop loop;
  std::thread::id main;
  std::thread::id server;
  EXPECT_TRUE(loop.run([&] {
    main = std::this_thread::get_id();
    loop->perform([&] { server = std::this_thread::get_id(); });
  }));
  EXPECT_EQ(main, server);
}

TEST(EventLoopThreadsTest, AMainThreadThatBlocksLeavesTheServiceToAnother) {
  const ServedLoop loop;
  EXPECT_TRUE(loop.run([&] {
    loop->serveElsewhere(/*callerBlocks=*/true);
    std::promise<void> performed;
    loop->perform([&] { performed.set_value(); });
    EXPECT_TRUE(isReady(performed.get_future()));
  }));
  // Posted work still runs on the main thread.
  EXPECT_TRUE(loop.run([] {}));
}

TEST(EventLoopThreadsTest, ASleepingMainThreadLeavesTheServiceHoweverLateItWakes) {
  const OneProcessor oneProcessor;
  const ServedLoop loop;
  EXPECT_TRUE(loop.run(runOnlyWhenNoOtherThreadDoes));
  std::this_thread::sleep_for(untilAsleep);
  loop->serveElsewhere(/*callerBlocks=*/false);
  EXPECT_TRUE(loop.run([] {}));
}

TEST(EventLoopThreadsTest, AServerThatBlocksLeavesTheServiceToAnother) {
  EventLoop loop(EventLoop::Server::firstToServe);
  std::promise<void> inner;
  std::promise<void> outer;
  loop.perform([&] {
    loop.serveElsewhere(/*callerBlocks=*/true);
    loop.perform([&] { inner.set_value(); });
    EXPECT_TRUE(isReady(inner.get_future()));
    outer.set_value();
  });
  EXPECT_TRUE(isReady(outer.get_future()));
}

TEST(EventLoopThreadsTest, AHandlerThatLeavesTheServiceLeavesTheOtherHandlersToo) {
  EventLoop loop(EventLoop::Server::firstToServe);
  const FileDescriptor ready(eventfd(1, EFD_CLOEXEC));
  const FileDescriptor alsoReady(eventfd(1, EFD_CLOEXEC));
  std::promise<std::thread::id> next;
  std::promise<std::thread::id> first;
  loop.perform([&] {
    const auto leave = [&](short) {
      loop.unwatch(ready.get());
      loop.serveElsewhere(/*callerBlocks=*/true);
      first.set_value(std::this_thread::get_id());
    };
    const auto hear = [&](short) {
      loop.unwatch(alsoReady.get());
      next.set_value(std::this_thread::get_id());
    };
    loop.watch(ready.get(), POLLIN, leave);
    loop.watch(alsoReady.get(), POLLIN, hear);
  });
  EXPECT_NE(next.get_future().get(), first.get_future().get());
}

TEST(EventLoopThreadsTest, AServerThatDoesNotBlockKeepsTheService) {
  EventLoop loop(EventLoop::Server::firstToServe);
  std::promise<bool> isStillServer;
  loop.perform([&] {
    loop.serveElsewhere(/*callerBlocks=*/false);
    bool performedAtOnce = false;
    loop.perform([&] { performedAtOnce = true; });
    isStillServer.set_value(performedAtOnce);
  });
  EXPECT_TRUE(isStillServer.get_future().get());
}

TEST(EventLoopThreadsTest, AThreadThatLeftTheServiceEnds) {
  std::thread([] {}).join();  // The thread sanitizer starts one of its own with the first.
  const int threadsBefore = threadCount();
  EventLoop loop(EventLoop::Server::firstToServe);
  for (int count = 0; count < 20; ++count) {
    std::promise<void> inner;
    loop.perform([&] {
      loop.serveElsewhere(/*callerBlocks=*/true);
      loop.perform([&] { inner.set_value(); });
    });
    ASSERT_TRUE(isReady(inner.get_future()));
  }
  const auto end = std::chrono::steady_clock::now() + deadline;
  while (threadCount() > threadsBefore + 1 && std::chrono::steady_clock::now() < end) {
    std::this_thread::yield();
  }
  EXPECT_LE(threadCount(), threadsBefore + 1);
}

TEST(EventLoopThreadsTest, WorkFromManyThreadsAllRuns) {
  constexpr int threads = 4;
  constexpr int works = 2'500;
  EventLoop loop;
  std::atomic<int> ran = 0;
  std::vector<std::thread> others;
  for (int thread = 0; thread < threads; ++thread) {
    others.emplace_back([&] {
      for (int work = 0; work < works; ++work) {
        loop.post([&] { ++ran; });
        loop.schedule(std::chrono::microseconds(work % 100), [&] { ++ran; });
        loop.schedule(1h, [&] { ++ran; })->cancel();
      }
    });
  }
  while (ran < 2 * threads * works) loop.runRound();
  for (std::thread& other : others) other.join();
  EXPECT_EQ(ran, 2 * threads * works);
}

TEST(EventLoopThreadsTest, ConnectionsOfManyThreadsAreEachAnswered) {
  const TestHelper helper(answering({FrameKind::reply, "{}"}));
  EventLoop loop(EventLoop::Server::firstToServe);
  LinuxHelperConnectionProvider provider(loop);
  std::vector<std::thread> clients;
  std::atomic<int> replies = 0;
  for (int client = 0; client < 8; ++client) {
    clients.emplace_back([&] {
      std::promise<void> replied;
      const auto connection = provider.makePrivilegedConnection(helper.name());
      connection->resume();
      connection->remoteObjectProxy([](const PlatformError&) {})
          ->send({HelperMethod::currentState, NoArgument{}}, [&](const Bytes&) {
            ++replies;
            replied.set_value();
          });
      EXPECT_TRUE(isReady(replied.get_future()));
      connection->invalidate();
    });
  }
  for (std::thread& client : clients) client.join();
  EXPECT_EQ(replies, 8);
}
}  // namespace
}  // namespace blindfold
