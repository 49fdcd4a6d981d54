// Apart from the class, so that only a program that asks for the process's settings needs a
// platform to link with.
#include "blindfold/config/deployment_settings.h"
#include "blindfold/platform/platform.h"

namespace blindfold {

const DeploymentSettings& deploymentSettings() {
  static const DeploymentSettings settings(currentPlatform().bundles.mainBundle(),
                                           currentPlatform().fileManager);
  return settings;
}

}  // namespace blindfold
