#pragma once

#include <optional>
#include <string>

#include "blindfold/platform/code_signing.h"

namespace blindfold {

/// Who signed a piece of code and under what name, as its signature says: unverified, untrimmed,
/// each absent when the signature has no such text.
struct CodeSigningIdentifiers {
  std::optional<std::string> signingIdentifier;
  std::optional<std::string> teamIdentifier;

  bool operator==(const CodeSigningIdentifiers&) const = default;
};

/// The identifiers in the signature of `code`, read now; both absent when it cannot be read. Never
/// fails.
CodeSigningIdentifiers codeSigningIdentifiers(const StaticCode& code);

}  // namespace blindfold
