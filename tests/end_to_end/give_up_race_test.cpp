// Requests over real connections to the development helper are given up at random moments, while it
// answers, fails, drops and ignores them and time limits pass.

#include <gtest/gtest.h>

#include <array>
#include <chrono>
#include <filesystem>
#include <functional>
#include <iterator>
#include <string>
#include <thread>

#include "blindfold/helperclient/helper_client.h"
#include "tests/end_to_end/end_to_end_test.h"
#include "tests/support/give_up_race.h"

namespace blindfold {
namespace {
constexpr int requestCount = 10'000;

/// About as long as a request takes.
constexpr std::chrono::microseconds requestTime{500};
constexpr std::chrono::microseconds longestPause = 4 * requestTime;
constexpr double shortTimeout = std::chrono::duration<double>(requestTime).count();

/// The number of this process's open descriptors.
std::ptrdiff_t openDescriptors() {
  const std::filesystem::directory_iterator descriptors("/proc/self/fd");
  return std::distance(begin(descriptors), end(descriptors));
}

template <class T>
Task<void> ignoreResult(Task<T> task) {
  try {
    co_await std::move(task);
  } catch (const HelperClientError&) {
    // Some of the requests are made to fail.
  }
}

using GiveUpRaceEndToEndTest = EndToEndTest;

TEST_F(GiveUpRaceEndToEndTest, TenThousandRequestsGivenUpAtRandomMomentsLeaveNoDescriptor) {
  startHelper(
      "muteMic: close\n"
      "unmuteMic: error no such microphone\n"
      R"(restoreAll: trickle 0 reply {"success":true,"message":"restored"})"
      "\n");
  HelperClient client(/*skipClientAuthorizationPrecheck=*/true,
                      DeploymentValues{.helperMachServiceName = deployment().service,
                                       .helperInstallPath = developmentHelper});
  const std::array<std::function<Task<void>()>, 5> operations{
      [&] { return ignoreResult(client.currentState()); },
      [&] { return ignoreResult(client.muteMicrophones()); },
      [&] { return ignoreResult(client.unmuteMicrophones()); },
      [&] { return ignoreResult(client.restoreAll()); },
      [&] { return ignoreResult(client.detectTargets(shortTimeout)); },
  };
  GiveUpRace race(
      [&](int number) {
        return operations[static_cast<std::size_t>(number) % operations.size()]();
      },
      [](int) { std::this_thread::sleep_for(requestTime); }, longestPause);
  race.run(0, 100);  // what stays open for the life of the process is open now
  const auto descriptors = openDescriptors();

  race.run(0, requestCount);

  // Fewer, when a connection of the first hundred requests was not closed yet as it was counted.
  EXPECT_TRUE(eventually([&] { return openDescriptors() <= descriptors; }))
      << openDescriptors() << " descriptors, " << descriptors << " before";
  EXPECT_GT(race.calledBack(), 0);
  EXPECT_GT(race.givenUp(), 0);
  EXPECT_EQ(syncWait(client.currentState()).mode, "idle");
  stopHelper();
}
}  // namespace
}  // namespace blindfold
