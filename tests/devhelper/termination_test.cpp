// How the helper ends: by signals, whatever it is doing, and by failures; never with a socket left.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <thread>

#include "blindfold/platform/linux/service_socket.h"
#include "blindfold/platform/posix/file_descriptor.h"
#include "tests/devhelper/raw_client.h"
#include "tests/devhelper/running_helper.h"
#include "tests/support/program.h"
#include "tests/support/temporary_directory.h"

namespace blindfold {
namespace {
using namespace std::chrono_literals;

const HelperMessage status{HelperMethod::currentState, NoArgument{}};

class TerminationTest : public testing::Test {
 protected:
  /// Makes a FIFO and returns its path.
  std::string makeFIFO() const {
    auto path = directory_.path() + "/record";
    EXPECT_EQ(mkfifo(path.c_str(), 0600), 0);
    return path;
  }

  /// The helper has ended with status 0 at once, and left no socket.
  void expectCleanEnd(RunningProgram& program) const {
    const auto begin = std::chrono::steady_clock::now();
    const auto result = program.wait();
    EXPECT_EQ(result.exitStatus, 0) << result.standardError;
    EXPECT_LT(std::chrono::steady_clock::now() - begin, 5s);
    EXPECT_FALSE(socketExists());
  }

  bool socketExists() const { return std::filesystem::exists(serviceSocketPath(service_.text())); }

  TemporaryDirectory directory_;
  TestServiceName service_;
};

/// Waits until the process sleeps in a system call (proc(5), state S).
void waitUntilAsleep(pid_t pid) {
  const auto deadline = std::chrono::steady_clock::now() + 10s;
  for (;;) {
    std::ifstream file("/proc/" + std::to_string(pid) + "/stat");
    const std::string text(std::istreambuf_iterator<char>(file), {});
    if (text.find(") S ") != std::string::npos) return;
    ASSERT_LT(std::chrono::steady_clock::now(), deadline);
    std::this_thread::sleep_for(5ms);
  }
}

/// The time that the process has spent on a processor (clock_getcpuclockid(3)).
std::chrono::nanoseconds processorTime(pid_t pid) {
  clockid_t clock{};
  timespec time{};
  EXPECT_EQ(clock_getcpuclockid(pid, &clock), 0);
  EXPECT_EQ(clock_gettime(clock, &time), 0);
  return std::chrono::seconds(time.tv_sec) + std::chrono::nanoseconds(time.tv_nsec);
}

TEST_F(TerminationTest, EverySignalEndsItCleanly) {
  for (const int signal : {SIGTERM, SIGINT, SIGHUP}) {
    RunningHelper helper(service_.text());
    RawClient client(service_.text());
    helper.program().sendSignal(signal);
    expectCleanEnd(helper.program());
    EXPECT_EQ(client.receiveToEnd(), "");
  }
}

TEST_F(TerminationTest, ASignalEndsItWhileItWaitsForTheReaderOfAFIFO) {
  for (const int signal : {SIGTERM, SIGINT}) {
    const auto path = directory_.path() + "/record";
    std::filesystem::remove(path);
    RunningProgram program(helperArguments(service_.text(), {"--record", makeFIFO()}));
    EXPECT_FALSE(program.waitForOutputLine("ready", 100ms));
    waitUntilAsleep(program.pid());
    program.sendSignal(signal);
    expectCleanEnd(program);
  }
}

TEST_F(TerminationTest, ASignalEndsItWhileAFIFOTakesNoMore) {
  const auto path = makeFIFO();
  const FileDescriptor reader(open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC));
  RunningHelper helper(service_.text(), {"--record", path});
  RawClient client(service_.text());
  client.sendMessage({HelperMethod::hold, DataArgument{std::string(1'000'000, 'x')}});
  EXPECT_TRUE(client.staysQuiet(100ms));
  waitUntilAsleep(helper.program().pid());
  helper.program().sendSignal(SIGTERM);
  expectCleanEnd(helper.program());
}

TEST_F(TerminationTest, ASignalEndsItWhilePollFails) {
  if (isSanitized) GTEST_SKIP() << "A sanitizer ends a program without descriptors.";
  RunningHelper helper(service_.text());
  const rlimit none{.rlim_cur = 0, .rlim_max = 0};
  ASSERT_EQ(prlimit(helper.program().pid(), RLIMIT_NOFILE, &none, nullptr), 0);
  const RawClient client(service_.text());  // wakes it up
  helper.program().sendSignal(SIGTERM);
  expectCleanEnd(helper.program());
}

TEST_F(TerminationTest, WhilePollFailsItRestsAndThenItServesAgain) {
  if (isSanitized) GTEST_SKIP() << "A sanitizer ends a program without descriptors.";
  RunningHelper helper(service_.text());
  const pid_t pid = helper.program().pid();
  rlimit before{};
  ASSERT_EQ(prlimit(pid, RLIMIT_NOFILE, nullptr, &before), 0);
  const rlimit none{.rlim_cur = 0, .rlim_max = before.rlim_max};
  ASSERT_EQ(prlimit(pid, RLIMIT_NOFILE, &none, nullptr), 0);
  RawClient client(service_.text());  // wakes it up
  client.sendMessage(status);
  std::this_thread::sleep_for(500ms);
  EXPECT_LT(processorTime(pid), 250ms);
  ASSERT_EQ(prlimit(pid, RLIMIT_NOFILE, &before, nullptr), 0);
  EXPECT_TRUE(client.receiveFrame());
}

TEST_F(TerminationTest, ARecordWithoutAReaderEndsItWithStatus1) {
  const auto path = makeFIFO();
  FileDescriptor reader(open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC));
  RunningHelper helper(service_.text(), {"--record", path});
  reader.reset();
  RawClient(service_.text()).sendMessage(status);
  const auto result = helper.program().wait();
  EXPECT_EQ(result.exitStatus, 1);
  EXPECT_EQ(result.standardError,
            "blindfold-devhelper: cannot record to '" + path + "': Broken pipe\n");
  EXPECT_FALSE(socketExists());
}

TEST_F(TerminationTest, ARecordBeyondTheFileSizeLimitEndsItWithStatus1) {
  const auto path = directory_.path() + "/record";
  RunningHelper helper(service_.text(), {"--record", path});
  const rlimit limit{.rlim_cur = 10, .rlim_max = 10};
  ASSERT_EQ(prlimit(helper.program().pid(), RLIMIT_FSIZE, &limit, nullptr), 0);
  RawClient(service_.text()).sendMessage(status);
  const auto result = helper.program().wait();
  EXPECT_EQ(result.exitStatus, 1);
  EXPECT_EQ(result.standardError,
            "blindfold-devhelper: cannot record to '" + path + "': File too large\n");
  EXPECT_FALSE(socketExists());
  EXPECT_EQ(std::filesystem::file_size(path), 0U);
}

TEST_F(TerminationTest, AStandardOutputWithoutAReaderEndsItWithStatus1) {
  // The shell opens the FIFO for writing while it has it open for reading too.
  const auto result =
      runProgram({"/bin/sh", "-c", R"(exec 3<>"$0" >"$0" 3<&-; exec "$@")", makeFIFO(),
                  helperArguments(service_.text(), {})[0], "--service", service_.text()});
  EXPECT_EQ(result.exitStatus, 1);
  EXPECT_FALSE(socketExists());
}

TEST_F(TerminationTest, AHangUpThatWasIgnoredAtTheStartStaysIgnored) {
  RunningProgram program(
      {"/usr/bin/nohup", helperArguments(service_.text(), {})[0], "--service", service_.text()});
  ASSERT_TRUE(program.waitForOutputLine("ready"));
  program.sendSignal(SIGHUP);
  RawClient client(service_.text());
  client.sendMessage(status);
  EXPECT_TRUE(client.receiveFrame());
}
}  // namespace
}  // namespace blindfold
