#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <tuple>
#include <vector>

#include "blindfold/model/enumerations.h"
#include "blindfold/model/record.h"
#include "blindfold/model/record_hash.h"

/// What the helper found when asked to detect cameras and the launchd services behind them.
///
/// In every record a required field has no initialiser, so that the compiler insists on it.
namespace blindfold {

/// One camera device, as the helper sees it.
struct CameraInfo {
  std::string id;
  std::string localizedName;
  std::string modelID;
  std::string uniqueID;
  std::string transportType;  ///< Free text. What a camera is classified by is its `kind`.
  bool isConnected;
  bool isSuspended;
  bool isInUseByAnotherApplication;
  CameraKind kind;
  bool isExperimental;

  bool operator==(const CameraInfo&) const = default;
};

template <>
struct FieldTable<CameraInfo> {
  static constexpr std::tuple fields{
      required("id", &CameraInfo::id),
      required("localizedName", &CameraInfo::localizedName),
      required("modelID", &CameraInfo::modelID),
      required("uniqueID", &CameraInfo::uniqueID),
      required("transportType", &CameraInfo::transportType),
      required("isConnected", &CameraInfo::isConnected),
      required("isSuspended", &CameraInfo::isSuspended),
      required("isInUseByAnotherApplication", &CameraInfo::isInUseByAnotherApplication),
      required("kind", &CameraInfo::kind),
      required("isExperimental", &CameraInfo::isExperimental),
  };
};

/// A launchd service that the helper can hold for a camera.
struct TargetService {
  std::string label;
  ServiceDomain domain;
  std::int64_t priority;
  std::optional<std::int64_t> pid = std::nullopt;  ///< Absent while no process of it runs.
  ControlMode controlMode;

  bool operator==(const TargetService&) const = default;

  /// Its `serviceID`, equal to that of the `LaunchdServiceState` of the same service.
  std::string id() const;
};

template <>
struct FieldTable<TargetService> {
  static constexpr std::tuple fields{
      required("label", &TargetService::label),
      required("domain", &TargetService::domain),
      required("priority", &TargetService::priority),
      optional("pid", &TargetService::pid),
      required("controlMode", &TargetService::controlMode),
  };
};

/// The observed state of one launchd service.
struct LaunchdServiceState {
  std::string label;
  ServiceDomain domain;
  std::optional<std::int64_t> pid = std::nullopt;  ///< Absent while no process of it runs.

  bool operator==(const LaunchdServiceState&) const = default;

  /// Its `serviceID`.
  std::string id() const;
};

template <>
struct FieldTable<LaunchdServiceState> {
  static constexpr std::tuple fields{
      required("label", &LaunchdServiceState::label),
      required("domain", &LaunchdServiceState::domain),
      optional("pid", &LaunchdServiceState::pid),
  };
};

/// The helper's whole answer to a detection request. Lists keep their order.
struct DetectionResult {
  std::vector<CameraInfo> cameras;
  std::optional<std::string> selectedCameraID = std::nullopt;  ///< A `CameraInfo::id`.
  std::vector<TargetService> resolvedTargets;
  std::vector<LaunchdServiceState> serviceStates;
  std::vector<std::string> notes;

  bool operator==(const DetectionResult&) const = default;
};

template <>
struct FieldTable<DetectionResult> {
  static constexpr std::tuple fields{
      required("cameras", &DetectionResult::cameras),
      optional("selectedCameraID", &DetectionResult::selectedCameraID),
      required("resolvedTargets", &DetectionResult::resolvedTargets),
      required("serviceStates", &DetectionResult::serviceStates),
      required("notes", &DetectionResult::notes),
  };
};

static_assert(tableCoversEveryMember<CameraInfo>());
static_assert(tableCoversEveryMember<TargetService>());
static_assert(tableCoversEveryMember<LaunchdServiceState>());
static_assert(tableCoversEveryMember<DetectionResult>());

}  // namespace blindfold

template <>
struct std::hash<blindfold::CameraInfo> : blindfold::RecordHash<blindfold::CameraInfo> {};
template <>
struct std::hash<blindfold::TargetService> : blindfold::RecordHash<blindfold::TargetService> {};
template <>
struct std::hash<blindfold::LaunchdServiceState>
    : blindfold::RecordHash<blindfold::LaunchdServiceState> {};
