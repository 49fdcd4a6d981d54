#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <utility>

namespace blindfold {

/// The identity of a client: what a running program says about itself.
struct ClientExecutionIdentity {
  /// The identifier of the running code's signature.
  std::optional<std::string> signingIdentifier;
  /// The team identifier of the running code's signature.
  std::optional<std::string> teamIdentifier;
  /// The main bundle's identifier.
  std::optional<std::string> bundleIdentifier;
  /// The file-system path of the main bundle's executable.
  std::optional<std::string> executablePath;

  bool operator==(const ClientExecutionIdentity&) const = default;
};

/// How a client was accepted.
enum class ClientAuthorizationMode {
  /// The identifier of its signature is on the list (and its team is the helper's, where both are
  /// known).
  signingIdentity,
  /// It has no signature to go by, but its application bundle looks right.
  adHocBundleIdentity,
};

/// Why a client was refused.
enum class ClientAuthorizationFailure {
  /// The path of its executable is not known.
  missingExecutablePath,
  /// The path of its executable ends in none of the authorized suffixes.
  executablePathMismatch,
  /// A member of the vocabulary that the decision never produces.
  helperRequiresSignedClient,
  /// Its team is not the helper's.
  teamIdentifierMismatch,
  /// Its signing identifier is missing, not on the list, or not its executable's name, whichever
  /// was asked for.
  signingIdentifierMismatch,
  /// It lies in no application bundle, or has no bundle identifier.
  missingBundleIdentifier,
  /// Its bundle identifier is not on the list.
  bundleIdentifierMismatch,
  /// Somebody else could have changed its bundle.
  insecureExecutablePath,
};

/// The decision about a client. Exactly one of `mode` and `failure` is present.
struct ClientAuthorizationAssessment {
  /// The identity that was judged.
  ClientExecutionIdentity identity;
  /// How the client was accepted: present means authorized.
  std::optional<ClientAuthorizationMode> mode;
  /// Why the client was refused.
  std::optional<ClientAuthorizationFailure> failure;

  static ClientAuthorizationAssessment accepted(ClientExecutionIdentity identity,
                                                ClientAuthorizationMode mode) {
    return {.identity = std::move(identity), .mode = mode, .failure = std::nullopt};
  }

  static ClientAuthorizationAssessment refused(ClientExecutionIdentity identity,
                                               ClientAuthorizationFailure failure) {
    return {.identity = std::move(identity), .mode = std::nullopt, .failure = failure};
  }

  bool operator==(const ClientAuthorizationAssessment&) const = default;
};

/// The sentence for people that says how a client was accepted.
std::string_view descriptionOf(ClientAuthorizationMode mode);

/// The sentence for people that says why a client was refused.
std::string_view descriptionOf(ClientAuthorizationFailure failure);

/// Whether this program is a client that the installed helper accepts, by the settings of this
/// process. Reads signatures and files anew at each call, which takes milliseconds, and keeps
/// nothing. Never fails: what the platform does not tell counts as absent. Any thread may call.
ClientAuthorizationAssessment clientAuthorizationAssessment();

}  // namespace blindfold
