#include "devhelper/development_helper.h"

#include <cstdio>
#include <cstdlib>
#include <utility>

#include "blindfold/platform/platform.h"
#include "blindfold/text/utf8.h"
#include "devhelper/macos/xpc_service.h"
#include "devhelper/messages.h"
#include "devhelper/termination.h"

namespace blindfold {
namespace {
/// The answer of `helper`. A message that cannot be recorded ends the process.
Answer answerOrEnd(DevelopmentHelper& helper, const HelperMessage& message) {
  try {
    return helper.answer(message);
  } catch (const PlatformError& error) {
    std::fprintf(stderr, "blindfold-devhelper: %s\n", error.what());
    std::_Exit(EXIT_FAILURE);
  }
}
}  // namespace

void serve(const Options& options) {
  if (options.service.empty() || !isValidUTF8(options.service)) {
    throw OptionError(quoted(options.service) + " cannot be the name of a service");
  }
  endOnTerminationSignals();
  auto script =
      options.scriptPath ? Script::read(*options.scriptPath, Carrier::messages) : Script();
  // The main thread ends in the loop, and its locals with it.
  static DevelopmentHelper helper(options, std::move(script));
  const Platform& platform = currentPlatform();
  static const XPCService service(options.service, platform, [](const HelperMessage& message) {
    return answerOrEnd(helper, message);
  });
  print("ready\n");
  platform.mainLoop.run();
}

}  // namespace blindfold
