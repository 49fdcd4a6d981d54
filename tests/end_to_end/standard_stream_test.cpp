// Status 0 means that the line was printed.

#include <gtest/gtest.h>

#include <csignal>
#include <string>

#include "tests/end_to_end/end_to_end_test.h"

namespace blindfold {
namespace {
using StandardStreamTest = EndToEndTest;

TEST_F(StandardStreamTest, AFullStandardOutputIsAFailure) {
  startHelper();
  const ProgramResult result = run({"status"}, {.standardOutput = OutputToPath{"/dev/full"}});
  EXPECT_EQ(result.exitStatus, 1);
  EXPECT_EQ(result.standardError, "Standard output cannot be written: No space left on device\n");
}

TEST_F(StandardStreamTest, AClosedStandardOutputIsAFailure) {
  startHelper();
  const ProgramResult result = run({"detect"}, {.standardOutput = ClosedOutput{}});
  EXPECT_EQ(result.exitStatus, 1);
  EXPECT_EQ(result.standardError, "Standard output cannot be written: Bad file descriptor\n");
}

TEST_F(StandardStreamTest, AReaderThatGoesAwayEndsTheToolAsItDoesAnyFilter) {
  startHelper("currentState: delay 0.2 reply {\"mode\":\"idle\"}\n");
  int ends[2] = {};
  ASSERT_EQ(pipe(ends), 0);
  const ProgramResult result = [&] {
    const ProgramOptions options{.standardOutput =
                                     OutputToPath{"/dev/fd/" + std::to_string(ends[1])}};
    RunningProgram program = start({"status"}, options);
    close(ends[0]);
    close(ends[1]);
    return program.wait();
  }();
  EXPECT_EQ(result.signal, SIGPIPE);
  EXPECT_EQ(result.standardError, "");
}
}  // namespace
}  // namespace blindfold
