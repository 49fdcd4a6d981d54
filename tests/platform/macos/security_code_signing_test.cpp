#include "blindfold/platform/macos/security_code_signing.h"

#include <gtest/gtest.h>

#include <string>

#include "security_stand_in.h"

namespace blindfold {
namespace {

class SecurityCodeSigningTest : public testing::Test {
 protected:
  void SetUp() override { SecurityStandIn::shared().reset(); }

  /// Every object that was handed out has been given back.
  void TearDown() override { EXPECT_EQ(SecurityStandIn::liveObjects(), 0); }

  std::optional<SigningInformation> ownInformation() {
    const auto code = codeSigning_.copySelf();
    const auto staticCode = code == nullptr ? nullptr : code->copyStaticCode();
    return staticCode == nullptr ? std::nullopt : staticCode->copySigningInformation();
  }

  SecurityCodeSigning codeSigning_;
  SecurityStandIn& security_ = SecurityStandIn::shared();
};

TEST_F(SecurityCodeSigningTest, ReadsBothIdentifiersOfTheRunningCode) {
  EXPECT_EQ(ownInformation(), (SigningInformation{"app.blindfold.mac", "T1"}));
}

TEST_F(SecurityCodeSigningTest, AsksForTheSigningInformation) {
  ownInformation();
  EXPECT_EQ(security_.informationFlags, 2U);
}

TEST_F(SecurityCodeSigningTest, MakesTheStaticCodeOfAPath) {
  const auto code = codeSigning_.createStaticCode(FileURL("/Library/Tools/h\u00e9lper"));
  ASSERT_NE(code, nullptr);
  EXPECT_EQ(security_.staticCodePath, "/Library/Tools/h\u00e9lper");
  EXPECT_EQ(code->copySigningInformation(), (SigningInformation{"app.blindfold.mac", "T1"}));
}

TEST_F(SecurityCodeSigningTest, LeavesOutAValueThatIsMissing) {
  security_.teamIdentifier = SecurityStandIn::Value::missing;
  EXPECT_EQ(ownInformation(), (SigningInformation{"app.blindfold.mac", std::nullopt}));
}

TEST_F(SecurityCodeSigningTest, TellsAValueThatIsNotTextFromOneThatIsMissing) {
  security_.identifier = SecurityStandIn::Value::number;
  EXPECT_EQ(ownInformation(), (SigningInformation{OpaqueValue{}, "T1"}));
}

TEST_F(SecurityCodeSigningTest, KeepsEmptyTexts) {
  security_.identifierText = "";
  security_.teamIdentifierText = "";
  EXPECT_EQ(ownInformation(), (SigningInformation{"", ""}));
}

TEST_F(SecurityCodeSigningTest, HasNoCodeWhenThePlatformRefuses) {
  security_.hasSelf = false;
  EXPECT_EQ(codeSigning_.copySelf(), nullptr);
}

TEST_F(SecurityCodeSigningTest, HasNoStaticCodeWhenThePlatformRefuses) {
  security_.hasStaticCode = false;
  EXPECT_EQ(codeSigning_.copySelf()->copyStaticCode(), nullptr);
  EXPECT_EQ(codeSigning_.createStaticCode(FileURL("/bin/sh")), nullptr);
}

TEST_F(SecurityCodeSigningTest, HasNoInformationWhenThePlatformRefuses) {
  security_.hasInformation = false;
  EXPECT_EQ(ownInformation(), std::nullopt);
}

TEST_F(SecurityCodeSigningTest, HasNothingWhenThePlatformSucceedsEmptyHanded) {
  const auto code = codeSigning_.copySelf();
  const auto staticCode = code->copyStaticCode();
  security_.succeedsEmptyHanded = true;
  EXPECT_EQ(codeSigning_.copySelf(), nullptr);
  EXPECT_EQ(code->copyStaticCode(), nullptr);
  EXPECT_EQ(codeSigning_.createStaticCode(FileURL("/bin/sh")), nullptr);
  EXPECT_EQ(staticCode->copySigningInformation(), std::nullopt);
}

TEST_F(SecurityCodeSigningTest, HasNoStaticCodeForAPathThatNamesNothing) {
  EXPECT_EQ(codeSigning_.createStaticCode(FileURL(std::string("/bin/sh\0x", 9))), nullptr);
  EXPECT_EQ(security_.staticCodePath, std::nullopt);
}

TEST_F(SecurityCodeSigningTest, AsksAnewEveryTime) {
  const auto staticCode = codeSigning_.copySelf()->copyStaticCode();
  staticCode->copySigningInformation();
  security_.teamIdentifierText = "T2";
  EXPECT_EQ(staticCode->copySigningInformation(), (SigningInformation{"app.blindfold.mac", "T2"}));
}

}  // namespace
}  // namespace blindfold
