#pragma once

#include <functional>

#include "blindfold/platform/linux/event_loop.h"
#include "blindfold/platform/linux/file_descriptor.h"

namespace blindfold {

/// SIGTERM and SIGINT as work of an event loop. From its construction on they no longer end the
/// process; one at most of these exists in a process, which has one thread.
class TerminationSignals {
 public:
  /// Calls `handler` in the loop for the signals that arrive. Throws `PlatformError` when the
  /// system refuses.
  TerminationSignals(EventLoop& loop, std::function<void()> handler);
  TerminationSignals(const TerminationSignals&) = delete;
  TerminationSignals& operator=(const TerminationSignals&) = delete;
  ~TerminationSignals();

 private:
  void receive();

  EventLoop& loop_;
  std::function<void()> handler_;
  FileDescriptor signals_;
};

}  // namespace blindfold
