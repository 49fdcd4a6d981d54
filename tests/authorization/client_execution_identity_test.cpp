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

TEST(ClientExecutionIdentityEqualityTest, AnAbsentTextEqualsOnlyAnAbsentText) {
  EXPECT_NE((ClientExecutionIdentity{.signingIdentifier = "",
                                     .teamIdentifier = {},
                                     .bundleIdentifier = {},
                                     .executablePath = {}}),
            ClientExecutionIdentity{});
}

TEST(CodeSigningIdentifiersTest, BothTextsAreTakenAsTheyStand) {
  EXPECT_EQ(
      codeSigningIdentifiers(SigningInformation{.identifier = " app\n", .teamIdentifier = ""}),
      (CodeSigningIdentifiers{.signingIdentifier = " app\n", .teamIdentifier = ""}));
}

TEST(CodeSigningIdentifiersTest, BothAreAbsentWhenThereIsNoInformation) {
  EXPECT_EQ(codeSigningIdentifiers(std::nullopt), CodeSigningIdentifiers{});
}

TEST(CodeSigningIdentifiersTest, AMissingValueIsAbsentAndLeavesTheOtherAlone) {
  EXPECT_EQ(codeSigningIdentifiers(SigningInformation{.identifier = "app", .teamIdentifier = {}}),
            (CodeSigningIdentifiers{.signingIdentifier = "app", .teamIdentifier = {}}));
  EXPECT_EQ(codeSigningIdentifiers(SigningInformation{.identifier = {}, .teamIdentifier = "T1"}),
            (CodeSigningIdentifiers{.signingIdentifier = {}, .teamIdentifier = "T1"}));
}

TEST(CodeSigningIdentifiersTest, AValueThatIsNoTextIsAbsentAndLeavesTheOtherAlone) {
  EXPECT_EQ(codeSigningIdentifiers(
                SigningInformation{.identifier = OpaqueValue(), .teamIdentifier = "T1"}),
            (CodeSigningIdentifiers{.signingIdentifier = {}, .teamIdentifier = "T1"}));
  EXPECT_EQ(codeSigningIdentifiers(
                SigningInformation{.identifier = "app", .teamIdentifier = ValueArray{"T1"}}),
            (CodeSigningIdentifiers{.signingIdentifier = "app", .teamIdentifier = {}}));
}
}  // namespace
}  // namespace blindfold
