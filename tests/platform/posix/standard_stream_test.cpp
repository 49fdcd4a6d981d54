#include "blindfold/platform/standard_stream.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <string>
#include <system_error>
#include <thread>

#include "tests/support/program.h"

namespace blindfold {
namespace {
/// More than a pipe holds.
constexpr std::size_t muchText = std::size_t{1} << 20U;

/// A non-blocking pipe in the place of a standard stream.
class NonBlockingPipe {
 public:
  explicit NonBlockingPipe(int descriptor) {
    if (pipe(ends_.data()) != 0) std::abort();
    for (const int end : ends_) fcntl(end, F_SETFL, O_NONBLOCK);
    dup2(ends_[1], descriptor);
    close(ends_[1]);
  }

  /// Reads `size` bytes, slowly at first. Returns how many bytes came that are not `expected`.
  std::size_t countOthers(std::size_t size, char expected) const {
    std::size_t others = 0;
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    for (std::size_t received = 0; received < size;) {
      std::array<char, 5000> part;
      const ssize_t count = read(ends_[0], part.data(), part.size());
      const std::size_t length = count > 0 ? static_cast<std::size_t>(count) : 0;
      for (std::size_t index = 0; index < length; ++index)
        others += part[index] == expected ? 0 : 1;
      received += length;
      std::this_thread::sleep_for(std::chrono::microseconds(10));
    }
    return others;
  }

  void closeReader() const { close(ends_[0]); }

 private:
  std::array<int, 2> ends_{};
};

/// Runs `check` in a process of its own, whose standard streams it may replace.
void expectInChild(const std::function<bool()>& check) {
  EXPECT_EQ(runInChild([&] { std::_Exit(check() ? 0 : 1); }).exitStatus, 0);
}

TEST(StandardStreamTest, ANonBlockingStreamIsWaitedFor) {
  for (const auto stream : {StandardStream::output, StandardStream::error}) {
    expectInChild([&] {
      const NonBlockingPipe pipe(static_cast<int>(stream));
      std::size_t others = 1;
      std::thread reader([&] { others = pipe.countOthers(muchText, 'x'); });
      const std::error_code error = writeAll(stream, std::string(muchText, 'x'));
      reader.join();
      return !error && others == 0;
    });
  }
}

TEST(StandardStreamTest, AReaderThatEndsWhileItIsWaitedForIsAnError) {
  expectInChild([] {
    std::signal(SIGPIPE, SIG_IGN);
    const NonBlockingPipe pipe(STDOUT_FILENO);
    std::thread reader([&] {
      std::this_thread::sleep_for(std::chrono::milliseconds(50));
      pipe.closeReader();
    });
    const std::error_code error = writeAll(StandardStream::output, std::string(muchText, 'x'));
    reader.join();
    return error == std::errc::broken_pipe;
  });
}

TEST(StandardStreamTest, AClosedStreamIsAnError) {
  expectInChild([] {
    return !closeStream(StandardStream::output) &&
           writeAll(StandardStream::output, "x") == std::errc::bad_file_descriptor &&
           closeStream(StandardStream::output) == std::errc::bad_file_descriptor;
  });
}

TEST(StandardStreamTest, NothingToWriteIsNoError) {
  expectInChild(
      [] { return !closeStream(StandardStream::error) && !writeAll(StandardStream::error, ""); });
}
}  // namespace
}  // namespace blindfold
