#include "blindfold/platform/linux/linux_bundle.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
#include <map>
#include <string>
#include <string_view>

#include "tests/platform/linux/property_lists.h"

namespace blindfold {
namespace {
std::string contentsOf(const char* path) {
  std::ifstream file(path, std::ios::binary);
  EXPECT_TRUE(file) << path;
  return {std::istreambuf_iterator<char>(file), {}};
}

DictionaryValue text(std::string_view value) {
  return std::string(value);
}

/// The settings of the deployment that ships, in the order of the list.
const PropertyListEntries shippedSettings{
    {"CFBundleExecutable", text("blindfoldctl")},
    {"CFBundleIdentifier", text("app.blindfold.cli")},
    {"CFBundleName", text("blindfoldctl")},
    {"CFBundlePackageType", text("BNDL")},
    {"CFBundleShortVersionString", text(PROJECT_VERSION)},
    {"CFBundleVersion", text(BUNDLE_VERSION)},
    {"CFBundleSupportedPlatforms", ValueArray{"MacOSX"}},
    {"LSMinimumSystemVersion", text("14.0")},
    {"BlindfoldHelperInstallPath", text("/Library/PrivilegedHelperTools/app.blindfold.helper")},
    {"BlindfoldHelperLaunchdLabel", text("app.blindfold.helper")},
    {"BlindfoldHelperMachServiceName", text("app.blindfold.helper")},
    {"BlindfoldHelperLaunchdPlistPath", text("/Library/LaunchDaemons/app.blindfold.helper.plist")},
    {"BlindfoldHelperLogPath", text("/var/log/blindfold-helper.log")},
    {"BlindfoldStateDirectoryPath", text("/var/run/blindfold")},
};

/// This program is linked with the property list that ships.
TEST(LinkedPropertyListTest, ItIsTheFileByteForByte) {
  EXPECT_EQ(linkedPropertyList(), contentsOf(SHIPPED_PROPERTY_LIST));
}

TEST(LinkedPropertyListTest, WhatShipsHasItsSettingsInTheirOrderAndNoOthers) {
  EXPECT_EQ(entriesOf(contentsOf(SHIPPED_PROPERTY_LIST)), shippedSettings);
}

/// The build wrote the list for this path, whose characters XML has other uses for.
TEST(LinkedPropertyListTest, TheDevelopmentDeploymentDiffersInTwoSettings) {
  const std::map<std::string_view, DictionaryValue> differences{
      {"BlindfoldHelperInstallPath", DEVELOPMENT_HELPER_PATH},
      {"BlindfoldHelperMachServiceName", DEVELOPMENT_SERVICE},
  };
  PropertyListEntries expected = shippedSettings;
  for (auto& [key, value] : expected) {
    const auto difference = differences.find(key);
    if (difference != differences.end()) value = difference->second;
  }
  EXPECT_EQ(entriesOf(contentsOf(DEVELOPMENT_PROPERTY_LIST)), expected);
}
}  // namespace
}  // namespace blindfold
