#include "blindfold/cli/hold_selection.h"

#include <algorithm>
#include <cstdlib>
#include <utility>

#include "blindfold/cli/cli_error.h"
#include "blindfold/cli/output.h"
#include "blindfold/text/one_line.h"

namespace blindfold {
namespace {
constexpr double holdDurationHint = 30.0;

bool isRunningBuiltInDaemon(const TargetService& target) {
  return target.priority == 0 && target.pid && matchesBuiltInCameraDaemonPattern(target.label);
}

bool isRunningClient(const TargetService& target) {
  return target.priority >= 1 && target.pid;
}

bool captureIsActive(const CameraInfo& camera, const std::vector<TargetService>& targets) {
  const bool daemonIsRunning = std::any_of(targets.begin(), targets.end(), isRunningBuiltInDaemon);
  const bool clientIsRunning = std::any_of(targets.begin(), targets.end(), isRunningClient);
  return daemonIsRunning || clientIsRunning || camera.isInUseByAnotherApplication;
}

[[noreturn]] void stopOnDuplicateLabel(const std::string& label) {
  writeError("Duplicate values for key: '" + oneLine(label) + "'\n");
  std::abort();
}
}  // namespace

bool matchesBuiltInCameraDaemonPattern(std::string_view label) {
  constexpr std::string_view prefix = "com.apple.appleh";
  constexpr std::string_view suffix = "camerad";
  if (!label.starts_with(prefix)) return false;
  label.remove_prefix(prefix.size());
  if (!label.ends_with(suffix)) return false;
  label.remove_suffix(suffix.size());
  return !label.empty() && label.find_first_not_of("0123456789") == std::string_view::npos;
}

const CameraInfo* selectCamera(const std::vector<CameraInfo>& cameras,
                               const std::optional<std::string>& selectedCameraID) {
  const auto camera = std::find_if(cameras.begin(), cameras.end(), [&](const CameraInfo& each) {
    return each.id == selectedCameraID;
  });
  return camera == cameras.end() ? nullptr : &*camera;
}

std::map<std::string, std::int64_t> makeCorrelationSnapshot(
    const std::vector<LaunchdServiceState>& serviceStates) {
  std::map<std::string, std::int64_t> snapshot;
  for (const LaunchdServiceState& state : serviceStates) {
    if (!state.pid) continue;
    if (!snapshot.emplace(state.label, *state.pid).second) stopOnDuplicateLabel(state.label);
  }
  return snapshot;
}

HoldRequest makeBuiltInHoldRequest(const std::vector<CameraInfo>& cameras,
                                   const std::optional<std::string>& selectedCameraID,
                                   std::vector<TargetService> resolvedTargets,
                                   const std::vector<LaunchdServiceState>& serviceStates) {
  const CameraInfo* camera = selectCamera(cameras, selectedCameraID);
  if (camera == nullptr) throw CLIError::unsupportedCamera("No camera detected.");
  if (camera->kind != CameraKind::builtIn) {
    throw CLIError::unsupportedCamera(
        "Selected camera path is " + std::string(rawValue(camera->kind)) +
        ". Blindfold only automates built-in Mac camera hold from the CLI.");
  }
  if (resolvedTargets.empty()) throw CLIError::noResolvedTargets();

  const bool captureWasActive = captureIsActive(*camera, resolvedTargets);
  return {camera->id,       CameraKind::builtIn, std::move(resolvedTargets),
          captureWasActive, holdDurationHint,    makeCorrelationSnapshot(serviceStates)};
}

}  // namespace blindfold
