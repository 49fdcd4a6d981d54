#pragma once

#include <coroutine>
#include <exception>
#include <utility>
#include <variant>

namespace blindfold {

template <class T>
class Task;

namespace task_detail {

/// What the promises of all tasks share: who waits, and that finishing resumes the one who waits.
class PromiseBase {
 public:
  struct FinalAwaiter {
    bool await_ready() const noexcept { return false; }
    template <class Promise>
    std::coroutine_handle<> await_suspend(std::coroutine_handle<Promise> finished) const noexcept {
      return finished.promise().awaiting_;
    }
    void await_resume() const noexcept {}
  };

  std::suspend_always initial_suspend() const noexcept { return {}; }
  FinalAwaiter final_suspend() const noexcept { return {}; }
  void setAwaiting(std::coroutine_handle<> awaiting) noexcept { awaiting_ = awaiting; }

 private:
  std::coroutine_handle<> awaiting_ = std::noop_coroutine();
};

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

/// An asynchronous operation that ends with a T or an exception. It is lazy: nothing happens until
/// it is awaited, once, with `co_await std::move(task)`. It runs on the thread that awaits it, and
/// goes on, after each wait inside it, where that wait resumes it. A task owns its coroutine, and
/// must outlive it: destroy a task before it is awaited or after it has ended.
template <class T>
class [[nodiscard]] Task {
 public:
  using promise_type = task_detail::Promise<T>;

  explicit Task(std::coroutine_handle<promise_type> coroutine) noexcept : coroutine_(coroutine) {}
  Task(Task&& other) noexcept : coroutine_(std::exchange(other.coroutine_, nullptr)) {}
  Task& operator=(Task&& other) noexcept {
    std::swap(coroutine_, other.coroutine_);
    return *this;
  }
  Task(const Task&) = delete;
  Task& operator=(const Task&) = delete;
  ~Task() {
    if (coroutine_) coroutine_.destroy();
  }

  class Awaiter {
   public:
    explicit Awaiter(std::coroutine_handle<promise_type> coroutine) : coroutine_(coroutine) {}
    bool await_ready() const noexcept { return false; }
    std::coroutine_handle<> await_suspend(std::coroutine_handle<> awaiting) const noexcept {
      coroutine_.promise().setAwaiting(awaiting);
      return coroutine_;
    }
    T await_resume() const { return coroutine_.promise().take(); }

   private:
    std::coroutine_handle<promise_type> coroutine_;
  };

  Awaiter operator co_await() && noexcept { return Awaiter(coroutine_); }

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
