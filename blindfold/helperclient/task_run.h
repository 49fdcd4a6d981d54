#pragma once

#include <condition_variable>
#include <coroutine>
#include <functional>
#include <memory>
#include <mutex>
#include <thread>
#include <utility>

#include "blindfold/helperclient/run_task.h"
#include "blindfold/platform/main_loop.h"

namespace blindfold {

/// The coroutine at the root of a running task. Nobody awaits it: an exception that leaves it ends
/// the program. Destroying it gives up the task.
class RootCoroutine {
 public:
  class promise_type;

  /// A coroutine that will await `task`, continuing on `executor` after each wait.
  static RootCoroutine awaiting(std::shared_ptr<const Executor> executor, Task<void> task);

  explicit RootCoroutine(std::coroutine_handle<> coroutine) noexcept : coroutine_(coroutine) {}
  RootCoroutine(RootCoroutine&& other) noexcept
      : coroutine_(std::exchange(other.coroutine_, nullptr)) {}
  RootCoroutine& operator=(RootCoroutine&&) = delete;
  ~RootCoroutine() {
    if (coroutine_) coroutine_.destroy();
  }

  /// Starts it, once, on the calling thread.
  void start() const { coroutine_.resume(); }

  /// Whether it has ended. Not while a piece of it runs.
  bool isDone() const { return coroutine_.done(); }

 private:
  std::coroutine_handle<> coroutine_;
};

/// One started task, from its start to the end of its callback. It keeps itself alive by the work
/// that it posts and by the executor that its coroutine continues on, until it ends or is given up.
///
/// Pieces of the task run one at a time, each under `runPiece`, so that giving up has a moment at
/// which none runs.
class StartedTask::Run : public std::enable_shared_from_this<StartedTask::Run> {
 public:
  /// Starts `task` from `taskExecutor`; after its end runs `finish`, unless that is null, from
  /// `finishExecutor`.
  static std::shared_ptr<Run> start(Task<void> task, const Executor& taskExecutor,
                                    std::function<void()> finish, Executor finishExecutor);

  Run(std::function<void()> finish, Executor finishExecutor);

  /// Waits until no other thread runs a piece, then destroys the task and the callback.
  void giveUp() noexcept;

 private:
  /// `executor`, on which all work is pieces of this run.
  Executor inPieces(const Executor& executor);
  void runPiece(const std::function<void()>& work);
  bool dropWhatEnded();
  void runFinish() noexcept;

  std::mutex lock_;
  std::condition_variable pieceEnded_;
  std::thread::id runner_;  // of the piece that runs now
  bool isOver_ = false;     // given up, or nothing is left to run
  std::unique_ptr<RootCoroutine> root_;
  std::function<void()> finish_;
  Executor finishExecutor_;
};

/// Runs `task` on `mainLoop`, from the loop and not from inside this call, and keeps it until it
/// ends. `mainLoop` outlives it.
void spawnOn(MainLoop& mainLoop, Task<void> task);

}  // namespace blindfold
