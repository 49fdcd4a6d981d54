#include "blindfold/authorization/client_execution_identity.h"

#include <gtest/gtest.h>

#include "tests/support/fake_bundle.h"
#include "tests/support/fake_code_signing.h"

namespace blindfold {
namespace {

class ClientExecutionIdentityTest : public testing::Test {
 protected:
  ClientExecutionIdentityTest() {
    bundle_.dictionary = {{"CFBundleIdentifier", "app.blindfold.cli"}};
    bundle_.executable = FileURL("/bin/blindfoldctl");
    codeSigning_.ownInformation =
        SigningInformation{.identifier = "blindfoldctl", .teamIdentifier = "T1"};
  }

  ClientExecutionIdentity identity() const {
    return currentClientExecutionIdentity(bundle_, codeSigning_);
  }

  FakeBundle bundle_;
  FakeCodeSigning codeSigning_;
  const ClientExecutionIdentity whole_{
      .signingIdentifier = "blindfoldctl",
      .teamIdentifier = "T1",
      .bundleIdentifier = "app.blindfold.cli",
      .executablePath = "/bin/blindfoldctl",
  };
  const ClientExecutionIdentity withoutSignature_{
      .signingIdentifier = {},
      .teamIdentifier = {},
      .bundleIdentifier = "app.blindfold.cli",
      .executablePath = "/bin/blindfoldctl",
  };
};

TEST_F(ClientExecutionIdentityTest, ItIsGatheredFromTheSignatureAndTheBundle) {
  EXPECT_EQ(identity(), whole_);
}

TEST_F(ClientExecutionIdentityTest, WithoutACodeObjectBothSignatureFieldsAreAbsent) {
  codeSigning_.hasOwnCode = false;
  EXPECT_EQ(identity(), withoutSignature_);
}

TEST_F(ClientExecutionIdentityTest, WithoutStaticCodeBothSignatureFieldsAreAbsent) {
  codeSigning_.hasOwnStaticCode = false;
  EXPECT_EQ(identity(), withoutSignature_);
}

TEST_F(ClientExecutionIdentityTest, WithoutSigningInformationBothSignatureFieldsAreAbsent) {
  codeSigning_.ownInformation = std::nullopt;
  EXPECT_EQ(identity(), withoutSignature_);
}

TEST_F(ClientExecutionIdentityTest, ABundleThatDeclaresNoIdentifierLeavesItAbsent) {
  bundle_.dictionary.clear();
  auto expected = whole_;
  expected.bundleIdentifier.reset();
  EXPECT_EQ(identity(), expected);
}

TEST_F(ClientExecutionIdentityTest, ABundleThatReportsNoExecutableLeavesThePathAbsent) {
  bundle_.executable.reset();
  auto expected = whole_;
  expected.executablePath.reset();
  EXPECT_EQ(identity(), expected);
}

TEST_F(ClientExecutionIdentityTest, TheCodeObjectsAreReleased) {
  identity();
  EXPECT_EQ(codeSigning_.liveObjects(), 0);
}

TEST(ClientExecutionIdentityEqualityTest, AnAbsentTextEqualsOnlyAnAbsentText) {
  EXPECT_NE((ClientExecutionIdentity{.signingIdentifier = "",
                                     .teamIdentifier = {},
                                     .bundleIdentifier = {},
                                     .executablePath = {}}),
            ClientExecutionIdentity{});
}

}  // namespace
}  // namespace blindfold
