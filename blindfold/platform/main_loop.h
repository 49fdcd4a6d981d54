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

  /// Runs `work` on the main thread, in the order of posting and never inside this call. `work`
  /// must not throw. Callable from every thread on which the platform calls handlers.
  virtual void post(std::function<void()> work) = 0;

  /// Gives the main thread to the loop for good; the process ends by `exit` from some work.
  [[noreturn]] virtual void run() = 0;
};

}  // namespace blindfold
