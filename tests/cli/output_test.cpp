#include "blindfold/cli/output.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <cstdlib>
#include <exception>
#include <functional>
#include <limits>
#include <new>
#include <stdexcept>
#include <string>
#include <system_error>
#include <vector>

#include "blindfold/cli/cli_error.h"
#include "blindfold/helperclient/helper_client_error.h"
#include "blindfold/model/hold.h"
#include "blindfold/platform/posix/file_descriptor.h"
#include "tests/support/program.h"

namespace blindfold {
namespace {
template <class Error>
ProgramResult report(const Error& error) {
  return runInChild([&] { reportFailureAndExit(std::make_exception_ptr(error)); });
}

TEST(PrintJSONTest, ARecordIsPrintedAsOneLine) {
  const ProgramResult result = runInChild([] { printJSON(HoldState{.mode = "idle"}); });
  EXPECT_EQ(result.standardOutput, "{\"heldTargets\":[],\"micMuted\":false,\"mode\":\"idle\"}\n");
  EXPECT_EQ(result.standardError, "");
}

TEST(PrintLineTest, ALineThatIsNotUTF8IsPrintedAsAnEmptyOne) {
  const ProgramResult result = runInChild([] { printLine("\xff"); });
  EXPECT_EQ(result.standardOutput, "\n");
  EXPECT_EQ(result.exitStatus, 0);
}

TEST(PrintJSONTest, ARecordThatCannotBeEncodedPrintsNothing) {
  const ProgramResult result = runInChild([] {
    try {
      HoldRequest request;
      request.durationHint = std::numeric_limits<double>::quiet_NaN();
      printJSON(request);
    } catch (...) {
      reportFailureAndExit(std::current_exception());
    }
  });
  EXPECT_EQ(result.standardOutput, "");
  EXPECT_EQ(result.exitStatus, 1);
  EXPECT_GT(result.standardError.size(), 1U);
}

TEST(PrintLineTest, AStandardOutputThatCannotBeWrittenIsAFailure) {
  const ProgramResult result = runInChild([] {
    close(STDOUT_FILENO);
    try {
      printLine("lost");
    } catch (const std::system_error& error) {
      reportFailureAndExit(std::current_exception());
    }
  });
  EXPECT_EQ(result.exitStatus, 1);
  EXPECT_EQ(result.standardError, "Standard output cannot be written: Bad file descriptor\n");
}

TEST(PrintLineTest, StandardOutputIsClosedBehindTheLineForWhatClosingItReports) {
  const ProgramResult result = runInChild([] {
    printLine("a line");
    if (fcntl(STDOUT_FILENO, F_GETFD) != -1) std::_Exit(EXIT_FAILURE);
  });
  EXPECT_EQ(result.exitStatus, 0);
  EXPECT_EQ(result.standardOutput, "a line\n");
}

TEST(ExhaustedMemoryTest, EndsTheProcessWithOneLine) {
  const ProgramResult result = runInChild([] {
    reportExhaustedMemory();
    std::get_new_handler()();
  });
  EXPECT_EQ(result.exitStatus, 1);
  EXPECT_EQ(result.standardError, "Out of memory.\n");
  EXPECT_EQ(result.standardOutput, "");
}

TEST(ReportFailureTest, AFailureIsItsDescriptionAndANewline) {
  const ProgramResult result = report(CLIError::noResolvedTargets());
  EXPECT_EQ(result.standardError, "No built-in camera targets were resolved.\n");
  EXPECT_EQ(result.standardOutput, "");
  EXPECT_EQ(result.exitStatus, 1);
}

TEST(ReportFailureTest, APayloadIsWrittenUnchanged) {
  EXPECT_EQ(report(CLIError::unsupportedCamera("No camera detected.")).standardError,
            "No camera detected.\n");
}

TEST(ReportFailureTest, ATransportFailureWithoutWordsIsAnEmptyLine) {
  const auto failure =
      HelperClientError::transport(std::make_exception_ptr(std::runtime_error("")));
  EXPECT_EQ(report(failure).standardError, "\n");
}

TEST(ReportFailureTest, AnyOtherErrorIsDescribedByThePlatform) {
  EXPECT_EQ(report(std::runtime_error("plain words")).standardError, "plain words\n");
}

TEST(ReportFailureTest, AHostileDescriptionStaysOneLineOfText) {
  const ProgramResult result = report(std::runtime_error("a\r\nb\x1b[31m\xff"));
  EXPECT_EQ(result.standardError, "a b\\u001b[31m\xef\xbf\xbd\n");
}

TEST(ReportFailureTest, ALongDescriptionIsWrittenWhole) {
  for (const std::size_t size : {4096U, 65'536U, 2'000'000U}) {
    const std::string description(size, 'd');
    EXPECT_EQ(report(std::runtime_error(description)).standardError, description + "\n") << size;
  }
}

TEST(ReportFailureTest, SpaceAroundADescriptionIsPartOfIt) {
  EXPECT_EQ(report(std::runtime_error(" a  b \t")).standardError, " a  b \t\n");
  EXPECT_EQ(report(std::runtime_error("\na\n")).standardError, " a \n");
  EXPECT_EQ(report(std::runtime_error(" ")).standardError, " \n");
}

TEST(ReportFailureTest, ADescriptionOfManyLinesIsWrittenWholeAsOne) {
  std::string lines;
  std::string words;
  for (int count = 0; count < 10'000; ++count) {
    lines += "line\r\n";
    words += count == 0 ? "line" : " line";
  }
  EXPECT_EQ(report(std::runtime_error(lines + "end")).standardError, words + " end\n");
}

/// The pieces in which `write` writes to the standard stream, each as one system call wrote it.
std::vector<std::string> pieces(int stream, const std::function<void()>& write) {
  // Receiving from a socket of datagrams takes what one write has sent, no more and no less.
  std::array<int, 2> ends{};
  EXPECT_EQ(socketpair(AF_UNIX, SOCK_DGRAM, 0, ends.data()), 0);
  const FileDescriptor reader(ends[0]);
  const FileDescriptor writer(ends[1]);
  runInChild([&] {
    dup2(writer.get(), stream);
    write();
  });
  std::vector<std::string> result;
  std::array<char, 4096> buffer{};
  for (;;) {
    const ssize_t count = recv(reader.get(), buffer.data(), buffer.size(), MSG_DONTWAIT);
    if (count < 0) return result;
    result.emplace_back(buffer.data(), static_cast<std::size_t>(count));
  }
}

TEST(ReportFailureTest, AFailureIsWrittenInOnePiece) {
  const std::string description(200, 'd');
  EXPECT_EQ(pieces(STDERR_FILENO,
                   [&] {
                     reportFailureAndExit(std::make_exception_ptr(std::runtime_error(description)));
                   }),
            std::vector<std::string>{description + "\n"});
}

TEST(PrintLineTest, ALineIsWrittenInOnePiece) {
  EXPECT_EQ(pieces(STDOUT_FILENO, [] { printLine("a line"); }),
            std::vector<std::string>{"a line\n"});
}
}  // namespace
}  // namespace blindfold
