#pragma once

#include <functional>
#include <mutex>
#include <utility>

namespace blindfold {

/// A handler that is shared with blocks of the platform's and destroyed before them: `drop`
/// releases what it captures, however long the platform keeps the blocks. Any thread may call every
/// operation, several at once; no handler runs or is destroyed under the lock.
class DroppableHandler {
 public:
  /// Replaces the handler, which may be null.
  void set(std::function<void()> handler) { replaceWith(std::move(handler)); }

  /// Destroys the handler. A call that is in progress keeps its own copy until it returns.
  void drop() { replaceWith(nullptr); }

  /// Calls the handler, if there is one.
  void call() const {
    if (const auto handler = copy()) handler();
  }

  /// Drops the handler and calls it, if there is one: of several calls at once, one calls it.
  void callOnce() {
    if (const auto handler = replaceWith(nullptr)) handler();
  }

 private:
  std::function<void()> copy() const {
    const std::lock_guard lock(mutex_);
    return handler_;
  }

  std::function<void()> replaceWith(std::function<void()> handler) {
    const std::lock_guard lock(mutex_);
    return std::exchange(handler_, std::move(handler));
  }

  mutable std::mutex mutex_;
  std::function<void()> handler_;
};

}  // namespace blindfold
