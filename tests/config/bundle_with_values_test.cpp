#include "blindfold/config/deployment_settings.h"

#include <gtest/gtest.h>

#include "tests/support/fake_bundle.h"
#include "tests/support/fake_file_manager.h"

namespace blindfold {
namespace {
using Strings = std::vector<std::string>;

class BundleWithValuesTest : public testing::Test {
 protected:
  FakeBundle bundle_;
  FakeFileManager fileManager_;
};

TEST_F(BundleWithValuesTest, EveryValueTakesThePlaceOfItsKey) {
  bundle_.dictionary = {{"BlindfoldHelperMachServiceName", "own service"},
                        {"BlindfoldHelperInstallPath", "/own"}};
  const BundleWithValues bundle(bundle_, {.helperMachServiceName = "service",
                                          .helperInstallPath = "/helper",
                                          .embeddedHelperExecutableName = "executable",
                                          .authorizedAppBundleIdentifiers = Strings{"a", "b"},
                                          .authorizedAppExecutableSuffixes = Strings{"/c"}});
  const DeploymentSettings settings(bundle, fileManager_);
  EXPECT_EQ(settings.helperMachServiceName(), "service");
  EXPECT_EQ(settings.helperInstallURL(), FileURL("/helper"));
  EXPECT_EQ(settings.embeddedHelperExecutableName(), "executable");
  EXPECT_EQ(settings.authorizedAppBundleIdentifiers(), (Strings{"a", "b"}));
  EXPECT_EQ(settings.authorizedAppExecutableSuffixes(), Strings{"/c"});
}

TEST_F(BundleWithValuesTest, AnAbsentValueLeavesWhatTheBundleSays) {
  bundle_.dictionary = {{"BlindfoldHelperMachServiceName", "own service"},
                        {"BlindfoldAuthorizedAppBundleIdentifiers", ValueArray{"own"}}};
  const BundleWithValues bundle(bundle_, {});
  const DeploymentSettings settings(bundle, fileManager_);
  EXPECT_EQ(settings.helperMachServiceName(), "own service");
  EXPECT_EQ(settings.authorizedAppBundleIdentifiers(), Strings{"own"});
}

TEST_F(BundleWithValuesTest, ABlankValueYieldsTheDefaultAsInAPropertyList) {
  const BundleWithValues bundle(bundle_, {.helperMachServiceName = " "});
  EXPECT_EQ(DeploymentSettings(bundle, fileManager_).helperMachServiceName(),
            "app.blindfold.helper");
}

TEST_F(BundleWithValuesTest, TheBundlesPlaceAndIdentityAreItsOwn) {
  bundle_.dictionary = {{"CFBundleIdentifier", "app.example"}};
  bundle_.url = FileURL("/X.app");
  bundle_.executable = FileURL("/X.app/x");
  const BundleWithValues bundle(bundle_, {});
  EXPECT_EQ(bundle.bundleURL(), bundle_.url);
  EXPECT_EQ(bundle.executableURL(), bundle_.executable);
  EXPECT_EQ(bundle.bundleIdentifier(), "app.example");
}
}  // namespace
}  // namespace blindfold
