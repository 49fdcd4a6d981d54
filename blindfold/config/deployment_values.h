#pragma once

#include <optional>
#include <string>
#include <vector>

namespace blindfold {

/// Settings of a deployment as values, for a program that talks to another helper than that of its
/// own information property list: the development helper, say. Each value counts as if it stood in
/// the property list; an absent one leaves what stands there.
struct DeploymentValues {
  /// "BlindfoldHelperMachServiceName".
  std::optional<std::string> helperMachServiceName = std::nullopt;
  /// "BlindfoldHelperInstallPath".
  std::optional<std::string> helperInstallPath = std::nullopt;
  /// "BlindfoldEmbeddedHelperExecutableName".
  std::optional<std::string> embeddedHelperExecutableName = std::nullopt;
  /// "BlindfoldAuthorizedAppBundleIdentifiers".
  std::optional<std::vector<std::string>> authorizedAppBundleIdentifiers = std::nullopt;
  /// "BlindfoldAuthorizedAppExecutableSuffixes".
  std::optional<std::vector<std::string>> authorizedAppExecutableSuffixes = std::nullopt;
};

}  // namespace blindfold
