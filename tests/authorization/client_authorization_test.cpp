#include "blindfold/authorization/authorization_decision.h"

#include <gtest/gtest.h>

#include <set>
#include <string_view>

#include "tests/authorization/fake_client.h"

namespace blindfold {
namespace {
using Assessment = ClientAuthorizationAssessment;
using enum ClientAuthorizationMode;
using enum ClientAuthorizationFailure;

class ClientAuthorizationTest : public testing::Test {
 protected:
  void expectAccepted(ClientAuthorizationMode mode) const {
    EXPECT_EQ(client_.assess(), Assessment::accepted(client_.identity, mode));
  }
  void expectRefused(ClientAuthorizationFailure failure) const {
    EXPECT_EQ(client_.assess(), Assessment::refused(client_.identity, failure));
  }

  const std::string app_ = "/Applications/Blindfold.app";
  const std::string contents_ = app_ + "/Contents";
  const std::string macOS_ = contents_ + "/MacOS";
  const std::string executable_ = macOS_ + "/Blindfold";
  FakeClient client_;
};

// Step by step, what each test of the decision refuses or accepts.

TEST_F(ClientAuthorizationTest, AnAbsentExecutablePathIsRefused) {
  client_.identity.executablePath.reset();
  expectRefused(missingExecutablePath);
}

TEST_F(ClientAuthorizationTest, AnEmptyExecutablePathIsRefusedWhateverElseIsKnown) {
  client_.expectedTeamIdentifier = "T1";
  client_.identity.teamIdentifier = "T1";
  client_.identity.signingIdentifier = "app.blindfold.mac";
  client_.identity.executablePath = "";
  expectRefused(missingExecutablePath);
}

TEST_F(ClientAuthorizationTest, AnExecutableOfAnotherNameIsRefusedWhateverItsSignature) {
  client_.identity.executablePath = "/Applications/X.app/Contents/MacOS/Other";
  expectRefused(executablePathMismatch);

  client_.expectedTeamIdentifier = "T1";
  client_.identity.teamIdentifier = "T1";
  client_.identity.signingIdentifier = "app.blindfold.mac";
  expectRefused(executablePathMismatch);
}

TEST_F(ClientAuthorizationTest, EverySuffixOfTheListIsAuthorized) {
  for (const auto* const executable :
       {"MacOS/Blindfold", "Resources/blindfoldctl", "MacOS/orbit-mcp"}) {
    const std::string path = executable;
    const auto slash = path.find('/');
    client_.place("/X.app", "/Contents/" + path.substr(0, slash), path.substr(slash));
    client_.identity.signingIdentifier = path.substr(slash + 1);
    expectAccepted(adHocBundleIdentity);
  }
}

TEST_F(ClientAuthorizationTest, SuffixesAreComparedByteForByte) {
  for (const auto* const path :
       {"/X.app/Contents/MacOS/blindfold", "/X.app/Contents/MacOS/Blindfold/",
        "/X.app/Contents//MacOS/Blindfold", "Contents/MacOS/Blindfold"}) {
    client_.identity.executablePath = path;
    expectRefused(executablePathMismatch);
  }
}

TEST_F(ClientAuthorizationTest, AnotherTeamIsRefusedThoughItsIdentifierIsListed) {
  client_.expectedTeamIdentifier = "T1";
  client_.identity.teamIdentifier = "T2";
  client_.identity.signingIdentifier = "app.blindfold.mac";
  expectRefused(teamIdentifierMismatch);
}

TEST_F(ClientAuthorizationTest, AnEmptyTeamIdentifierIsATeamOfItsOwn) {
  client_.expectedTeamIdentifier = "";
  client_.identity.teamIdentifier = "T1";
  expectRefused(teamIdentifierMismatch);

  client_.identity.teamIdentifier = "";
  expectRefused(signingIdentifierMismatch);
}

TEST_F(ClientAuthorizationTest, TheHelpersTeamWithAListedIdentifierIsAccepted) {
  client_.expectedTeamIdentifier = "T1";
  client_.identity.teamIdentifier = "T1";
  client_.identity.signingIdentifier = "app.blindfold.mac";
  expectAccepted(signingIdentity);
}

TEST_F(ClientAuthorizationTest, TheHelpersTeamWithoutASigningIdentifierIsRefused) {
  client_.expectedTeamIdentifier = "T1";
  client_.identity.teamIdentifier = "T1";
  client_.identity.signingIdentifier.reset();
  expectRefused(signingIdentifierMismatch);
}

TEST_F(ClientAuthorizationTest, TheHelpersTeamWithAnUnlistedIdentifierIsRefused) {
  client_.expectedTeamIdentifier = "T1";
  client_.identity.teamIdentifier = "T1";
  client_.identity.signingIdentifier = "Blindfold";
  expectRefused(signingIdentifierMismatch);
}

TEST_F(ClientAuthorizationTest, AListedIdentifierIsAcceptedWithoutATeamOfTheClient) {
  client_.expectedTeamIdentifier = "T1";
  client_.identity.signingIdentifier = "app.blindfold.orbit";
  expectAccepted(signingIdentity);
}

TEST_F(ClientAuthorizationTest, AListedIdentifierIsAcceptedWithoutATeamOfTheHelper) {
  client_.identity.teamIdentifier = "T2";
  client_.identity.signingIdentifier = "app.blindfold.orbit";
  expectAccepted(signingIdentity);
}

TEST_F(ClientAuthorizationTest, ABundleThatLooksRightIsAccepted) {
  expectAccepted(adHocBundleIdentity);
}

TEST_F(ClientAuthorizationTest, ABundleThatLooksRightIsAcceptedWithoutASignature) {
  client_.identity.signingIdentifier.reset();
  expectAccepted(adHocBundleIdentity);

  client_.identity.signingIdentifier = "";
  expectAccepted(adHocBundleIdentity);
}

TEST_F(ClientAuthorizationTest, AnApplicationOfAnotherSpellingIsNoBundle) {
  client_.place("/Applications/Blindfold.App", "/Contents/MacOS", "/Blindfold");
  expectRefused(missingBundleIdentifier);
}

TEST_F(ClientAuthorizationTest, ASigningIdentifierOtherThanTheExecutablesNameIsRefused) {
  client_.identity.signingIdentifier = "Blindfold-1234";
  expectRefused(signingIdentifierMismatch);
}

TEST_F(ClientAuthorizationTest, AnAbsentBundleIdentifierIsRefused) {
  client_.identity.bundleIdentifier.reset();
  expectRefused(missingBundleIdentifier);
}

TEST_F(ClientAuthorizationTest, AnEmptyBundleIdentifierIsRefused) {
  client_.identity.bundleIdentifier = "";
  expectRefused(missingBundleIdentifier);
}

TEST_F(ClientAuthorizationTest, AnUnlistedBundleIdentifierIsRefused) {
  client_.identity.bundleIdentifier = "app.blindfold.cli";
  expectRefused(bundleIdentifierMismatch);
}

TEST_F(ClientAuthorizationTest, TheIdentifierThatTheBundleDeclaresIsNotConsulted) {
  client_.bundles.dictionariesByPath = {{app_, {{"CFBundleIdentifier", "com.example.other"}}}};
  expectAccepted(adHocBundleIdentity);

  client_.bundles.dictionariesByPath = {{app_, {{"CFBundleIdentifier", "app.blindfold.mac"}}}};
  client_.identity.bundleIdentifier = "app.blindfold.cli";
  expectRefused(bundleIdentifierMismatch);
}

TEST_F(ClientAuthorizationTest, ADirectoryThatOthersMayWriteIsRefused) {
  for (const std::uint64_t mode : {0775U, 0757U}) {
    client_.attributesOf(contents_).posixPermissions = mode;
    expectRefused(insecureExecutablePath);
  }
}

TEST_F(ClientAuthorizationTest, ADirectoryOfItsOwnersAloneIsAccepted) {
  client_.attributesOf(contents_).posixPermissions = 0700;
  expectAccepted(adHocBundleIdentity);
}

TEST_F(ClientAuthorizationTest, AnExecutableThatIsASymbolicLinkIsRefused) {
  client_.attributesOf(executable_).type = FileType::symbolicLink;
  expectRefused(insecureExecutablePath);
}

// The inputs of the decision.

TEST_F(ClientAuthorizationTest, ThePathIsJudgedBeforeTheTeam) {
  client_.identity.executablePath = "/bin/blindfoldctl";
  client_.expectedTeamIdentifier = "T1";
  client_.identity.teamIdentifier = "T2";
  expectRefused(executablePathMismatch);
}

TEST_F(ClientAuthorizationTest, TheSignatureIsJudgedBeforeTheBundleIdentifier) {
  client_.identity.signingIdentifier = "Other";
  client_.identity.bundleIdentifier.reset();
  expectRefused(signingIdentifierMismatch);
}

TEST_F(ClientAuthorizationTest, TheBundleIdentifierIsJudgedBeforeTheFiles) {
  client_.identity.bundleIdentifier = "app.blindfold.cli";
  expectRefused(bundleIdentifierMismatch);
  EXPECT_TRUE(client_.files.attributeQueries().empty());
}

TEST_F(ClientAuthorizationTest, NoFileIsReadForASigningIdentity) {
  client_.identity.signingIdentifier = "app.blindfold.mac";
  client_.assess();
  EXPECT_TRUE(client_.files.attributeQueries().empty());
}

TEST_F(ClientAuthorizationTest, APermissionChangedBetweenTwoCallsChangesTheAnswer) {
  expectAccepted(adHocBundleIdentity);
  client_.attributesOf(macOS_).posixPermissions = 0777;
  expectRefused(insecureExecutablePath);
  client_.attributesOf(macOS_).posixPermissions = 0755;
  expectAccepted(adHocBundleIdentity);
}

TEST_F(ClientAuthorizationTest, TheListsOfTheSettingsAreUsed) {
  client_.bundles.main.dictionary = {
      {"BlindfoldAuthorizedAppBundleIdentifiers", ValueArray{"com.example.client"}},
      {"BlindfoldAuthorizedAppExecutableSuffixes", ValueArray{"/Client"}},
  };
  client_.place("/Client.app", "/Contents/MacOS", "/Client");
  client_.identity.signingIdentifier = "com.example.client";
  expectAccepted(signingIdentity);

  client_.identity.signingIdentifier = "app.blindfold.mac";
  expectRefused(signingIdentifierMismatch);
}

// The program itself.

TEST(ClientAuthorizationAssessmentTest, ThisTestIsNoneOfTheProductsPrograms) {
  const Assessment assessment = clientAuthorizationAssessment();
  EXPECT_EQ(assessment.mode, std::nullopt);
  EXPECT_EQ(assessment.failure, executablePathMismatch);
}

TEST(ClientAuthorizationDescriptionTest, EveryModeAndFailureHasASentenceOfItsOwn) {
  std::set<std::string_view> sentences;
  for (const auto mode : {signingIdentity, adHocBundleIdentity}) {
    sentences.insert(descriptionOf(mode));
  }
  for (const auto failure :
       {missingExecutablePath, executablePathMismatch, helperRequiresSignedClient,
        teamIdentifierMismatch, signingIdentifierMismatch, missingBundleIdentifier,
        bundleIdentifierMismatch, insecureExecutablePath}) {
    sentences.insert(descriptionOf(failure));
  }
  EXPECT_EQ(sentences.size(), 10U);
  for (const std::string_view each : sentences) EXPECT_TRUE(each.ends_with('.')) << each;
}
}  // namespace
}  // namespace blindfold
