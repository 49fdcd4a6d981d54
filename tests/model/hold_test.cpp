#include "blindfold/model/hold.h"

#include <gtest/gtest.h>

#include <chrono>
#include <limits>

#include "tests/model/sample_records.h"

namespace blindfold {
namespace {
HeldTarget heldTarget(std::optional<std::int64_t> pid) {
  return {.label = "com.apple.appleh13camerad",
          .domain = ServiceDomain::system,
          .pid = pid,
          .controlMode = ControlMode::sigstop};
}

TEST(HeldTargetTest, IdIsDomainColonLabelColonPid) {
  EXPECT_EQ(heldTarget(512).id(), "system:com.apple.appleh13camerad:512");
}

TEST(HeldTargetTest, MinusOneStandsForAnAbsentPid) {
  EXPECT_EQ(heldTarget(std::nullopt).id(), "system:com.apple.appleh13camerad:-1");
}

TEST(HeldTargetTest, PidZeroIsNotAnAbsentPid) {
  EXPECT_EQ(heldTarget(0).id(), "system:com.apple.appleh13camerad:0");
}

TEST(HeldTargetTest, APidOf64BitsIsWrittenWhole) {
  EXPECT_EQ(heldTarget(std::numeric_limits<std::int64_t>::min()).id(),
            "system:com.apple.appleh13camerad:-9223372036854775808");
}

TEST(HoldRequestTest, DoesNotTakeTheCaptureForActiveUnlessTold) {
  EXPECT_FALSE(HoldRequest{}.captureWasActiveAtRequestTime);
}

TEST(HoldStateTest, IsByDefaultWithoutEverythingButAMode) {
  const HoldState expected{.mode = "idle",
                           .leaseID = std::nullopt,
                           .heldTargets = {},
                           .startedAt = std::nullopt,
                           .lastHeartbeatAt = std::nullopt,
                           .sourceCameraID = std::nullopt,
                           .lastRestoreReason = std::nullopt,
                           .micMuted = false};
  EXPECT_EQ(HoldState{.mode = "idle"}, expected);
}

TEST(OperationResultTest, ResultsThatDifferOnlyInTheirLastHeartbeatAreUnequal) {
  OperationResult other = sample::operationResult();
  *other.holdState->lastHeartbeatAt += std::chrono::microseconds(1);
  EXPECT_NE(other, sample::operationResult());
}

TEST(OperationResultTest, AResultWithAHoldStateDiffersFromOneWithout) {
  OperationResult other = sample::operationResult();
  other.holdState = std::nullopt;
  EXPECT_NE(other, sample::operationResult());
}
}  // namespace
}  // namespace blindfold
