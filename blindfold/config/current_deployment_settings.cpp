#include "blindfold/config/deployment_settings.h"

#include <memory>

#include "blindfold/platform/platform.h"

namespace blindfold {

/// Apart from the class, so that a program with settings of its own links no platform.
const DeploymentSettings& deploymentSettings() {
  // Never destroyed: other threads may use them while the process exits.
  static const DeploymentSettings& settings =
      *std::make_unique<DeploymentSettings>(currentPlatform().bundles.mainBundle(),
                                            currentPlatform().fileManager)
           .release();
  return settings;
}

}  // namespace blindfold
