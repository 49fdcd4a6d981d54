// The client over this process's own platform. It stands apart so that a program with a platform of
// its own (a test) links none.

#include "blindfold/config/deployment_settings.h"
#include "blindfold/helperclient/helper_client.h"
#include "blindfold/platform/platform.h"

namespace blindfold {

HelperClient::HelperClient(bool skipPrecheck)
    : HelperClient(skipPrecheck, currentPlatform(), deploymentSettings()) {}

}  // namespace blindfold
