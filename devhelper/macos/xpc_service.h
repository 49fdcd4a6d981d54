#pragma once

#include <functional>
#include <memory>
#include <string>

#include "blindfold/platform/platform.h"
#include "devhelper/script.h"

namespace blindfold {

/// Serves the clients of a Mach service over XPC (`NSXPCListener`), several at a time. The service
/// is one that launchd has registered for this process; for any other the system ends the process.
class XPCService {
 public:
  /// Accepts clients from now on. Asks `respond`, which does not throw, for the answer to each
  /// message, and carries it out, from the main loop of `platform` alone; answers are never
  /// `Answer::Ending::error`, truncated or trickled. Throws `PlatformError` when the platform
  /// refuses. Both arguments outlive the service and all work that it has posted.
  XPCService(const std::string& machServiceName, const Platform& platform,
             std::function<Answer(const HelperMessage& message)> respond);
  XPCService(const XPCService&) = delete;
  XPCService& operator=(const XPCService&) = delete;

  /// Accepts no further client. Those that are connected stay so.
  ~XPCService();

 private:
  struct Implementation;

  const std::unique_ptr<Implementation> implementation_;
};

}  // namespace blindfold
