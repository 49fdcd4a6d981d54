#pragma once

#include <mutex>
#include <optional>

namespace blindfold {

/// A value that is computed when it is first asked for, and kept. Any thread may ask: those that
/// ask while it is being computed wait for it, those that ask later take no lock.
template <typename Value>
class ComputedOnce {
 public:
  /// The value, which is what the first `compute` returned. A `compute` that throws leaves the
  /// value to be computed by the next caller.
  template <typename Compute>
  const Value& get(const Compute& compute) const {
    std::call_once(once_, [&] { value_.emplace(compute()); });
    return *value_;  // NOLINT(bugprone-unchecked-optional-access): the line above filled it.
  }

 private:
  mutable std::once_flag once_;
  mutable std::optional<Value> value_;
};

}  // namespace blindfold
