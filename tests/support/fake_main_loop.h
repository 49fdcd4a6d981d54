#pragma once

#include <cstdlib>
#include <deque>
#include <functional>
#include <mutex>
#include <utility>

#include "blindfold/platform/main_loop.h"

namespace blindfold {

/// A main loop that a test turns by hand. Any thread may post; one thread turns it.
class FakeMainLoop final : public MainLoop {
 public:
  void post(std::function<void()> work) override {
    const std::lock_guard guard(lock_);
    work_.push_back(std::move(work));
  }

  /// Runs posted work, and what it posts, until nothing is left.
  void runUntilIdle() {
    while (auto work = takeFirst()) work();
  }

  void serveElsewhere(bool /*callerBlocks*/) override {}

  [[noreturn]] void run() override {
    runUntilIdle();
    std::abort();  // A program that waits for nothing would hang here.
  }

 private:
  std::function<void()> takeFirst() {
    const std::lock_guard guard(lock_);
    if (work_.empty()) return nullptr;
    auto first = std::move(work_.front());
    work_.pop_front();
    return first;
  }

  std::mutex lock_;
  std::deque<std::function<void()>> work_;
};

}  // namespace blindfold
