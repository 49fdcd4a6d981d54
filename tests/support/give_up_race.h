#pragma once

#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <random>
#include <thread>
#include <utility>
#include <vector>

#include "blindfold/helperclient/run_task.h"

namespace blindfold {

/// Waits until `condition` holds. Returns whether it does, after ten seconds at the latest.
inline bool eventually(const std::function<bool()>& condition) {
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(10);
  while (!condition()) {
    if (std::chrono::steady_clock::now() > deadline) return false;
    std::this_thread::sleep_for(std::chrono::microseconds(50));
  }
  return true;
}

/// Threads that run work, each piece on any of them. Destroying it runs what is left.
class WorkThreads {
 public:
  explicit WorkThreads(int count) {
    for (int index = 0; index < count; ++index) {
      threads_.emplace_back([this] { run(); });
    }
  }
  WorkThreads(const WorkThreads&) = delete;
  WorkThreads& operator=(const WorkThreads&) = delete;
  ~WorkThreads() {
    {
      const std::lock_guard guard(lock_);
      isEnding_ = true;
    }
    added_.notify_all();
    for (std::thread& thread : threads_) thread.join();
  }

  void add(std::function<void()> work) {
    const std::lock_guard guard(lock_);
    work_.push_back(std::move(work));
    added_.notify_one();
  }

 private:
  void run() {
    std::unique_lock guard(lock_);
    for (;;) {
      added_.wait(guard, [&] { return isEnding_ || !work_.empty(); });
      if (work_.empty()) return;
      auto work = std::move(work_.front());
      work_.pop_front();
      guard.unlock();
      work();
      work = nullptr;
      guard.lock();
    }
  }

  std::mutex lock_;
  std::condition_variable added_;
  std::deque<std::function<void()>> work_;
  bool isEnding_ = false;
  std::vector<std::thread> threads_;
};

/// Starts tasks from several threads and gives each up at a random moment, from a random thread.
/// All other events are the test's business.
///
/// Checks, for each task: once it is given up its callback does not run, and nothing is left of the
/// callback or of the coroutine; a task that is not given up ends.
class GiveUpRace {
 public:
  /// Makes the task that is given up; `number` tells it from the others.
  using MakeTask = std::function<Task<void>(int number)>;

  /// Waits until the task with this number is about to be answered, and has it answered. For the
  /// moment between an answer and the resumption of its caller.
  using Answer = std::function<void(int number)>;

  /// A task that waits is given up after `longestPause` at the latest.
  GiveUpRace(MakeTask makeTask, Answer answer, std::chrono::microseconds longestPause)
      : makeTask_(std::move(makeTask)), answer_(std::move(answer)), longestPause_(longestPause) {}

  /// Starts the tasks with the numbers from `first` on and returns when all of them have ended.
  void run(int first, int count) {
    std::vector<std::thread> starters;
    for (int starter = 0; starter < starterCount; ++starter) {
      starters.emplace_back([=, this] {
        std::minstd_rand random(static_cast<unsigned>(first + starter + 1));
        for (int number = first + starter; number < first + count; number += starterCount) {
          runTask(number, random);
        }
      });
    }
    for (std::thread& starter : starters) starter.join();
    EXPECT_TRUE(eventually([&] { return underWay_ == 0; })) << underWay_ << " are under way";
  }

  /// The tasks that ended with their callback, and those that were given up before.
  int calledBack() const { return calledBack_; }
  int givenUp() const { return givenUp_; }

 private:
  static constexpr int starterCount = 4;
  static constexpr int threadCount = 2;

  enum class Moment { beforeItsStart, afterItsStart, whileItWaits, onceAnswered, inItsCallback };
  static constexpr std::array moments{Moment::beforeItsStart, Moment::afterItsStart,
                                      Moment::whileItWaits, Moment::onceAnswered,
                                      Moment::inItsCallback};

  /// Counts the objects that a task's coroutine and its callback own.
  using Token = std::shared_ptr<const int>;

  struct Request {
    Moment moment;
    std::weak_ptr<const int> token;
    StartedTask task;
    std::atomic<bool> isStored = false;
    std::atomic<bool> isGivenUp = false;
    std::atomic<bool> isCalledBack = false;
  };

  static Task<void> owning(Token token, Task<void> task) {
    const Token kept = std::move(token);
    co_await std::move(task);
  }

  void runTask(int number, std::minstd_rand& random) {
    const auto request = std::make_shared<Request>();
    request->moment = moments[random() % moments.size()];
    auto token = std::make_shared<const int>(number);
    request->token = token;
    auto task = owning(token, makeTask_(number));
    if (request->moment == Moment::beforeItsStart) {
      token = nullptr;
      ++givenUp_;
      return;
    }
    ++underWay_;
    request->task = start(
        std::move(task),
        [this, request, token = std::move(token)](const TaskResult<void>&) { callBack(*request); },
        [this](std::function<void()> work) { callbacks_.add(std::move(work)); });
    request->isStored = true;
    request->isStored.notify_all();
    end(number, request, longestPause_ * (random() % 100) / 100);
  }

  void end(int number, const std::shared_ptr<Request>& request, std::chrono::microseconds pause) {
    switch (request->moment) {
      case Moment::beforeItsStart:
      case Moment::afterItsStart:
        return giveUp(*request);
      case Moment::whileItWaits:
        return giversUp_.add([this, request, pause] {
          std::this_thread::sleep_for(pause);
          giveUp(*request);
        });
      case Moment::onceAnswered:
        answer_(number);
        return giveUp(*request);
      case Moment::inItsCallback:
        return;
    }
  }

  void giveUp(Request& request) {
    request.task.giveUp();
    request.isGivenUp = true;
    EXPECT_TRUE(request.token.expired()) << "something is left of a task that was given up";
    if (!request.isCalledBack) ++givenUp_;
    --underWay_;
  }

  void callBack(Request& request) {
    EXPECT_FALSE(request.isGivenUp) << "a task that was given up called back";
    request.isCalledBack = true;
    ++calledBack_;
    if (request.moment != Moment::inItsCallback) return;
    request.isStored.wait(false);
    request.task.giveUp();
    --underWay_;
  }

  const MakeTask makeTask_;
  const Answer answer_;
  const std::chrono::microseconds longestPause_;
  std::atomic<int> underWay_ = 0;
  std::atomic<int> calledBack_ = 0;
  std::atomic<int> givenUp_ = 0;
  WorkThreads callbacks_{threadCount};
  WorkThreads giversUp_{threadCount};
};

}  // namespace blindfold
