#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "blindfold/model/detection.h"
#include "blindfold/model/hold.h"
#include "blindfold/model/record.h"

namespace blindfold {

/// A point in time, by two clocks: the date, which may be set, and a time that only moves forward,
/// from any beginning.
struct Moment {
  Instant date;
  std::chrono::nanoseconds uptime;
};

using Clock = std::function<Moment()>;

/// The present moment of the system's clocks.
Moment currentMoment();

/// A new lease identifier: a random UUID (RFC 9562, version 4) in upper case.
std::string makeLeaseID();

/// The longest lease that a hold can get.
inline constexpr std::chrono::hours maximumLease{24};

/// The choices that a `SimulatedMac` leaves open.
struct SimulatedMacOptions {
  /// The kind of the selected camera.
  CameraKind kind = CameraKind::builtIn;
  /// Whether another application uses the selected camera.
  bool cameraInUse = false;
};

/// A Mac with cameras, the services behind them and a helper that holds them under a lease. It does
/// nothing between calls: each call asks the clock, and first ends a lease that has expired.
class SimulatedMac {
 public:
  /// Keeps both functions. `makeLeaseID` gives each hold its lease's identifier.
  explicit SimulatedMac(const SimulatedMacOptions& options, Clock clock = currentMoment,
                        std::function<std::string()> makeLeaseID = blindfold::makeLeaseID);

  DetectionResult detectTargets();

  /// Holds the request's targets for `durationHint` seconds (`maximumLease` at most). Refused while
  /// another lease runs, without targets, for an unknown camera, and for a duration that is not
  /// positive.
  OperationResult hold(const HoldRequest& request);

  /// Restarts the time of the lease. Refused unless `leaseID` is the lease that runs.
  OperationResult renew(const std::optional<std::string>& leaseID);

  /// Ends the hold. Refused when nothing is held, or `leaseID` is given and not the lease that
  /// runs.
  OperationResult release(const std::optional<std::string>& leaseID);

  /// Ends the hold, if there is one, whatever its lease. Never refused.
  OperationResult restoreAll();

  /// Mutes or unmutes the microphones. Never refused.
  OperationResult muteMic();
  OperationResult unmuteMic();

  HoldState currentState();

 private:
  bool isHeld() const { return state_.leaseID.has_value(); }
  void endExpiredLease(const Moment& now);
  void startLease(const Moment& now);
  void endHold(std::string reason);
  HeldTarget pause(const TargetService& target);
  OperationResult setMicMuted(bool muted);
  OperationResult result(bool success, std::string message) const;

  Clock clock_;
  std::function<std::string()> makeLeaseID_;
  /// The last one is the selected one.
  std::vector<CameraInfo> cameras_;
  std::vector<TargetService> services_;
  /// The services whose processes the hold ended, as indices of `services_`.
  std::vector<std::size_t> terminated_;
  std::int64_t nextPid_;
  HoldState state_;
  std::chrono::nanoseconds leaseDuration_{0};
  std::chrono::nanoseconds leaseEnd_{0};
};

}  // namespace blindfold
