// Requests that are made while the process ends: threads go on, and statics are gone. And requests
// that the thread of the main loop waits for.

#include <gtest/gtest.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <thread>

#include "blindfold/helperclient/helper_client.h"
#include "blindfold/helperclient/run_task.h"
#include "tests/end_to_end/end_to_end_test.h"
#include "tests/support/program.h"

namespace blindfold {
namespace {
using namespace std::chrono_literals;

constexpr auto timeBeforeExit = 20ms;
constexpr int requestingThreads = 4;

std::string statusOrFailure(HelperClient& client) {
  try {
    return syncWait(client.currentState()).mode;
  } catch (const HelperClientError& error) {
    return error.errorDescription();
  }
}

/// Makes a request by the settings of this process, and one that takes a connection. Uses no static
/// of the test's own.
void makeRequests() {
  HelperClient client(/*skipClientAuthorizationPrecheck=*/false);
  HelperClient connecting(/*skipClientAuthorizationPrecheck=*/true,
                          DeploymentValues{.helperMachServiceName = "test.unserved",
                                           .helperInstallPath = BLINDFOLD_DEVHELPER});
  std::printf("%s\n%s\n", statusOrFailure(client).c_str(), statusOrFailure(connecting).c_str());
}

/// The output of `makeRequests` in a process that no helper was installed for.
const std::string failures =
    "Protection service is not set up.\nProtection service is unavailable.\n";

TEST(RequestAtExitTest, ARequestIsMadeAfterTheStaticsOfTheLibraryWouldBeDestroyed) {
  const auto result = runInChild([] {
    // Handlers run in the reverse order of registration, and the destructors of statics with them:
    // whatever the first request makes is destroyed before this handler runs.
    std::atexit(makeRequests);
    makeRequests();
    std::exit(EXIT_SUCCESS);
  });
  EXPECT_EQ(result.exitStatus, EXIT_SUCCESS) << result.standardError;
  EXPECT_EQ(result.standardOutput, failures + failures);
  EXPECT_EQ(result.standardError, "");
}

TEST(RequestAtExitTest, AProcessEndsWhileItsThreadsMakeRequests) {
  const auto result = runInChild([] {
    for (int count = 0; count < requestingThreads; ++count) {
      std::thread([] {
        for (;;) makeRequests();
      }).detach();
    }
    std::this_thread::sleep_for(timeBeforeExit);
    std::exit(EXIT_SUCCESS);
  });
  EXPECT_EQ(result.exitStatus, EXIT_SUCCESS) << result.standardError;
  EXPECT_EQ(result.standardError, "");
}

TEST(RequestOnMainLoopTest, TheThreadThatServesTheMainLoopMayWaitForARequest) {
  const auto result = runInChild([] {
    mainLoopExecutor()([] {
      makeRequests();
      std::exit(EXIT_SUCCESS);
    });
    runMainLoop();
  });
  EXPECT_EQ(result.exitStatus, EXIT_SUCCESS) << result.standardError;
  EXPECT_EQ(result.standardOutput, failures);
}
}  // namespace
}  // namespace blindfold
