#import <dispatch/dispatch.h>

#include <algorithm>
#include <cassert>
#include <utility>

#include "blindfold/platform/macos/droppable_handler.h"
#include "blindfold/platform/macos/macos_platform.h"
#include "blindfold/platform/macos/scoped_reference.h"

namespace blindfold {
namespace {
/// A block that calls `work` once, to be scheduled or cancelled.
BlockReference<dispatch_block_t> makeBlock(const std::shared_ptr<DroppableHandler>& work) {
  // A block captures a reference as one, so it needs a value of its own.
  const auto shared = work;  // NOLINT(performance-unnecessary-copy-initialization)
  return BlockReference<dispatch_block_t>::adopting(
      dispatch_block_create(dispatch_block_flags_t{}, ^{
        shared->callOnce();
      }));
}

/// Work that shares its handler with the block that runs it, because dispatch keeps a scheduled
/// block until its time has come, cancelled or not.
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
  const BlockReference<dispatch_block_t> block_ = makeBlock(work_);
};
}  // namespace

void DispatchMainLoop::post(std::function<void()> work) {
  assert(work);
  dispatch_async(dispatch_get_main_queue(), ^{
    work();
  });
}

void DispatchMainLoop::run() {
  dispatch_main();
}

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
