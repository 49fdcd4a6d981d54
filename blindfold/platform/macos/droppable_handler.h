#pragma once

#include <functional>
#include <mutex>
#include <utility>

namespace blindfold {

/// A handler that blocks may share: any thread may call it while another lets go of it. What it
/// captures goes away with it, however long the platform keeps the blocks.
class DroppableHandler {
 public:
  void set(std::function<void()> handler) { replaceWith(std::move(handler)); }

  /// Lets go of the handler. A call of it that is under way ends in its own time.
  void drop() { replaceWith(nullptr); }

  /// Calls the handler, if there is one.
  void call() const {
    if (const auto handler = copy()) handler();
  }

  /// Lets go of the handler and calls it, if there is one: of several calls at once, one does.
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
