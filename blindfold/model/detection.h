#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <tuple>
#include <vector>

#include "blindfold/model/enumerations.h"
#include "blindfold/model/record.h"

/// The helper's answer to a detection request: the cameras, and the launchd services behind them.
///
/// A required field of an aggregate has no initialiser, so that the compiler demands one.
namespace blindfold {

/// The identifier of a launchd service, "system:com.example.label". The label is not escaped.
std::string serviceID(ServiceDomain domain, std::string_view label);

/// A camera device.
struct CameraInfo {
  std::string id;
  std::string localizedName;
  std::string modelID;
  std::string uniqueID;
  std::string transportType;  ///< Free text; a camera is classified by its `kind`.
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
      requiredField("id", &CameraInfo::id),
      requiredField("localizedName", &CameraInfo::localizedName),
      requiredField("modelID", &CameraInfo::modelID),
      requiredField("uniqueID", &CameraInfo::uniqueID),
      requiredField("transportType", &CameraInfo::transportType),
      requiredField("isConnected", &CameraInfo::isConnected),
      requiredField("isSuspended", &CameraInfo::isSuspended),
      requiredField("isInUseByAnotherApplication", &CameraInfo::isInUseByAnotherApplication),
      requiredField("kind", &CameraInfo::kind),
      requiredField("isExperimental", &CameraInfo::isExperimental),
  };
};

/// A launchd service that the helper can hold for a camera.
///
/// Not an aggregate, because a caller may make one within a `co_await` expression: g++ 12 destroys
/// a temporary of aggregate type twice there.
struct TargetService {
  TargetService() = default;

  /// A value from all its fields.
  TargetService(std::string theLabel, ServiceDomain theDomain, std::int64_t thePriority,
                std::optional<std::int64_t> thePid, ControlMode theControlMode);

  std::string label;
  ServiceDomain domain = ServiceDomain::system;
  std::int64_t priority = 0;
  std::optional<std::int64_t> pid;  ///< `std::nullopt` when the service has no process.
  ControlMode controlMode = ControlMode::sigstop;

  bool operator==(const TargetService&) const = default;

  /// The `serviceID`, equal to that of the `LaunchdServiceState` of the same service.
  std::string id() const;
};

template <>
struct FieldTable<TargetService> {
  static constexpr std::tuple fields{
      requiredField("label", &TargetService::label),
      requiredField("domain", &TargetService::domain),
      requiredField("priority", &TargetService::priority),
      optionalField("pid", &TargetService::pid),
      requiredField("controlMode", &TargetService::controlMode),
  };
};

/// The observed state of one launchd service.
struct LaunchdServiceState {
  std::string label;
  ServiceDomain domain;
  /// `std::nullopt` when the service has no process.
  std::optional<std::int64_t> pid = std::nullopt;

  bool operator==(const LaunchdServiceState&) const = default;

  /// The `serviceID`.
  std::string id() const;
};

template <>
struct FieldTable<LaunchdServiceState> {
  static constexpr std::tuple fields{
      requiredField("label", &LaunchdServiceState::label),
      requiredField("domain", &LaunchdServiceState::domain),
      optionalField("pid", &LaunchdServiceState::pid),
  };
};

/// The whole answer. Lists keep their order.
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
      requiredField("cameras", &DetectionResult::cameras),
      optionalField("selectedCameraID", &DetectionResult::selectedCameraID),
      requiredField("resolvedTargets", &DetectionResult::resolvedTargets),
      requiredField("serviceStates", &DetectionResult::serviceStates),
      requiredField("notes", &DetectionResult::notes),
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
