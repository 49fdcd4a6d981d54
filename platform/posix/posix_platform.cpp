#include <memory>

#include "platform/platform.h"
#include "platform/posix/event_loop.h"
#include "platform/posix/posix_bundle.h"
#include "platform/posix/posix_code_signing.h"
#include "platform/posix/posix_file_manager.h"
#include "platform/posix/posix_helper_connection.h"

namespace blindfold {
namespace {

struct PosixPlatform {
  PosixFileManager fileManager;
  PosixBundleProvider bundles;
  PosixCodeSigning codeSigning;
  EventLoop loop;
  PosixHelperConnectionProvider helperConnections{loop};
  const Platform platform{fileManager, bundles, codeSigning, helperConnections, loop, loop};
};

}  // namespace

const Platform& currentPlatform() {
  // Never destroyed: the process may end by `exit` from work that the loop is running.
  static const PosixPlatform* const current = std::make_unique<PosixPlatform>().release();
  return current->platform;
}

}  // namespace blindfold
