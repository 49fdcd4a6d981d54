#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <utility>

#include "blindfold/helperclient/helper_client.h"
#include "blindfold/helperclient/request.h"
#include "tests/support/fake_platform.h"
#include "tests/support/task_ending.h"

namespace blindfold {

inline const Bytes idleState = R"({"heldTargets":[],"micMuted":false,"mode":"idle"})";
inline const Bytes success = R"({"message":"Done.","success":true})";

/// A client of fakes, with an installed helper, that skips the precheck.
class HelperClientTest : public testing::Test {
 protected:
  /// Ends the requests that a test has left waiting: each keeps its coroutine until then.
  void TearDown() override {
    for (const auto& connection : fake_.connections.takeConnections()) {
      connection->deliverInvalidation();
    }
    fake_.mainLoop.runUntilIdle();
  }

  template <class T>
  std::shared_ptr<TaskEnding<T>> start(Task<T> task) {
    auto ending = startTask(fake_.mainLoop, std::move(task));
    fake_.mainLoop.runUntilIdle();
    return ending;
  }

  /// Makes this program one that the precheck accepts by its bundle.
  void authorizeByBundle() {
    const std::string app = "/Applications/Blindfold.app";
    const std::string executable = app + "/Contents/MacOS/Blindfold";
    fake_.bundles.main.dictionary["CFBundleIdentifier"] = std::string("app.blindfold.mac");
    fake_.bundles.main.executable = FileURL(executable);
    for (const auto& directory : {app, app + "/Contents", app + "/Contents/MacOS"}) {
      fake_.files.attributesByPath[directory] = {FileType::directory, 0755};
    }
    fake_.files.attributesByPath[executable] = {FileType::regular, 0755};
  }

  FakeHelperConnection& connection() { return *fake_.connections.connections().at(0); }

  static std::string text(HelperClientError::Case plainCase) {
    return HelperClientError(plainCase).errorDescription();
  }

  FakePlatform fake_;
  HelperClient client_{std::make_shared<const HelperClientState>(/*skipPrecheck=*/true,
                                                                 fake_.platform, fake_.settings)};
};

}  // namespace blindfold
