#pragma once

#include <cassert>
#include <exception>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <type_traits>
#include <utility>
#include <variant>

#include "blindfold/helperclient/task.h"

/// The ways to run a task from outside a coroutine:
///
/// - `syncWait` runs it on the calling thread, which blocks, and returns its value or throws.
/// - `start` runs it on a thread of the platform's, and a callback on an executor gets its result.
/// - `spawn` runs it on the thread that serves the main loop; an exception ends the program.
///
/// Every function may be called on any thread, by several threads at once.
namespace blindfold {

/// The end of a task: its value, or the exception that took its place.
template <class T>
class TaskResult {
 public:
  using Value = std::conditional_t<std::is_void_v<T>, std::monostate, T>;

  explicit TaskResult(Value value) : result_(std::in_place_index<0>, std::move(value)) {}
  explicit TaskResult(std::exception_ptr error)
      : result_(std::in_place_index<1>, std::move(error)) {}

  bool hasValue() const noexcept { return result_.index() == 0; }

  /// The value. Throws the error when there is none.
  std::add_lvalue_reference_t<const T> value() const& {
    throwError();
    if constexpr (!std::is_void_v<T>) return std::get<0>(result_);
  }
  T value() && {
    throwError();
    if constexpr (!std::is_void_v<T>) return std::get<0>(std::move(result_));
  }

  /// The error; null when there is a value.
  std::exception_ptr error() const noexcept { return hasValue() ? nullptr : std::get<1>(result_); }

 private:
  void throwError() const {
    if (!hasValue()) std::rethrow_exception(std::get<1>(result_));
  }

  std::variant<Value, std::exception_ptr> result_;
};

/// A task that was started: it runs for as long as this object keeps it. Destroying the object, or
/// assigning to it, gives the task up: a request under way ends at once, the callback is not called
/// any more, and whatever it captures is destroyed. When another thread runs a piece of the task or
/// its callback at that moment, or hands the callback to the executor, the end of that is waited
/// for: hold no lock that one of them takes. The callback itself may destroy the object.
class [[nodiscard]] StartedTask {
 public:
  /// No task.
  StartedTask() noexcept = default;
  StartedTask(StartedTask&& other) noexcept = default;
  StartedTask& operator=(StartedTask&& other) noexcept;
  ~StartedTask();

  /// Gives the task up, as the destructor does; does nothing when it has ended.
  void giveUp() noexcept;

  class Run;
  explicit StartedTask(std::shared_ptr<Run> run) noexcept : run_(std::move(run)) {}

 private:
  std::shared_ptr<Run> run_;
};

/// The executor that runs work on the main loop: in order, on the thread that serves the process's
/// main loop (on macOS the dispatch main queue).
Executor mainLoopExecutor();

/// Gives the calling thread to the main loop for good; the process ends by `exit` from some work.
/// For the main thread of a program that has no other loop. On macOS this is `dispatch_main`.
[[noreturn]] void runMainLoop();

/// Runs `task` on the main loop, from the loop and not from inside this call, and keeps it until it
/// ends. An exception that leaves the task ends the program with a message on standard error.
void spawn(Task<void> task);

namespace task_detail {

/// Runs `task` to its end on the calling thread. `task` lets no exception out.
void runHere(Task<void> task);

/// Runs `task`, which lets no exception out, on a thread of the platform's, then `finish` on
/// `executor`.
StartedTask start(Task<void> task, std::function<void()> finish, Executor executor);

/// Awaits `task` and keeps its end in `result`.
template <class T>
Task<void> capture(Task<T> task, std::shared_ptr<std::optional<TaskResult<T>>> result) {
  try {
    if constexpr (std::is_void_v<T>) {
      co_await std::move(task);
      result->emplace(std::monostate());
    } else {
      result->emplace(co_await std::move(task));
    }
  } catch (...) {
    result->emplace(std::current_exception());
  }
}

}  // namespace task_detail

/// Runs `task` on the calling thread, which blocks until it has ended, and returns its value or
/// throws its exception. Any thread may call, the main thread included, whether or not the main
/// loop is served; work posted to the main loop waits meanwhile if that is the thread that serves
/// it.
template <class T>
T syncWait(Task<T> task) {
  const auto result = std::make_shared<std::optional<TaskResult<T>>>();
  task_detail::runHere(task_detail::capture(std::move(task), result));
  std::optional<TaskResult<T>>& end = *result;
  assert(end.has_value());
  return std::move(*end).value();
}

/// Starts `task` on a thread of the platform's and returns at once. When it has ended, `onResult`
/// is called with its `TaskResult<T>` on `executor`, once, unless the task was given up before. An
/// exception that `onResult` throws ends the program with a message on standard error.
template <class T, class OnResult>
StartedTask start(Task<T> task, OnResult onResult, Executor executor = mainLoopExecutor()) {
  const auto result = std::make_shared<std::optional<TaskResult<T>>>();
  const auto callback = std::make_shared<OnResult>(std::move(onResult));
  return task_detail::start(
      task_detail::capture(std::move(task), result),
      [result, callback] { (*callback)(std::move(**result)); }, std::move(executor));
}

}  // namespace blindfold
