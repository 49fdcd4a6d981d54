#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "blindfold/model/detection.h"
#include "blindfold/model/hold.h"

namespace blindfold {

/// The labels of the built-in camera's daemons, as a regular expression over a whole label.
inline constexpr std::string_view builtInCameraDaemonPattern = R"(^com\.apple\.appleh\d+camerad$)";

/// Whether `label` is one that `builtInCameraDaemonPattern` matches; `\d` is an ASCII digit. It is
/// written out because the standard library's expressions recurse on every character of a label.
bool matchesBuiltInCameraDaemonPattern(std::string_view label);

/// The first camera, in list order, whose `id` equals `selectedCameraID`; null when there is none.
/// There is no fallback to another camera. The result points into `cameras`.
const CameraInfo* selectCamera(const std::vector<CameraInfo>& cameras,
                               const std::optional<std::string>& selectedCameraID);

/// The process id of every running service, by label. Two running services with one label stop the
/// process with a message on standard error (`abort`): a snapshot in which one of them won would
/// let the helper pause the wrong process.
std::map<std::string, std::int64_t> makeCorrelationSnapshot(
    const std::vector<LaunchdServiceState>& serviceStates);

/// The request that holds the selected built-in camera. Throws a `CLIError` when the detection
/// allows no hold; see also `makeCorrelationSnapshot`.
HoldRequest makeBuiltInHoldRequest(const std::vector<CameraInfo>& cameras,
                                   const std::optional<std::string>& selectedCameraID,
                                   std::vector<TargetService> resolvedTargets,
                                   const std::vector<LaunchdServiceState>& serviceStates);

}  // namespace blindfold
