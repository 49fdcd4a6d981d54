#pragma once

#include <chrono>
#include <functional>
#include <memory>

#include "blindfold/platform/main_loop.h"
#include "blindfold/platform/timed_work.h"

namespace blindfold {

/// One thread's loop over poll(2): posted work, timed work and file descriptors. Everything is
/// called on that thread, so nothing here locks. Work and handlers may call every operation of the
/// loop but the two that run it, and must not throw. Each is let go of as soon as it has run or
/// can run no more.
class EventLoop final : public MainLoop, public TimedWorkQueue {
 public:
  EventLoop();

  /// Lets go of all work and all handlers without calling them.
  ~EventLoop() override;

  /// Work that is posted by posted work runs in the next round, which does not wait.
  void post(std::function<void()> work) override;

  [[noreturn]] void run() override;

  /// One round: waits until there is something to do, calls the handlers of the descriptors that
  /// are ready, runs the timed work that is due, and runs the posted work. In this order an answer
  /// that arrived before its time limit counts, even when the process was stopped in between.
  void runRound();

  std::shared_ptr<WorkItem> schedule(std::chrono::nanoseconds delay,
                                     std::function<void()> work) override;

  /// Calls `handler` with poll's `revents` whenever `descriptor` is ready for `events` (POLLIN,
  /// POLLOUT) or has failed, until it is unwatched. Watching it again replaces both. The caller
  /// keeps the descriptor and unwatches it before closing it.
  void watch(int descriptor, short events, std::function<void(short revents)> handler);

  /// Ends the watch of `descriptor`; its handler is not called again. One that is not watched is
  /// fine.
  void unwatch(int descriptor);

 private:
  class State;
  std::unique_ptr<State> state_;
};

}  // namespace blindfold
