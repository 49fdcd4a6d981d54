#include "blindfold/platform/platform.h"

#include <cstddef>
#include <memory>

#include "blindfold/platform/macos/dispatch_main_loop.h"
#include "blindfold/platform/macos/dispatch_timed_work.h"
#include "blindfold/platform/macos/foundation_bundle.h"
#include "blindfold/platform/macos/foundation_file_manager.h"
#include "blindfold/platform/macos/security_code_signing.h"
#include "blindfold/platform/macos/xpc_helper_connection.h"

namespace blindfold {

namespace {

struct MacPlatform {
  FoundationFileManager fileManager;
  FoundationBundleProvider bundles;
  SecurityCodeSigning codeSigning;
  XPCHelperConnectionProvider helperConnections;
  DispatchMainLoop mainLoop;
  DispatchTimedWorkQueue timedWork;
  Platform platform{fileManager, bundles, codeSigning, helperConnections, mainLoop, timedWork};
};

}  // namespace

const Platform& currentPlatform() {
  // Never destroyed: the platform's own threads may still use it while the process exits.
  alignas(MacPlatform) static std::byte storage[sizeof(MacPlatform)];
  static const MacPlatform& made = *std::construct_at(reinterpret_cast<MacPlatform*>(storage));
  return made.platform;
}

}  // namespace blindfold
