#pragma once

#include <sys/types.h>

#include <chrono>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace blindfold {

/// How a child process ended and what it wrote. Just one of `exitStatus` and `signal` has a value.
struct ProgramResult {
  std::optional<int> exitStatus;
  /// The signal that ended it, SIGKILL when it was killed at its deadline.
  std::optional<int> signal;
  /// Every byte that it wrote; empty for a stream that was not captured.
  std::string standardOutput;
  std::string standardError;
  /// From its start to its end.
  double wallSeconds = 0;
  /// Whether it was killed because its deadline passed.
  bool deadlineExpired = false;
};

/// A standard output that is captured, goes to the file at `path` (opened for writing, not created)
/// or is closed.
struct CapturedOutput {};
struct OutputToPath {
  std::string path;
};
struct ClosedOutput {};
using OutputTarget = std::variant<CapturedOutput, OutputToPath, ClosedOutput>;

/// How to run a program. By default it gets this process's environment and working directory.
struct ProgramOptions {
  OutputTarget standardOutput = CapturedOutput{};
  /// Its whole environment, in place of this process's.
  std::optional<std::map<std::string, std::string>> environment = std::nullopt;
  std::optional<std::string> workingDirectory = std::nullopt;
  /// Counted from its start; then it is killed.
  std::chrono::milliseconds deadline{30'000};
};

/// A child process with an empty standard input, default signal handling and no descriptor of this
/// process, killed when the thread that started it ends. What it writes is read during the waiting
/// operations only. Every operation throws `std::system_error` when the system refuses. Not for two
/// threads at once.
class RunningProgram {
 public:
  /// Starts the program `arguments[0]`, a path. No shell takes part. The child does not start when
  /// the program cannot be executed: that throws.
  explicit RunningProgram(const std::vector<std::string>& arguments,
                          const ProgramOptions& options = {});
  RunningProgram(RunningProgram&& other) noexcept;
  RunningProgram& operator=(RunningProgram&&) = delete;

  /// Ends the child, unless it has ended, by SIGTERM or by force, and reaps it.
  ~RunningProgram();

  pid_t pid() const;

  /// Waits until the child has written this line, newline included, to its captured standard
  /// output. False when the child closes it before, or `limit` passes.
  bool waitForOutputLine(std::string_view line,
                         std::chrono::milliseconds limit = std::chrono::milliseconds{10'000});

  /// Sends the signal to the child, which must not have been waited for.
  void sendSignal(int signal) const;

  /// Waits until the child ends, killing it at its deadline. Call it once.
  ProgramResult wait();

 private:
  class Child;
  friend ProgramResult runInChild(const std::function<void()>&, std::chrono::milliseconds);
  explicit RunningProgram(std::unique_ptr<Child> child);

  std::unique_ptr<Child> child_;
};

/// Runs the program to its end.
ProgramResult runProgram(const std::vector<std::string>& arguments,
                         const ProgramOptions& options = {});

/// Runs `function` in a forked copy of this process, whose two output streams are captured, and
/// ends it with status 0 when `function` returns. The process must have one thread.
ProgramResult runInChild(const std::function<void()>& function,
                         std::chrono::milliseconds deadline = std::chrono::milliseconds{30'000});

}  // namespace blindfold
