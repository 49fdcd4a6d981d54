#include <gtest/gtest.h>

#include <chrono>

#include "blindfold/platform/platform.h"

namespace blindfold {
namespace {
TEST(MacOSPlatformTest, IsTheSameForEveryCaller) {
  EXPECT_EQ(&currentPlatform(), &currentPlatform());
}

TEST(MacOSPlatformTest, AnswersThroughEveryMember) {
  const Platform& platform = currentPlatform();
  EXPECT_TRUE(platform.fileManager.isExecutableFile("/"));
  EXPECT_TRUE(platform.bundles.mainBundle().executableURL().has_value());
  EXPECT_NE(platform.timedWork.schedule(std::chrono::hours(1), [] {}), nullptr);
}
}  // namespace
}  // namespace blindfold
