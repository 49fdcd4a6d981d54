#include "blindfold/config/bundle_with_values.h"

#include <functional>
#include <utility>

namespace blindfold {
namespace {
ValueArray arrayOf(const std::vector<std::string>& texts) {
  return {texts.begin(), texts.end()};
}
}  // namespace

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

}  // namespace blindfold
