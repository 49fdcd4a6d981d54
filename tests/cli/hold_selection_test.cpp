#include "blindfold/cli/hold_selection.h"

#include <gtest/gtest.h>

#include <regex>
#include <string>
#include <vector>

#include "blindfold/cli/cli_error.h"
#include "tests/support/program.h"

namespace blindfold {
namespace {

CameraInfo camera(const std::string& id, CameraKind kind = CameraKind::builtIn) {
  return {.id = id,
          .localizedName = "Front Camera",
          .modelID = "MODEL-1",
          .uniqueID = id,
          .transportType = "builtIn",
          .isConnected = true,
          .isSuspended = false,
          .isInUseByAnotherApplication = false,
          .kind = kind,
          .isExperimental = false};
}

CameraInfo cameraInUse() {
  CameraInfo result = camera("CAM");
  result.isInUseByAnotherApplication = true;
  return result;
}

TargetService target(const std::string& label, std::int64_t priority,
                     std::optional<std::int64_t> pid) {
  return {label, ServiceDomain::system, priority, pid, ControlMode::sigstop};
}

LaunchdServiceState state(const std::string& label, std::optional<std::int64_t> pid,
                          ServiceDomain domain = ServiceDomain::system) {
  return {.label = label, .domain = domain, .pid = pid};
}

const std::string daemonLabel = "com.apple.appleh13camerad";

/// The request for the built-in camera "CAM" and these targets.
HoldRequest requestFor(const std::vector<TargetService>& targets,
                       const CameraInfo& selected = camera("CAM")) {
  return makeBuiltInHoldRequest({selected}, "CAM", targets, {});
}

/// What the user would read, or "" when there is a request.
std::string refusal(const std::vector<CameraInfo>& cameras,
                    const std::optional<std::string>& selectedCameraID,
                    const std::vector<TargetService>& targets) {
  try {
    makeBuiltInHoldRequest(cameras, selectedCameraID, targets, {});
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

TEST(HoldSelectionTest, WithoutTargetsThereIsNothingToHold) {
  EXPECT_EQ(refusal({camera("CAM")}, "CAM", {}), "No built-in camera targets were resolved.");
}

// Whether capture was active.

TEST(CaptureActivityTest, NothingRunningAndACameraNotInUseIsInactive) {
  EXPECT_FALSE(requestFor({target(daemonLabel, 0, std::nullopt), target("x", 1, std::nullopt)})
                   .captureWasActiveAtRequestTime);
}

TEST(CaptureActivityTest, ARunningDaemonOfPriorityZeroCounts) {
  EXPECT_TRUE(requestFor({target(daemonLabel, 0, 512)}).captureWasActiveAtRequestTime);
}

TEST(CaptureActivityTest, ARunningTargetOfPriorityZeroWithAnotherLabelDoesNotCount) {
  EXPECT_FALSE(
      requestFor({target("com.apple.cameracaptured", 0, 512)}).captureWasActiveAtRequestTime);
}

TEST(CaptureActivityTest, ARunningTargetOfPriorityOneOrMoreCountsWhateverItsLabel) {
  EXPECT_TRUE(requestFor({target("anything", 1, 512)}).captureWasActiveAtRequestTime);
  EXPECT_TRUE(requestFor({target("", 9223372036854775807, 0)}).captureWasActiveAtRequestTime);
}

TEST(CaptureActivityTest, ATargetOfNegativePriorityNeverCounts) {
  EXPECT_FALSE(requestFor({target(daemonLabel, -1, 512)}).captureWasActiveAtRequestTime);
}

TEST(CaptureActivityTest, AnyOneOfManyTargetsIsEnough) {
  EXPECT_TRUE(requestFor({target("x", 0, 1), target("y", -1, 2), target("z", 1, 3)})
                  .captureWasActiveAtRequestTime);
}

TEST(CaptureActivityTest, ACameraInUseCountsWithoutARunningTarget) {
  EXPECT_TRUE(requestFor({target(daemonLabel, 0, std::nullopt)}, cameraInUse())
                  .captureWasActiveAtRequestTime);
}

// The labels.

TEST(DaemonPatternTest, TheMatcherAgreesWithTheExpressionItStandsFor) {
  const std::regex expression{std::string(builtInCameraDaemonPattern)};
  for (const std::string label :
       {"com.apple.appleh13camerad", "com.apple.appleh1camerad", "com.apple.appleh0099camerad",
        "com.apple.appleh13camerad.extra", "com.apple.applehcamerad", "com.apple.AppleH13camerad",
        "xcom.apple.appleh13camerad", "comXapple.appleh13camerad", "com.appleXappleh13camerad",
        "com.apple.appleh1xcamerad", "com.apple.appleh13camera", "com.apple.appleh-1camerad",
        "com.apple.appleh camerad", "com.apple.appleh", "camerad", "",
        "com.apple.appleh13cameradcamerad", "com.apple.appleh\u0661camerad"}) {
    EXPECT_EQ(matchesBuiltInCameraDaemonPattern(label), std::regex_search(label, expression))
        << label;
  }
}

TEST(DaemonPatternTest, ThePatternIsThirtyCharactersLong) {
  EXPECT_EQ(builtInCameraDaemonPattern, "^com\\.apple\\.appleh\\d+camerad$");
  EXPECT_EQ(builtInCameraDaemonPattern.size(), 30U);
}

TEST(DaemonPatternTest, ALineBreakAtTheEndOfALabelIsNotItsEnd) {
  EXPECT_FALSE(matchesBuiltInCameraDaemonPattern("com.apple.appleh13camerad\n"));
}

TEST(DaemonPatternTest, ALabelOfMegabytesIsMatchedWithoutRecursion) {
  const std::string digits(8'000'000, '7');
  EXPECT_TRUE(matchesBuiltInCameraDaemonPattern("com.apple.appleh" + digits + "camerad"));
  EXPECT_FALSE(matchesBuiltInCameraDaemonPattern("com.apple.appleh" + digits + "camera"));
}

// The snapshot.

TEST(CorrelationSnapshotTest, RunningServicesAreKeptByLabel) {
  EXPECT_EQ(makeCorrelationSnapshot({state("a", 1), state("b", std::nullopt), state("c", 0)}),
            (std::map<std::string, std::int64_t>{{"a", 1}, {"c", 0}}));
}

TEST(CorrelationSnapshotTest, NothingRunningIsAnEmptySnapshot) {
  EXPECT_TRUE(makeCorrelationSnapshot({state("a", std::nullopt)}).empty());
  EXPECT_TRUE(makeCorrelationSnapshot({}).empty());
}

TEST(CorrelationSnapshotTest, ALabelMayRepeatWhileOnlyOneOfItsServicesRuns) {
  EXPECT_EQ(makeCorrelationSnapshot({state("a", std::nullopt), state("a", 7, ServiceDomain::gui)}),
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

TEST(HoldSelectionTest, TheRequestHasEveryTargetInTheOrderReceived) {
  const std::vector targets{target("z", 5, std::nullopt), target(daemonLabel, 0, 512),
                            target("a", -3, 1), target("z", 5, std::nullopt)};
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
