#pragma once

#include <string>
#include <vector>

#include "tests/support/program.h"

namespace blindfold {

/// Whether the tests and the helper are built with a sanitizer, whose own checks take memory and
/// descriptors: it ends a program that may have none.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr bool isSanitized = true;
#elif defined(__has_feature)
constexpr bool isSanitized = __has_feature(address_sanitizer) || __has_feature(thread_sanitizer);
#else
constexpr bool isSanitized = false;
#endif

/// A name that no other test's service has, now or in another process. What a helper of that name
/// leaves in the system domain goes away with it.
class TestServiceName {
 public:
  TestServiceName();
  TestServiceName(const TestServiceName&) = delete;
  TestServiceName& operator=(const TestServiceName&) = delete;
  ~TestServiceName();

  const std::string& text() const { return text_; }

 private:
  std::string text_;
};

/// The development helper as a process of its own.
class RunningHelper {
 public:
  /// Starts it with these arguments and those that make it serve `service`. Throws
  /// `std::runtime_error` when it does not become ready.
  explicit RunningHelper(const std::string& service,
                         const std::vector<std::string>& arguments = {});

  RunningProgram& program() { return program_; }

 private:
  RunningProgram program_;
};

/// The arguments that start a development helper for `service`.
std::vector<std::string> helperArguments(const std::string& service,
                                         const std::vector<std::string>& arguments);

}  // namespace blindfold
