#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <optional>
#include <string>
#include <vector>

#include "devhelper/clock.h"
#include "devhelper/helper_service.h"
#include "devhelper/lease_id.h"
#include "devhelper/options.h"
#include "devhelper/system_failure.h"
#include "devhelper/termination_signals.h"
#include "devhelper/usage_error.h"

namespace blindfold {
namespace {

constexpr int usageStatus = 2;

/// Keeps files and sockets off the places of standard streams that were closed at the start. What
/// takes them cannot be written to, so writing to a closed stream still fails.
void reserveStandardStreams() {
  int descriptor = 0;
  while (descriptor >= 0 && descriptor <= STDERR_FILENO) {
    descriptor = open("/dev/null", O_RDONLY | O_CLOEXEC);
  }
  if (descriptor >= 0) close(descriptor);
}

void announceReadiness() {
  if (std::puts("ready") == EOF || std::fflush(stdout) == EOF) {
    throw systemFailure("cannot write to standard output");
  }
}

/// Serves until a signal ends it.
void serve(const Options& options) {
  auto script = options.scriptPath ? Script::read(*options.scriptPath) : Script();
  EventLoop loop;
  bool isEnding = false;
  std::optional<PlatformError> failure;
  const TerminationSignals signals(loop, [&] { isEnding = true; });
  const ServiceListener listener(options.service);
  std::optional<Recorder> recorder;
  if (options.recordPath) recorder.emplace(*options.recordPath);
  SimulatedMac mac({.kind = options.kind, .cameraInUse = options.cameraInUse}, currentMoment,
                   makeLeaseID);
  const HelperService service(loop, listener,
                              {std::move(script), std::move(mac), std::move(recorder)},
                              [&](const PlatformError& error) {
                                failure = error;
                                isEnding = true;
                              });
  announceReadiness();
  while (!isEnding) loop.runRound();
  if (failure) throw PlatformError(*failure);
}

int report(const std::exception& error, int status) {
  std::fprintf(stderr, "blindfold-devhelper: %s\n", error.what());
  return status;
}

int run(const std::vector<std::string>& arguments) {
  try {
    reserveStandardStreams();
    serve(parseOptions(arguments));
    return EXIT_SUCCESS;
  } catch (const UsageError& error) {
    return report(error, usageStatus);
  } catch (const std::exception& error) {
    return report(error, EXIT_FAILURE);
  }
}

}  // namespace
}  // namespace blindfold

int main(int argc, char** argv) {
  return blindfold::run({argv + std::min(argc, 1), argv + argc});
}
