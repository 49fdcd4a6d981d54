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
    const Value* const computed = computed_.load(std::memory_order_acquire);
    return computed != nullptr ? *computed : computeOnce(compute);
  }

 private:
  template <typename Compute>
  const Value& computeOnce(const Compute& compute) const {
    const std::lock_guard guard(lock_);
    if (!value_) value_.emplace(compute());
    computed_.store(&*value_, std::memory_order_release);
    return *value_;
  }

  mutable std::mutex lock_;
  mutable std::optional<Value> value_;
  mutable std::atomic<const Value*> computed_ = nullptr;  // value_, once it is there
};

}  // namespace blindfold
