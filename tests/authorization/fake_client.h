#pragma once

#include <optional>
#include <string>

#include "blindfold/authorization/authorization_decision.h"
#include "tests/support/fake_bundle.h"
#include "tests/support/fake_file_manager.h"

namespace blindfold {

/// A client that would be accepted by its bundle alone, with the default settings; a test changes
/// what it is about.
struct FakeClient {
  FakeClient() { place("/Applications/Blindfold.app", "/Contents/MacOS", "/Blindfold"); }

  FakeFileManager files;
  FakeBundleProvider bundles;
  const DeploymentSettings settings{bundles.main, files};
  std::optional<std::string> expectedTeamIdentifier;
  ClientExecutionIdentity identity{
      .signingIdentifier = "Blindfold",
      .teamIdentifier = {},
      .bundleIdentifier = "app.blindfold.mac",
      .executablePath = {},
  };

  /// Puts the client there, its three directories and its executable with mode 0755.
  void place(const std::string& app, const std::string& directories,
             const std::string& executable) {
    const auto contents = app + directories.substr(0, directories.find('/', 1));
    identity.executablePath = app + directories + executable;
    files.attributesByPath = {
        {app, {FileType::directory, 0755}},
        {contents, {FileType::directory, 0755}},
        {app + directories, {FileType::directory, 0755}},
        {*identity.executablePath, {FileType::regular, 0755}},
    };
  }

  FileAttributes& attributesOf(const std::string& path) { return files.attributesByPath.at(path); }

  ClientAuthorizationAssessment assess() const {
    return assessClientAuthorization(identity, expectedTeamIdentifier, files, bundles, settings);
  }
};

}  // namespace blindfold
