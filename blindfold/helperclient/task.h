#pragma once

#include <cassert>
#include <coroutine>
#include <exception>
#include <functional>
#include <memory>
#include <utility>
#include <variant>

namespace blindfold {

/// Takes work and runs it once, later: on a thread of the executor's choice, never inside the call,
/// and not two pieces of one task at once out of their order. Called on any thread; must not throw.
/// The work must not throw either.
using Executor = std::function<void(std::function<void()> work)>;

template <class T>
class Task;

namespace task_detail {

/// The part of a promise that does not depend on the task's value: the executor on which the task
/// continues after each wait, null for the main loop, and the coroutine that awaits the task.
class PromiseBase {
 public:
  struct FinalAwaiter {
    bool await_ready() const noexcept { return false; }
    template <class Promise>
    std::coroutine_handle<> await_suspend(std::coroutine_handle<Promise> finished) const noexcept {
      return finished.promise().caller_;
    }
    void await_resume() const noexcept {}
  };

  std::suspend_always initial_suspend() const noexcept { return {}; }
  FinalAwaiter final_suspend() const noexcept { return {}; }

  void setCaller(std::coroutine_handle<> caller,
                 std::shared_ptr<const Executor> executor) noexcept {
    caller_ = caller;
    executor_ = std::move(executor);
  }

  const std::shared_ptr<const Executor>& executor() const noexcept { return executor_; }

 private:
  std::coroutine_handle<> caller_ = std::noop_coroutine();
  std::shared_ptr<const Executor> executor_;
};

/// The executor of the coroutine behind `promise`; null when it is not one of this library's.
template <class Promise>
std::shared_ptr<const Executor> executorOf(const Promise& promise) noexcept {
  if constexpr (requires { promise.executor(); }) {
    return promise.executor();
  } else {
    return nullptr;
  }
}

/// Keeps a task's value, or the exception that took its place.
template <class T>
class Promise : public PromiseBase {
 public:
  Task<T> get_return_object() noexcept;
  void return_value(T value) { result_.template emplace<1>(std::move(value)); }
  void unhandled_exception() noexcept { result_.template emplace<2>(std::current_exception()); }
  T take() {
    if (result_.index() == 2) std::rethrow_exception(std::get<2>(result_));
    return std::get<1>(std::move(result_));
  }

 private:
  std::variant<std::monostate, T, std::exception_ptr> result_;
};

template <>
class Promise<void> : public PromiseBase {
 public:
  Task<void> get_return_object() noexcept;
  void return_void() const noexcept {}
  void unhandled_exception() noexcept { failure_ = std::current_exception(); }
  void take() const {
    if (failure_) std::rethrow_exception(failure_);
  }

 private:
  std::exception_ptr failure_;
};

}  // namespace task_detail

/// An asynchronous operation that ends with a `T` or an exception; the return type of coroutines.
///
/// A task is lazy: it starts when it is awaited, which happens once, by `co_await std::move(task)`
/// in another coroutine or by one of the functions of run_task.h. Within a coroutine it starts on
/// the awaiting thread; after each wait it continues on the executor of the outermost task.
///
/// Destroying a task, awaited or not, gives it up: what it waits for ends at once, nobody is told,
/// and nothing of it runs afterwards. A task belongs to one thread at a time and must not be
/// destroyed while another thread runs a piece of it; `start` takes care of that. A moved-from or
/// awaited task may only be destroyed or assigned to.
template <class T>
class [[nodiscard]] Task {
 public:
  using promise_type = task_detail::Promise<T>;

  explicit Task(std::coroutine_handle<promise_type> coroutine) noexcept : coroutine_(coroutine) {}
  Task(Task&& other) noexcept : coroutine_(std::exchange(other.coroutine_, nullptr)) {}
  Task& operator=(Task&& other) noexcept {
    Task dropped(std::move(*this));
    coroutine_ = std::exchange(other.coroutine_, nullptr);
    return *this;
  }
  Task(const Task&) = delete;
  Task& operator=(const Task&) = delete;
  ~Task() {
    if (coroutine_) coroutine_.destroy();
  }

  /// Owns the task from the await to its end.
  class Awaiter {
   public:
    explicit Awaiter(Task task) noexcept : task_(std::move(task)) {}
    bool await_ready() const noexcept { return false; }
    template <class Promise>
    std::coroutine_handle<> await_suspend(std::coroutine_handle<Promise> caller) const noexcept {
      task_.coroutine_.promise().setCaller(caller, task_detail::executorOf(caller.promise()));
      return task_.coroutine_;
    }
    T await_resume() const { return task_.coroutine_.promise().take(); }

   private:
    Task task_;
  };

  Awaiter operator co_await() && noexcept {
    assert(coroutine_ && "a task is awaited once");
    return Awaiter(std::move(*this));
  }

 private:
  std::coroutine_handle<promise_type> coroutine_;
};

namespace task_detail {

template <class T>
Task<T> Promise<T>::get_return_object() noexcept {
  return Task<T>(std::coroutine_handle<Promise>::from_promise(*this));
}

inline Task<void> Promise<void>::get_return_object() noexcept {
  return Task<void>(std::coroutine_handle<Promise>::from_promise(*this));
}

}  // namespace task_detail

}  // namespace blindfold
