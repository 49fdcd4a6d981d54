#pragma once

#include <cstddef>

namespace blindfold {

/// Lets one allocation of this thread fail for want of memory: of those of at least `smallestSize`
/// bytes the one that comes after `successes` others. Once it has failed, or the object is
/// destroyed, allocations succeed. One exists at a time on a thread.
///
/// It takes the place of the language's allocation in a program that links blindfold_failing_new.
class FailingNew {
 public:
  explicit FailingNew(std::size_t successes, std::size_t smallestSize = 0);
  FailingNew(const FailingNew&) = delete;
  FailingNew& operator=(const FailingNew&) = delete;
  ~FailingNew();

  /// Whether an allocation has failed.
  static bool hasFailed();
};

}  // namespace blindfold
