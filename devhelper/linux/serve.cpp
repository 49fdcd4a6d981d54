#include "devhelper/development_helper.h"

#include <optional>
#include <utility>

#include "blindfold/platform/linux/event_loop.h"
#include "blindfold/platform/linux/service_socket.h"
#include "devhelper/linux/helper_service.h"
#include "devhelper/linux/service_listener.h"
#include "devhelper/messages.h"
#include "devhelper/termination.h"

namespace blindfold {

void serve(const Options& options) {
  if (!isServiceName(options.service)) {
    throw OptionError(quoted(options.service) + " cannot be the name of a service");
  }
  endOnTerminationSignals();
  auto script = options.scriptPath ? Script::read(*options.scriptPath) : Script();
  // The record is opened by the one server of the service, before a client can reach it.
  ServiceListener listener(options.service);
  DevelopmentHelper helper(options, std::move(script));
  listener.listen();
  EventLoop loop;
  std::optional<PlatformError> failure;
  const HelperService service(loop, listener, helper,
                              [&](const PlatformError& error) { failure = error; });
  print("ready\n");
  while (!failure) loop.runRound();
  throw PlatformError(*failure);
}

}  // namespace blindfold
