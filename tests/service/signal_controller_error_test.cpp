#include "blindfold/service/signal_controller_error.h"

#include <gtest/gtest.h>

#include <limits>
#include <string>

#include "tests/support/ordinals.h"

namespace blindfold {
namespace {
using Case = SignalControllerError::Case;

constexpr std::int32_t lowest = std::numeric_limits<std::int32_t>::min();
constexpr std::int32_t highest = std::numeric_limits<std::int32_t>::max();

std::string textOfFailure(std::int32_t signalNumber, std::int32_t errorNumber) {
  return SignalControllerError::signalFailed("com.example.camera", signalNumber, errorNumber)
      .errorDescription();
}

TEST(SignalControllerErrorTest, HasItsCasesInOrder) {
  expectOrdinals({Case::noPID, Case::signalFailed});
}

TEST(SignalControllerErrorTest, AMissingProcessIsNamedByItsLabel) {
  const auto error = SignalControllerError::noPID("com.example.camera");
  EXPECT_EQ(error.errorDescription(), "No PID found for com.example.camera.");
}

TEST(SignalControllerErrorTest, AFailedSignalIsToldWithItsNumbers) {
  EXPECT_EQ(textOfFailure(17, 1), "Failed to send signal 17 to com.example.camera (errno 1).");
}

TEST(SignalControllerErrorTest, NumbersArePlainDecimalOverTheirWholeRange) {
  EXPECT_EQ(textOfFailure(0, 0), "Failed to send signal 0 to com.example.camera (errno 0).");
  EXPECT_EQ(textOfFailure(-1, -45), "Failed to send signal -1 to com.example.camera (errno -45).");
  EXPECT_EQ(textOfFailure(1'000'000, 1'000'000),
            "Failed to send signal 1000000 to com.example.camera (errno 1000000).");
  EXPECT_EQ(textOfFailure(lowest, highest),
            "Failed to send signal -2147483648 to com.example.camera (errno 2147483647).");
  EXPECT_EQ(textOfFailure(highest, lowest),
            "Failed to send signal 2147483647 to com.example.camera (errno -2147483648).");
}

TEST(SignalControllerErrorTest, ALabelIsTakenAsItIs) {
  EXPECT_EQ(SignalControllerError::noPID("").errorDescription(), "No PID found for .");
  EXPECT_EQ(SignalControllerError::noPID(" a {0} %s ").errorDescription(),
            "No PID found for  a {0} %s .");
  const std::string label(1000, 'l');
  EXPECT_EQ(SignalControllerError::noPID(label).errorDescription(),
            "No PID found for " + label + ".");
  EXPECT_EQ(SignalControllerError::signalFailed(label, 17, 1).errorDescription(),
            "Failed to send signal 17 to " + label + " (errno 1).");
}

TEST(SignalControllerErrorTest, EachCaseCarriesItsOwnPayload) {
  const auto missing = SignalControllerError::noPID("label");
  EXPECT_EQ(missing.errorCase(), Case::noPID);
  EXPECT_EQ(missing.label(), "label");
  EXPECT_EQ(missing.signalNumber(), std::nullopt);
  EXPECT_EQ(missing.errorNumber(), std::nullopt);

  const auto failed = SignalControllerError::signalFailed("label", 17, 1);
  EXPECT_EQ(failed.errorCase(), Case::signalFailed);
  EXPECT_EQ(failed.label(), "label");
  EXPECT_EQ(failed.signalNumber(), 17);
  EXPECT_EQ(failed.errorNumber(), 1);
}

TEST(SignalControllerErrorTest, ItIsCaughtAsAnyExceptionWithTheSameText) {
  try {
    throw SignalControllerError::noPID("label");
  } catch (const std::exception& error) {
    EXPECT_STREQ(error.what(), "No PID found for label.");
  }
}
}  // namespace
}  // namespace blindfold
