// Whether capture is active as a hold is requested, and the labels that count.

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <optional>
#include <regex>
#include <string>
#include <vector>

#include "blindfold/cli/hold_selection.h"
#include "tests/cli/hold_selection_test.h"

namespace blindfold {
namespace {
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
  for (const std::int64_t priority :
       {std::int64_t{-1}, std::int64_t{-4'294'967'296}, std::numeric_limits<std::int64_t>::min()}) {
    EXPECT_FALSE(requestFor({target(daemonLabel, priority, 512)}).captureWasActiveAtRequestTime)
        << priority;
  }
}

TEST(CaptureActivityTest, AnyOneOfManyTargetsIsEnough) {
  EXPECT_TRUE(requestFor({target("x", 0, 1), target("y", -1, 2), target("z", 1, 3)})
                  .captureWasActiveAtRequestTime);
}

TEST(CaptureActivityTest, ACameraInUseCountsWithoutARunningTarget) {
  EXPECT_TRUE(requestFor({target(daemonLabel, 0, std::nullopt)}, cameraInUse())
                  .captureWasActiveAtRequestTime);
}

TEST(CaptureActivityTest, OfTheCameraOnlyItsUseCounts) {
  const std::vector idle{target(daemonLabel, 0, std::nullopt)};
  for (const bool isConnected : {false, true}) {
    for (const bool isSuspended : {false, true}) {
      for (const bool isInUse : {false, true}) {
        CameraInfo selected = camera("CAM");
        selected.isConnected = isConnected;
        selected.isSuspended = isSuspended;
        selected.isInUseByAnotherApplication = isInUse;
        EXPECT_EQ(requestFor(idle, selected).captureWasActiveAtRequestTime, isInUse)
            << isConnected << isSuspended;
      }
    }
  }
}

TEST(CaptureActivityTest, TheUseThatCountsIsTheSelectedCameras) {
  const std::vector idle{target(daemonLabel, 0, std::nullopt)};
  EXPECT_FALSE(makeBuiltInHoldRequest({cameraInUse("FIRST"), camera("CAM"), cameraInUse("LAST")},
                                      "CAM", idle, {})
                   .captureWasActiveAtRequestTime);
  EXPECT_TRUE(
      makeBuiltInHoldRequest({camera("FIRST"), cameraInUse("CAM"), camera("LAST")}, "CAM", idle, {})
          .captureWasActiveAtRequestTime);
}

TEST(CaptureActivityTest, AServiceWithAnyPidIsRunning) {
  for (const std::int64_t pid :
       {std::int64_t{0}, std::int64_t{-1}, std::int64_t{1},
        std::numeric_limits<std::int64_t>::min(), std::numeric_limits<std::int64_t>::max()}) {
    EXPECT_TRUE(requestFor({target(daemonLabel, 0, pid)}).captureWasActiveAtRequestTime) << pid;
    EXPECT_TRUE(requestFor({target("client", 1, pid)}).captureWasActiveAtRequestTime) << pid;
  }
}

TEST(CaptureActivityTest, NeitherDomainNorControlModeMatters) {
  for (const auto domain : {ServiceDomain::system, ServiceDomain::gui}) {
    for (const auto mode : {ControlMode::sigstop, ControlMode::sigtermDebug}) {
      EXPECT_TRUE(
          requestFor({target(daemonLabel, 0, 512, domain, mode)}).captureWasActiveAtRequestTime);
      EXPECT_TRUE(
          requestFor({target("client", 2, 512, domain, mode)}).captureWasActiveAtRequestTime);
    }
  }
}

TEST(CaptureActivityTest, ADaemonCountsWhereverItStands) {
  EXPECT_TRUE(requestFor({target("x", 0, 1), target(daemonLabel, 0, std::nullopt),
                          target("com.apple.appleh16camerad", 0, 2)})
                  .captureWasActiveAtRequestTime);
}

TEST(CaptureActivityTest, TheLastOfManyTargetsCounts) {
  std::vector<TargetService> targets(1000, target(daemonLabel, 0, std::nullopt));
  targets.back().pid = 512;
  EXPECT_TRUE(requestFor(targets).captureWasActiveAtRequestTime);
  targets.back() = target("client", 1, 512);
  EXPECT_TRUE(requestFor(targets).captureWasActiveAtRequestTime);
}

TEST(CaptureActivityTest, TheConditionsOfOneTargetAreNotMetByTwo) {
  EXPECT_FALSE(requestFor({target(daemonLabel, 0, std::nullopt), target("x", 0, 512),
                           target(daemonLabel, -1, 512), target("y", 1, std::nullopt)})
                   .captureWasActiveAtRequestTime);
}

TEST(CaptureActivityTest, ServicesThatAreNoTargetsDoNotCount) {
  EXPECT_FALSE(makeBuiltInHoldRequest({camera("CAM")}, "CAM",
                                      {target(daemonLabel, 0, std::nullopt)},
                                      {state(daemonLabel, 512)})
                   .captureWasActiveAtRequestTime);
}

// The labels.

TEST(DaemonPatternTest, TheMatcherAgreesWithTheExpressionItStandsFor) {
  const std::regex expression{std::string(builtInCameraDaemonPattern)};
  for (const std::string label :
       {"com.apple.appleh13camerad", "com.apple.appleh1camerad", "com.apple.appleh0099camerad",
        "com.apple.appleh13camerad.extra", "com.apple.applehcamerad", "com.apple.AppleH13camerad",
        "xcom.apple.appleh13camerad", "comXapple.appleh13camerad", "com.appleXappleh13camerad",
        "com.apple.appleh1xcamerad", "com.apple.appleh1acamerad", "com.apple.appleh13camera",
        "com.apple.appleh-1camerad", "com.apple.appleh camerad", "com.apple.appleh", "camerad", "",
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
}  // namespace
}  // namespace blindfold
