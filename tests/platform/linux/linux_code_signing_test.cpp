#include "blindfold/platform/linux/linux_code_signing.h"

#include <gtest/gtest.h>

namespace blindfold {
namespace {

TEST(LinuxCodeSigningTest, ThereIsNoCodeObject) {
  const LinuxCodeSigning codeSigning;
  EXPECT_EQ(codeSigning.copySelf(), nullptr);
}

TEST(LinuxCodeSigningTest, ThereIsNoStaticCodeObject) {
  const LinuxCodeSigning codeSigning;
  EXPECT_EQ(codeSigning.createStaticCode(FileURL("/proc/self/exe")), nullptr);
}

}  // namespace
}  // namespace blindfold
