#include "blindfold/platform/macos/macos_platform.h"

#include <cstddef>
#include <memory>

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
