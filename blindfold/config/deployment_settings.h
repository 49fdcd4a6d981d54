#pragma once

#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "blindfold/config/computed_once.h"
#include "blindfold/config/deployment_values.h"
#include "blindfold/platform/bundle.h"
#include "blindfold/platform/file_manager.h"
#include "blindfold/platform/file_url.h"

namespace blindfold {

/// The settings of a deployment: where the privileged helper lives, how it is reached, and which
/// client programs may drive it. They come from the main bundle's info dictionary, key by key, over
/// defaults that are compiled in; the source file has the table.
///
/// Each setting is computed once, when it is first asked for, and never changes afterwards. No
/// accessor fails, and any thread may call. References live as long as this object.
class DeploymentSettings {
 public:
  /// Reads nothing yet. Both arguments must outlive this object.
  DeploymentSettings(const Bundle& mainBundle, const FileManager& fileManager);
  DeploymentSettings(const Bundle&& mainBundle, const FileManager& fileManager) = delete;
  DeploymentSettings(const Bundle& mainBundle, const FileManager&& fileManager) = delete;

  /// The helper's launchd label.
  const std::string& helperLaunchdLabel() const;

  /// The Mach service name of every connection to the helper; the launchd label unless it is set.
  const std::string& helperMachServiceName() const;

  /// The file name of the helper's copy inside the app bundle.
  const std::string& embeddedHelperExecutableName() const;

  /// The identifiers a client may have, in order.
  const std::vector<std::string>& authorizedAppBundleIdentifiers() const;

  /// The suffixes that the path of a client's executable may have, in order.
  const std::vector<std::string>& authorizedAppExecutableSuffixes() const;

  /// The installed helper's executable. A relative path in the info dictionary is taken from the
  /// directory that is current when this is first asked for.
  const FileURL& helperInstallURL() const;

 private:
  const Bundle& mainBundle_;
  const FileManager& fileManager_;
  ComputedOnce<std::string> helperLaunchdLabel_;
  ComputedOnce<std::string> helperMachServiceName_;
  ComputedOnce<std::string> embeddedHelperExecutableName_;
  ComputedOnce<std::vector<std::string>> authorizedAppBundleIdentifiers_;
  ComputedOnce<std::vector<std::string>> authorizedAppExecutableSuffixes_;
  ComputedOnce<FileURL> helperInstallURL_;
};

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

/// The directory of the helper's copy that travels inside `bundle`: "Contents/Library/
/// PrivilegedHelperTools" below it. Computed at each call from the bundle's URL.
FileURL embeddedHelperDirectoryURL(const Bundle& bundle);

/// The settings of this process: those of the current platform's main bundle, made at the first
/// call and kept for the life of the process. Any thread may call.
const DeploymentSettings& deploymentSettings();

}  // namespace blindfold
