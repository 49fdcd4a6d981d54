// The system calls of a run, counted by strace: the tool as it ships does nothing beside its
// request.

#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <sstream>
#include <string>
#include <vector>

#include "tests/end_to_end/end_to_end_test.h"

namespace blindfold {
namespace {
class SystemCallTest : public EndToEndTest {
 protected:
  SystemCallTest() : EndToEndTest({BLINDFOLD_LINKED_TOOL, BLINDFOLD_LINKED_SERVICE}) {}

  void SetUp() override {
    if (!SHIPPED_BUILD) GTEST_SKIP() << "The tool is not built as it ships.";
  }

  /// The system calls of one run, each as strace writes it.
  std::vector<std::string> systemCalls(const std::vector<std::string>& words) {
    std::vector<std::string> arguments{BLINDFOLD_STRACE, "-f", "-o", path("trace"),
                                       deployment().tool};
    arguments.insert(arguments.end(), words.begin(), words.end());
    const ProgramResult result = runProgram(arguments);
    EXPECT_EQ(result.exitStatus, 0) << result.standardError;
    std::vector<std::string> calls;
    std::istringstream trace(readFile(path("trace")));
    std::string process;
    for (std::string call; trace >> process && std::getline(trace >> std::ws, call);) {
      calls.push_back(call);
    }
    return calls;
  }

  static long count(const std::vector<std::string>& calls, const std::string& name) {
    return std::count_if(calls.begin(), calls.end(),
                         [&](const std::string& call) { return call.starts_with(name + "("); });
  }

  /// Whether `call` opens a file. The directory of the services' sockets is none: it is opened
  /// where its path is too long for a socket's address.
  static bool opensFile(const std::string& call) {
    return call.starts_with("open") && call.find("O_PATH|O_DIRECTORY") == std::string::npos;
  }
};

TEST_F(SystemCallTest, ARunStartsNoThreadAndNoProcess) {
  startHelper();
  const auto calls = systemCalls({"status"});
  EXPECT_EQ(count(calls, "clone") + count(calls, "clone3") + count(calls, "fork"), 0);
}

TEST_F(SystemCallTest, ARunOpensNoFileAndLooksForTheHelperOnly) {
  startHelper();
  const auto calls = systemCalls({"status"});
  // A run of this user's asks whether that is its own id (user_namespaces(7)).
  constexpr uid_t overflowUser = 65534;
  const int expected = geteuid() == overflowUser ? 1 : 0;
  EXPECT_EQ(std::count_if(calls.begin(), calls.end(), opensFile), expected);
  EXPECT_EQ(count(calls, "access"), 1);
}

TEST_F(SystemCallTest, ARunDoesNotAskWhereItsFileIs) {
  startHelper();
  EXPECT_EQ(count(systemCalls({"status"}), "readlink"), 0);
}

TEST_F(SystemCallTest, ARequestIsOneConnectionAndOneMessage) {
  startHelper();
  const auto calls = systemCalls({"status"});
  EXPECT_EQ(count(calls, "socket"), 1);
  EXPECT_EQ(count(calls, "connect"), 1);
  EXPECT_EQ(count(calls, "sendto"), 1);
  EXPECT_EQ(count(calls, "write"), 1);
}

TEST_F(SystemCallTest, AHoldIsTwoConnectionsWithOneMessageEach) {
  startHelper();
  const auto calls = systemCalls({"hold-built-in"});
  EXPECT_EQ(count(calls, "socket"), 2);
  EXPECT_EQ(count(calls, "sendto"), 2);
}

TEST_F(SystemCallTest, AFailureIsOneWrite) {
  startHelper("currentState: error " + std::string(3000, 'e') + "\n");
  runProgram({BLINDFOLD_STRACE, "-f", "-o", path("trace"), deployment().tool, "status"});
  const std::string trace = readFile(path("trace"));
  const auto call = trace.find("write(2");
  EXPECT_NE(call, std::string::npos);
  EXPECT_EQ(trace.find("write(", call + 1), std::string::npos);
}

TEST_F(SystemCallTest, AnUnknownWordIsAnsweredWithoutLookingForTheHelper) {
  const ProgramResult result =
      runProgram({BLINDFOLD_STRACE, "-f", "-o", path("trace"), deployment().tool, "fly"});
  EXPECT_EQ(result.exitStatus, 64);
  const std::string trace = readFile(path("trace"));
  EXPECT_NE(trace.find("write(2"), std::string::npos);
  EXPECT_EQ(trace.find("access("), std::string::npos);
  EXPECT_EQ(trace.find("socket("), std::string::npos);
}
}  // namespace
}  // namespace blindfold
