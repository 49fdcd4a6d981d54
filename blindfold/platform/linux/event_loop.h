#pragma once

#include <chrono>
#include <functional>
#include <memory>

#include "blindfold/platform/main_loop.h"
#include "blindfold/platform/timed_work.h"

namespace blindfold {

/// A loop over poll(2): timed work, file descriptors and the main loop's posted work.
///
/// One thread at a time is the loop's server: it waits in poll, runs timed work and calls handlers.
/// Every operation may be called on any thread, except where it says otherwise. Work and handlers
/// run without a lock, may call every operation but `run` and `runRound`, and must not throw. Each
/// is destroyed as soon as it has run or can run no more.
///
/// A process of one thread pays for none of this with a system call: the descriptor that wakes the
/// server exists only once there is another thread.
class EventLoop final : public MainLoop, public TimedWorkQueue {
 public:
  /// The thread that becomes the server.
  enum class Server {
    /// The one that makes the loop, and calls `run` or `runRound`.
    maker,
    /// The one that calls `run`; a thread of the loop's own when work comes before that.
    firstToServe,
  };

  explicit EventLoop(Server server = Server::maker);

  /// Waits for the end of the loop's own threads, then drops all work and handlers without calling
  /// them.
  ~EventLoop() override;

  /// Work that is posted by posted work runs in the next round, which does not wait.
  void post(std::function<void()> work) override;

  /// Runs posted work on the calling thread, which also becomes the server if there is none.
  [[noreturn]] void run() override;

  void serveElsewhere(bool callerBlocks) override;

  /// One round of the server: waits until there is something to do, calls the handlers of the
  /// descriptors that are ready, runs the timed work that is due, then the posted work. In this
  /// order an answer that arrived before its time limit counts, even when the process was stopped
  /// in between. Only for the server.
  void runRound();

  std::shared_ptr<WorkItem> schedule(std::chrono::nanoseconds delay,
                                     std::function<void()> work) override;

  /// Runs `work` on the server: at once when that is the calling thread, in its next round
  /// otherwise.
  template <class Work>
  void perform(Work work) {
    if (isServer()) return work();
    performInNextRound(std::move(work));
  }

  /// Calls `handler` with poll's `revents` whenever `descriptor` is ready for `events` (POLLIN,
  /// POLLOUT) or has failed, until it is unwatched. Watching it again replaces both. The caller
  /// owns the descriptor and unwatches it before closing it. Only for the server.
  void watch(int descriptor, short events, std::function<void(short revents)> handler);

  /// Ends the watch of `descriptor`, if there is one; its handler is not called again. Only for the
  /// server.
  void unwatch(int descriptor);

 private:
  class State;

  /// Whether the calling thread is the server.
  bool isServer() const;

  void performInNextRound(std::function<void()> work);

  const std::shared_ptr<State> state_;
};

}  // namespace blindfold
