#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "blindfold/cli/hold_selection.h"
#include "blindfold/model/detection.h"
#include "blindfold/model/hold.h"

/// Parts of detections, of which a test names what matters to it.
namespace blindfold {

inline CameraInfo camera(const std::string& id, CameraKind kind = CameraKind::builtIn) {
  return {.id = id,
          .localizedName = "Front Camera " + id,
          .modelID = "MODEL-" + id,
          .uniqueID = "UNIQUE-" + id,
          .transportType = "builtIn",
          .isConnected = true,
          .isSuspended = false,
          .isInUseByAnotherApplication = false,
          .kind = kind,
          .isExperimental = false};
}

inline CameraInfo cameraInUse(const std::string& id = "CAM") {
  CameraInfo result = camera(id);
  result.isInUseByAnotherApplication = true;
  return result;
}

inline TargetService target(const std::string& label, std::int64_t priority,
                            std::optional<std::int64_t> pid,
                            ServiceDomain domain = ServiceDomain::system,
                            ControlMode controlMode = ControlMode::sigstop) {
  return {label, domain, priority, pid, controlMode};
}

inline LaunchdServiceState state(const std::string& label, std::optional<std::int64_t> pid,
                                 ServiceDomain domain = ServiceDomain::system) {
  return {.label = label, .domain = domain, .pid = pid};
}

inline const std::string daemonLabel = "com.apple.appleh13camerad";

/// The request for the built-in camera "CAM" and these targets.
inline HoldRequest requestFor(const std::vector<TargetService>& targets,
                              const CameraInfo& selected = camera("CAM")) {
  return makeBuiltInHoldRequest({selected}, "CAM", targets, {});
}

}  // namespace blindfold
