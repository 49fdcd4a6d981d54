#pragma once

#include <optional>
#include <string>

#include "blindfold/platform/bundle.h"
#include "blindfold/platform/code_signing.h"

namespace blindfold {

/// Who asks: what a running program says about itself.
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

/// The identity of this program, read now; `bundle` is its main bundle. What the platform does not
/// tell is absent. Never fails.
ClientExecutionIdentity currentClientExecutionIdentity(const Bundle& bundle,
                                                       const CodeSigning& codeSigning);

}  // namespace blindfold
