#pragma once

#include <functional>
#include <memory>

#include "platform/main_loop.h"
#include "platform/timed_work.h"

namespace blindfold {

/// One thread's loop over poll(2): posted work, timed work and file descriptors. Everything is
/// called on that thread, so nothing here locks. Work and handlers may call every operation of the
/// loop, and must not throw.
class EventLoop final : public MainLoop, public TimedWorkQueue {
 public:
  EventLoop();
  ~EventLoop() override;

  void post(std::function<void()> work) override;
  [[noreturn]] void run() override;

  std::shared_ptr<WorkItem> makeWorkItem(std::function<void()> work) override;
  void schedule(const std::shared_ptr<WorkItem>& item, double seconds) override;

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
