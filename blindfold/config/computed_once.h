#pragma once

#include <atomic>
#include <mutex>
#include <optional>

namespace blindfold {

/// A value that is computed at its first use and kept. Any thread may call; calls during the
/// computation wait for it, later ones take no lock. Without contention no call makes a system
/// call, where std::call_once makes one (futex(2)) for each value that it computes.
template <class Value>
class ComputedOnce {
 public:
  /// The value, computed by `compute` if no call has returned yet. Where `compute` throws, the next
  /// call computes the value.
  template <class Compute>
  const Value& get(const Compute& compute) const {
    const Value* const computed = computed_.load(std::memory_order_acquire);
    return computed != nullptr ? *computed : computeOnce(compute);
  }

 private:
  template <class Compute>
  const Value& computeOnce(const Compute& compute) const {
    const std::lock_guard guard(lock_);
    if (!value_) value_.emplace(compute());
    computed_.store(&*value_, std::memory_order_release);
    return *value_;
  }

  mutable std::mutex lock_;
  mutable std::optional<Value> value_;
  mutable std::atomic<const Value*> computed_ = nullptr;  ///< `value_`, once it is computed.
};

}  // namespace blindfold
