#include "blindfold/platform/macos/dispatch_timed_work.h"

#import <dispatch/dispatch.h>

#include <algorithm>
#include <cassert>
#include <utility>

#include "blindfold/platform/macos/droppable_handler.h"
#include "blindfold/platform/macos/holders.h"

namespace blindfold {

namespace {

/// A block that calls `work`, to be scheduled or cancelled.
BlockHolder<dispatch_block_t> makeBlock(const std::shared_ptr<DroppableHandler>& work) {
  // A block captures a reference as one, so it needs a value of its own.
  const auto shared = work;  // NOLINT(performance-unnecessary-copy-initialization)
  return BlockHolder<dispatch_block_t>::adopting(dispatch_block_create(dispatch_block_flags_t{}, ^{
    shared->callOnce();
  }));
}

/// Dispatch keeps a scheduled block until its time has come, cancelled or not. So the block shares
/// the work with the item, which can let go of it at once.
class DispatchWorkItem final : public WorkItem {
 public:
  explicit DispatchWorkItem(std::function<void()> work) { work_->set(std::move(work)); }

  void cancel() override {
    dispatch_block_cancel(block_.get());
    work_->drop();
  }

  dispatch_block_t block() const { return block_.get(); }

 private:
  const std::shared_ptr<DroppableHandler> work_ = std::make_shared<DroppableHandler>();
  const BlockHolder<dispatch_block_t> block_ = makeBlock(work_);
};

}  // namespace

std::shared_ptr<WorkItem> DispatchTimedWorkQueue::schedule(std::chrono::nanoseconds delay,
                                                           std::function<void()> work) {
  assert(work);
  const auto item = std::make_shared<DispatchWorkItem>(std::move(work));
  const auto bounded = std::clamp(delay, std::chrono::nanoseconds::zero(), maximumDelay);
  dispatch_after(dispatch_time(DISPATCH_TIME_NOW, bounded.count()),
                 dispatch_get_global_queue(QOS_CLASS_UTILITY, 0), item->block());
  return item;
}

}  // namespace blindfold
