#pragma once

#include <functional>
#include <memory>

namespace blindfold {

/// Work to be done once, later, unless it is cancelled before.
class WorkItem {
 public:
  WorkItem() = default;
  WorkItem(const WorkItem&) = delete;
  WorkItem& operator=(const WorkItem&) = delete;
  virtual ~WorkItem() = default;

  /// Keeps the work from starting, if it has not started yet, and lets go of what it captures.
  /// Never waits for work that runs already. Any thread may call, more than once, and before the
  /// item is scheduled: an item that was cancelled first never runs.
  virtual void cancel() = 0;
};

/// A queue that runs work after a delay, on a thread of its own choice and never inside a call of
/// this class. Delays run on a clock that neither sets nor leaps (POSIX CLOCK_MONOTONIC).
class TimedWorkQueue {
 public:
  TimedWorkQueue() = default;
  TimedWorkQueue(const TimedWorkQueue&) = delete;
  TimedWorkQueue& operator=(const TimedWorkQueue&) = delete;
  virtual ~TimedWorkQueue() = default;

  /// An item for `work`, which must not throw. It does nothing until it is scheduled.
  virtual std::shared_ptr<WorkItem> makeWorkItem(std::function<void()> work) = 0;

  /// Runs `item`, one of this queue's, once `seconds` from now have passed. Each item once.
  virtual void schedule(const std::shared_ptr<WorkItem>& item, double seconds) = 0;
};

}  // namespace blindfold
