#include "blindfold/helperclient/task_run.h"

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <deque>
#include <utility>

#include "blindfold/helperclient/helper_client_error.h"
#include "blindfold/platform/platform.h"

namespace blindfold {
namespace {
/// Ends the program because `error` has nobody to go to.
[[noreturn]] void endProgram(const char* source, const std::exception_ptr& error) noexcept {
  std::fprintf(stderr, "%s threw an exception: %s\n", source, errorDescription(error).c_str());
  std::abort();
}

/// Runs `work`; an exception that leaves it ends the program, for it has nobody to go to.
void runOrEndProgram(const char* source, const std::function<void()>& work) noexcept {
  try {
    work();
  } catch (...) {
    endProgram(source, std::current_exception());
  }
}

/// The executor of the platform's own threads.
Executor platformExecutor() {
  return [](std::function<void()> work) {
    currentPlatform().timedWork.schedule(std::chrono::nanoseconds::zero(), std::move(work));
  };
}
}  // namespace

class RootCoroutine::promise_type {
 public:
  promise_type(std::shared_ptr<const Executor> executor, const Task<void>& /*task*/)
      : executor_(std::move(executor)) {}

  RootCoroutine get_return_object() noexcept {
    return RootCoroutine(std::coroutine_handle<promise_type>::from_promise(*this));
  }
  std::suspend_always initial_suspend() const noexcept { return {}; }
  std::suspend_always final_suspend() const noexcept { return {}; }
  void return_void() const noexcept {}
  [[noreturn]] void unhandled_exception() const noexcept {
    endProgram("A task that nobody awaits", std::current_exception());
  }

  const std::shared_ptr<const Executor>& executor() const noexcept { return executor_; }

 private:
  std::shared_ptr<const Executor> executor_;
};

RootCoroutine RootCoroutine::awaiting(std::shared_ptr<const Executor> /*executor*/,
                                      Task<void> task) {
  co_await std::move(task);
}

StartedTask::Run::Run(std::function<void()> finish, Executor finishExecutor)
    : finish_(std::move(finish)), finishExecutor_(std::move(finishExecutor)) {}

std::shared_ptr<StartedTask::Run> StartedTask::Run::start(Task<void> task,
                                                          const Executor& taskExecutor,
                                                          std::function<void()> finish,
                                                          Executor finishExecutor) {
  auto run = std::make_shared<Run>(std::move(finish), std::move(finishExecutor));
  const auto executor = std::make_shared<const Executor>(run->inPieces(taskExecutor));
  run->root_ = std::make_unique<RootCoroutine>(RootCoroutine::awaiting(executor, std::move(task)));
  (*executor)([root = run->root_.get()] { root->start(); });
  return run;
}

Executor StartedTask::Run::inPieces(const Executor& executor) {
  return [run = shared_from_this(), executor](std::function<void()> work) {
    executor([run, work = std::move(work)] { run->runPiece(work); });
  };
}

/// An executor may run the work that it is given at once, so that a piece runs within another.
void StartedTask::Run::runPiece(const std::function<void()>& work) {
  const auto self = std::this_thread::get_id();
  std::thread::id outer;
  {
    std::unique_lock guard(lock_);
    pieceEnded_.wait(guard, [&] { return runner_ == std::thread::id() || runner_ == self; });
    if (isOver_) return;
    outer = std::exchange(runner_, self);
  }
  work();
  if (dropWhatEnded()) inPieces(finishExecutor_)([this] { runFinish(); });
  const std::lock_guard guard(lock_);
  runner_ = outer;
  pieceEnded_.notify_all();
}

/// Destroys what this piece has ended. Within the piece, so that whoever gives the task up finds
/// nothing left of it. Returns whether `finish_` is to run next.
bool StartedTask::Run::dropWhatEnded() {
  std::unique_ptr<RootCoroutine> endedRoot;
  std::function<void()> droppedFinish;
  const std::lock_guard guard(lock_);
  const bool hasEnded = root_ && root_->isDone();
  if (hasEnded || isOver_) std::swap(endedRoot, root_);
  if (isOver_) std::swap(droppedFinish, finish_);
  return hasEnded && !isOver_ && finish_;
}

void StartedTask::Run::runFinish() noexcept {
  runOrEndProgram("A callback", finish_);
  const std::lock_guard guard(lock_);
  isOver_ = true;
}

void StartedTask::Run::giveUp() noexcept {
  std::unique_ptr<RootCoroutine> droppedRoot;
  std::function<void()> droppedFinish;
  std::unique_lock guard(lock_);
  isOver_ = true;
  if (runner_ == std::this_thread::get_id()) return;  // the end of the piece destroys the rest
  pieceEnded_.wait(guard, [&] { return runner_ == std::thread::id(); });
  std::swap(droppedRoot, root_);
  std::swap(droppedFinish, finish_);
  guard.unlock();
}

StartedTask& StartedTask::operator=(StartedTask&& other) noexcept {
  giveUp();
  run_ = std::move(other.run_);
  return *this;
}

StartedTask::~StartedTask() {
  giveUp();
}

void StartedTask::giveUp() noexcept {
  const auto run = std::exchange(run_, nullptr);
  if (run) run->giveUp();
}

Executor mainLoopExecutor() {
  return [](std::function<void()> work) {
    currentPlatform().mainLoop.post(
        [work = std::move(work)] { runOrEndProgram("Work on the main loop", work); });
  };
}

void runMainLoop() {
  for (;;)
    currentPlatform().mainLoop.run();  // g++ 12 does not see that a virtual call never returns
}

void spawn(Task<void> task) {
  spawnOn(currentPlatform().mainLoop, std::move(task));
}

void spawnOn(MainLoop& mainLoop, Task<void> task) {
  StartedTask::Run::start(
      std::move(task), [&mainLoop](std::function<void()> work) { mainLoop.post(std::move(work)); },
      nullptr, nullptr);
}

namespace task_detail {
namespace {
/// The work of one thread that waits for a task.
class WorkQueue {
 public:
  void add(std::function<void()> work) {
    const std::lock_guard guard(lock_);
    work_.push_back(std::move(work));
    added_.notify_one();
  }

  /// Waits for work and takes it.
  std::function<void()> take() {
    std::unique_lock guard(lock_);
    added_.wait(guard, [&] { return !work_.empty(); });
    auto work = std::move(work_.front());
    work_.pop_front();
    return work;
  }

 private:
  std::mutex lock_;
  std::condition_variable added_;
  std::deque<std::function<void()>> work_;
};
}  // namespace

void runHere(Task<void> task) {
  currentPlatform().mainLoop.serveElsewhere(/*callerBlocks=*/true);
  const auto queue = std::make_shared<WorkQueue>();
  const auto executor = std::make_shared<const Executor>(
      [queue](std::function<void()> work) { queue->add(std::move(work)); });
  const RootCoroutine root = RootCoroutine::awaiting(executor, std::move(task));
  root.start();
  while (!root.isDone()) queue->take()();
}

StartedTask start(Task<void> task, std::function<void()> finish, Executor executor) {
  currentPlatform().mainLoop.serveElsewhere(/*callerBlocks=*/false);
  return StartedTask(StartedTask::Run::start(std::move(task), platformExecutor(), std::move(finish),
                                             std::move(executor)));
}

}  // namespace task_detail
}  // namespace blindfold
