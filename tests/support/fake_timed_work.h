#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <mutex>
#include <sstream>
#include <utility>
#include <vector>

#include "blindfold/platform/timed_work.h"
#include "tests/support/call_log.h"

namespace blindfold {

/// A queue on which time passes when the test says so. Any thread may call.
class FakeTimedWorkQueue final : public TimedWorkQueue {
 public:
  class Item final : public WorkItem {
   public:
    Item(CallLog& log, std::function<void()> work) : log_(log), work_(std::move(work)) {}

    void cancel() override {
      log_.add("cancel the time limit");
      takeWork();
    }

    /// The delay passes: the work runs unless it has been cancelled.
    void elapse() {
      if (const auto work = takeWork()) work();
    }

   private:
    std::function<void()> takeWork() {
      const std::lock_guard guard(lock_);
      return std::exchange(work_, nullptr);
    }

    CallLog& log_;
    std::mutex lock_;
    std::function<void()> work_;
  };

  explicit FakeTimedWorkQueue(CallLog& log) : log_(log) {}

  std::shared_ptr<WorkItem> schedule(std::chrono::nanoseconds delay,
                                     std::function<void()> work) override {
    std::ostringstream call;
    call << "schedule the time limit in " << std::chrono::duration<double>(delay).count() << " s";
    log_.add(call.str());
    auto item = std::make_shared<Item>(log_, std::move(work));
    const std::lock_guard guard(lock_);
    scheduled_.push_back(item);
    return item;
  }

  /// Takes over the items scheduled so far.
  std::vector<std::shared_ptr<Item>> takeScheduled() {
    const std::lock_guard guard(lock_);
    return std::exchange(scheduled_, {});
  }

  /// The delays of all items scheduled so far pass.
  void elapse() {
    for (const auto& item : takeScheduled()) item->elapse();
  }

 private:
  CallLog& log_;
  std::mutex lock_;
  std::vector<std::shared_ptr<Item>> scheduled_;
};

}  // namespace blindfold
