#include "blindfold/cli/hold_selection.h"

#include <gtest/gtest.h>

#include <csignal>
#include <cstdint>
#include <limits>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "blindfold/cli/cli_error.h"
#include "tests/cli/hold_selection_test.h"
#include "tests/support/program.h"

namespace blindfold {
namespace {
/// The failure's text, or "" when there is a request.
std::string refusal(const std::vector<CameraInfo>& cameras,
                    const std::optional<std::string>& selectedCameraID,
                    const std::vector<TargetService>& targets,
                    const std::vector<LaunchdServiceState>& states = {}) {
  try {
    makeBuiltInHoldRequest(cameras, selectedCameraID, targets, states);
    return "";
  } catch (const CLIError& error) {
    return error.errorDescription();
  }
}

// The camera.

TEST(SelectCameraTest, TheCameraWithTheSelectedIdIsChosen) {
  const std::vector cameras{camera("A"), camera("B")};
  EXPECT_EQ(selectCamera(cameras, "B"), &cameras[1]);
}

TEST(SelectCameraTest, OfTwoCamerasWithTheSelectedIdTheFirstIsChosen) {
  const std::vector cameras{camera("A"), camera("B", CameraKind::continuity), camera("B")};
  EXPECT_EQ(selectCamera(cameras, "B"), &cameras[1]);
}

TEST(SelectCameraTest, TheSelectedCameraIsFoundAtTheEndOfALongList) {
  std::vector<CameraInfo> cameras;
  for (int count = 0; count < 1000; ++count) cameras.push_back(camera(std::to_string(count)));
  EXPECT_EQ(selectCamera(cameras, "999"), &cameras[999]);
}

TEST(SelectCameraTest, IdsAreComparedExactly) {
  EXPECT_EQ(selectCamera({camera("a")}, "A"), nullptr);
  EXPECT_EQ(selectCamera({camera("A ")}, "A"), nullptr);
}

TEST(SelectCameraTest, AnEmptySelectedIdIsAnIdAndNotAnAbsentOne) {
  const std::vector cameras{camera("A"), camera("")};
  EXPECT_EQ(selectCamera(cameras, ""), &cameras[1]);
}

TEST(HoldSelectionTest, NoSelectedIdMeansNoCameraEvenBesideABuiltInOne) {
  EXPECT_EQ(refusal({camera("CAM")}, std::nullopt, {target(daemonLabel, 0, 512)}),
            "No camera detected.");
}

TEST(HoldSelectionTest, ASelectedIdThatNoCameraHasMeansNoCamera) {
  EXPECT_EQ(refusal({camera("CAM")}, "OTHER", {target(daemonLabel, 0, 512)}),
            "No camera detected.");
  EXPECT_EQ(refusal({}, "CAM", {target(daemonLabel, 0, 512)}), "No camera detected.");
}

TEST(HoldSelectionTest, AMissingCameraIsReportedBeforeMissingTargets) {
  EXPECT_EQ(refusal({}, std::nullopt, {}), "No camera detected.");
}

TEST(HoldSelectionTest, ACameraOfAnotherKindIsRefusedByTheNameOfItsKind) {
  const auto refusalOf = [](CameraKind kind) { return refusal({camera("CAM", kind)}, "CAM", {}); };
  EXPECT_EQ(refusalOf(CameraKind::externalUSB),
            "Selected camera path is externalUSB. Blindfold only automates built-in Mac camera "
            "hold from the CLI.");
  EXPECT_EQ(refusalOf(CameraKind::continuity),
            "Selected camera path is continuity. Blindfold only automates built-in Mac camera "
            "hold from the CLI.");
  EXPECT_EQ(refusalOf(CameraKind::unknown),
            "Selected camera path is unknown. Blindfold only automates built-in Mac camera "
            "hold from the CLI.");
}

TEST(HoldSelectionTest, TheKindThatCountsIsTheSelectedCamerasWhereverItStands) {
  const std::vector targets{target(daemonLabel, 0, 512)};
  const std::vector cameras{camera("USB", CameraKind::externalUSB), camera("CAM"),
                            camera("PHONE", CameraKind::continuity)};
  EXPECT_EQ(refusal(cameras, "CAM", targets), "");
  EXPECT_EQ(refusal(cameras, "USB", targets),
            "Selected camera path is externalUSB. Blindfold only automates built-in Mac camera "
            "hold from the CLI.");
  EXPECT_EQ(refusal(cameras, "PHONE", targets),
            "Selected camera path is continuity. Blindfold only automates built-in Mac camera "
            "hold from the CLI.");
}

TEST(HoldSelectionTest, ACameraIsSelectedByItsIdAndByNoOtherText) {
  for (const std::string other : {"UNIQUE-CAM", "MODEL-CAM", "Front Camera CAM", "builtIn"}) {
    EXPECT_EQ(refusal({camera("CAM")}, other, {target(daemonLabel, 0, 512)}),
              "No camera detected.");
  }
}

TEST(HoldSelectionTest, ABuiltInCameraIsHeldWhateverElseItIs) {
  CameraInfo selected = camera("CAM");
  selected.isConnected = false;
  selected.isSuspended = true;
  selected.isExperimental = true;
  EXPECT_FALSE(requestFor({target("x", 0, 1)}, selected).captureWasActiveAtRequestTime);
}

TEST(HoldSelectionTest, ADetectionThatAllowsNoHoldIsRefusedBeforeItsServicesAreLookedAt) {
  const std::vector twice{state("twice", 1), state("twice", 2)};
  const std::vector targets{target(daemonLabel, 0, 512)};
  EXPECT_EQ(refusal({}, "CAM", targets, twice), "No camera detected.");
  EXPECT_EQ(refusal({camera("CAM", CameraKind::unknown)}, "CAM", targets, twice),
            "Selected camera path is unknown. Blindfold only automates built-in Mac camera hold "
            "from the CLI.");
  EXPECT_EQ(refusal({camera("CAM")}, "CAM", {}, twice),
            "No built-in camera targets were resolved.");
}

TEST(HoldSelectionTest, WithoutTargetsThereIsNothingToHold) {
  EXPECT_EQ(refusal({camera("CAM")}, "CAM", {}), "No built-in camera targets were resolved.");
}

// The snapshot.

TEST(CorrelationSnapshotTest, RunningServicesAreKeptByLabel) {
  EXPECT_EQ(makeCorrelationSnapshot({state("a", 1), state("b", std::nullopt), state("c", 0)}),
            (std::map<std::string, std::int64_t>{{"a", 1}, {"c", 0}}));
}

TEST(CorrelationSnapshotTest, AnyPidIsKeptAsItIs) {
  EXPECT_EQ(makeCorrelationSnapshot(
                {state("", -1), state("a", 0, ServiceDomain::gui),
                 state("b", std::numeric_limits<std::int64_t>::min()),
                 state("c", std::numeric_limits<std::int64_t>::max(), ServiceDomain::gui)}),
            (std::map<std::string, std::int64_t>{{"", -1},
                                                 {"a", 0},
                                                 {"b", std::numeric_limits<std::int64_t>::min()},
                                                 {"c", std::numeric_limits<std::int64_t>::max()}}));
}

TEST(CorrelationSnapshotTest, EveryServiceOfALongListIsKept) {
  std::vector<LaunchdServiceState> states;
  std::map<std::string, std::int64_t> snapshot;
  for (int pid = 0; pid < 1000; ++pid) {
    states.push_back(state("service " + std::to_string(pid), pid));
    snapshot.emplace(states.back().label, pid);
  }
  EXPECT_EQ(makeCorrelationSnapshot(states), snapshot);
}

TEST(CorrelationSnapshotTest, LabelsAreToldApartExactly) {
  EXPECT_EQ(makeCorrelationSnapshot({state("a", 1), state("A", 2), state("a ", 3)}).size(), 3U);
}

TEST(CorrelationSnapshotTest, AnyTwoPidsOfOneLabelStopTheProcessTheSameOneToo) {
  for (const std::int64_t pid : {5, 0, -1}) {
    const ProgramResult result = runInChild([&] {
      makeCorrelationSnapshot({state("twice", pid), state("b", 6), state("twice", pid)});
    });
    EXPECT_EQ(result.signal, SIGABRT) << pid;
  }
}

TEST(CorrelationSnapshotTest, NothingRunningIsAnEmptySnapshot) {
  EXPECT_TRUE(makeCorrelationSnapshot({state("a", std::nullopt)}).empty());
  EXPECT_TRUE(makeCorrelationSnapshot({}).empty());
}

TEST(CorrelationSnapshotTest, ALabelMayRepeatWhileOnlyOneOfItsServicesRuns) {
  EXPECT_EQ(makeCorrelationSnapshot({state("a", std::nullopt), state("a", 7, ServiceDomain::gui),
                                     state("a", std::nullopt)}),
            (std::map<std::string, std::int64_t>{{"a", 7}}));
}

TEST(CorrelationSnapshotTest, TwoRunningServicesWithOneLabelStopTheProcess) {
  const ProgramResult result = runInChild([] {
    makeCorrelationSnapshot(
        {state("a", 1), state("twice", 2), state("twice", 3, ServiceDomain::gui)});
  });
  EXPECT_EQ(result.signal, SIGABRT);
  EXPECT_EQ(result.standardError, "Duplicate values for key: 'twice'\n");
  EXPECT_EQ(result.standardOutput, "");
}

TEST(CorrelationSnapshotTest, AHostileDuplicateLabelIsWrittenAsOneLine) {
  const ProgramResult result =
      runInChild([] { makeCorrelationSnapshot({state("a\nb", 1), state("a\nb", 1)}); });
  EXPECT_EQ(result.signal, SIGABRT);
  EXPECT_EQ(result.standardError, "Duplicate values for key: 'a b'\n");
}

// The request.

TEST(HoldSelectionTest, TheRequestNamesTheBuiltInCameraForThirtySeconds) {
  const HoldRequest request = requestFor({target(daemonLabel, 0, 512)});
  EXPECT_EQ(request.cameraID, "CAM");
  EXPECT_EQ(request.kind, CameraKind::builtIn);
  EXPECT_EQ(request.durationHint, 30.0);
}

TEST(HoldSelectionTest, TheRequestNamesTheSelectedCameraByItsId) {
  const std::vector targets{target(daemonLabel, 0, 512)};
  const std::vector cameras{camera("FIRST"), camera("CAM"), camera("LAST")};
  EXPECT_EQ(makeBuiltInHoldRequest(cameras, "CAM", targets, {}).cameraID, "CAM");
  EXPECT_EQ(makeBuiltInHoldRequest(cameras, "LAST", targets, {}).cameraID, "LAST");
}

TEST(HoldSelectionTest, TheRequestHasEveryTargetInTheOrderReceived) {
  const std::vector targets{target("z", 5, std::nullopt),
                            target(daemonLabel, 0, 512),
                            target(daemonLabel, 0, 512),
                            target("no daemon", 0, 513),
                            target("a", -3, 0, ServiceDomain::gui, ControlMode::sigtermDebug),
                            target("z", 5, std::nullopt)};
  EXPECT_EQ(requestFor(targets).targets, targets);
}

TEST(HoldSelectionTest, TheRequestHasTheSnapshotOfTheRunningServices) {
  const HoldRequest request =
      makeBuiltInHoldRequest({camera("CAM")}, "CAM", {target(daemonLabel, 0, 512)},
                             {state("a", 1), state("b", std::nullopt), state("c", 3)});
  EXPECT_EQ(request.correlationSnapshot, (std::map<std::string, std::int64_t>{{"a", 1}, {"c", 3}}));
}
}  // namespace
}  // namespace blindfold
