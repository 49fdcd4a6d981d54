#include <Block.h>
#include <dispatch/dispatch.h>

#include <chrono>
#include <condition_variable>
#include <map>
#include <memory>
#include <mutex>
#include <thread>
#include <unordered_map>

#include "dispatch_stand_in.h"

namespace {
using Clock = std::chrono::steady_clock;

/// Which blocks made to be cancelled have been.
struct Cancellations {
  std::mutex mutex;
  std::unordered_map<const void*, std::weak_ptr<bool>> flags;
};

/// Calls of the thread that runs the test.
thread_local blindfold::DispatchStandIn::Queue recordedQueue;
thread_local blindfold::DispatchStandIn::Time recordedTime;

/// Never destroyed: the queues' threads use it while the process exits.
Cancellations& cancellations() {
  static Cancellations& made = *std::make_unique<Cancellations>().release();
  return made;
}
}  // namespace

/// Blocks in the order of their times.
struct dispatch_queue_s {
  void add(Clock::time_point when, dispatch_block_t block) {
    const dispatch_block_t copy = Block_copy(block);
    const std::lock_guard lock(mutex);
    blocks.emplace(when, copy);
    changed.notify_one();
  }

  [[noreturn]] void serve() {
    for (;;) {
      const dispatch_block_t block = next();
      block();
      Block_release(block);
    }
  }

 private:
  dispatch_block_t next() {
    std::unique_lock lock(mutex);
    for (;;) {
      if (blocks.empty()) {
        changed.wait(lock);
      } else if (const auto due = blocks.begin()->first; due > Clock::now()) {
        changed.wait_until(lock, due);
      } else {
        const dispatch_block_t block = blocks.begin()->second;
        blocks.erase(blocks.begin());
        return block;
      }
    }
  }

  std::mutex mutex;
  std::condition_variable changed;
  std::multimap<Clock::time_point, dispatch_block_t> blocks;
};

dispatch_queue_t dispatch_get_main_queue() {
  static dispatch_queue_t queue = std::make_unique<dispatch_queue_s>().release();
  return queue;
}

dispatch_queue_t dispatch_get_global_queue(std::intptr_t identifier, std::uintptr_t flags) {
  recordedQueue.identifier = identifier;
  recordedQueue.flags = flags;
  static dispatch_queue_t queue = [] {
    const dispatch_queue_t made = std::make_unique<dispatch_queue_s>().release();
    for (int i = 0; i < globalQueueThreads; ++i) std::thread([made] { made->serve(); }).detach();
    return made;
  }();
  return queue;
}

void dispatch_async(dispatch_queue_t queue, dispatch_block_t block) {
  queue->add(Clock::now(), block);
}

dispatch_time_t dispatch_time(dispatch_time_t base, std::int64_t nanoseconds) {
  recordedTime = {.base = base, .delta = nanoseconds};
  const auto start =
      base == DISPATCH_TIME_NOW ? Clock::now() : Clock::time_point(std::chrono::nanoseconds(base));
  const auto when = start + std::chrono::nanoseconds(nanoseconds);
  return static_cast<dispatch_time_t>(when.time_since_epoch().count());
}

void dispatch_after(dispatch_time_t when, dispatch_queue_t queue, dispatch_block_t block) {
  queue->add(Clock::time_point(std::chrono::nanoseconds(when)), block);
}

dispatch_block_t dispatch_block_create(dispatch_block_flags_t, dispatch_block_t block) {
  const dispatch_block_t work = Block_copy(block);
  // The block goes with what carries it out; the flag goes with the block.
  const std::shared_ptr<void> owned(reinterpret_cast<void*>(work),
                                    [](void* held) { Block_release(held); });
  const auto cancelled = std::make_shared<bool>(false);
  const dispatch_block_t made = Block_copy(^{
    const std::shared_ptr<void> kept = owned;
    const auto stopped = [&] {
      const std::lock_guard lock(cancellations().mutex);
      return *cancelled;
    }();
    if (!stopped) reinterpret_cast<dispatch_block_t>(kept.get())();
  });
  const std::lock_guard lock(cancellations().mutex);
  std::erase_if(cancellations().flags, [](const auto& each) { return each.second.expired(); });
  cancellations().flags[reinterpret_cast<const void*>(made)] = cancelled;
  return made;
}

void dispatch_block_cancel(dispatch_block_t block) {
  const std::lock_guard lock(cancellations().mutex);
  const auto& flags = cancellations().flags;
  const auto found = flags.find(reinterpret_cast<const void*>(block));
  if (found == flags.end()) return;
  if (const auto cancelled = found->second.lock()) *cancelled = true;
}

void dispatch_main() {
  dispatch_get_main_queue()->serve();
}

namespace blindfold {

DispatchStandIn::Time DispatchStandIn::lastTime() {
  return recordedTime;
}

DispatchStandIn::Queue DispatchStandIn::lastQueue() {
  return recordedQueue;
}

}  // namespace blindfold
