#include "tests/support/program.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>
#ifdef __linux__
#include <sys/prctl.h>
#include <sys/syscall.h>
#else
#include <sys/event.h>
#endif

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <iostream>
#include <system_error>
#include <utility>

#include "blindfold/platform/posix/file_descriptor.h"

#ifdef __APPLE__
extern "C" char** environ;  // POSIX leaves its declaration to the program.
#endif

namespace blindfold {
namespace {
using Clock = std::chrono::steady_clock;

/// How long a child that is no longer wanted may take to end at SIGTERM.
constexpr std::chrono::milliseconds terminationLimit{2'000};

constexpr std::size_t readSize = std::size_t{32} * 1024;

[[noreturn]] void throwError(int error, const char* what) {
  throw std::system_error(error, std::generic_category(), what);
}

int checked(int result, const char* what) {
  if (result == -1) throwError(errno, what);
  return result;
}

#ifdef __linux__
void openPipe(std::array<int, 2>& ends) {
  checked(pipe2(ends.data(), O_CLOEXEC), "pipe2");
}

/// Kills this process when the thread that made it ends. False when that has happened already.
bool endWithParent(pid_t parent) {
  return prctl(PR_SET_PDEATHSIG, SIGKILL) == 0 && getppid() == parent;
}

/// No program inherits a descriptor that is not a standard stream.
bool closeOthersOnExec() {
  return close_range(STDERR_FILENO + 1, ~0U, CLOSE_RANGE_CLOEXEC) == 0;
}

/// A descriptor that can be read once the child `pid` has ended.
FileDescriptor watchProcess(pid_t pid) {
  return FileDescriptor(checked(static_cast<int>(syscall(SYS_pidfd_open, pid, 0)), "pidfd_open"));
}
#else
void openPipe(std::array<int, 2>& ends) {
  checked(pipe(ends.data()), "pipe");
  for (const int end : ends) checked(fcntl(end, F_SETFD, FD_CLOEXEC), "fcntl");
}

/// macOS has no such signal.
bool endWithParent(pid_t parent) {
  return getppid() == parent;
}

bool closeOthersOnExec() {
  for (int each = STDERR_FILENO + 1; each < getdtablesize(); ++each) {
    fcntl(each, F_SETFD, FD_CLOEXEC);
  }
  return true;
}

FileDescriptor watchProcess(pid_t pid) {
  FileDescriptor queue(checked(kqueue(), "kqueue"));
  struct kevent ending{};
  EV_SET(&ending, static_cast<uintptr_t>(pid), EVFILT_PROC, EV_ADD, NOTE_EXIT, 0, nullptr);
  if (kevent(queue.get(), &ending, 1, nullptr, 0, nullptr) == 0) return queue;
  // A child that has ended already: this can be read at once.
  if (errno != ESRCH) throwError(errno, "kevent");
  return FileDescriptor(checked(open("/dev/null", O_RDONLY | O_CLOEXEC), "open"));
}
#endif

/// A pipe; neither end is inherited by a program.
struct Pipe {
  FileDescriptor readEnd;
  FileDescriptor writeEnd;

  Pipe() {
    std::array<int, 2> ends{};
    openPipe(ends);
    readEnd = FileDescriptor(ends[0]);
    writeEnd = FileDescriptor(ends[1]);
    // Only the reader must never block; the flag belongs to this end of the pipe alone.
    checked(fcntl(ends[0], F_SETFL, O_NONBLOCK), "fcntl");
  }
};

std::vector<char*> pointers(const std::vector<std::string>& texts) {
  std::vector<char*> result;
  result.reserve(texts.size() + 1);
  // execve(2) takes pointers to characters that it promises not to change.
  for (const auto& text : texts) result.push_back(const_cast<char*>(text.c_str()));
  result.push_back(nullptr);
  return result;
}

/// Everything that a child needs to become the program, so that it allocates nothing between
/// fork(2) and execve(2).
struct ProgramStart {
  std::vector<char*> arguments;
  char** environment;
  const char* workingDirectory;    ///< Null for the parent's.
  const char* standardOutputPath;  ///< Null to capture the output.
  bool closesStandardOutput;
  int output;  ///< The pipes' ends.
  int error;
  pid_t parent;
};

/// Puts the standard streams, the signals and the directory in order, and executes the program.
/// Returns, with errno, when that fails.
void becomeProgram(const ProgramStart& start) {
  // The child dies with the test that started it, however that ends.
  if (!endWithParent(start.parent)) _exit(EXIT_FAILURE);
  for (int signal = 1; signal < NSIG; ++signal) {
    if (signal != SIGKILL && signal != SIGSTOP) ::signal(signal, SIG_DFL);
  }
  sigset_t none{};
  sigemptyset(&none);
  sigprocmask(SIG_SETMASK, &none, nullptr);

  const int input = open("/dev/null", O_RDONLY | O_CLOEXEC);
  const int output = start.standardOutputPath == nullptr
                         ? start.output
                         : open(start.standardOutputPath, O_WRONLY | O_CLOEXEC);
  if (input < 0 || output < 0 || dup2(input, STDIN_FILENO) < 0 ||
      dup2(start.error, STDERR_FILENO) < 0 || dup2(output, STDOUT_FILENO) < 0) {
    return;
  }
  if (start.closesStandardOutput) close(STDOUT_FILENO);
  if (start.workingDirectory != nullptr && chdir(start.workingDirectory) != 0) return;
  if (!closeOthersOnExec()) return;
  execve(start.arguments.front(), start.arguments.data(), start.environment);
}

/// Starts a child that becomes the program. Throws when the program cannot be executed.
pid_t startProgram(const ProgramStart& start) {
  Pipe failure;
  const pid_t pid = checked(fork(), "fork");
  if (pid == 0) {
    becomeProgram(start);
    const int error = errno;
    [[maybe_unused]] const ssize_t count = write(failure.writeEnd.get(), &error, sizeof error);
    _exit(EXIT_FAILURE);
  }
  failure.writeEnd.reset();
  fcntl(failure.readEnd.get(), F_SETFL, 0);
  int error = 0;
  ssize_t count = -1;
  do {
    count = read(failure.readEnd.get(), &error, sizeof error);
  } while (count < 0 && errno == EINTR);
  if (count == 0) return pid;
  waitpid(pid, nullptr, 0);
  throwError(error, start.arguments.front());
}

std::optional<std::vector<std::string>> environmentTexts(const ProgramOptions& options) {
  if (!options.environment) return std::nullopt;
  std::vector<std::string> texts;
  for (const auto& [name, value] : *options.environment) {
    texts.push_back(name);
    texts.back().append("=").append(value);
  }
  return texts;
}

enum class ReadOutcome { some, nothingNow, end };

/// Appends what one read takes from the stream to `bytes`, and closes it when it is at its end.
ReadOutcome readSome(FileDescriptor& stream, std::string& bytes) {
  if (!stream) return ReadOutcome::end;
  std::array<char, readSize> buffer{};
  ssize_t count = -1;
  while ((count = ::read(stream.get(), buffer.data(), buffer.size())) == -1) {
    if (errno == EAGAIN) return ReadOutcome::nothingNow;
    if (errno != EINTR) throwError(errno, "read");
  }
  if (count == 0) {
    stream.reset();
    return ReadOutcome::end;
  }
  bytes.append(buffer.data(), static_cast<std::size_t>(count));
  return ReadOutcome::some;
}

/// Appends everything that the stream still holds to `bytes`.
void drain(FileDescriptor& stream, std::string& bytes) {
  while (readSome(stream, bytes) == ReadOutcome::some) continue;
}

/// Whether one of the complete lines of `text` is `line`.
bool hasLine(std::string_view text, std::string_view line) {
  for (auto end = text.find('\n'); end != std::string_view::npos; end = text.find('\n')) {
    if (text.substr(0, end) == line) return true;
    text.remove_prefix(end + 1);
  }
  return false;
}

pollfd watchFor(const FileDescriptor& source) {
  return {.fd = source.get(), .events = POLLIN, .revents = 0};
}

int pollTimeout(Clock::time_point limit) {
  const auto left = std::chrono::ceil<std::chrono::milliseconds>(limit - Clock::now()).count();
  return static_cast<int>(std::clamp<std::int64_t>(left, 0, 1'000'000));
}
}  // namespace

class RunningProgram::Child {
 public:
  Child(pid_t pid, FileDescriptor standardOutput, FileDescriptor standardError,
        Clock::time_point start, std::chrono::milliseconds deadline)
      : pid_(pid),
        standardOutput_(std::move(standardOutput)),
        standardError_(std::move(standardError)),
        start_(start),
        deadline_(start + deadline),
        process_(watchProcess(pid)) {}
  Child(const Child&) = delete;
  Child& operator=(const Child&) = delete;
  ~Child() {
    if (reaped_) return;
    // A program that catches the signal ends by itself, as it should be seen to.
    kill(pid_, SIGTERM);
    pollfd end = watchFor(process_);
    if (!ended_) poll(&end, 1, static_cast<int>(terminationLimit.count()));
    kill(pid_, SIGKILL);
    while (waitpid(pid_, nullptr, 0) == -1 && errno == EINTR) continue;
  }

  pid_t pid() const { return pid_; }

  bool waitForOutputLine(std::string_view line, Clock::time_point limit) {
    while (!hasLine(result_.standardOutput, line)) {
      if (!standardOutput_ || Clock::now() >= limit) return false;
      readOrWait(limit);
    }
    return true;
  }

  ProgramResult wait() {
    while (!ended_ && Clock::now() < deadline_) readOrWait(deadline_);
    if (!ended_) {
      result_.deadlineExpired = true;
      kill(pid_, SIGKILL);
    }
    int status = 0;
    while (waitpid(pid_, &status, 0) == -1) {
      if (errno != EINTR) throwError(errno, "waitpid");
    }
    reaped_ = true;
    result_.wallSeconds = std::chrono::duration<double>(Clock::now() - start_).count();
    // Its last output may have come after the last look; a grandchild may still hold the streams
    // open, so their end is not waited for.
    drain(standardOutput_, result_.standardOutput);
    drain(standardError_, result_.standardError);
    if (WIFEXITED(status)) result_.exitStatus = WEXITSTATUS(status);
    if (WIFSIGNALED(status)) result_.signal = WTERMSIG(status);
    return std::move(result_);
  }

 private:
  /// Waits for output or the child's end, not past `limit`, and takes what there is.
  void readOrWait(Clock::time_point limit) {
    // A closed stream has the number -1, which poll ignores.
    std::array<pollfd, 3> sources{watchFor(standardOutput_), watchFor(standardError_),
                                  watchFor(process_)};
    const int count = poll(sources.data(), sources.size(), pollTimeout(limit));
    if (count == -1 && errno != EINTR) throwError(errno, "poll");
    if (count <= 0) return;
    // One read each, so that a child that never stops writing still meets its deadline.
    readSome(standardOutput_, result_.standardOutput);
    readSome(standardError_, result_.standardError);
    if (sources[2].revents == 0) return;
    ended_ = true;
    process_.reset();
  }

  pid_t pid_;
  FileDescriptor standardOutput_;
  FileDescriptor standardError_;
  Clock::time_point start_;
  Clock::time_point deadline_;
  /// Readable once the child has ended.
  FileDescriptor process_;
  bool ended_ = false;
  bool reaped_ = false;
  ProgramResult result_;
};

RunningProgram::RunningProgram(std::unique_ptr<Child> child) : child_(std::move(child)) {}
RunningProgram::RunningProgram(RunningProgram&& other) noexcept = default;
RunningProgram::~RunningProgram() = default;

RunningProgram::RunningProgram(const std::vector<std::string>& arguments,
                               const ProgramOptions& options) {
  Pipe output;
  Pipe error;
  const auto environment = environmentTexts(options);
  auto environmentPointers = pointers(environment.value_or(std::vector<std::string>()));
  const auto* const path = std::get_if<OutputToPath>(&options.standardOutput);
  const auto start = Clock::now();
  const pid_t pid = startProgram({
      .arguments = pointers(arguments),
      .environment = environment ? environmentPointers.data() : environ,
      .workingDirectory = options.workingDirectory ? options.workingDirectory->c_str() : nullptr,
      .standardOutputPath = path != nullptr ? path->path.c_str() : nullptr,
      .closesStandardOutput = std::holds_alternative<ClosedOutput>(options.standardOutput),
      .output = output.writeEnd.get(),
      .error = error.writeEnd.get(),
      .parent = getpid(),
  });
  child_ = std::make_unique<Child>(pid, std::move(output.readEnd), std::move(error.readEnd), start,
                                   options.deadline);
}

pid_t RunningProgram::pid() const {
  return child_->pid();
}

bool RunningProgram::waitForOutputLine(std::string_view line, std::chrono::milliseconds limit) {
  return child_->waitForOutputLine(line, Clock::now() + limit);
}

void RunningProgram::sendSignal(int signal) const {
  checked(kill(child_->pid(), signal), "kill");
}

ProgramResult RunningProgram::wait() {
  return child_->wait();
}

ProgramResult runProgram(const std::vector<std::string>& arguments, const ProgramOptions& options) {
  return RunningProgram(arguments, options).wait();
}

ProgramResult runInChild(const std::function<void()>& function,
                         std::chrono::milliseconds deadline) {
  Pipe output;
  Pipe error;
  // The copy would write buffered output a second time.
  std::cout.flush();
  std::fflush(nullptr);
  const auto start = Clock::now();
  const pid_t parent = getpid();
  const pid_t pid = checked(fork(), "fork");
  if (pid == 0) {
    if (!endWithParent(parent)) _exit(EXIT_FAILURE);
    dup2(output.writeEnd.get(), STDOUT_FILENO);
    dup2(error.writeEnd.get(), STDERR_FILENO);
    const rlimit noCore{.rlim_cur = 0, .rlim_max = 0};
    setrlimit(RLIMIT_CORE, &noCore);
    // An exception leaves this noexcept function, as it would leave `main`: the child is aborted.
    [&]() noexcept { function(); }();
    std::cout.flush();
    std::fflush(nullptr);
    _exit(EXIT_SUCCESS);
  }
  return RunningProgram(std::make_unique<RunningProgram::Child>(pid, std::move(output.readEnd),
                                                                std::move(error.readEnd), start,
                                                                deadline))
      .wait();
}

}  // namespace blindfold
