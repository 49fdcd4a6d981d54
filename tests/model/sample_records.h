#pragma once

#include <chrono>

#include "blindfold/model/detection.h"
#include "blindfold/model/hold.h"

/// Records in which no two fields of the same type hold the same value, the booleans of a camera
/// excepted, so that a field that is taken for another shows.
namespace blindfold::sample {

inline Instant instant(int year, unsigned month, unsigned day, int hour, int minute, int second) {
  return std::chrono::sys_days{std::chrono::year{year} / static_cast<int>(month) /
                               static_cast<int>(day)} +
         std::chrono::hours{hour} + std::chrono::minutes{minute} + std::chrono::seconds{second};
}

inline CameraInfo camera() {
  return {.id = "CAM-0001",
          .localizedName = "Front Camera",
          .modelID = "MODEL-1",
          .uniqueID = "UNIQUE-1",
          .transportType = "usb",
          .isConnected = true,
          .isSuspended = false,
          .isInUseByAnotherApplication = true,
          .kind = CameraKind::continuity,
          .isExperimental = false};
}

inline TargetService target() {
  return {"com.apple.appleh13camerad", ServiceDomain::gui, -3, 512, ControlMode::sigtermDebug};
}

inline LaunchdServiceState serviceState() {
  return {.label = "com.apple.appleh14camerad", .domain = ServiceDomain::gui, .pid = 513};
}

inline DetectionResult detection() {
  return {.cameras = {camera()},
          .selectedCameraID = "CAM-0002",
          .resolvedTargets = {target()},
          .serviceStates = {serviceState()},
          .notes = {"first", "second"}};
}

inline HoldRequest holdRequest() {
  return {"CAM-0003", CameraKind::externalUSB, {target()}, true, 30.5, {{"one", 1}, {"two", 2}}};
}

inline HeldTarget heldTarget() {
  return {.label = "com.apple.appleh15camerad",
          .domain = ServiceDomain::gui,
          .pid = 514,
          .controlMode = ControlMode::sigtermDebug};
}

inline HoldState holdState() {
  return {.mode = "held",
          .leaseID = "LEASE-1",
          .heldTargets = {heldTarget()},
          .startedAt = instant(2025, 3, 4, 10, 15, 0),
          .lastHeartbeatAt = instant(2025, 3, 4, 10, 15, 30),
          .sourceCameraID = "CAM-0004",
          .lastRestoreReason = "lease expired",
          .micMuted = true};
}

inline OperationResult operationResult() {
  return {.success = true, .message = "Camera is held.", .holdState = holdState()};
}

template <class T>
T record();
template <>
inline CameraInfo record() {
  return camera();
}
template <>
inline TargetService record() {
  return target();
}
template <>
inline LaunchdServiceState record() {
  return serviceState();
}
template <>
inline DetectionResult record() {
  return detection();
}
template <>
inline HoldRequest record() {
  return holdRequest();
}
template <>
inline HeldTarget record() {
  return heldTarget();
}
template <>
inline HoldState record() {
  return holdState();
}
template <>
inline OperationResult record() {
  return operationResult();
}

}  // namespace blindfold::sample
