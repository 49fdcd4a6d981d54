#include <gtest/gtest.h>

#include <functional>
#include <string>

#include "blindfold/authorization/authorization_decision.h"
#include "tests/support/fake_bundle.h"
#include "tests/support/fake_code_signing.h"
#include "tests/support/fake_file_manager.h"
#include "tests/support/ordinals.h"
#include "tests/support/own_executable.h"

namespace blindfold {
namespace {
using Assessment = ClientAuthorizationAssessment;
using enum ClientAuthorizationMode;
using enum ClientAuthorizationFailure;

const std::string installedHelper = "/Library/PrivilegedHelperTools/app.blindfold.helper";
const std::string app = "/Applications/Blindfold.app";
const std::string embeddedHelper = app + "/Contents/Library/PrivilegedHelperTools/BlindfoldHelper";
const std::string executable = app + "/Contents/MacOS/Blindfold";

/// A running program, signed by T1 as app.blindfold.mac in a bundle that looks right, and an
/// installed helper that T1 signed too.
struct FakeMac {
  FakeMac() {
    bundles.main.dictionary = {{"CFBundleIdentifier", "app.blindfold.mac"}};
    bundles.main.url = FileURL(app);
    bundles.main.executable = FileURL(executable);
    files.executables = {installedHelper};
    files.attributesByPath = {
        {app, {FileType::directory, 0755}},
        {app + "/Contents", {FileType::directory, 0755}},
        {app + "/Contents/MacOS", {FileType::directory, 0755}},
        {executable, {FileType::regular, 0755}},
    };
    signing.ownInformation =
        SigningInformation{.identifier = "app.blindfold.mac", .teamIdentifier = "T1"};
    signing.informationByPath = {
        {installedHelper,
         SigningInformation{.identifier = "app.blindfold.helper", .teamIdentifier = "T1"}}};
  }

  FakeFileManager files;
  FakeBundleProvider bundles;
  FakeCodeSigning signing;
  const DeploymentSettings settings{bundles.main, files};

  Assessment assess() const {
    // The other facilities are the real ones, which the assessment has no use for.
    const Platform& real = currentPlatform();
    return clientAuthorizationAssessment(
        {files, bundles, signing, real.helperConnections, real.mainLoop, real.timedWork}, settings);
  }
};

TEST(ClientAuthorizationAssessmentTest, HasItsModesInOrder) {
  expectOrdinals(
      {ClientAuthorizationMode::signingIdentity, ClientAuthorizationMode::adHocBundleIdentity});
}

TEST(ClientAuthorizationAssessmentTest, HasItsFailuresInOrder) {
  using Failure = ClientAuthorizationFailure;
  expectOrdinals({Failure::missingExecutablePath, Failure::executablePathMismatch,
                  Failure::helperRequiresSignedClient, Failure::teamIdentifierMismatch,
                  Failure::signingIdentifierMismatch, Failure::missingBundleIdentifier,
                  Failure::bundleIdentifierMismatch, Failure::insecureExecutablePath});
}

TEST(ClientAuthorizationAssessmentTest, AClientOfTheHelpersTeamIsAccepted) {
  const ClientExecutionIdentity identity{
      .signingIdentifier = "app.blindfold.mac",
      .teamIdentifier = "T1",
      .bundleIdentifier = "app.blindfold.mac",
      .executablePath = executable,
  };
  EXPECT_EQ(FakeMac().assess(), Assessment::accepted(identity, signingIdentity));
}

TEST(ClientAuthorizationAssessmentTest, TheTeamComesFromTheInstalledHelper) {
  FakeMac mac;
  mac.signing.informationByPath[installedHelper] = SigningInformation{{}, "T2"};
  mac.signing.informationByPath[embeddedHelper] = SigningInformation{{}, "T1"};
  mac.files.executables.insert(embeddedHelper);
  EXPECT_EQ(mac.assess().failure, teamIdentifierMismatch);
}

TEST(ClientAuthorizationAssessmentTest, TheTeamComesFromTheEmbeddedHelperWhenNoneIsInstalled) {
  FakeMac mac;
  mac.signing.informationByPath[embeddedHelper] = SigningInformation{{}, "T2"};
  mac.files.executables = {embeddedHelper};
  EXPECT_EQ(mac.assess().failure, teamIdentifierMismatch);
}

TEST(ClientAuthorizationAssessmentTest, TheHelpersSigningIdentifierDoesNotMatter) {
  FakeMac mac;
  mac.signing.informationByPath[installedHelper] = SigningInformation{"anything", "T1"};
  EXPECT_EQ(mac.assess().mode, signingIdentity);
}

TEST(ClientAuthorizationAssessmentTest, EverythingIsReadAnewAtEachCall) {
  FakeMac mac;
  EXPECT_EQ(mac.assess().mode, signingIdentity);
  mac.signing.informationByPath[installedHelper] = SigningInformation{{}, "T2"};
  EXPECT_EQ(mac.assess().failure, teamIdentifierMismatch);
  mac.signing.ownInformation = SigningInformation{"app.blindfold.mac", "T2"};
  EXPECT_EQ(mac.assess().mode, signingIdentity);
  mac.signing.ownInformation = SigningInformation{"Blindfold", {}};
  EXPECT_EQ(mac.assess().mode, adHocBundleIdentity);
  mac.files.attributesByPath[app].posixPermissions = 0777;
  EXPECT_EQ(mac.assess().failure, insecureExecutablePath);
}

TEST(ClientAuthorizationAssessmentTest, AProgramLikeThisTestIsNoClient) {
  const auto assessment = clientAuthorizationAssessment(currentPlatform(), deploymentSettings());
  EXPECT_EQ(assessment.failure, executablePathMismatch);
  EXPECT_EQ(assessment.identity.executablePath, ownExecutablePath());
}

// Each platform call fails in turn: what it would have told is absent, and nothing else happens.

struct Fault {
  std::string name;
  std::function<void(FakeMac&)> occur;
  std::optional<ClientAuthorizationMode> mode;
  std::optional<ClientAuthorizationFailure> failure;
};

// NOLINTNEXTLINE(readability-identifier-naming): GoogleTest's name
void PrintTo(const Fault& fault, std::ostream* stream) {
  *stream << fault.name;
}

/// Which signature the client has where the one that is accepted would hide the fault.
void signByOtherTeam(FakeMac& mac) {
  mac.signing.ownInformation = SigningInformation{"app.blindfold.mac", "T2"};
}
void signAdHoc(FakeMac& mac) {
  mac.signing.ownInformation = SigningInformation{"Blindfold", {}};
}

const Fault faults[] = {
    {"NoSigningInformationOfItsOwn",
     [](FakeMac& mac) { mac.signing.ownInformation.reset(); },
     adHocBundleIdentity,
     {}},
    {"OwnSigningIdentifierIsNoText",
     [](FakeMac& mac) { mac.signing.ownInformation->identifier = OpaqueValue(); },
     {},
     signingIdentifierMismatch},
    {"OwnTeamIdentifierIsNoText",
     [](FakeMac& mac) { mac.signing.ownInformation->teamIdentifier = ValueArray{"T2"}; },
     signingIdentity,
     {}},
    {"NoExecutableHelper",
     [](FakeMac& mac) {
       signByOtherTeam(mac);
       mac.files.executables.clear();
     },
     signingIdentity,
     {}},
    {"NoSigningInformationOfTheHelper",
     [](FakeMac& mac) {
       signByOtherTeam(mac);
       mac.signing.informationByPath.erase(installedHelper);
     },
     signingIdentity,
     {}},
    {"HelpersTeamIdentifierIsNoText",
     [](FakeMac& mac) {
       signByOtherTeam(mac);
       mac.signing.informationByPath[installedHelper] = SigningInformation{{}, OpaqueValue()};
     },
     signingIdentity,
     {}},
    {"NoExecutableURL",
     [](FakeMac& mac) { mac.bundles.main.executable.reset(); },
     {},
     missingExecutablePath},
    {"NoBundleIdentifier",
     [](FakeMac& mac) {
       signAdHoc(mac);
       mac.bundles.main.dictionary.clear();
     },
     {},
     missingBundleIdentifier},
    {"NoBundleAtTheApplication",
     [](FakeMac& mac) {
       signAdHoc(mac);
       mac.bundles.dictionariesByPath.clear();
     },
     adHocBundleIdentity,
     {}},
    {"NoAttributes",
     [](FakeMac& mac) {
       signAdHoc(mac);
       mac.files.attributesByPath.clear();
     },
     {},
     insecureExecutablePath},
};

class ClientAuthorizationFaultTest : public testing::TestWithParam<Fault> {};

INSTANTIATE_TEST_SUITE_P(Fault, ClientAuthorizationFaultTest, testing::ValuesIn(faults),
                         [](const auto& parameter) { return parameter.param.name; });

TEST_P(ClientAuthorizationFaultTest, AFaultShowsInTheAssessmentOnly) {
  FakeMac mac;
  GetParam().occur(mac);
  const auto assessment = mac.assess();
  EXPECT_EQ(assessment.mode, GetParam().mode);
  EXPECT_EQ(assessment.failure, GetParam().failure);
}

class SigningReferenceHelperURLTest : public testing::Test {
 protected:
  std::optional<FileURL> url() const {
    return signingReferenceHelperURL(mac_.files, mac_.bundles.main, mac_.settings);
  }

  FakeMac mac_;
};

TEST_F(SigningReferenceHelperURLTest, ItIsTheInstalledHelper) {
  mac_.files.executables = {installedHelper, embeddedHelper};
  EXPECT_EQ(url(), FileURL(installedHelper));
}

TEST_F(SigningReferenceHelperURLTest, TheEmbeddedHelperIsNotLookedForWhenOneIsInstalled) {
  url();
  EXPECT_EQ(mac_.files.executableQueries(), std::vector{installedHelper});
}

TEST_F(SigningReferenceHelperURLTest, ItIsTheEmbeddedHelperWhenNoneIsInstalled) {
  mac_.files.executables = {embeddedHelper};
  EXPECT_EQ(url(), FileURL(embeddedHelper));
}

TEST_F(SigningReferenceHelperURLTest, TheEmbeddedHelpersNameIsASetting) {
  mac_.bundles.main.dictionary = {{"BlindfoldEmbeddedHelperExecutableName", "Other"}};
  mac_.files.executables = {app + "/Contents/Library/PrivilegedHelperTools/Other"};
  EXPECT_EQ(url(), FileURL(app + "/Contents/Library/PrivilegedHelperTools/Other"));
}

TEST_F(SigningReferenceHelperURLTest, ItIsAbsentWhenNeitherCanBeExecuted) {
  mac_.files.executables.clear();
  EXPECT_EQ(url(), std::nullopt);
  EXPECT_EQ(mac_.files.executableQueries(), (std::vector{installedHelper, embeddedHelper}));
}
}  // namespace
}  // namespace blindfold
