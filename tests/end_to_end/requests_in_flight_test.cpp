// One client with many requests under way at once, over real connections to the development helper.

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "blindfold/config/deployment_settings.h"
#include "blindfold/helperclient/helper_client.h"
#include "blindfold/helperclient/request.h"
#include "blindfold/platform/linux/event_loop.h"
#include "blindfold/platform/linux/linux_code_signing.h"
#include "blindfold/platform/linux/linux_file_manager.h"
#include "blindfold/platform/linux/linux_helper_connection.h"
#include "tests/end_to_end/end_to_end_test.h"
#include "tests/support/fake_bundle.h"
#include "tests/support/task_ending.h"

namespace blindfold {
namespace {
constexpr int requestsInFlight = 64;

/// The Linux platform, but for a bundle that names the service and the development helper.
struct TestPlatform {
  explicit TestPlatform(const std::string& service) {
    bundles.main.dictionary["BlindfoldHelperMachServiceName"] = service;
    bundles.main.dictionary["BlindfoldHelperInstallPath"] = developmentHelper;
  }

  FakeBundleProvider bundles;
  LinuxFileManager files;
  LinuxCodeSigning codeSigning;
  EventLoop loop;
  LinuxHelperConnectionProvider connections{loop};
  const Platform platform{files, bundles, codeSigning, connections, loop, loop};
  const DeploymentSettings settings{bundles.main, files};
};

using RequestsInFlightTest = EndToEndTest;

TEST_F(RequestsInFlightTest, SixtyFourMixedRequestsEachEndInTheirOwnWay) {
  startHelper(
      "currentState: silent\n"
      R"(restoreAll: delay 0.5 trickle 1 reply {"success":true,"message":"restored"})"
      "\n"
      "muteMic: delay 0.3 close\n"
      "unmuteMic: delay 0.1 error no such microphone\n");
  TestPlatform test(deployment().service);
  HelperClient client(std::make_shared<const HelperClientState>(/*skipPrecheck=*/true,
                                                                test.platform, test.settings));
  std::vector<std::shared_ptr<TaskEnding<HoldState>>> states;
  std::vector<std::shared_ptr<TaskEnding<OperationResult>>> restores;
  std::vector<std::shared_ptr<TaskEnding<OperationResult>>> mutes;
  std::vector<std::shared_ptr<TaskEnding<OperationResult>>> unmutes;
  for (int count = 0; count < requestsInFlight / 4; ++count) {
    states.push_back(startTask(test.loop, client.currentState()));
    restores.push_back(startTask(test.loop, client.restoreAll()));
    mutes.push_back(startTask(test.loop, client.muteMicrophones()));
    unmutes.push_back(startTask(test.loop, client.unmuteMicrophones()));
  }
  // The silent requests end last, by their time limit.
  while (states.back()->count == 0) test.loop.runRound();
  test.loop.runRound();  // in which their connections release the handlers

  for (const auto& ending : states) {
    EXPECT_EQ(describeFailure(*ending), "Protection service took too long to respond.");
  }
  for (const auto& ending : restores) {
    ASSERT_TRUE(ending->value) << describeFailure(*ending);
    EXPECT_EQ(ending->value->message, "restored");
  }
  for (const auto& ending : mutes) {
    EXPECT_EQ(describeFailure(*ending), "Protection service is unavailable.");
  }
  for (const auto& ending : unmutes) {
    EXPECT_EQ(describeFailure(*ending), "no such microphone");
  }
}
}  // namespace
}  // namespace blindfold
