#include <gtest/gtest.h>

#include <string>

#include "blindfold/platform/macos/macos_platform.h"
#include "security_stand_in.h"

namespace blindfold {
namespace {
class SecurityCodeSigningTest : public testing::Test {
 protected:
  void SetUp() override { SecurityStandIn::shared().reset(); }

  /// Every object that was handed out has been given back.
  void TearDown() override { EXPECT_EQ(SecurityStandIn::liveObjects(), 0); }

  SecurityCodeSigning codeSigning_;
  SecurityStandIn& security_ = SecurityStandIn::shared();
};

TEST_F(SecurityCodeSigningTest, ReadsBothIdentifiersOfTheRunningCode) {
  EXPECT_EQ(codeSigning_.ownSigningInformation(), (SigningInformation{"app.blindfold.mac", "T1"}));
}

TEST_F(SecurityCodeSigningTest, AsksForTheSigningInformationOfTheRunningCodeWithNoOtherFlag) {
  codeSigning_.ownSigningInformation();
  EXPECT_EQ(security_.selfFlags, 0U);
  EXPECT_EQ(security_.staticCodeFlags, 0U);
  EXPECT_EQ(security_.informationFlags, 2U);
}

TEST_F(SecurityCodeSigningTest, AsksForTheSigningInformationOfAnExecutableWithNoOtherFlag) {
  codeSigning_.signingInformation(FileURL("/bin/sh"));
  EXPECT_EQ(security_.pathFlags, 0U);
  EXPECT_EQ(security_.informationFlags, 2U);
}

TEST_F(SecurityCodeSigningTest, ReadsBothIdentifiersOfAnExecutable) {
  EXPECT_EQ(codeSigning_.signingInformation(FileURL("/Library/Tools/h\u00e9lper")),
            (SigningInformation{"app.blindfold.mac", "T1"}));
  EXPECT_EQ(security_.staticCodePath, "/Library/Tools/h\u00e9lper");
}

TEST_F(SecurityCodeSigningTest, LeavesOutAValueThatIsMissing) {
  security_.teamIdentifier = SecurityStandIn::Value::missing;
  EXPECT_EQ(codeSigning_.ownSigningInformation(),
            (SigningInformation{"app.blindfold.mac", std::nullopt}));
}

TEST_F(SecurityCodeSigningTest, TellsAValueThatIsNotTextFromOneThatIsMissing) {
  security_.identifier = SecurityStandIn::Value::number;
  EXPECT_EQ(codeSigning_.ownSigningInformation(), (SigningInformation{OpaqueValue{}, "T1"}));
}

TEST_F(SecurityCodeSigningTest, KeepsEmptyTexts) {
  security_.identifierText = "";
  security_.teamIdentifierText = "";
  EXPECT_EQ(codeSigning_.ownSigningInformation(), (SigningInformation{"", ""}));
}

TEST_F(SecurityCodeSigningTest, HasNoInformationWhenThePlatformRefusesTheRunningCode) {
  security_.hasSelf = false;
  EXPECT_EQ(codeSigning_.ownSigningInformation(), std::nullopt);
}

TEST_F(SecurityCodeSigningTest, HasNoInformationWhenThePlatformRefusesTheStaticCode) {
  security_.hasStaticCode = false;
  EXPECT_EQ(codeSigning_.ownSigningInformation(), std::nullopt);
  EXPECT_EQ(codeSigning_.signingInformation(FileURL("/bin/sh")), std::nullopt);
}

TEST_F(SecurityCodeSigningTest, HasNoInformationWhenThePlatformRefusesIt) {
  security_.hasInformation = false;
  EXPECT_EQ(codeSigning_.ownSigningInformation(), std::nullopt);
  EXPECT_EQ(codeSigning_.signingInformation(FileURL("/bin/sh")), std::nullopt);
}

TEST_F(SecurityCodeSigningTest, HasNoInformationWhenAFunctionSucceedsEmptyHanded) {
  using Function = SecurityStandIn::Function;
  for (const Function each : {Function::self, Function::staticCode, Function::information}) {
    security_.emptyHanded = each;
    EXPECT_EQ(codeSigning_.ownSigningInformation(), std::nullopt);
  }
  for (const Function each : {Function::path, Function::information}) {
    security_.emptyHanded = each;
    EXPECT_EQ(codeSigning_.signingInformation(FileURL("/bin/sh")), std::nullopt);
  }
}

TEST_F(SecurityCodeSigningTest, HasNoInformationForAPathThatNamesNothing) {
  EXPECT_EQ(codeSigning_.signingInformation(FileURL(std::string("/bin/sh\0x", 9))), std::nullopt);
  EXPECT_EQ(security_.staticCodePath, std::nullopt);
}

TEST_F(SecurityCodeSigningTest, ReadsTheInformationAnewEveryTime) {
  codeSigning_.ownSigningInformation();
  security_.teamIdentifierText = "T2";
  EXPECT_EQ(codeSigning_.ownSigningInformation(), (SigningInformation{"app.blindfold.mac", "T2"}));
}
}  // namespace
}  // namespace blindfold
