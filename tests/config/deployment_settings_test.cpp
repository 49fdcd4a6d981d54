#include "blindfold/config/deployment_settings.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <barrier>
#include <thread>
#include <type_traits>

#include "tests/support/fake_bundle.h"
#include "tests/support/fake_file_manager.h"

namespace blindfold {
namespace {
/// Settings keep references to both, so that temporaries would be gone when a setting is read.
static_assert(
    std::is_constructible_v<DeploymentSettings, const FakeBundle&, const FakeFileManager&>);
static_assert(!std::is_constructible_v<DeploymentSettings, FakeBundle, const FakeFileManager&>);
static_assert(!std::is_constructible_v<DeploymentSettings, const FakeBundle&, FakeFileManager>);

using Strings = std::vector<std::string>;

class DeploymentSettingsTest : public testing::Test {
 protected:
  FakeBundle bundle_;
  FakeFileManager fileManager_;
  DeploymentSettings settings_{bundle_, fileManager_};
};

TEST_F(DeploymentSettingsTest, AnEmptyInfoDictionaryYieldsTheDefaults) {
  EXPECT_EQ(settings_.helperLaunchdLabel(), "app.blindfold.helper");
  EXPECT_EQ(settings_.helperMachServiceName(), "app.blindfold.helper");
  EXPECT_EQ(settings_.embeddedHelperExecutableName(), "BlindfoldHelper");
  EXPECT_EQ(settings_.authorizedAppBundleIdentifiers(),
            (Strings{"app.blindfold.mac", "app.blindfold.orbit"}));
  EXPECT_EQ(settings_.authorizedAppExecutableSuffixes(),
            (Strings{"/Contents/MacOS/Blindfold", "/Contents/Resources/blindfoldctl",
                     "/Contents/MacOS/orbit-mcp"}));
  EXPECT_EQ(settings_.helperInstallURL(),
            FileURL("/Library/PrivilegedHelperTools/app.blindfold.helper"));
}

TEST_F(DeploymentSettingsTest, EverySettingComesFromItsOwnKey) {
  bundle_.dictionary = {
      {"BlindfoldHelperLaunchdLabel", "label"},
      {"BlindfoldHelperMachServiceName", "service"},
      {"BlindfoldEmbeddedHelperExecutableName", "executable"},
      {"BlindfoldAuthorizedAppBundleIdentifiers", ValueArray{"identifier", "other"}},
      {"BlindfoldAuthorizedAppExecutableSuffixes", ValueArray{"/suffix", "/other"}},
      {"BlindfoldHelperInstallPath", "/helper"},
  };
  EXPECT_EQ(settings_.helperLaunchdLabel(), "label");
  EXPECT_EQ(settings_.helperMachServiceName(), "service");
  EXPECT_EQ(settings_.embeddedHelperExecutableName(), "executable");
  EXPECT_EQ(settings_.authorizedAppBundleIdentifiers(), (Strings{"identifier", "other"}));
  EXPECT_EQ(settings_.authorizedAppExecutableSuffixes(), (Strings{"/suffix", "/other"}));
  EXPECT_EQ(settings_.helperInstallURL(), FileURL("/helper"));
}

TEST_F(DeploymentSettingsTest, ListsFallBackToTheirOwnSingularKeys) {
  bundle_.dictionary = {
      {"BlindfoldAuthorizedAppBundleIdentifier", "identifier"},
      {"BlindfoldAuthorizedAppExecutableSuffix", "/suffix"},
  };
  EXPECT_EQ(settings_.authorizedAppBundleIdentifiers(), Strings{"identifier"});
  EXPECT_EQ(settings_.authorizedAppExecutableSuffixes(), Strings{"/suffix"});
}

TEST_F(DeploymentSettingsTest, TheServiceNameFollowsAChangedLabel) {
  bundle_.dictionary = {{"BlindfoldHelperLaunchdLabel", "label"}};
  EXPECT_EQ(settings_.helperMachServiceName(), "label");
}

TEST_F(DeploymentSettingsTest, AServiceNameOfWhiteSpaceFollowsTheLabel) {
  bundle_.dictionary = {{"BlindfoldHelperLaunchdLabel", "label"},
                        {"BlindfoldHelperMachServiceName", "  \n"}};
  EXPECT_EQ(settings_.helperMachServiceName(), "label");
}

TEST_F(DeploymentSettingsTest, TheServiceNameComputesTheLabelFirst) {
  bundle_.dictionary = {{"BlindfoldHelperMachServiceName", "service"}};
  settings_.helperMachServiceName();
  EXPECT_EQ(bundle_.askedKeys(),
            (Strings{"BlindfoldHelperLaunchdLabel", "BlindfoldHelperMachServiceName"}));
}

TEST_F(DeploymentSettingsTest, WhiteSpaceAroundTheInstallPathIsDropped) {
  bundle_.dictionary = {{"BlindfoldHelperInstallPath", "  /opt/the helper\n"}};
  EXPECT_EQ(settings_.helperInstallURL(), FileURL("/opt/the helper"));
}

TEST_F(DeploymentSettingsTest, ARelativeInstallPathIsTakenFromTheCurrentDirectory) {
  bundle_.dictionary = {{"BlindfoldHelperInstallPath", "build/helper"}};
  EXPECT_EQ(settings_.helperInstallURL(), FileURL("/current/build/helper"));
}

TEST_F(DeploymentSettingsTest, AnAbsoluteInstallPathAsksForNoCurrentDirectory) {
  settings_.helperInstallURL();
  EXPECT_EQ(fileManager_.currentDirectoryQueries(), 0);
}

TEST_F(DeploymentSettingsTest, NothingIsReadUntilItIsAskedFor) {
  EXPECT_EQ(bundle_.askedKeys(), Strings{});
}

TEST_F(DeploymentSettingsTest, AskingForOneSettingReadsNoOther) {
  settings_.embeddedHelperExecutableName();
  EXPECT_EQ(bundle_.askedKeys(), Strings{"BlindfoldEmbeddedHelperExecutableName"});
}

TEST_F(DeploymentSettingsTest, ALaterChangeIsNotSeen) {
  settings_.helperMachServiceName();
  settings_.authorizedAppBundleIdentifiers();
  bundle_.dictionary = {{"BlindfoldHelperLaunchdLabel", "label"},
                        {"BlindfoldAuthorizedAppBundleIdentifiers", ValueArray{"identifier"}}};
  EXPECT_EQ(settings_.helperMachServiceName(), "app.blindfold.helper");
  EXPECT_EQ(settings_.authorizedAppBundleIdentifiers(),
            (Strings{"app.blindfold.mac", "app.blindfold.orbit"}));
}

TEST_F(DeploymentSettingsTest, ThreadsThatAskAtOnceReadEveryKeyOnce) {
  bundle_.dictionary = {{"BlindfoldHelperInstallPath", "helper"}};
  constexpr int threadCount = 8;
  std::barrier start(threadCount);
  std::vector<std::thread> threads;
  threads.reserve(threadCount);
  for (int count = 0; count < threadCount; ++count) {
    threads.emplace_back([&] {
      start.arrive_and_wait();
      EXPECT_EQ(settings_.helperMachServiceName(), "app.blindfold.helper");
      EXPECT_EQ(settings_.helperLaunchdLabel(), "app.blindfold.helper");
      EXPECT_EQ(settings_.embeddedHelperExecutableName(), "BlindfoldHelper");
      EXPECT_EQ(settings_.authorizedAppBundleIdentifiers().size(), 2U);
      EXPECT_EQ(settings_.authorizedAppExecutableSuffixes().size(), 3U);
      EXPECT_EQ(settings_.helperInstallURL(), FileURL("/current/helper"));
    });
  }
  for (auto& thread : threads) thread.join();

  EXPECT_THAT(
      bundle_.askedKeys(),
      testing::UnorderedElementsAre(
          "BlindfoldHelperLaunchdLabel", "BlindfoldHelperMachServiceName",
          "BlindfoldEmbeddedHelperExecutableName", "BlindfoldAuthorizedAppBundleIdentifiers",
          "BlindfoldAuthorizedAppBundleIdentifier", "BlindfoldAuthorizedAppExecutableSuffixes",
          "BlindfoldAuthorizedAppExecutableSuffix", "BlindfoldHelperInstallPath"));
  EXPECT_EQ(fileManager_.currentDirectoryQueries(), 1);
}

TEST(EmbeddedHelperDirectoryURLTest, ItLiesInsideTheBundle) {
  FakeBundle bundle;
  bundle.url = FileURL("/Applications/Blindfold.app");
  EXPECT_EQ(embeddedHelperDirectoryURL(bundle),
            FileURL("/Applications/Blindfold.app/Contents/Library/PrivilegedHelperTools"));
}

TEST(EmbeddedHelperDirectoryURLTest, ItFollowsTheBundleAtEveryCall) {
  FakeBundle bundle;
  bundle.url = FileURL("/one");
  embeddedHelperDirectoryURL(bundle);
  bundle.url = FileURL("/two");
  EXPECT_EQ(embeddedHelperDirectoryURL(bundle),
            FileURL("/two/Contents/Library/PrivilegedHelperTools"));
}
}  // namespace
}  // namespace blindfold
