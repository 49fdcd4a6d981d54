#include "blindfold/platform/linux/linux_code_signing.h"

#include <gtest/gtest.h>

namespace blindfold {
namespace {
TEST(LinuxCodeSigningTest, TheRunningProgramHasNoSigningInformation) {
  const LinuxCodeSigning codeSigning;
  EXPECT_EQ(codeSigning.ownSigningInformation(), std::nullopt);
}

TEST(LinuxCodeSigningTest, AnExecutableHasNoSigningInformation) {
  const LinuxCodeSigning codeSigning;
  EXPECT_EQ(codeSigning.signingInformation(FileURL("/proc/self/exe")), std::nullopt);
}
}  // namespace
}  // namespace blindfold
