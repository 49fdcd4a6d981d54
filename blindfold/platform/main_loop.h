#pragma once

#include <functional>

namespace blindfold {

/// The main thread's serial queue of work, and the loop that serves it.
class MainLoop {
 public:
  MainLoop() = default;
  MainLoop(const MainLoop&) = delete;
  MainLoop& operator=(const MainLoop&) = delete;
  virtual ~MainLoop() = default;

  /// Runs `work` on the thread that serves the loop, in the order of posting and never inside this
  /// call. `work` must not throw. Any thread may call.
  virtual void post(std::function<void()> work) = 0;

  /// Sees to it that connections and timed work are served by a thread that is neither the calling
  /// one nor the one that serves this loop, so that both may block. Any thread may call.
  virtual void serveElsewhere() = 0;

  /// Gives the calling thread to the loop for good; the process ends by `exit` from some work.
  [[noreturn]] virtual void run() = 0;
};

}  // namespace blindfold
