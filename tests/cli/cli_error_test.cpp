#include "blindfold/cli/cli_error.h"

#include <gtest/gtest.h>

#include "tests/support/ordinals.h"

namespace blindfold {
namespace {
TEST(CLIErrorTest, HasItsCasesInOrder) {
  expectOrdinals({CLIError::Case::missingArgument, CLIError::Case::unsupportedCamera,
                  CLIError::Case::noResolvedTargets});
}

TEST(CLIErrorTest, AMissingArgumentIsDescribedByItsPayload) {
  const CLIError error = CLIError::missingArgument("usage: blindfoldctl renew <lease-id>");
  EXPECT_EQ(error.errorCase(), CLIError::Case::missingArgument);
  EXPECT_EQ(error.errorDescription(), "usage: blindfoldctl renew <lease-id>");
}

TEST(CLIErrorTest, AnUnsupportedCameraIsDescribedByItsPayload) {
  const CLIError error = CLIError::unsupportedCamera("No camera detected.");
  EXPECT_EQ(error.errorCase(), CLIError::Case::unsupportedCamera);
  EXPECT_EQ(error.errorDescription(), "No camera detected.");
}

TEST(CLIErrorTest, MissingTargetsHaveATextOfTheirOwn) {
  const CLIError error = CLIError::noResolvedTargets();
  EXPECT_EQ(error.errorCase(), CLIError::Case::noResolvedTargets);
  EXPECT_EQ(error.errorDescription(), "No built-in camera targets were resolved.");
  EXPECT_STREQ(error.what(), "No built-in camera targets were resolved.");
}
}  // namespace
}  // namespace blindfold
