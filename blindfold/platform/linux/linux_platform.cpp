#include <memory>

#include "blindfold/platform/linux/event_loop.h"
#include "blindfold/platform/linux/linux_bundle.h"
#include "blindfold/platform/linux/linux_code_signing.h"
#include "blindfold/platform/linux/linux_file_manager.h"
#include "blindfold/platform/linux/linux_helper_connection.h"
#include "blindfold/platform/platform.h"

namespace blindfold {
namespace {
struct LinuxPlatform {
  LinuxFileManager fileManager;
  LinuxBundleProvider bundles;
  LinuxCodeSigning codeSigning;
  EventLoop loop{EventLoop::Server::firstToServe};
  LinuxHelperConnectionProvider helperConnections{loop};
  const Platform platform{fileManager, bundles, codeSigning, helperConnections, loop, loop};
};
}  // namespace

const Platform& currentPlatform() {
  // Never destroyed: the process may end by `exit` from work that the loop is running.
  static const LinuxPlatform* const current = std::make_unique<LinuxPlatform>().release();
  return current->platform;
}

}  // namespace blindfold
