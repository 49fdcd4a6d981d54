#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <memory>
#include <string>
#include <utility>

#include "blindfold/helperclient/helper_client.h"
#include "blindfold/helperclient/request.h"
#include "blindfold/platform/macos/macos_platform.h"
#include "events.h"
#include "in_process_service.h"
#include "security_stand_in.h"
#include "tests/support/fake_main_loop.h"
#include "tests/support/task_ending.h"
#include "tests/support/temporary_directory.h"

namespace blindfold {

/// The client's whole requests over the macOS adapters, to the service "app.example.helper".
class ClientOverXPC : public testing::Test {
 protected:
  ClientOverXPC() {
    InProcessService::shared().reset();
    SecurityStandIn::shared().reset();
  }

  /// No test leaves a connection behind.
  void TearDown() override {
    EXPECT_TRUE(comesTrue([&] {
      mainLoop_.runUntilIdle();
      return InProcessService::liveConnections() == 0;
    }));
  }

  /// Turns the main loop until the task has ended.
  template <class T>
  void finish(const TaskEnding<T>& ending) {
    EXPECT_TRUE(comesTrue([&] {
      mainLoop_.runUntilIdle();
      return ending.count > 0;
    }));
  }

  /// The description of the failure in which `task` ends.
  template <class T>
  std::string failureOf(Task<T> task) {
    const auto ending = startTask(mainLoop_, std::move(task));
    finish(*ending);
    return describeFailure(*ending);
  }

  /// A bundle that names the service and, as the installed helper, a file that may be executed.
  std::unique_ptr<Bundle> makeBundle() const {
    const std::string contents = directory_.path() + "/Tool.app/Contents";
    std::filesystem::create_directories(contents);
    // GNUstep looks for the same property list in the directory of this name.
    std::filesystem::create_symlink("Contents", directory_.path() + "/Tool.app/Resources");
    const std::string helper = directory_.path() + "/helper";
    std::ofstream(helper) << "#!/bin/sh\n";
    std::filesystem::permissions(helper, std::filesystem::perms::owner_all);
    std::ofstream(contents + "/Info.plist")
        << "<?xml version=\"1.0\" encoding=\"UTF-8\"?><plist version=\"1.0\"><dict>"
        << "<key>BlindfoldHelperInstallPath</key><string> " << helper << "\n</string>"
        << "<key>BlindfoldHelperLaunchdLabel</key><string>app.example.helper</string>"
        << "</dict></plist>";
    return bundles_.bundleWithURL(FileURL(directory_.path() + "/Tool.app"));
  }

  const TemporaryDirectory directory_;
  FoundationFileManager fileManager_;
  FoundationBundleProvider bundles_;
  SecurityCodeSigning codeSigning_;
  XPCHelperConnectionProvider connections_;
  DispatchTimedWorkQueue timedWork_;
  FakeMainLoop mainLoop_;
  const Platform platform_{fileManager_, bundles_,  codeSigning_,
                           connections_, mainLoop_, timedWork_};
  const std::unique_ptr<Bundle> bundle_ = makeBundle();
  const DeploymentSettings settings_{*bundle_, fileManager_};
  HelperClient client_{
      std::make_shared<const HelperClientState>(/*skipPrecheck=*/true, platform_, settings_)};
};

}  // namespace blindfold
