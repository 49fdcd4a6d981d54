#pragma once

#include <atomic>
#include <mutex>
#include <optional>

namespace blindfold {

/// A value that is computed when it is first asked for, and kept. Any thread may ask: those that
/// ask while it is being computed wait for it, those that ask later take no lock. Alone it makes no
/// system call, as std::call_once does.
template <typename Value>
class ComputedOnce {
 public:
  /// The value, which is what the first `compute` returned. A `compute` that throws leaves the
  /// value to be computed by the next caller.
  template <typename Compute>
  const Value& get(const Compute& compute) const {
    if (!isComputed_.load(std::memory_order_acquire)) computeOnce(compute);
    return *value_;
  }

 private:
  template <typename Compute>
  void computeOnce(const Compute& compute) const {
    const std::lock_guard guard(lock_);
    if (isComputed_.load(std::memory_order_relaxed)) return;
    value_.emplace(compute());
    isComputed_.store(true, std::memory_order_release);
  }

  mutable std::mutex lock_;
  mutable std::atomic<bool> isComputed_ = false;
  mutable std::optional<Value> value_;
};

}  // namespace blindfold
