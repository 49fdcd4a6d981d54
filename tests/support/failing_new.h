#pragma once

#include <cstddef>

// Allocation that fails on demand, in the place of the language's own in a program that links
// blindfold_failing_new.
namespace blindfold {

/// Lets one allocation of this thread fail: the one that comes after `successes` others. Once it
/// has failed, or the object is destroyed, allocations succeed. One exists at a time on a thread.
class FailingNew {
 public:
  explicit FailingNew(std::size_t successes);
  FailingNew(const FailingNew&) = delete;
  FailingNew& operator=(const FailingNew&) = delete;
  ~FailingNew();

  /// Whether it has failed.
  static bool hasFailed();
};

/// Lets every allocation of at least `size` bytes fail, on any thread, for as long as it exists.
/// One exists at a time.
class FailingLargeNew {
 public:
  explicit FailingLargeNew(std::size_t size);
  FailingLargeNew(const FailingLargeNew&) = delete;
  FailingLargeNew& operator=(const FailingLargeNew&) = delete;
  ~FailingLargeNew();
};

}  // namespace blindfold
