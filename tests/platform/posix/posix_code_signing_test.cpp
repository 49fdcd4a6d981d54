#include "platform/posix/posix_code_signing.h"

#include <gtest/gtest.h>

namespace blindfold {
namespace {

TEST(PosixCodeSigningTest, ThereIsNoCodeObject) {
  const PosixCodeSigning codeSigning;
  EXPECT_EQ(codeSigning.copySelf(), nullptr);
}

TEST(PosixCodeSigningTest, ThereIsNoStaticCodeObject) {
  const PosixCodeSigning codeSigning;
  EXPECT_EQ(codeSigning.createStaticCode(FileURL("/proc/self/exe")), nullptr);
}

}  // namespace
}  // namespace blindfold
