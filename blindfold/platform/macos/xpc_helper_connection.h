#pragma once

#include "blindfold/platform/helper_connection.h"

namespace blindfold {

/// `NSXPCConnection`. It calls every handler on a queue of its own, which is what keeps handlers
/// from being called inside a call.
class XPCHelperConnectionProvider final : public HelperConnectionProvider {
 public:
  std::shared_ptr<HelperConnection> makePrivilegedConnection(
      const std::string& machServiceName) override;
};

}  // namespace blindfold
