#pragma once

#include <optional>
#include <string>

#include "blindfold/authorization/client_authorization.h"
#include "blindfold/platform/bundle.h"
#include "blindfold/platform/code_signing.h"

namespace blindfold {

/// The two identifiers of a code signature, unverified and untrimmed; each absent when the
/// signature has no such text.
struct CodeSigningIdentifiers {
  std::optional<std::string> signingIdentifier;
  std::optional<std::string> teamIdentifier;

  bool operator==(const CodeSigningIdentifiers&) const = default;
};

/// The identifiers in `information`; both absent when there is none.
CodeSigningIdentifiers codeSigningIdentifiers(const std::optional<SigningInformation>& information);

/// The identity of this program, read now; `bundle` is its main bundle. What the platform does not
/// tell is absent. Never fails.
ClientExecutionIdentity currentClientExecutionIdentity(const Bundle& bundle,
                                                       const CodeSigning& codeSigning);

}  // namespace blindfold
