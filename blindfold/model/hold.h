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

  std::string cameraID;
  CameraKind kind = CameraKind::builtIn;
  std::vector<TargetService> targets;
  bool captureWasActiveAtRequestTime = false;
  double durationHint = 0;
  std::map<std::string, std::int64_t> correlationSnapshot;
};

template <>
struct FieldTable<HoldRequest> {
  static constexpr std::string_view name = "HoldRequest";
  static constexpr std::string_view description =
      "The request that `hold-built-in` sends to the helper. It is never printed.";
  static constexpr std::tuple fields{
      requiredField("cameraID", &HoldRequest::cameraID, "The `id` of the camera to hold."),
      requiredField("kind", &HoldRequest::kind,
                    "The kind of the camera. `hold-built-in` asks for `builtIn` only."),
      requiredField("targets", &HoldRequest::targets,
                    "The services to hold: the `resolvedTargets` of the detection."),
      defaultedField("captureWasActiveAtRequestTime", &HoldRequest::captureWasActiveAtRequestTime,
                     "Whether the camera seemed to be in use when the hold was requested: one of "
                     "the camera's daemons or of the services that use it had a process, or "
                     "another application used the camera."),
      requiredField("durationHint", &HoldRequest::durationHint,
                    "How long the hold should last without renewal, in seconds. `hold-built-in` "
                    "asks for 30."),
      requiredField(
          "correlationSnapshot", &HoldRequest::correlationSnapshot,
          "The process of each running service of the detection's `serviceStates`, by label."),
  };
};

/// A service that the helper is holding.
struct HeldTarget {
  std::string label;
  ServiceDomain domain;
  std::optional<std::int64_t> pid = std::nullopt;
  ControlMode controlMode;

  bool operator==(const HeldTarget&) const = default;

  /// The `serviceID`, a colon and the pid, or -1 without one: a service that is held again with
  /// another process has another id.
  std::string id() const;
};

template <>
struct FieldTable<HeldTarget> {
  static constexpr std::string_view name = "HeldTarget";
  static constexpr std::string_view description = "A service that the helper is holding.";
  static constexpr std::tuple fields{
      requiredField("label", &HeldTarget::label, "The launchd label of the service."),
      requiredField("domain", &HeldTarget::domain, "The launchd domain of the service."),
      optionalField("pid", &HeldTarget::pid,
                    "The process that is held; absent when the service had none."),
      requiredField("controlMode", &HeldTarget::controlMode, "How the helper paused the service."),
  };
};

/// The state of the helper's hold and of its lease.
struct HoldState {
  std::string mode;
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
  static constexpr std::string_view name = "HoldState";
  static constexpr std::string_view description =
      "The state of the hold and its lease; the answer to `status`.";
  static constexpr std::tuple fields{
      requiredField(
          "mode", &HoldState::mode,
          "The helper's word for its state. The development helper's are `idle` and `held`."),
      optionalField("leaseID", &HoldState::leaseID,
                    "Identifies the lease of the hold, for `renew`; absent when nothing is held."),
      defaultedField("heldTargets", &HoldState::heldTargets,
                     "The services that are held; empty when nothing is held."),
      optionalField("startedAt", &HoldState::startedAt, "When the hold began."),
      optionalField("lastHeartbeatAt", &HoldState::lastHeartbeatAt,
                    "When the lease was last renewed; at first, when the hold began."),
      optionalField("sourceCameraID", &HoldState::sourceCameraID,
                    "The `id` of the camera that is held."),
      optionalField("lastRestoreReason", &HoldState::lastRestoreReason,
                    "Why the last hold ended, in the helper's word. The development helper's are "
                    "`released`, `restoredAll` and `leaseExpired`."),
      defaultedField("micMuted", &HoldState::micMuted, "Whether the input microphones are muted."),
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
  static constexpr std::string_view name = "OperationResult";
  static constexpr std::string_view description =
      "The answer to `hold-built-in`, `release`, `restore`, `renew`, `mute` and `unmute`.";
  static constexpr std::tuple fields{
      requiredField(
          "success", &OperationResult::success,
          "Whether the helper did what it was asked. The exit status does not depend on it."),
      requiredField("message", &OperationResult::message,
                    "What the helper did, or why not, for people."),
      optionalField("holdState", &OperationResult::holdState,
                    "The state afterwards; absent when the helper does not tell it."),
  };
};

static_assert(tableCoversEveryMember<HoldRequest>());
static_assert(tableCoversEveryMember<HeldTarget>());
static_assert(tableCoversEveryMember<HoldState>());
static_assert(tableCoversEveryMember<OperationResult>());

}  // namespace blindfold

template <>
struct std::hash<blindfold::HeldTarget> : blindfold::RecordHash<blindfold::HeldTarget> {};
