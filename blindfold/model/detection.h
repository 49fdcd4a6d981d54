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
/// The fields are described in the records' tables. A required field of an aggregate has no
/// initialiser, so that the compiler demands one.
namespace blindfold {

/// The identifier of a launchd service, "system:com.example.label". The label is not escaped.
std::string serviceID(ServiceDomain domain, std::string_view label);

/// A camera device.
struct CameraInfo {
  std::string id;
  std::string localizedName;
  std::string modelID;
  std::string uniqueID;
  std::string transportType;
  bool isConnected;
  bool isSuspended;
  bool isInUseByAnotherApplication;
  CameraKind kind;
  bool isExperimental;

  bool operator==(const CameraInfo&) const = default;
};

template <>
struct FieldTable<CameraInfo> {
  static constexpr std::string_view name = "CameraInfo";
  static constexpr std::string_view description = "A camera device.";
  static constexpr std::tuple fields{
      requiredField("id", &CameraInfo::id,
                    "Identifies the camera; what `selectedCameraID`, `cameraID` and "
                    "`sourceCameraID` refer to."),
      requiredField("localizedName", &CameraInfo::localizedName,
                    "The name that the system shows for the camera."),
      requiredField("modelID", &CameraInfo::modelID, "The system's identifier of the model."),
      requiredField("uniqueID", &CameraInfo::uniqueID, "The system's identifier of the device."),
      requiredField("transportType", &CameraInfo::transportType,
                    "How the camera is connected, in the helper's words. A camera is classified by "
                    "its `kind`."),
      requiredField("isConnected", &CameraInfo::isConnected, "Whether the camera is connected."),
      requiredField("isSuspended", &CameraInfo::isSuspended, "Whether the camera is suspended."),
      requiredField("isInUseByAnotherApplication", &CameraInfo::isInUseByAnotherApplication,
                    "Whether another application uses the camera."),
      requiredField("kind", &CameraInfo::kind, "What the camera is classified by."),
      requiredField("isExperimental", &CameraInfo::isExperimental,
                    "Whether the helper's support for the camera is experimental."),
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
  std::optional<std::int64_t> pid;
  ControlMode controlMode = ControlMode::sigstop;

  bool operator==(const TargetService&) const = default;

  /// The `serviceID`, equal to that of the `LaunchdServiceState` of the same service.
  std::string id() const;
};

template <>
struct FieldTable<TargetService> {
  static constexpr std::string_view name = "TargetService";
  static constexpr std::string_view description =
      "A launchd service that the helper can hold for a camera.";
  static constexpr std::tuple fields{
      requiredField("label", &TargetService::label, "The launchd label of the service."),
      requiredField("domain", &TargetService::domain,
                    "The launchd domain of the service. A label can occur in both."),
      requiredField("priority", &TargetService::priority,
                    "The helper's rank of the service. The camera counts as in use while a "
                    "built-in camera daemon of rank 0 or any service of rank 1 or more runs."),
      optionalField("pid", &TargetService::pid,
                    "The process of the service; absent while none runs."),
      requiredField("controlMode", &TargetService::controlMode,
                    "How the helper pauses the service."),
  };
};

/// The observed state of one launchd service.
struct LaunchdServiceState {
  std::string label;
  ServiceDomain domain;
  std::optional<std::int64_t> pid = std::nullopt;

  bool operator==(const LaunchdServiceState&) const = default;

  /// The `serviceID`.
  std::string id() const;
};

template <>
struct FieldTable<LaunchdServiceState> {
  static constexpr std::string_view name = "LaunchdServiceState";
  static constexpr std::string_view description = "The observed state of a launchd service.";
  static constexpr std::tuple fields{
      requiredField("label", &LaunchdServiceState::label, "The launchd label of the service."),
      requiredField("domain", &LaunchdServiceState::domain, "The launchd domain of the service."),
      optionalField("pid", &LaunchdServiceState::pid,
                    "The process of the service; absent while none runs."),
  };
};

/// The whole answer. Lists keep their order.
struct DetectionResult {
  std::vector<CameraInfo> cameras;
  std::optional<std::string> selectedCameraID = std::nullopt;
  std::vector<TargetService> resolvedTargets;
  std::vector<LaunchdServiceState> serviceStates;
  std::vector<std::string> notes;

  bool operator==(const DetectionResult&) const = default;
};

template <>
struct FieldTable<DetectionResult> {
  static constexpr std::string_view name = "DetectionResult";
  static constexpr std::string_view description =
      "The answer to `detect`: the cameras, and the launchd services behind them.";
  static constexpr std::tuple fields{
      requiredField("cameras", &DetectionResult::cameras, "All cameras."),
      optionalField(
          "selectedCameraID", &DetectionResult::selectedCameraID,
          "The `id` of the camera that the helper has selected; absent when there is none."),
      requiredField("resolvedTargets", &DetectionResult::resolvedTargets,
                    "The services to hold for the selected camera."),
      requiredField("serviceStates", &DetectionResult::serviceStates,
                    "The state of each service that the helper looked at."),
      requiredField("notes", &DetectionResult::notes, "Remarks of the helper, for people."),
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
