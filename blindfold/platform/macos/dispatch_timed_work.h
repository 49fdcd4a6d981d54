#pragma once

#include "blindfold/platform/timed_work.h"

namespace blindfold {

/// Dispatch's global queue of quality-of-service class utility.
class DispatchTimedWorkQueue final : public TimedWorkQueue {
 public:
  std::shared_ptr<WorkItem> makeWorkItem(std::function<void()> work) override;
  void schedule(const std::shared_ptr<WorkItem>& item, double seconds) override;
};

}  // namespace blindfold
