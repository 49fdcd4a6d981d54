#include "blindfold/authorization/authorization_decision.h"

#include <algorithm>
#include <string_view>
#include <vector>

#include "blindfold/authorization/bundle_execution_context.h"
#include "blindfold/authorization/client_execution_identity.h"

namespace blindfold {
namespace {
std::string_view orEmpty(const std::optional<std::string>& text) {
  return text ? std::string_view(*text) : std::string_view();
}

bool isListed(const std::optional<std::string>& identifier, const std::vector<std::string>& list) {
  return identifier && std::find(list.begin(), list.end(), *identifier) != list.end();
}

bool endsInOneOf(std::string_view path, const std::vector<std::string>& suffixes) {
  return std::any_of(suffixes.begin(), suffixes.end(),
                     [&](const auto& suffix) { return path.ends_with(suffix); });
}
}  // namespace

ClientAuthorizationAssessment clientAuthorizationAssessment(const Platform& platform,
                                                            const DeploymentSettings& settings) {
  const Bundle& mainBundle = platform.bundles.mainBundle();
  const auto helperURL = signingReferenceHelperURL(platform.fileManager, mainBundle, settings);
  const auto identity = currentClientExecutionIdentity(mainBundle, platform.codeSigning);
  const auto expectedTeamIdentifier =
      helperURL ? codeSigningIdentifiers(platform.codeSigning.signingInformation(*helperURL))
                      .teamIdentifier
                : std::nullopt;
  return assessClientAuthorization(identity, expectedTeamIdentifier, platform.fileManager,
                                   platform.bundles, settings);
}

std::optional<FileURL> signingReferenceHelperURL(const FileManager& fileManager,
                                                 const Bundle& mainBundle,
                                                 const DeploymentSettings& settings) {
  const FileURL& installed = settings.helperInstallURL();
  if (fileManager.isExecutableFile(installed.path())) return installed;

  auto embedded = embeddedHelperDirectoryURL(mainBundle)
                      .appendingPathComponent(settings.embeddedHelperExecutableName());
  if (fileManager.isExecutableFile(embedded.path())) return embedded;

  return std::nullopt;
}

/// The first test that decides ends the procedure.
ClientAuthorizationAssessment assessClientAuthorization(
    const ClientExecutionIdentity& identity,
    const std::optional<std::string>& expectedTeamIdentifier, const FileManager& fileManager,
    const BundleProvider& bundles, const DeploymentSettings& settings) {
  using enum ClientAuthorizationMode;
  using enum ClientAuthorizationFailure;
  const auto accept = [&](ClientAuthorizationMode mode) {
    return ClientAuthorizationAssessment::accepted(identity, mode);
  };
  const auto refuse = [&](ClientAuthorizationFailure failure) {
    return ClientAuthorizationAssessment::refused(identity, failure);
  };

  const auto executablePath = orEmpty(identity.executablePath);
  if (executablePath.empty()) return refuse(missingExecutablePath);
  const auto context = bundleExecutionContext(executablePath, fileManager, bundles);
  if (!endsInOneOf(executablePath, settings.authorizedAppExecutableSuffixes())) {
    return refuse(executablePathMismatch);
  }

  // One list serves signing identifiers here and bundle identifiers below.
  const auto& authorizedIdentifiers = settings.authorizedAppBundleIdentifiers();
  const bool isSignedAsAuthorized = isListed(identity.signingIdentifier, authorizedIdentifiers);

  // Both sides have a team: the signature alone decides.
  if (expectedTeamIdentifier && identity.teamIdentifier) {
    if (*identity.teamIdentifier != *expectedTeamIdentifier) return refuse(teamIdentifierMismatch);
    if (!isSignedAsAuthorized) return refuse(signingIdentifierMismatch);
    return accept(signingIdentity);
  }

  // There are no teams to compare: the identifier alone may still accept.
  if (isSignedAsAuthorized) return accept(signingIdentity);

  // Nothing is left to go by but the application bundle.
  if (!context) return refuse(missingBundleIdentifier);
  const auto signingIdentifier = orEmpty(identity.signingIdentifier);
  if (!signingIdentifier.empty() && signingIdentifier != context->executableName) {
    return refuse(signingIdentifierMismatch);
  }
  if (orEmpty(identity.bundleIdentifier).empty()) return refuse(missingBundleIdentifier);
  if (!isListed(identity.bundleIdentifier, authorizedIdentifiers)) {
    return refuse(bundleIdentifierMismatch);
  }
  if (!hasSecureExecutablePath(*context, fileManager)) return refuse(insecureExecutablePath);
  return accept(adHocBundleIdentity);
}

}  // namespace blindfold
