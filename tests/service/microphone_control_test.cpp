#include "blindfold/service/microphone_control.h"

#include <gtest/gtest.h>

#include <string>

#include "tests/support/ordinals.h"

namespace blindfold {
namespace {
using Case = MicrophoneControlError::Case;

struct Row {
  MicrophoneControlError error;
  Case errorCase;
  std::string detail;
  std::string description;
};

const Row rows[] = {
    {MicrophoneControlError::hardwareQueryFailed("no audio"), Case::hardwareQueryFailed, "no audio",
     "Microphone setup failed: no audio"},
    {MicrophoneControlError::hardwareQueryFailed(""), Case::hardwareQueryFailed, "",
     "Microphone setup failed: "},
    {MicrophoneControlError::hardwareQueryFailed(std::string(1000, 'd') + "\n"),
     Case::hardwareQueryFailed, std::string(1000, 'd') + "\n",
     "Microphone setup failed: " + std::string(1000, 'd') + "\n"},
    {MicrophoneControlError::noInputDevices(), Case::noInputDevices, "",
     "No input microphones detected."},
    {MicrophoneControlError::noControllableInputs(), Case::noControllableInputs, "",
     "Microphone mute control is unavailable on this Mac."},
    {MicrophoneControlError::muteWriteFailed(), Case::muteWriteFailed, "",
     "Microphone mute could not be applied."},
};

TEST(MicrophoneControlErrorTest, EveryCaseHasItsTextAndPayload) {
  for (const auto& row : rows) {
    EXPECT_EQ(row.error.errorCase(), row.errorCase);
    EXPECT_EQ(row.error.detail(), row.detail);
    EXPECT_EQ(row.error.errorDescription(), row.description);
  }
}

TEST(MicrophoneControlErrorTest, HasItsCasesInOrder) {
  expectOrdinals({Case::hardwareQueryFailed, Case::noInputDevices, Case::noControllableInputs,
                  Case::muteWriteFailed});
}

TEST(MicrophoneControlErrorTest, ItIsCaughtAsAnyExceptionWithTheSameText) {
  try {
    throw MicrophoneControlError::noInputDevices();
  } catch (const std::exception& error) {
    EXPECT_STREQ(error.what(), "No input microphones detected.");
  }
}

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
