#include <gtest/gtest.h>

#include <barrier>
#include <thread>
#include <vector>

#include "blindfold/config/deployment_settings.h"
#include "blindfold/platform/platform.h"

namespace blindfold {
namespace {
TEST(CurrentDeploymentSettingsTest, ThereIsOneInstance) {
  EXPECT_EQ(&deploymentSettings(), &deploymentSettings());
}

TEST(CurrentDeploymentSettingsTest, TheyAreThoseOfTheMainBundle) {
  const DeploymentSettings expected(currentPlatform().bundles.mainBundle(),
                                    currentPlatform().fileManager);
  EXPECT_EQ(deploymentSettings().helperMachServiceName(), expected.helperMachServiceName());
  EXPECT_EQ(deploymentSettings().helperInstallURL(), expected.helperInstallURL());
}

TEST(CurrentDeploymentSettingsTest, ThreadsThatAskAtOnceGetTheSameInstance) {
  constexpr int threadCount = 8;
  std::barrier start(threadCount);
  std::vector<const DeploymentSettings*> seen(threadCount);
  std::vector<std::thread> threads;
  threads.reserve(threadCount);
  for (auto& mine : seen) {
    threads.emplace_back([&start, &mine] {
      start.arrive_and_wait();
      mine = &deploymentSettings();
    });
  }
  for (auto& thread : threads) thread.join();
  for (const auto* each : seen) EXPECT_EQ(each, &deploymentSettings());
}
}  // namespace
}  // namespace blindfold
