#include "devhelper/simulated_mac.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <limits>
#include <map>
#include <regex>
#include <set>
#include <string>
#include <utility>

namespace blindfold {
namespace {
using namespace std::chrono_literals;

constexpr Instant startDate = std::chrono::sys_days(std::chrono::year{2025} / 3 / 4) + 10h;

/// A Mac whose clock stands still until it is moved, and whose leases are L1, L2, ….
class SimulatedMacTest : public testing::Test {
 protected:
  void pass(std::chrono::nanoseconds time) {
    now_.uptime += time;
    now_.date += std::chrono::duration_cast<std::chrono::microseconds>(time);
  }

  SimulatedMac makeMac(const SimulatedMacOptions& options = {}) {
    return SimulatedMac(
        options, [this] { return now_; }, [this] { return "L" + std::to_string(++leaseCount_); });
  }

  /// A request that `mac` grants.
  static HoldRequest request(SimulatedMac& mac, double durationHint = 30) {
    const auto detection = mac.detectTargets();
    return {detection.selectedCameraID.value(),
            CameraKind::builtIn,
            detection.resolvedTargets,
            false,
            durationHint,
            {}};
  }

  Moment now_{startDate, 100h};
  int leaseCount_ = 0;
  SimulatedMac mac_ = makeMac();
};

const CameraInfo& selectedCamera(const DetectionResult& detection) {
  return *std::find_if(
      detection.cameras.begin(), detection.cameras.end(),
      [&](const CameraInfo& camera) { return camera.id == detection.selectedCameraID; });
}

TEST(LeaseIDTest, IsARandomUUIDInUpperCase) {
  EXPECT_THAT(makeLeaseID(),
              testing::MatchesRegex("[0-9A-F]{8}-[0-9A-F]{4}-4[0-9A-F]{3}-[89AB][0-9A-F]{3}-"
                                    "[0-9A-F]{12}"));
}

TEST(LeaseIDTest, NoTwoAreEqual) {
  std::set<std::string> seen;
  for (int i = 0; i < 1000; ++i) seen.insert(makeLeaseID());
  EXPECT_EQ(seen.size(), 1000);
}

TEST_F(SimulatedMacTest, TheBuiltInCameraIsSelected) {
  const auto detection = mac_.detectTargets();
  EXPECT_EQ(selectedCamera(detection).kind, CameraKind::builtIn);
  EXPECT_FALSE(selectedCamera(detection).isInUseByAnotherApplication);
}

TEST_F(SimulatedMacTest, ACameraOfAnotherKindIsSelectedBesideTheBuiltInOne) {
  for (const auto kind : {CameraKind::externalUSB, CameraKind::continuity, CameraKind::unknown}) {
    const auto detection = makeMac({.kind = kind}).detectTargets();
    EXPECT_EQ(selectedCamera(detection).kind, kind);
    EXPECT_EQ(detection.cameras.size(), 2);
  }
}

TEST_F(SimulatedMacTest, OnlyTheSelectedCameraIsInUseWhenItIsSaidToBe) {
  const auto detection =
      makeMac({.kind = CameraKind::continuity, .cameraInUse = true}).detectTargets();
  for (const auto& camera : detection.cameras) {
    EXPECT_EQ(camera.isInUseByAnotherApplication, camera.id == detection.selectedCameraID);
  }
}

TEST_F(SimulatedMacTest, ServicesOfBothDomainsRunAndDoNotRun) {
  std::set<std::pair<ServiceDomain, bool>> seen;
  for (const auto& target : mac_.detectTargets().resolvedTargets) {
    seen.emplace(target.domain, target.pid.has_value());
  }
  EXPECT_EQ(seen.size(), 4);
}

TEST_F(SimulatedMacTest, ACameraDaemonRunsInTheSystemDomain) {
  const std::regex pattern(R"(^com\.apple\.appleh\d+camerad$)");
  const auto targets = mac_.detectTargets().resolvedTargets;
  EXPECT_TRUE(std::any_of(targets.begin(), targets.end(), [&](const TargetService& target) {
    return target.domain == ServiceDomain::system && target.priority == 0 && target.pid &&
           std::regex_match(target.label, pattern);
  }));
}

TEST_F(SimulatedMacTest, AServiceOfTheUserHasPriorityOne) {
  const auto targets = mac_.detectTargets().resolvedTargets;
  EXPECT_TRUE(std::any_of(targets.begin(), targets.end(), [](const TargetService& target) {
    return target.domain == ServiceDomain::gui && target.priority == 1;
  }));
}

TEST_F(SimulatedMacTest, NoTwoRunningServicesShareALabel) {
  std::set<std::string> labels;
  for (const auto& state : mac_.detectTargets().serviceStates) {
    EXPECT_TRUE(!state.pid || labels.insert(state.label).second) << state.label;
  }
}

TEST_F(SimulatedMacTest, StatesTellThePidsOfTheTargets) {
  const auto detection = mac_.detectTargets();
  std::map<std::string, std::optional<std::int64_t>> pids;
  for (const auto& state : detection.serviceStates) pids[state.id()] = state.pid;
  for (const auto& target : detection.resolvedTargets) EXPECT_EQ(pids.at(target.id()), target.pid);
}

TEST_F(SimulatedMacTest, ItIsIdleAtFirst) {
  EXPECT_EQ(mac_.currentState(), HoldState{.mode = "idle"});
}

TEST_F(SimulatedMacTest, AHoldBeginsALease) {
  const auto result = mac_.hold(request(mac_));
  EXPECT_TRUE(result.success);
  EXPECT_EQ(result.holdState.value().mode, "held");
  EXPECT_EQ(result.holdState.value().leaseID, "L1");
  EXPECT_EQ(result.holdState.value().startedAt, startDate);
  EXPECT_EQ(result.holdState.value().lastHeartbeatAt, startDate);
  EXPECT_EQ(result.holdState.value().sourceCameraID, mac_.detectTargets().selectedCameraID);
  EXPECT_EQ(mac_.currentState(), result.holdState);
}

TEST_F(SimulatedMacTest, EveryTargetIsHeldInTheOrderOfTheRequest) {
  const auto asked = request(mac_);
  const auto held = mac_.hold(asked).holdState.value().heldTargets;
  ASSERT_EQ(held.size(), asked.targets.size());
  for (std::size_t i = 0; i < held.size(); ++i) {
    EXPECT_EQ(held[i].label, asked.targets[i].label);
    EXPECT_EQ(held[i].domain, asked.targets[i].domain);
    EXPECT_EQ(held[i].controlMode, asked.targets[i].controlMode);
  }
}

TEST_F(SimulatedMacTest, AStoppedServiceKeepsItsPid) {
  auto asked = request(mac_);
  asked.targets = {asked.targets.front()};
  asked.targets[0].controlMode = ControlMode::sigstop;
  const auto pid = asked.targets[0].pid;
  ASSERT_TRUE(pid);
  EXPECT_EQ(mac_.hold(asked).holdState.value().heldTargets[0].pid, pid);
  EXPECT_EQ(mac_.detectTargets().resolvedTargets[0].pid, pid);
}

TEST_F(SimulatedMacTest, ATerminatedServiceHasNoPidWhileItIsHeld) {
  auto asked = request(mac_);
  asked.targets = {asked.targets.front()};
  asked.targets[0].controlMode = ControlMode::sigtermDebug;
  EXPECT_EQ(mac_.hold(asked).holdState.value().heldTargets[0].pid, std::nullopt);
  EXPECT_EQ(mac_.detectTargets().serviceStates[0].pid, std::nullopt);
}

TEST_F(SimulatedMacTest, ATerminatedServiceComesBackWithANewPid) {
  auto asked = request(mac_);
  asked.targets = {asked.targets.front()};
  asked.targets[0].controlMode = ControlMode::sigtermDebug;
  mac_.hold(asked);
  mac_.release(std::nullopt);
  const auto pid = mac_.detectTargets().resolvedTargets[0].pid;
  EXPECT_TRUE(pid);
  EXPECT_NE(pid, asked.targets[0].pid);
}

TEST_F(SimulatedMacTest, PidsAreTheMacsOwnAndNotTheRequests) {
  auto asked = request(mac_);
  asked.targets = {{"com.example.unheardof", ServiceDomain::gui, 0, 99, ControlMode::sigstop}};
  EXPECT_EQ(mac_.hold(asked).holdState.value().heldTargets[0].pid, std::nullopt);
}

TEST_F(SimulatedMacTest, AServiceIsToldByItsLabelAndItsDomain) {
  auto held = request(mac_);
  auto& target = held.targets.front();
  ASSERT_EQ(target.domain, ServiceDomain::system);
  target.domain = ServiceDomain::gui;
  EXPECT_EQ(mac_.hold(held).holdState->heldTargets.front().pid, std::nullopt);
}

TEST_F(SimulatedMacTest, TheCameraIsSuspendedWhileItIsHeld) {
  mac_.hold(request(mac_));
  EXPECT_TRUE(selectedCamera(mac_.detectTargets()).isSuspended);
  mac_.release(std::nullopt);
  EXPECT_FALSE(selectedCamera(mac_.detectTargets()).isSuspended);
}

TEST_F(SimulatedMacTest, ASecondHoldIsRefusedAndChangesNothing) {
  mac_.hold(request(mac_));
  const auto before = mac_.currentState();
  const auto result = mac_.hold(request(mac_));
  EXPECT_FALSE(result.success);
  EXPECT_EQ(result.message, "The camera is already held under another lease.");
  EXPECT_EQ(mac_.currentState(), before);
}

TEST_F(SimulatedMacTest, AHoldWithoutTargetsIsRefused) {
  auto asked = request(mac_);
  asked.targets.clear();
  const auto result = mac_.hold(asked);
  EXPECT_FALSE(result.success);
  EXPECT_EQ(result.message, "The request names no targets.");
  EXPECT_EQ(mac_.currentState().mode, "idle");
}

TEST_F(SimulatedMacTest, AHoldOfAnUnknownCameraIsRefused) {
  auto asked = request(mac_);
  asked.cameraID = "another";
  const auto result = mac_.hold(asked);
  EXPECT_FALSE(result.success);
  EXPECT_EQ(result.message, "There is no such camera.");
}

TEST_F(SimulatedMacTest, AHoldOfACameraByAWrongKindIsRefused) {
  auto asked = request(mac_);
  asked.kind = CameraKind::continuity;
  EXPECT_FALSE(mac_.hold(asked).success);
}

TEST_F(SimulatedMacTest, ADurationThatIsNotPositiveIsRefused) {
  for (const double duration : {0.0, -1.0}) {
    const auto result = mac_.hold(request(mac_, duration));
    EXPECT_FALSE(result.success);
    EXPECT_EQ(result.message, "The duration is not positive.");
  }
}

TEST_F(SimulatedMacTest, ALeaseLastsAsLongAsTheRequestSays) {
  mac_.hold(request(mac_, 30));
  pass(30s - 1ns);
  EXPECT_EQ(mac_.currentState().mode, "held");
  pass(1ns);
  EXPECT_EQ(mac_.currentState(), (HoldState{.mode = "idle", .lastRestoreReason = "leaseExpired"}));
}

TEST_F(SimulatedMacTest, AnEndlessDurationIsCutToTheLongestLease) {
  mac_.hold(request(mac_, std::numeric_limits<double>::max()));
  pass(maximumLease - 1ns);
  EXPECT_EQ(mac_.currentState().mode, "held");
  pass(1ns);
  EXPECT_EQ(mac_.currentState().mode, "idle");
}

TEST_F(SimulatedMacTest, ALeaseDoesNotEndBecauseTheDateIsSet) {
  mac_.hold(request(mac_, 30));
  now_.date += 1000h;
  EXPECT_EQ(mac_.currentState().mode, "held");
}

TEST_F(SimulatedMacTest, AfterALeaseHasEndedTheCameraCanBeHeldAgain) {
  mac_.hold(request(mac_, 30));
  pass(31s);
  const auto result = mac_.hold(request(mac_));
  EXPECT_TRUE(result.success);
  EXPECT_EQ(result.holdState.value().leaseID, "L2");
}

TEST_F(SimulatedMacTest, ARenewalMovesTheHeartbeatAndTheEnd) {
  mac_.hold(request(mac_, 30));
  pass(20s);
  const auto result = mac_.renew("L1");
  EXPECT_TRUE(result.success);
  EXPECT_EQ(result.holdState.value().lastHeartbeatAt, startDate + 20s);
  EXPECT_EQ(result.holdState.value().startedAt, startDate);
  pass(30s - 1ns);
  EXPECT_EQ(mac_.currentState().mode, "held");
  pass(1ns);
  EXPECT_EQ(mac_.currentState().mode, "idle");
}

TEST_F(SimulatedMacTest, AWrongLeaseIsNotRenewed) {
  mac_.hold(request(mac_));
  pass(20s);
  for (const std::optional<std::string>& lease : {std::optional<std::string>("l1"), {""}, {}}) {
    const auto result = mac_.renew(lease);
    EXPECT_FALSE(result.success);
    EXPECT_EQ(result.message, "That is not the lease of the hold.");
    EXPECT_EQ(result.holdState.value().lastHeartbeatAt, startDate);
  }
}

TEST_F(SimulatedMacTest, WithoutAHoldThereIsNothingToRenew) {
  const auto result = mac_.renew("L1");
  EXPECT_FALSE(result.success);
  EXPECT_EQ(result.message, "Nothing is held.");
}

TEST_F(SimulatedMacTest, AnExpiredLeaseIsNotRenewed) {
  mac_.hold(request(mac_, 30));
  pass(30s);
  EXPECT_FALSE(mac_.renew("L1").success);
}

TEST_F(SimulatedMacTest, AReleaseWithoutALeaseEndsAnyHold) {
  mac_.hold(request(mac_));
  const auto result = mac_.release(std::nullopt);
  EXPECT_TRUE(result.success);
  EXPECT_EQ(result.holdState, (HoldState{.mode = "idle", .lastRestoreReason = "released"}));
}

TEST_F(SimulatedMacTest, AReleaseWithTheLeaseEndsItsHold) {
  mac_.hold(request(mac_));
  EXPECT_TRUE(mac_.release("L1").success);
  EXPECT_EQ(mac_.currentState().mode, "idle");
}

TEST_F(SimulatedMacTest, AReleaseWithAWrongLeaseIsRefused) {
  mac_.hold(request(mac_));
  const auto result = mac_.release("L2");
  EXPECT_FALSE(result.success);
  EXPECT_EQ(result.message, "That is not the lease of the hold.");
  EXPECT_EQ(mac_.currentState().mode, "held");
}

TEST_F(SimulatedMacTest, WithoutAHoldThereIsNothingToRelease) {
  const auto result = mac_.release(std::nullopt);
  EXPECT_FALSE(result.success);
  EXPECT_EQ(result.message, "Nothing is held.");
}

TEST_F(SimulatedMacTest, ARestoreEndsAnyHoldAndSaysHowMuch) {
  auto asked = request(mac_);
  asked.targets.resize(2);
  mac_.hold(asked);
  const auto result = mac_.restoreAll();
  EXPECT_TRUE(result.success);
  EXPECT_EQ(result.message, "Services restored: 2.");
  EXPECT_EQ(result.holdState, (HoldState{.mode = "idle", .lastRestoreReason = "restoredAll"}));
}

TEST_F(SimulatedMacTest, ARestoreSucceedsWithoutAHold) {
  const auto result = mac_.restoreAll();
  EXPECT_TRUE(result.success);
  EXPECT_EQ(result.message, "Nothing was held.");
}

TEST_F(SimulatedMacTest, MicrophonesAreMutedAndUnmuted) {
  const auto muted = mac_.muteMic();
  EXPECT_TRUE(muted.success);
  EXPECT_EQ(muted.message, "Microphones muted.");
  EXPECT_TRUE(mac_.currentState().micMuted);
  const auto unmuted = mac_.unmuteMic();
  EXPECT_TRUE(unmuted.success);
  EXPECT_EQ(unmuted.message, "Microphones unmuted.");
  EXPECT_FALSE(mac_.currentState().micMuted);
}

TEST_F(SimulatedMacTest, MutingTwiceSucceedsAndSaysSo) {
  mac_.muteMic();
  const auto result = mac_.muteMic();
  EXPECT_TRUE(result.success);
  EXPECT_EQ(result.message, "Microphones already muted.");
}

TEST_F(SimulatedMacTest, MicrophonesStayMutedWhenAHoldEnds) {
  mac_.muteMic();
  mac_.hold(request(mac_));
  mac_.release(std::nullopt);
  EXPECT_TRUE(mac_.currentState().micMuted);
}
}  // namespace
}  // namespace blindfold
