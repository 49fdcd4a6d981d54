#pragma once

#include <chrono>
#include <functional>
#include <memory>

namespace blindfold {

/// The longest delay of timed work: a year, far below the range of every platform's clock.
inline constexpr std::chrono::nanoseconds maximumDelay = std::chrono::hours(24) * 366;

/// Work that runs once, later, unless it is cancelled first.
class WorkItem {
 public:
  WorkItem() = default;
  WorkItem(const WorkItem&) = delete;
  WorkItem& operator=(const WorkItem&) = delete;
  virtual ~WorkItem() = default;

  /// Prevents the work from starting, if it has not started, and destroys what it captures. Does
  /// not wait for work that is running. Any thread may call, more than once, also after the queue
  /// is gone.
  virtual void cancel() = 0;
};

/// A queue that runs work after a delay, on a thread of its own choice and never inside a call of
/// this class. Delays run on a clock that setting the time does not move: CLOCK_MONOTONIC on Linux,
/// and on macOS the clock of dispatch_time(3), which stands still while the machine sleeps. Work
/// never starts early; on macOS it may start late by a tenth of its delay (dispatch_after(3)).
class TimedWorkQueue {
 public:
  TimedWorkQueue() = default;
  TimedWorkQueue(const TimedWorkQueue&) = delete;
  TimedWorkQueue& operator=(const TimedWorkQueue&) = delete;
  virtual ~TimedWorkQueue() = default;

  /// Runs `work`, which is not null and does not throw, once `delay` from now has passed. A
  /// negative delay is none, and one above `maximumDelay` is `maximumDelay`. The queue keeps the
  /// work whether or not the caller keeps the item; both destroy it once it has run.
  virtual std::shared_ptr<WorkItem> schedule(std::chrono::nanoseconds delay,
                                             std::function<void()> work) = 0;
};

}  // namespace blindfold
