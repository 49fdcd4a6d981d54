#pragma once

#include <optional>

#include "blindfold/platform/helper_connection.h"
#include "devhelper/options.h"
#include "devhelper/recorder.h"
#include "devhelper/script.h"
#include "devhelper/simulated_mac.h"

namespace blindfold {

/// The reply of a helper that runs on `mac`: a JSON document. Wrong use is answered, too, with a
/// result that is no success and says why. The argument's kind must be the one of the method's row.
Bytes simulatedReply(SimulatedMac& mac, const HelperMessage& message);

/// The helper behind a service, whatever carries its messages: it records each message, and answers
/// it by the script where that has a directive, else by a simulated Mac.
class DevelopmentHelper {
 public:
  /// Opens the record that the options name, if any; see `Recorder`.
  DevelopmentHelper(const Options& options, Script script);

  /// The answer to `message`, which is in the record when this returns. Throws `PlatformError` when
  /// it cannot be recorded.
  Answer answer(const HelperMessage& message);

 private:
  Script script_;
  SimulatedMac mac_;
  std::optional<Recorder> recorder_;
};

/// Serves the options' service until a signal ends the process, and prints "ready" once clients can
/// reach it. Throws `UsageError` for options or a script that cannot be used, and `PlatformError`
/// with a one-line text when the system refuses. Each platform defines it once.
[[noreturn]] void serve(const Options& options);

}  // namespace blindfold
