#include "devhelper/simulated_mac.h"

#include <algorithm>
#include <cassert>
#include <random>
#include <string_view>
#include <utility>

#include "blindfold/text/enumeration_table.h"

namespace blindfold {
namespace {
constexpr const char* idleMode = "idle";
constexpr const char* heldMode = "held";

/// The values of `HoldState::lastRestoreReason`.
namespace reason {
constexpr const char* leaseExpired = "leaseExpired";
constexpr const char* released = "released";
constexpr const char* restoredAll = "restoredAll";
}  // namespace reason

/// The camera that is selected when its kind is to be `kind`.
struct SimulatedCamera {
  CameraKind kind;
  std::string_view id;
  std::string_view name;
  std::string_view model;
  std::string_view transport;
};

constexpr EnumerationTable simulatedCameras(
    &SimulatedCamera::kind, {{CameraKind::builtIn, "6C707041-05AC-0010-0008-000000000001",
                              "Built-in Camera", "Built-in Camera", "built-in"},
                             {CameraKind::externalUSB, "0x2110000004d8ef01", "Desk Camera",
                              "UVC Camera VendorID_1234 ProductID_4321", "usb"},
                             {CameraKind::continuity, "C1B5A3F0-6E0B-4B52-9C4D-2D1C9A0E7F11",
                              "Phone Camera", "Phone Camera", "continuity"},
                             {CameraKind::unknown, "com.example.virtual-camera", "Virtual Camera",
                              "Virtual Camera", "virtual"}});

CameraInfo cameraOfKind(CameraKind kind) {
  const SimulatedCamera& camera = simulatedCameras[kind];
  return {.id = std::string(camera.id),
          .localizedName = std::string(camera.name),
          .modelID = std::string(camera.model),
          .uniqueID = std::string(camera.id),
          .transportType = std::string(camera.transport),
          .isConnected = true,
          .isSuspended = false,
          .isInUseByAnotherApplication = false,
          .kind = kind,
          .isExperimental = kind != CameraKind::builtIn};
}

/// The services behind the built-in camera. No two of those that run have the same label.
std::vector<TargetService> initialServices() {
  return {
      {"com.apple.appleh13camerad", ServiceDomain::system, 0, 512, ControlMode::sigstop},
      {"com.apple.appleh16camerad", ServiceDomain::system, 0, std::nullopt, ControlMode::sigstop},
      {"com.apple.cameraassistantd", ServiceDomain::system, 1, 633, ControlMode::sigstop},
      {"com.apple.cameracaptureagent", ServiceDomain::gui, 1, 845, ControlMode::sigtermDebug},
      {"com.apple.cameraeffectsagent", ServiceDomain::gui, 2, std::nullopt,
       ControlMode::sigtermDebug},
  };
}

/// Above every pid of `initialServices`.
constexpr std::int64_t firstNewPid = 2001;

/// The length of a lease of `seconds`, a positive number.
std::chrono::nanoseconds leaseDuration(double seconds) {
  assert(seconds > 0);
  const std::chrono::duration<double> longest = maximumLease;
  const auto asked = std::min(std::chrono::duration<double>(seconds), longest);
  return std::chrono::ceil<std::chrono::nanoseconds>(asked);
}
}  // namespace

Moment currentMoment() {
  using std::chrono::floor;
  return {floor<std::chrono::microseconds>(std::chrono::system_clock::now()),
          std::chrono::steady_clock::now().time_since_epoch()};
}

std::string makeLeaseID() {
  // x is any digit; y carries the variant in its two upper bits.
  constexpr std::string_view pattern = "xxxxxxxx-xxxx-4xxx-yxxx-xxxxxxxxxxxx";
  constexpr std::string_view digits = "0123456789ABCDEF";
  std::random_device source;
  std::uniform_int_distribution<std::size_t> distribution(0, digits.size() - 1);
  std::string id(pattern);
  for (char& character : id) {
    if (character == 'x') character = digits[distribution(source)];
    if (character == 'y') character = digits[8 + distribution(source) % 4];
  }
  return id;
}

SimulatedMac::SimulatedMac(const SimulatedMacOptions& options, Clock clock,
                           std::function<std::string()> makeLeaseID)
    : clock_(std::move(clock)),
      makeLeaseID_(std::move(makeLeaseID)),
      cameras_{cameraOfKind(CameraKind::builtIn)},
      services_(initialServices()),
      nextPid_(firstNewPid),
      state_{idleMode} {
  if (options.kind != CameraKind::builtIn) cameras_.push_back(cameraOfKind(options.kind));
  cameras_.back().isInUseByAnotherApplication = options.cameraInUse;
}

DetectionResult SimulatedMac::detectTargets() {
  endExpiredLease(clock_());
  auto cameras = cameras_;
  for (auto& camera : cameras) camera.isSuspended = camera.id == state_.sourceCameraID;
  std::vector<LaunchdServiceState> states;
  states.reserve(services_.size());
  for (const auto& service : services_) {
    states.push_back({service.label, service.domain, service.pid});
  }
  return {std::move(cameras),
          cameras_.back().id,
          services_,
          std::move(states),
          {"Simulated by the development helper."}};
}

OperationResult SimulatedMac::hold(const HoldRequest& request) {
  const auto now = clock_();
  endExpiredLease(now);
  if (isHeld()) return result(false, "The camera is already held under another lease.");
  const bool isKnown = std::any_of(cameras_.begin(), cameras_.end(), [&](const auto& camera) {
    return camera.id == request.cameraID && camera.kind == request.kind;
  });
  if (!isKnown) return result(false, "There is no such camera.");
  if (request.targets.empty()) return result(false, "The request names no targets.");
  if (!(request.durationHint > 0)) return result(false, "The duration is not positive.");

  for (const auto& target : request.targets) state_.heldTargets.push_back(pause(target));
  state_.mode = heldMode;
  state_.leaseID = makeLeaseID_();
  state_.startedAt = now.date;
  state_.sourceCameraID = request.cameraID;
  leaseDuration_ = leaseDuration(request.durationHint);
  startLease(now);
  return result(true, "Camera held.");
}

OperationResult SimulatedMac::renew(const std::optional<std::string>& leaseID) {
  const auto now = clock_();
  endExpiredLease(now);
  if (!isHeld()) return result(false, "Nothing is held.");
  if (leaseID != state_.leaseID) return result(false, "That is not the lease of the hold.");
  startLease(now);
  return result(true, "Lease renewed.");
}

OperationResult SimulatedMac::release(const std::optional<std::string>& leaseID) {
  endExpiredLease(clock_());
  if (!isHeld()) return result(false, "Nothing is held.");
  if (leaseID && leaseID != state_.leaseID) {
    return result(false, "That is not the lease of the hold.");
  }
  endHold(reason::released);
  return result(true, "Hold released.");
}

OperationResult SimulatedMac::restoreAll() {
  endExpiredLease(clock_());
  if (!isHeld()) return result(true, "Nothing was held.");
  const auto count = state_.heldTargets.size();
  endHold(reason::restoredAll);
  return result(true, "Services restored: " + std::to_string(count) + ".");
}

OperationResult SimulatedMac::muteMic() {
  return setMicMuted(true);
}

OperationResult SimulatedMac::unmuteMic() {
  return setMicMuted(false);
}

HoldState SimulatedMac::currentState() {
  endExpiredLease(clock_());
  return state_;
}

void SimulatedMac::endExpiredLease(const Moment& now) {
  if (isHeld() && now.uptime >= leaseEnd_) endHold(reason::leaseExpired);
}

void SimulatedMac::startLease(const Moment& now) {
  state_.lastHeartbeatAt = now.date;
  leaseEnd_ = now.uptime + leaseDuration_;
}

void SimulatedMac::endHold(std::string reason) {
  // launchd starts a terminated service again; a stopped one continues.
  for (const auto index : terminated_) services_[index].pid = nextPid_++;
  terminated_.clear();
  state_.mode = idleMode;
  state_.leaseID.reset();
  state_.heldTargets.clear();
  state_.startedAt.reset();
  state_.lastHeartbeatAt.reset();
  state_.sourceCameraID.reset();
  state_.lastRestoreReason = std::move(reason);
}

HeldTarget SimulatedMac::pause(const TargetService& target) {
  HeldTarget held{target.label, target.domain, std::nullopt, target.controlMode};
  const auto service = std::find_if(services_.begin(), services_.end(), [&](const auto& each) {
    return each.label == target.label && each.domain == target.domain;
  });
  if (service == services_.end() || !service->pid) return held;
  if (target.controlMode == ControlMode::sigtermDebug) {
    service->pid.reset();
    terminated_.push_back(static_cast<std::size_t>(service - services_.begin()));
  }
  held.pid = service->pid;
  return held;
}

OperationResult SimulatedMac::setMicMuted(bool muted) {
  endExpiredLease(clock_());
  const bool changes = state_.micMuted != muted;
  state_.micMuted = muted;
  return result(true, std::string(changes ? "Microphones " : "Microphones already ") +
                          (muted ? "muted." : "unmuted."));
}

OperationResult SimulatedMac::result(bool success, std::string message) const {
  return {success, std::move(message), state_};
}

}  // namespace blindfold
