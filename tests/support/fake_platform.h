#pragma once

#include "blindfold/config/deployment_settings.h"
#include "blindfold/platform/platform.h"
#include "tests/support/call_log.h"
#include "tests/support/fake_bundle.h"
#include "tests/support/fake_code_signing.h"
#include "tests/support/fake_file_manager.h"
#include "tests/support/fake_helper_connection.h"
#include "tests/support/fake_main_loop.h"
#include "tests/support/fake_timed_work.h"

namespace blindfold {

/// A whole platform of fakes, on which the helper is installed, and the settings read from it.
struct FakePlatform {
  FakePlatform() { files.executables.insert(installPath); }

  const std::string installPath = "/Library/PrivilegedHelperTools/app.blindfold.helper";

  CallLog log;
  FakeFileManager files;
  FakeBundleProvider bundles;
  FakeCodeSigning codeSigning;
  FakeHelperConnectionProvider connections{log};
  FakeMainLoop mainLoop;
  FakeTimedWorkQueue timedWork{log};

  const Platform platform{files, bundles, codeSigning, connections, mainLoop, timedWork};
  const DeploymentSettings settings{bundles.main, files};
};

}  // namespace blindfold
