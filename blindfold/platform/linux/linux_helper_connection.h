#pragma once

#include <memory>
#include <string>

#include "blindfold/platform/helper_connection.h"
#include "blindfold/platform/linux/event_loop.h"

namespace blindfold {

/// Connections over Unix-domain sockets, served by an event loop on its thread: everything here is
/// called there, and calls the handlers there. A connection carries one message.
class LinuxHelperConnectionProvider final : public HelperConnectionProvider {
 public:
  /// Borrows `loop`, which must outlive the provider and its connections.
  explicit LinuxHelperConnectionProvider(EventLoop& loop) : loop_(loop) {}

  /// Never throws `PlatformError`: a name that cannot be a service's ends in the invalidation
  /// handler, as does one that nobody serves.
  std::shared_ptr<HelperConnection> makePrivilegedConnection(
      const std::string& machServiceName) override;

 private:
  EventLoop& loop_;
};

}  // namespace blindfold
