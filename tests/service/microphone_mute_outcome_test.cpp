#include "blindfold/service/microphone_mute_outcome.h"

#include <gtest/gtest.h>

namespace blindfold {
namespace {

TEST(MicrophoneMuteOutcomeTest, ItsFieldsStandInTheirOrder) {
  const MicrophoneMuteOutcome outcome{3, 2, 1};
  EXPECT_EQ(outcome.totalInputDevices, 3);
  EXPECT_EQ(outcome.updatedDevices, 2);
  EXPECT_EQ(outcome.failedDevices, 1);
}

TEST(MicrophoneMuteOutcomeTest, ItIsEqualWhenEveryFieldIs) {
  const MicrophoneMuteOutcome outcome{3, 2, 1};
  EXPECT_EQ(outcome, (MicrophoneMuteOutcome{3, 2, 1}));
  EXPECT_NE(outcome, (MicrophoneMuteOutcome{4, 2, 1}));
  EXPECT_NE(outcome, (MicrophoneMuteOutcome{3, 4, 1}));
  EXPECT_NE(outcome, (MicrophoneMuteOutcome{3, 2, 4}));
}

}  // namespace
}  // namespace blindfold
