#pragma once

#include <string>
#include <vector>

#include "tests/support/program.h"

namespace blindfold {

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
