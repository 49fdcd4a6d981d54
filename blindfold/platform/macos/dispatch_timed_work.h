#pragma once

#include "blindfold/platform/timed_work.h"

namespace blindfold {

/// Dispatch's global queue of quality-of-service class utility.
class DispatchTimedWorkQueue final : public TimedWorkQueue {
 public:
  std::shared_ptr<WorkItem> schedule(std::chrono::nanoseconds delay,
                                     std::function<void()> work) override;
};

}  // namespace blindfold
