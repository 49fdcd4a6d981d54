#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <tuple>
#include <vector>

#include "blindfold/model/detection.h"
#include "blindfold/model/enumerations.h"
#include "blindfold/model/record.h"

/// The request for a hold on a camera, and the helper's answers. A helper of another release may
/// omit the defaulted fields.
namespace blindfold {

/// The request to hold a camera. Not an aggregate, for the same reason as `TargetService`.
struct HoldRequest {
  HoldRequest() = default;

  /// A value from all its fields.
  HoldRequest(std::string theCameraID, CameraKind theKind, std::vector<TargetService> theTargets,
              bool theCaptureWasActiveAtRequestTime, double theDurationHint,
              std::map<std::string, std::int64_t> theCorrelationSnapshot);

  std::string cameraID;  ///< A `CameraInfo::id`.
  CameraKind kind = CameraKind::builtIn;
  std::vector<TargetService> targets;
  bool captureWasActiveAtRequestTime = false;
  double durationHint = 0;  ///< Seconds.
  std::map<std::string, std::int64_t> correlationSnapshot;
};

template <>
struct FieldTable<HoldRequest> {
  static constexpr std::tuple fields{
      requiredField("cameraID", &HoldRequest::cameraID),
      requiredField("kind", &HoldRequest::kind),
      requiredField("targets", &HoldRequest::targets),
      defaultedField("captureWasActiveAtRequestTime", &HoldRequest::captureWasActiveAtRequestTime),
      requiredField("durationHint", &HoldRequest::durationHint),
      requiredField("correlationSnapshot", &HoldRequest::correlationSnapshot),
  };
};

/// A service that the helper is holding.
struct HeldTarget {
  std::string label;
  ServiceDomain domain;
  std::optional<std::int64_t> pid = std::nullopt;  ///< `std::nullopt` when it has no process.
  ControlMode controlMode;

  bool operator==(const HeldTarget&) const = default;

  /// The `serviceID`, a colon and the pid, or -1 without one: a service that is held again with
  /// another process has another id.
  std::string id() const;
};

template <>
struct FieldTable<HeldTarget> {
  static constexpr std::tuple fields{
      requiredField("label", &HeldTarget::label),
      requiredField("domain", &HeldTarget::domain),
      optionalField("pid", &HeldTarget::pid),
      requiredField("controlMode", &HeldTarget::controlMode),
  };
};

/// The state of the helper's hold and of its lease.
struct HoldState {
  std::string mode;  ///< Free text.
  std::optional<std::string> leaseID = std::nullopt;
  std::vector<HeldTarget> heldTargets = {};
  std::optional<Instant> startedAt = std::nullopt;
  std::optional<Instant> lastHeartbeatAt = std::nullopt;
  std::optional<std::string> sourceCameraID = std::nullopt;
  std::optional<std::string> lastRestoreReason = std::nullopt;
  bool micMuted = false;

  bool operator==(const HoldState&) const = default;
};

template <>
struct FieldTable<HoldState> {
  static constexpr std::tuple fields{
      requiredField("mode", &HoldState::mode),
      optionalField("leaseID", &HoldState::leaseID),
      defaultedField("heldTargets", &HoldState::heldTargets),
      optionalField("startedAt", &HoldState::startedAt),
      optionalField("lastHeartbeatAt", &HoldState::lastHeartbeatAt),
      optionalField("sourceCameraID", &HoldState::sourceCameraID),
      optionalField("lastRestoreReason", &HoldState::lastRestoreReason),
      defaultedField("micMuted", &HoldState::micMuted),
  };
};

/// The answer to hold, release, renew, restore, mute and unmute.
struct OperationResult {
  bool success;
  std::string message;
  std::optional<HoldState> holdState = std::nullopt;

  bool operator==(const OperationResult&) const = default;
};

template <>
struct FieldTable<OperationResult> {
  static constexpr std::tuple fields{
      requiredField("success", &OperationResult::success),
      requiredField("message", &OperationResult::message),
      optionalField("holdState", &OperationResult::holdState),
  };
};

static_assert(tableCoversEveryMember<HoldRequest>());
static_assert(tableCoversEveryMember<HeldTarget>());
static_assert(tableCoversEveryMember<HoldState>());
static_assert(tableCoversEveryMember<OperationResult>());

}  // namespace blindfold

template <>
struct std::hash<blindfold::HeldTarget> : blindfold::RecordHash<blindfold::HeldTarget> {};
