#pragma once

#include <map>
#include <string>

#include "blindfold/config/deployment_values.h"
#include "blindfold/platform/bundle.h"

namespace blindfold {

/// A bundle whose info dictionary has the given values in place of its own. Any thread may call.
class BundleWithValues final : public Bundle {
 public:
  /// `bundle` outlives this object.
  BundleWithValues(const Bundle& bundle, const DeploymentValues& values);
  BundleWithValues(const Bundle&& bundle, const DeploymentValues& values) = delete;

  std::optional<DictionaryValue> objectForInfoDictionaryKey(std::string_view key) const override;
  FileURL bundleURL() const override { return bundle_.bundleURL(); }
  std::optional<std::string> bundleIdentifier() const override {
    return bundle_.bundleIdentifier();
  }
  std::optional<FileURL> executableURL() const override { return bundle_.executableURL(); }

 private:
  const Bundle& bundle_;
  std::map<std::string, DictionaryValue, std::less<>> values_;
};

}  // namespace blindfold
