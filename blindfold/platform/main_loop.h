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

  /// Runs `work`, which does not throw, from `run`: in the order of posting, one at a time and
  /// never inside this call. On Linux it runs on the thread that serves the loop; on macOS on any
  /// thread, one that may have a stack of 512 KiB. Any thread may call.
  virtual void post(std::function<void()> work) = 0;

  /// Sees to it that connections and timed work are served by a thread that is not the one that
  /// serves this loop nor, when `callerBlocks`, the calling one. Any thread may call.
  virtual void serveElsewhere(bool callerBlocks) = 0;

  /// Gives the calling thread to the loop for good; the process ends by `exit` from some work. On
  /// macOS it is the main thread, which ends with this call (dispatch_main(3)), so that no local of
  /// it may still be in use.
  [[noreturn]] virtual void run() = 0;
};

}  // namespace blindfold
