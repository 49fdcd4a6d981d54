#pragma once

#include "blindfold/platform/helper_connection.h"
#include "devhelper/simulated_mac.h"

namespace blindfold {

/// The reply of a helper that runs on `mac`: a JSON document. Wrong use is answered, too, with a
/// result that is no success and says why.
Bytes simulatedReply(SimulatedMac& mac, const HelperMessage& message);

}  // namespace blindfold
