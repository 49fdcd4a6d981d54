#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <tuple>
#include <vector>

#include "blindfold/model/detection.h"
#include "blindfold/model/enumerations.h"
#include "blindfold/model/instant.h"
#include "blindfold/model/record.h"
#include "blindfold/model/record_hash.h"

/// A hold on the camera: the request for one, and the helper's answers. A helper of another release
/// may leave the defaulted fields out.
namespace blindfold {

/// What the helper is asked to hold.
struct HoldRequest {
  std::string cameraID;  ///< A `CameraInfo::id`.
  CameraKind kind;
  std::vector<TargetService> targets;
  bool captureWasActiveAtRequestTime = false;
  double durationHint;  ///< Seconds.
  std::map<std::string, std::int64_t> correlationSnapshot;
};

template <>
struct FieldTable<HoldRequest> {
  static constexpr std::tuple fields{
      required("cameraID", &HoldRequest::cameraID),
      required("kind", &HoldRequest::kind),
      required("targets", &HoldRequest::targets),
      defaulted("captureWasActiveAtRequestTime", &HoldRequest::captureWasActiveAtRequestTime),
      required("durationHint", &HoldRequest::durationHint),
      required("correlationSnapshot", &HoldRequest::correlationSnapshot),
  };
};

/// One service that the helper is holding.
struct HeldTarget {
  std::string label;
  ServiceDomain domain;
  std::optional<std::int64_t> pid = std::nullopt;
  ControlMode controlMode;

  bool operator==(const HeldTarget&) const = default;

  /// Its `serviceID`, a colon and its pid, -1 standing for none: a service that is held again after
  /// its process was replaced has another id.
  std::string id() const;
};

template <>
struct FieldTable<HeldTarget> {
  static constexpr std::tuple fields{
      required("label", &HeldTarget::label),
      required("domain", &HeldTarget::domain),
      optional("pid", &HeldTarget::pid),
      required("controlMode", &HeldTarget::controlMode),
  };
};

/// The helper's hold and lease.
struct HoldState {
  std::string mode;  ///< The helper's word, passed through.
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
      required("mode", &HoldState::mode),
      optional("leaseID", &HoldState::leaseID),
      defaulted("heldTargets", &HoldState::heldTargets),
      optional("startedAt", &HoldState::startedAt),
      optional("lastHeartbeatAt", &HoldState::lastHeartbeatAt),
      optional("sourceCameraID", &HoldState::sourceCameraID),
      optional("lastRestoreReason", &HoldState::lastRestoreReason),
      defaulted("micMuted", &HoldState::micMuted),
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
      required("success", &OperationResult::success),
      required("message", &OperationResult::message),
      optional("holdState", &OperationResult::holdState),
  };
};

static_assert(tableCoversEveryMember<HoldRequest>());
static_assert(tableCoversEveryMember<HeldTarget>());
static_assert(tableCoversEveryMember<HoldState>());
static_assert(tableCoversEveryMember<OperationResult>());

}  // namespace blindfold

template <>
struct std::hash<blindfold::HeldTarget> : blindfold::RecordHash<blindfold::HeldTarget> {};
