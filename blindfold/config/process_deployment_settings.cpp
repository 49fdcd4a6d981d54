// Apart from the class, so that only a program that asks for the process's settings needs a
// platform to link with.
#include "blindfold/config/deployment_settings.h"

#include <memory>

#include "blindfold/platform/platform.h"

namespace blindfold {

const DeploymentSettings& deploymentSettings() {
  // Never destroyed: other threads may use them while the process exits.
  static const DeploymentSettings& settings =
      *std::make_unique<DeploymentSettings>(currentPlatform().bundles.mainBundle(),
                                            currentPlatform().fileManager)
           .release();
  return settings;
}

}  // namespace blindfold
