#include <gtest/gtest.h>

#include <chrono>
#include <cstdlib>
#include <memory>
#include <utility>

#include "blindfold/platform/platform.h"

namespace blindfold {
namespace {
TEST(LinuxPlatformTest, ThePlatformIsMadeOnce) {
  EXPECT_EQ(&currentPlatform(), &currentPlatform());
}

TEST(LinuxPlatformTest, EveryFacilityAnswers) {
  const Platform& platform = currentPlatform();
  EXPECT_TRUE(platform.fileManager.isExecutableFile("/proc/self/exe"));
  EXPECT_TRUE(platform.bundles.mainBundle().executableURL());
  EXPECT_EQ(platform.codeSigning.ownSigningInformation(), std::nullopt);
  EXPECT_NE(platform.helperConnections.makePrivilegedConnection("any"), nullptr);
}

TEST(LinuxPlatformTest, TimedWorkRunsOnTheMainLoop) {
  const auto exitFromTimedWork = [] {
    const Platform& platform = currentPlatform();
    platform.mainLoop.post(
        [&] { platform.timedWork.schedule(std::chrono::milliseconds(1), [] { std::_Exit(3); }); });
    platform.mainLoop.run();
  };
  EXPECT_EXIT(exitFromTimedWork(), testing::ExitedWithCode(3), "");
}

TEST(LinuxPlatformTest, WorkMayEndTheProcessThoughConnectionsAreOpen) {
  const auto exitWithEverythingPending = [] {
    const Platform& platform = currentPlatform();
    const auto connection = platform.helperConnections.makePrivilegedConnection("nobody");
    connection->resume();
    platform.timedWork.schedule(std::chrono::seconds(5), [connection] {});
    platform.mainLoop.post([connection] { exit(4); });
    platform.mainLoop.run();
  };
  EXPECT_EXIT(exitWithEverythingPending(), testing::ExitedWithCode(4), "");
}
}  // namespace
}  // namespace blindfold
