#include "platform/macos/dispatch_timed_work.h"

#import <dispatch/dispatch.h>

#include <cstdint>
#include <utility>

#include "platform/macos/droppable_handler.h"
#include "platform/macos/holders.h"

namespace blindfold {

namespace {

/// The longest delay: a year, far from where nanoseconds overflow.
constexpr double longestDelay = 366.0 * 24 * 60 * 60;

/// `seconds` for `dispatch_time`; not a number counts as no delay.
std::int64_t nanosecondsOf(double seconds) {
  if (!(seconds > 0)) return 0;
  const double bounded = seconds < longestDelay ? seconds : longestDelay;
  return static_cast<std::int64_t>(bounded * static_cast<double>(NSEC_PER_SEC));
}

/// Dispatch keeps a scheduled block until its time has come, cancelled or not. So the block shares
/// the work with the item, which can let go of it at once.
class DispatchWorkItem final : public WorkItem {
 public:
  explicit DispatchWorkItem(std::shared_ptr<DroppableHandler> work)
      : work_(work),
        block_(BlockHolder<dispatch_block_t>::adopting(
            dispatch_block_create(dispatch_block_flags_t{}, ^{
              work->callOnce();
            }))) {}

  void cancel() override {
    dispatch_block_cancel(block_.get());
    work_->drop();
  }

  dispatch_block_t block() const { return block_.get(); }

 private:
  std::shared_ptr<DroppableHandler> work_;
  BlockHolder<dispatch_block_t> block_;
};

}  // namespace

std::shared_ptr<WorkItem> DispatchTimedWorkQueue::makeWorkItem(std::function<void()> work) {
  const auto shared = std::make_shared<DroppableHandler>();
  shared->set(std::move(work));
  return std::make_shared<DispatchWorkItem>(shared);
}

void DispatchTimedWorkQueue::schedule(const std::shared_ptr<WorkItem>& item, double seconds) {
  dispatch_after(dispatch_time(DISPATCH_TIME_NOW, nanosecondsOf(seconds)),
                 dispatch_get_global_queue(QOS_CLASS_UTILITY, 0),
                 static_cast<const DispatchWorkItem&>(*item).block());
}

}  // namespace blindfold
