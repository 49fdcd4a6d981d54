#include "blindfold/authorization/code_signing_identifiers.h"

#include <gtest/gtest.h>

#include "tests/support/fake_code_signing.h"

namespace blindfold {
namespace {

CodeSigningIdentifiers identifiersIn(const FakeCodeSigning::Information& information) {
  FakeCodeSigning codeSigning;
  codeSigning.informationByPath = {{"/code", information}};
  return codeSigningIdentifiers(*codeSigning.createStaticCode(FileURL("/code")));
}

TEST(CodeSigningIdentifiersTest, BothTextsAreTakenAsTheyStand) {
  EXPECT_EQ(identifiersIn(SigningInformation{.identifier = " app\n", .teamIdentifier = ""}),
            (CodeSigningIdentifiers{.signingIdentifier = " app\n", .teamIdentifier = ""}));
}

TEST(CodeSigningIdentifiersTest, BothAreAbsentWhenThereIsNoInformation) {
  EXPECT_EQ(identifiersIn(std::nullopt), CodeSigningIdentifiers{});
}

TEST(CodeSigningIdentifiersTest, AMissingValueIsAbsentAndLeavesTheOtherAlone) {
  EXPECT_EQ(identifiersIn(SigningInformation{.identifier = "app", .teamIdentifier = {}}),
            (CodeSigningIdentifiers{.signingIdentifier = "app", .teamIdentifier = {}}));
  EXPECT_EQ(identifiersIn(SigningInformation{.identifier = {}, .teamIdentifier = "T1"}),
            (CodeSigningIdentifiers{.signingIdentifier = {}, .teamIdentifier = "T1"}));
}

TEST(CodeSigningIdentifiersTest, AValueThatIsNoTextIsAbsentAndLeavesTheOtherAlone) {
  EXPECT_EQ(identifiersIn(SigningInformation{.identifier = OpaqueValue(), .teamIdentifier = "T1"}),
            (CodeSigningIdentifiers{.signingIdentifier = {}, .teamIdentifier = "T1"}));
  EXPECT_EQ(
      identifiersIn(SigningInformation{.identifier = "app", .teamIdentifier = ValueArray{"T1"}}),
      (CodeSigningIdentifiers{.signingIdentifier = "app", .teamIdentifier = {}}));
}

}  // namespace
}  // namespace blindfold
