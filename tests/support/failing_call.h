#pragma once

#include <optional>
#include <string_view>

namespace blindfold {

/// Makes a system call fail: of the calls of `name`, by any thread, `count` return -1 with errno
/// `error` and do nothing, after `successes` that are made. With `error` 0 they return 0 and do
/// nothing. Those that are left when the object is destroyed do not fail.
///
/// It takes the place of the C library's functions in a program that links blindfold_failing_calls,
/// which has the list of them.
class FailingCall {
 public:
  explicit FailingCall(std::string_view name, int error, int count = 1, int successes = 0);
  FailingCall(const FailingCall&) = delete;
  FailingCall& operator=(const FailingCall&) = delete;
  ~FailingCall();

  /// How many calls have failed so far.
  int failures() const;

  /// The value that a call of `name` returns instead of being made, with errno set; `std::nullopt`
  /// when it is to be made.
  static std::optional<int> result(std::string_view name);

 private:
  const std::string_view name_;
  const int error_;
  int successes_;
  int left_;
  int failures_ = 0;
};

}  // namespace blindfold
