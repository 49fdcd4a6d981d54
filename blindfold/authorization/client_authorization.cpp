#include "blindfold/authorization/client_authorization.h"

#include "blindfold/authorization/authorization_decision.h"
#include "blindfold/config/deployment_settings.h"
#include "blindfold/platform/platform.h"
#include "blindfold/text/enumeration_table.h"

namespace blindfold {
namespace {
constexpr EnumerationTable modeDescriptions(
    &EnumerationText<ClientAuthorizationMode>::value,
    {{ClientAuthorizationMode::signingIdentity,
      "This program's signature carries one of the product's identifiers."},
     {ClientAuthorizationMode::adHocBundleIdentity,
      "This program runs from inside one of the product's apps."}});

constexpr EnumerationTable failureDescriptions(
    &EnumerationText<ClientAuthorizationFailure>::value,
    {{ClientAuthorizationFailure::missingExecutablePath,
      "The system does not tell where this program's executable is."},
     {ClientAuthorizationFailure::executablePathMismatch,
      "This program does not run from one of the places that the product installs it to."},
     {ClientAuthorizationFailure::helperRequiresSignedClient,
      "The helper accepts only signed programs."},
     {ClientAuthorizationFailure::teamIdentifierMismatch,
      "This program and the helper are signed by different teams."},
     {ClientAuthorizationFailure::signingIdentifierMismatch,
      "This program's signature does not carry one of the product's identifiers."},
     {ClientAuthorizationFailure::missingBundleIdentifier,
      "This program does not run from inside an app that declares an identifier."},
     {ClientAuthorizationFailure::bundleIdentifierMismatch,
      "The app around this program is not one of the product's."},
     {ClientAuthorizationFailure::insecureExecutablePath,
      "Somebody else could change this app: its folders or its executable are not what they should "
      "be, or are writable by others."}});
}  // namespace

std::string_view descriptionOf(ClientAuthorizationMode mode) {
  return modeDescriptions[mode].text;
}

std::string_view descriptionOf(ClientAuthorizationFailure failure) {
  return failureDescriptions[failure].text;
}

ClientAuthorizationAssessment clientAuthorizationAssessment() {
  return clientAuthorizationAssessment(currentPlatform(), deploymentSettings());
}

}  // namespace blindfold
