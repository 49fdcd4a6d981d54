#include "blindfold/config/deployment_settings.h"

#include <array>
#include <cstddef>
#include <string_view>
#include <utility>

#include "blindfold/config/info_dictionary.h"
#include "blindfold/platform/file_url.h"

namespace blindfold {
namespace {
struct TextSetting {
  std::string_view key;
  std::string_view defaultValue;
};

template <std::size_t count>
struct ListSetting {
  std::string_view pluralKey;
  std::string_view singularKey;
  std::array<std::string_view, count> defaultValue;
};

/// The settings: the key of each in the info dictionary, and its default.
namespace setting {

constexpr TextSetting helperLaunchdLabel{
    .key = "BlindfoldHelperLaunchdLabel",
    .defaultValue = "app.blindfold.helper",
};

/// Its default is the resolved label.
constexpr std::string_view helperMachServiceNameKey = "BlindfoldHelperMachServiceName";

constexpr TextSetting embeddedHelperExecutableName{
    .key = "BlindfoldEmbeddedHelperExecutableName",
    .defaultValue = "BlindfoldHelper",
};

constexpr ListSetting<2> authorizedAppBundleIdentifiers{
    .pluralKey = "BlindfoldAuthorizedAppBundleIdentifiers",
    .singularKey = "BlindfoldAuthorizedAppBundleIdentifier",
    .defaultValue = {"app.blindfold.mac", "app.blindfold.orbit"},
};

constexpr ListSetting<3> authorizedAppExecutableSuffixes{
    .pluralKey = "BlindfoldAuthorizedAppExecutableSuffixes",
    .singularKey = "BlindfoldAuthorizedAppExecutableSuffix",
    .defaultValue = {"/Contents/MacOS/Blindfold", "/Contents/Resources/blindfoldctl",
                     "/Contents/MacOS/orbit-mcp"},
};

constexpr TextSetting helperInstallPath{
    .key = "BlindfoldHelperInstallPath",
    .defaultValue = "/Library/PrivilegedHelperTools/app.blindfold.helper",
};

}  // namespace setting

std::string read(const Bundle& bundle, const TextSetting& setting) {
  return readInfoString(bundle, setting.key, setting.defaultValue);
}

template <std::size_t count>
std::vector<std::string> read(const Bundle& bundle, const ListSetting<count>& setting) {
  return readInfoStringList(bundle, setting.pluralKey, setting.singularKey, setting.defaultValue);
}
ValueArray arrayOf(const std::vector<std::string>& texts) {
  return {texts.begin(), texts.end()};
}
}  // namespace

DeploymentSettings::DeploymentSettings(const Bundle& mainBundle, const FileManager& fileManager)
    : mainBundle_(mainBundle), fileManager_(fileManager) {}

const std::string& DeploymentSettings::helperLaunchdLabel() const {
  return helperLaunchdLabel_.get([&] { return read(mainBundle_, setting::helperLaunchdLabel); });
}

const std::string& DeploymentSettings::helperMachServiceName() const {
  return helperMachServiceName_.get([&] {
    const std::string& label = helperLaunchdLabel();
    return readInfoString(mainBundle_, setting::helperMachServiceNameKey, label);
  });
}

const std::string& DeploymentSettings::embeddedHelperExecutableName() const {
  return embeddedHelperExecutableName_.get(
      [&] { return read(mainBundle_, setting::embeddedHelperExecutableName); });
}

const std::vector<std::string>& DeploymentSettings::authorizedAppBundleIdentifiers() const {
  return authorizedAppBundleIdentifiers_.get(
      [&] { return read(mainBundle_, setting::authorizedAppBundleIdentifiers); });
}

const std::vector<std::string>& DeploymentSettings::authorizedAppExecutableSuffixes() const {
  return authorizedAppExecutableSuffixes_.get(
      [&] { return read(mainBundle_, setting::authorizedAppExecutableSuffixes); });
}

const FileURL& DeploymentSettings::helperInstallURL() const {
  return helperInstallURL_.get(
      [&] { return fileURLWithPath(read(mainBundle_, setting::helperInstallPath), fileManager_); });
}

BundleWithValues::BundleWithValues(const Bundle& bundle, const DeploymentValues& values)
    : bundle_(bundle) {
  const std::pair<std::string_view, const std::optional<std::string>&> texts[]{
      {"BlindfoldHelperMachServiceName", values.helperMachServiceName},
      {"BlindfoldHelperInstallPath", values.helperInstallPath},
      {"BlindfoldEmbeddedHelperExecutableName", values.embeddedHelperExecutableName},
  };
  for (const auto& [key, text] : texts) {
    if (text) values_.emplace(key, *text);
  }
  const std::pair<std::string_view, const std::optional<std::vector<std::string>>&> lists[]{
      {"BlindfoldAuthorizedAppBundleIdentifiers", values.authorizedAppBundleIdentifiers},
      {"BlindfoldAuthorizedAppExecutableSuffixes", values.authorizedAppExecutableSuffixes},
  };
  for (const auto& [key, list] : lists) {
    if (list) values_.emplace(key, arrayOf(*list));
  }
}

std::optional<DictionaryValue> BundleWithValues::objectForInfoDictionaryKey(
    std::string_view key) const {
  const auto value = values_.find(key);
  if (value == values_.end()) return bundle_.objectForInfoDictionaryKey(key);
  return value->second;
}

FileURL embeddedHelperDirectoryURL(const Bundle& bundle) {
  return bundle.bundleURL()
      .appendingPathComponent("Contents")
      .appendingPathComponent("Library")
      .appendingPathComponent("PrivilegedHelperTools");
}

}  // namespace blindfold
